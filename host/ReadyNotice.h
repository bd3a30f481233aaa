#pragma once

#include <string>

#include <kj/io.h>

namespace tessera {

// Tells whoever started this process that it is ready, or why it will not be, once: through
// a descriptor (the byte 'R', or the reason; closed after it) and, when it is asked for in
// the environment, to the service manager. Threads: one.
class ReadyNotice {
 public:
  // A negative descriptor: there is nobody to tell there.
  explicit ReadyNotice(int descriptor);

  void ready();
  void failed(const std::string& reason);

 private:
  void send(const std::string& text);
  kj::AutoCloseFd _descriptor;
};

}  // namespace tessera
