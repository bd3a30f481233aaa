#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "cloud/CloudError.h"
#include "cloud/CloudService.h"
#include "skiff/store/ItemStore.h"

namespace tessera {

// The way to the cloud: opens it when it is first needed and again after it was lost, and
// remembers how things stand. A home belongs to the cloud it saw first, for good.
//
// Threads: any.
class CloudLink {
 public:
  CloudLink(std::string url, ItemStore& store) : _url(std::move(url)), _store(store) {}

  // The open service. Throws CloudError, and SkiffError (WrongCloud) when another cloud is
  // at the URL.
  [[nodiscard]] std::shared_ptr<CloudService> service();
  // Notes that the service failed; it is opened anew next time unless the failure was about
  // a single thing in it.
  void noteFailure(const CloudError& error);

  struct State {
    bool connected = false;
    std::string message;  // why not; empty before the first try
  };
  [[nodiscard]] State state();
  [[nodiscard]] const std::string& url() const { return _url; }

 private:
  std::shared_ptr<CloudService> open();

  const std::string _url;
  ItemStore& _store;
  std::mutex _lock;
  std::shared_ptr<CloudService> _service;  // guarded by _lock
  std::string _message;                    // guarded by _lock
};

}  // namespace tessera
