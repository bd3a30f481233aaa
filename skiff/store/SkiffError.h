#pragma once

#include <stdexcept>
#include <string>

namespace tessera {

// What the daemon's own rules refuse. Thrown below the service, which turns it, errors of the
// cloud, of SQLite and of the system into the errors that clients see.
class SkiffError : public std::runtime_error {
 public:
  enum class Code {
    SignedOut,        // nobody is signed in
    AccountMismatch,  // the tree belongs to another account
    NoSuchItem,       // no item there
    TokenExpired,     // a change token that cannot be continued from
    CorruptContent,   // content is not what its record says
    FileExists,       // a file of the user's stands where content should go
    LocallyChanged,   // the file here was changed; it is not replaced
    Cancelled,        // nobody waits for it any more
    BadArgument,      // a request that makes no sense
    NotSupported,     // a special file, a link, a file system without what is needed
    NewerVersion,     // data written by a newer version of this program
    WrongCloud,       // the cloud is not the one this home was set up with
  };

  SkiffError(Code code, const std::string& message, std::string path = {})
      : std::runtime_error(message), _code(code), _path(std::move(path)) {}

  [[nodiscard]] Code code() const noexcept { return _code; }
  // The path it is about; empty when there is none.
  [[nodiscard]] const std::string& path() const noexcept { return _path; }

 private:
  Code _code;
  std::string _path;
};

}  // namespace tessera
