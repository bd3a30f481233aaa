#pragma once

#include <atomic>
#include <functional>

#include "home/Home.h"
#include "home/PublishedFile.h"
#include "platform/tessera/GVAccount.h"

namespace tessera {

// Who is signed in, from the file that the daemon publishes: no request is made, and the
// answer holds while the daemon is down. A file that cannot be understood is an error of
// GVTesseraErrorDomain: 6 when a newer version wrote it, else 1.
//
// Threads: any.
class PublishedAccounts final : public GVAccount::Backend {
 public:
  explicit PublishedAccounts(const Home& home) : _file(home.accountFile()) {}

  GVAccountPtr currentLoggedInAccount(NSErrorPtr* error) override;
  void startAccountTokenChangeObserverIfNeeded() override { _observed = true; }

  // The file was replaced or withdrawn: posts GVAccountTokenDidChangeNotification, on the
  // calling thread, if anybody asked for it.
  void fileDidChange() const;

 private:
  PublishedFile _file;
  std::atomic<bool> _observed{false};
};

}  // namespace tessera
