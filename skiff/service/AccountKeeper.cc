#include "skiff/service/AccountKeeper.h"

#include "home/PublishedFile.h"
#include "home/PublishedState.h"
#include "skiff/store/SkiffError.h"

namespace tessera {

namespace {

constexpr const char* kName = "accountName";
constexpr const char* kIdentifier = "accountIdentifier";
constexpr const char* kSignedIn = "signedIn";

SkiffError signedOut() {
  return {SkiffError::Code::SignedOut, "Nobody is signed in. Sign in with: tessera login NAME"};
}

}  // namespace

AccountKeeper::AccountKeeper(const Home& home, CloudLink& link, ItemStore& store,
                             const SyncedTree& tree, ContainerList& containers,
                             ProblemList& problems, DaemonLog& log)
    : _home(home),
      _link(link),
      _store(store),
      _tree(tree),
      _containers(containers),
      _problems(problems),
      _log(log) {
  std::optional<Account> account;
  {
    ItemStore::Reader reader = _store.reader();
    if (reader->number(kSignedIn) != 0) {
      account = Account{reader->text(kName).value_or(""), reader->text(kIdentifier).value_or("")};
    }
  }
  _containers.publish();
  if (!account) {
    withdrawFile(_home.accountFile());
    return;
  }
  publish(*account);
  start(*account);
}

AccountKeeper::~AccountKeeper() = default;

void AccountKeeper::publish(const Account& account) {
  std::string homeIdentifier = _store.reader()->text("home").value_or("");
  PublishedAccount published;
  published.name = account.name;
  published.perAppAccountIdentifier =
      ItemID::derived("account\n" + account.identifier + "\n" + homeIdentifier).toString();
  std::string content = published.toJson();
  try {
    if (PublishedFile(_home.accountFile()).read() == content) return;
  } catch (const HomeError&) {
    // Replaced below.
  }
  publishFile(_home.accountFile(), content);
}

void AccountKeeper::start(const Account& account) {
  auto follower =
      std::make_unique<FeedFollower>(_link, _store, _tree, _containers, _problems, _log, account);
  std::lock_guard lock(_lock);
  _current = account;
  _follower = std::move(follower);
}

void AccountKeeper::login(const std::string& name) {
  std::lock_guard change(_changeLock);
  if (std::optional<Account> now = current(); now && now->name == name) return;
  std::optional<std::string> owner = _store.reader()->text(kName);
  if (owner && *owner != name) {
    throw SkiffError(SkiffError::Code::AccountMismatch,
                     "The documents of " + *owner + " are in the tree of this home. Sign in as " +
                         *owner + ", or set up another home for " + name + ".");
  }
  std::shared_ptr<CloudService> cloud = _link.service();
  Account account;
  try {
    CloudAccount made = cloud->makeAccount(name);
    account = {made.name, made.identifier};
    std::optional<std::string> identifier = _store.reader()->text(kIdentifier);
    if (identifier && *identifier != account.identifier) {
      throw SkiffError(SkiffError::Code::AccountMismatch,
                       "The documents in the tree belong to an earlier account called " + name +
                           ". Set up another home for the new one.");
    }
    _containers.bringUpToDate(*cloud, account.identifier);
  } catch (const CloudError& error) {
    _link.noteFailure(error);
    throw;
  }
  _store.write([&account](StoreWriter& writer) {
    writer.setText(kName, account.name);
    writer.setText(kIdentifier, account.identifier);
    writer.setNumber(kSignedIn, 1);
  });
  publish(account);
  start(account);
  _log.info("Signed in as " + account.name);
}

void AccountKeeper::logout() {
  std::lock_guard change(_changeLock);
  std::unique_ptr<FeedFollower> follower;
  {
    std::lock_guard lock(_lock);
    if (!_current) return;
    _current.reset();
    follower = std::move(_follower);
  }
  _store.write([](StoreWriter& writer) { writer.setNumber(kSignedIn, 0); });
  withdrawFile(_home.accountFile());
  follower.reset();
  _log.info("Signed out");
}

std::optional<AccountKeeper::Account> AccountKeeper::current() {
  std::lock_guard lock(_lock);
  return _current;
}

AccountKeeper::Account AccountKeeper::require() {
  std::optional<Account> account = current();
  if (!account) throw signedOut();
  return *account;
}

void AccountKeeper::whenIdle(FeedFollower::Idle idle) {
  {
    std::lock_guard lock(_lock);
    if (_follower) {
      _follower->whenIdle(std::move(idle));
      return;
    }
  }
  idle(std::make_exception_ptr(signedOut()));
}

bool AccountKeeper::isApplying() {
  std::lock_guard lock(_lock);
  return _follower && _follower->isApplying();
}

}  // namespace tessera
