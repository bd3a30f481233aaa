#pragma once

#include "home/Home.h"
#include "linux/DaemonConnection.h"
#include "linux/PublishedAccounts.h"
#include "linux/PublishedContainers.h"
#include "linux/QueryItems.h"
#include "linux/RemoteDownload.h"
#include "linux/SkiffClient.h"
#include "linux/StateFolderObserver.h"
#include "linux/TreeURLs.h"
#include "platform/foundation/InstalledBackend.h"
#include "rpc/CallbackPool.h"
#include "rpc/EventLoop.h"

namespace tessera {

// The client library of one home: its threads, its connection to the daemon, and everything
// that stands behind the library's interfaces, installed from construction to destruction.
//
// Threads: any. Lifetime: at most one at a time in a process; whatever calls the library's
// interfaces has ended when it is destroyed, and did not begin before it was constructed.
class ClientLibrary {
 public:
  // Creates the home's folders where they are missing. Throws HomeError, or
  // std::system_error when the state folder cannot be watched.
  explicit ClientLibrary(const Home& home, const SkiffPatience& patience = {});
  ClientLibrary(const ClientLibrary&) = delete;
  ClientLibrary& operator=(const ClientLibrary&) = delete;

  [[nodiscard]] EventLoop& loop() { return _loop; }
  [[nodiscard]] CallbackPool& callbacks() { return _callbacks; }
  // Ends the connection to the daemon for good: every call fails from now on, soon.
  void disconnect() { _skiff.close(); }

 private:
  template <class Interface>
  using Installed = typename InstalledBackend<Interface>::Installation;

  CallbackPool _callbacks;
  EventLoop _loop;
  SkiffClient _skiff;
  PublishedAccounts _accounts;
  PublishedContainers _containers;
  DaemonConnection _daemon;
  RemoteDownloads _downloads;
  QueryItems _items;
  TreeURLs _urls;
  const Installed<GVAccount::Backend> _accountsInstalled{_accounts};
  const Installed<GVContainer::Backend> _containersInstalled{_containers};
  const Installed<GVDaemonConnection> _daemonInstalled{_daemon};
  const Installed<GVOperation::Backend> _downloadsInstalled{_downloads};
  const Installed<GVQueryItem::Backend> _itemsInstalled{_items};
  const Installed<GVURLBackend> _urlsInstalled{_urls};
  StateFolderObserver _observer;  // last: it calls the others
};

}  // namespace tessera
