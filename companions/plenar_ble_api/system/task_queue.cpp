#include "system/task_queue.h"

#include <utility>

#include "radio/library_thread.h"
#include "system/com.h"

namespace plenar_ble {

void TaskQueue::Post(Task task) {
  const std::scoped_lock lock(mutex_);
  if (closed_) return;
  tasks_.push_back(std::move(task));
  posted_.notify_one();
}

void TaskQueue::Close(Task last) {
  std::deque<Task> dropped;  // Let go without the lock.
  const std::scoped_lock lock(mutex_);
  if (std::exchange(closed_, true)) return;
  dropped.swap(tasks_);
  if (last) tasks_.push_back(std::move(last));
  posted_.notify_one();
}

void TaskQueue::Run() {
  std::unique_lock lock(mutex_);
  while (true) {
    posted_.wait(lock, [&] { return closed_ || !tasks_.empty(); });
    if (tasks_.empty()) return;
    Task task = std::move(tasks_.front());
    tasks_.pop_front();
    lock.unlock();
    try {
      task();
    } catch (...) {
      // A task that can fail says so itself: this is for memory that ran out meanwhile.
    }
    task = {};
    lock.lock();
  }
}

std::thread StartTaskThread(std::shared_ptr<TaskQueue> queue) {
  return StartLibraryThread([queue = std::move(queue)] {
    const winrt::Apartment apartment;
    queue->Run();
  });
}

}  // namespace plenar_ble
