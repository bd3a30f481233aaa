#include "platform/fileprovider/NSFileProviderExtension.h"

int main(int argc, char** argv) {
  return tessera::NSExtensionMain(argc, argv);
}
