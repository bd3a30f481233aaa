#pragma once

#include <stdexcept>
#include <string>

namespace tessera {

// What an operation on the cloud service can fail with. Thrown by everything in
// cloud/; callers turn it into the error of their own edge.
class CloudError : public std::runtime_error {
 public:
  enum class Code {
    Unreachable,      // the service cannot be reached now; try again later
    NotACloud,        // the folder holds something else, or nothing
    NewerVersion,     // written by a newer version of this program; left untouched
    NoSuchAccount,    // no account of that name
    NoSuchContainer,  // no container of that identifier
    NoSuchRecord,     // no record of that identifier, or it was deleted
    NoSuchAsset,      // the blob is gone
    RecordChanged,    // the record's change tag is no longer the caller's
    TokenExpired,     // the change token is foreign or too old: list everything again
    OverQuota,        // the account's quota does not hold this
    NoSpace,          // the storage behind the service is full
    Corrupt,          // stored data does not add up (a blob that is not its hash)
    InvalidArgument,  // a name or value that the service does not take
  };

  CloudError(Code code, const std::string& message) : std::runtime_error(message), _code(code) {}
  [[nodiscard]] Code code() const noexcept { return _code; }

 private:
  Code _code;
};

}  // namespace tessera
