#include "cloud/embedded/FileDescriptor.h"

#include <unistd.h>

namespace tessera {

FileDescriptor::~FileDescriptor() {
  if (_descriptor >= 0) ::close(_descriptor);
}

}  // namespace tessera
