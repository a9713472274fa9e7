#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace plenar_ble {

/// Tasks for one thread, which does them in their order. All operations are for any thread.
class TaskQueue {
 public:
  using Task = std::function<void()>;

  /// Once the queue is closed this does nothing.
  void Post(Task task);

  /// Drops the tasks that wait. The running one and `last`, if there is one, are the last.
  void Close(Task last = {});

  /// Does the tasks until the queue is closed. What one throws goes no further.
  void Run();

 private:
  std::mutex mutex_;
  std::condition_variable posted_;
  std::deque<Task> tasks_;
  bool closed_ = false;
};

/// A thread of the library, in the process's multi-threaded apartment, that does a queue's tasks.
std::thread StartTaskThread(std::shared_ptr<TaskQueue> queue);

}  // namespace plenar_ble
