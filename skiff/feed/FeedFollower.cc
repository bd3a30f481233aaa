#include "skiff/feed/FeedFollower.h"

#include <algorithm>
#include <chrono>

#include "skiff/store/SkiffError.h"

namespace tessera {

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds kLongestWait = 60s;
constexpr std::chrono::milliseconds kFirstRetry = 250ms;
constexpr std::chrono::milliseconds kLastRetry = 30s;
constexpr const char* kAboutFeed = "feed";

std::string textOf(const std::exception_ptr& failure) {
  try {
    std::rethrow_exception(failure);
  } catch (const std::exception& error) {
    return error.what();
  } catch (...) {
    return "unknown failure";
  }
}

}  // namespace

FeedFollower::FeedFollower(CloudLink& link, ItemStore& store, const SyncedTree& tree,
                           ContainerList& containers, ProblemList& problems, DaemonLog& log,
                           Account account)
    : _link(link),
      _store(store),
      _tree(tree),
      _containers(containers),
      _problems(problems),
      _log(log),
      _account(std::move(account)),
      _cursor(_store, _tree, _problems, _account.name),
      _thread([this](std::stop_token stop) { run(stop); }) {}

FeedFollower::~FeedFollower() {
  _thread.request_stop();
  wake();
  _thread.join();
  auto ended = std::make_exception_ptr(
      SkiffError(SkiffError::Code::SignedOut, "The account was signed out."));
  for (const Idle& idle : takeWaiting()) idle(ended);
}

void FeedFollower::whenIdle(Idle idle) {
  {
    std::lock_guard lock(_lock);
    _waiting.push_back(std::move(idle));
  }
  wake();
}

void FeedFollower::wake() {
  std::stop_source wait;
  {
    std::lock_guard lock(_lock);
    wait = _wait;
    _changed.notify_all();
  }
  wait.request_stop();
}

std::stop_token FeedFollower::beginWait() {
  std::lock_guard lock(_lock);
  _wait = std::stop_source();
  // Who came since the round began must not wait for the next change.
  if (!_waiting.empty()) _wait.request_stop();
  return _wait.get_token();
}

std::vector<FeedFollower::Idle> FeedFollower::takeWaiting() {
  std::lock_guard lock(_lock);
  return std::exchange(_waiting, {});
}

void FeedFollower::run(const std::stop_token& stop) {
  while (!stop.stop_requested()) {
    try {
      round(stop);
    } catch (...) {
      fail(std::current_exception());
      waitToRetry(stop);
    }
  }
}

void FeedFollower::round(const std::stop_token& stop) {
  std::vector<Idle> waiting = takeWaiting();
  std::shared_ptr<CloudDatabase> database;
  try {
    std::shared_ptr<CloudService> cloud = _link.service();
    database = cloud->privateDatabase(_account.name);
    _containers.bringUpToDateIfChanged(*cloud, _account.identifier);
    applyAll(*database, stop);
  } catch (...) {
    for (const Idle& idle : waiting) idle(std::current_exception());
    throw;
  }
  if (stop.stop_requested()) {
    std::lock_guard lock(_lock);
    _waiting.insert(_waiting.end(), waiting.begin(), waiting.end());
    return;
  }
  if (_failures > 0) _log.info("The feed goes on");
  _failures = 0;
  _lastFailure.clear();
  _problems.settle(kAboutFeed);
  for (const Idle& idle : waiting) idle(nullptr);
  std::stop_token wait = beginWait();
  if (stop.stop_requested()) return;
  database->waitForChanges(_cursor.token(), kLongestWait, wait);
}

void FeedFollower::applyAll(CloudDatabase& database, const std::stop_token& stop) {
  _applying = true;
  try {
    _cursor.catchUp(database, stop);
    _containers.publish();
  } catch (...) {
    _applying = false;
    throw;
  }
  _applying = false;
}

void FeedFollower::fail(const std::exception_ptr& failure) {
  ++_failures;
  try {
    std::rethrow_exception(failure);
  } catch (const CloudError& error) {
    _link.noteFailure(error);
  } catch (...) {
    // Everything else is told below.
  }
  std::string text = textOf(failure);
  if (text != _lastFailure) _log.warning("The feed is held up: " + text);
  _lastFailure = text;
  _problems.report(kAboutFeed, "Changes from the cloud are held up: " + text);
  // Who came meanwhile hears of it now rather than after the next try.
  for (const Idle& idle : takeWaiting()) idle(failure);
}

void FeedFollower::waitToRetry(const std::stop_token& stop) {
  auto pause = kFirstRetry * (1 << std::min(_failures - 1, 10));
  std::unique_lock lock(_lock);
  _changed.wait_for(lock, std::min<std::chrono::milliseconds>(pause, kLastRetry),
                    [this, &stop] { return stop.stop_requested() || !_waiting.empty(); });
}

}  // namespace tessera
