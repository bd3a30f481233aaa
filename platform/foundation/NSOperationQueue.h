#pragma once

#include <memory>

namespace tessera {

class NSOperation;

// Starts the operations added to it, each on a thread of its own, several at once and
// without a limit, and keeps each alive until it has finished.
//
// Threads: any. Destruction waits for every main() that is running; operations that
// are still waiting for an answer stay alive until they finish.
class NSOperationQueue {
 public:
  NSOperationQueue();
  NSOperationQueue(const NSOperationQueue&) = delete;
  NSOperationQueue& operator=(const NSOperationQueue&) = delete;
  ~NSOperationQueue();

  // addOperation:
  void addOperation(std::shared_ptr<NSOperation> operation);
  [[nodiscard]] std::size_t operationCount() const;
  // Returns once every operation added so far has finished.
  void waitUntilAllOperationsAreFinished();

 private:
  struct State;
  std::shared_ptr<State> _state;
};

}  // namespace tessera
