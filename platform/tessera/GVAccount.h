#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/foundation/NSError.h"

namespace tessera {

class GVAccount;
using GVAccountPtr = std::shared_ptr<const GVAccount>;

// Posted on the default notification centre when the signed-in account changes, once the
// observer has been started.
inline constexpr const char* GVAccountTokenDidChangeNotification =
    "GVAccountTokenDidChangeNotification";

// A person's account at the cloud service. Threads: immutable.
class GVAccount {
 public:
  // InstalledBackend<GVAccount::Backend>
  class Backend {
   public:
    virtual ~Backend() = default;
    // May give an account and an error; the error wins.
    virtual GVAccountPtr currentLoggedInAccount(NSErrorPtr* error) = 0;
    virtual void startAccountTokenChangeObserverIfNeeded() = 0;
  };

  GVAccount(std::string name, std::optional<std::string> perAppAccountIdentifier)
      : _name(std::move(name)), _perAppAccountIdentifier(std::move(perAppAccountIdentifier)) {}

  // currentLoggedInAccountWithError: — nil when nobody is signed in
  [[nodiscard]] static GVAccountPtr currentLoggedInAccountWithError(NSErrorPtr* error);
  // startAccountTokenChangeObserverIfNeeded — calling it again is harmless
  static void startAccountTokenChangeObserverIfNeeded();

  [[nodiscard]] const std::string& name() const noexcept { return _name; }
  // The account as this application knows it; nullopt when it cannot be used here.
  [[nodiscard]] const std::optional<std::string>& perAppAccountIdentifier() const noexcept {
    return _perAppAccountIdentifier;
  }

 private:
  const std::string _name;
  const std::optional<std::string> _perAppAccountIdentifier;
};

}  // namespace tessera
