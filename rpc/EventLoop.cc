#include "rpc/EventLoop.h"

#include <csignal>
#include <exception>
#include <utility>

#include <kj/debug.h>
#include <pthread.h>

namespace tessera {

namespace {

thread_local const LoopQueue* currentLoopQueue = nullptr;

// Signals are for the threads that expect them: none is delivered to a thread made while
// this lives.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &_before);
  }
  ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &_before, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t _before;
};

}  // namespace

struct EventLoop::OnThread final : private kj::TaskSet::ErrorHandler {
  OnThread(const FailureHandler& handler, kj::AsyncIoContext& context)
      : onTaskFailure(handler),
        io(context),
        tasks(std::in_place, static_cast<kj::TaskSet::ErrorHandler&>(*this)) {}

  void taskFailed(kj::Exception&& exception) override { onTaskFailure(exception); }

  const FailureHandler& onTaskFailure;
  kj::AsyncIoContext& io;
  LoopValues values;
  kj::Own<kj::PromiseFulfiller<void>> quit;
  std::optional<kj::TaskSet> tasks;
  bool stopping = false;
};

EventLoop::EventLoop(FailureHandler onTaskFailure)
    : _onTaskFailure(std::move(onTaskFailure)), _queue(std::make_shared<LoopQueue>()) {
  std::promise<void> started;
  auto hasStarted = started.get_future();
  {
    const SignalsBlocked blocked;
    _thread = std::thread([this, &started] { run(started); });
  }
  try {
    hasStarted.get();
  } catch (...) {
    _thread.join();
    throw;
  }
}

EventLoop::~EventLoop() {
  KJ_ASSERT(!isCurrent(), "a loop cannot join itself");
  post([this] { onThread().quit->fulfill(); });
  _thread.join();
}

void EventLoop::writeToStandardError(const kj::Exception& failure) {
  KJ_LOG(ERROR, "a task of the event loop failed", failure);
}

const LoopQueue* EventLoop::currentQueue() noexcept {
  return currentLoopQueue;
}

void EventLoop::add(kj::Promise<void> promise) {
  auto& here = onThread();
  if (here.stopping) return;  // dropped, as those before it are
  here.tasks->add(kj::mv(promise));
}

kj::LowLevelAsyncIoProvider& EventLoop::io() {
  return *onThread().io.lowLevelProvider;
}
kj::UnixEventPort& EventLoop::eventPort() {
  return onThread().io.unixEventPort;
}
kj::Timer& EventLoop::timer() {
  return onThread().io.provider->getTimer();
}
LoopValues& EventLoop::values() {
  return onThread().values;
}

EventLoop::OnThread& EventLoop::onThread() {
  KJ_REQUIRE(isCurrent(), "used off the loop");
  return *_onThread;
}

void EventLoop::run(std::promise<void>& started) {
  ::pthread_setname_np(::pthread_self(), "rpc-loop");
  std::optional<kj::AsyncIoContext> context;
  try {
    context.emplace(kj::setupAsyncIo());
  } catch (...) {
    started.set_exception(std::current_exception());
    return;
  }
  context->waitScope.setBusyPollInterval(kBusyPollInterval);
  currentLoopQueue = _queue.get();
  serve(*context, started);
  currentLoopQueue = nullptr;
}

void EventLoop::serve(kj::AsyncIoContext& context, std::promise<void>& started) {
  OnThread here(_onTaskFailure, context);
  _onThread = &here;
  auto quit = kj::newPromiseAndFulfiller<void>();
  here.quit = kj::mv(quit.fulfiller);
  {
    kj::UnixEventPort::FdObserver observer(context.unixEventPort, _queue->fd(),
                                           kj::UnixEventPort::FdObserver::OBSERVE_READ);
    const auto pumping = pump(observer).eagerlyEvaluate(
        [this](kj::Exception&& failure) { _onTaskFailure(failure); });
    started.set_value();  // `started` is gone from here on
    quit.promise.wait(context.waitScope);
  }
  runTasks(_queue->close());
  // What the dropped promises and values release may still be used by their destructors:
  // promises first, and `here` last.
  here.stopping = true;
  here.tasks.reset();
  here.values.clear();
}

void EventLoop::runTasks(std::vector<Task> tasks) {
  for (auto& task : tasks) {
    const auto failure = kj::runCatchingExceptions([&task] {
      auto once = kj::mv(task);  // what it captured goes before the next task
      once();
    });
    KJ_IF_MAYBE (exception, failure) {
      _onTaskFailure(*exception);
    }
  }
}

kj::Promise<void> EventLoop::pump(kj::UnixEventPort::FdObserver& observer) {
  runTasks(_queue->take());
  return observer.whenBecomesReadable().then([this, &observer] { return pump(observer); });
}

}  // namespace tessera
