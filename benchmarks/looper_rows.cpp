// Tasks that cross threads, and timers. The benchmarks' own thread is the main looper thread.

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <semaphore>
#include <thread>
#include <vector>

#include <plenar_base/looper.h>
#include <plenar_base/timer.h>
#include <uv.h>
#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/post.hpp>

#include "benchmarks/harness.h"
#include "benchmarks/loaded_module.h"

namespace qvs_bench {
namespace {

using base::threading::CreateTimer;
using base::threading::LooperThread;
using base::threading::Timer;
using Clock = std::chrono::steady_clock;
using AnyTask = std::function<void()>;

constexpr base::Location kHere{__FILE__, __LINE__};
constexpr std::size_t kTasks = 100'000;

// Each queue: `Post` on any thread; `Run` on one until a task calls `Quit`; `RunPosted` never
// waits.

class OurQueue {
 public:
  template <class Task>
  static void Post(Task task) {
    LooperThread::MainLooper()->PostTask(std::move(task), 0, kHere);
  }
  void Run() { looper_.Run(); }
  void Quit() { looper_.Quit(); }
  void RunPosted() { looper_.RunUntilIdle(); }

 private:
  base::threading::MainLooperScope& looper_ = LoadedModule::Get().looper();
};

/// Tasks that the reader takes over whole, by swapping the vector with an empty one.
class TaskVector {
 protected:
  /// Whether it was empty.
  bool Add(AnyTask task) {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    return tasks_.size() == 1;
  }
  void RunAll(std::unique_lock<std::mutex> lock) {
    running_.swap(tasks_);
    lock.unlock();
    for (const AnyTask& task : running_) task();
    running_.clear();
  }

  std::mutex mutex_;
  std::vector<AnyTask> tasks_;

 private:
  std::vector<AnyTask> running_;
};

/// What one writes oneself. https://en.cppreference.com/w/cpp/thread/condition_variable
class SwappedVector : TaskVector {
 public:
  void Post(AnyTask task) {
    if (Add(std::move(task))) changed_.notify_one();
  }
  void Run() {
    for (quit_ = false; !quit_;) {
      std::unique_lock lock(mutex_);
      changed_.wait(lock, [this] { return !tasks_.empty(); });
      RunAll(std::move(lock));
    }
  }
  void Quit() { quit_ = true; }
  void RunPosted() { RunAll(std::unique_lock(mutex_)); }

 private:
  std::condition_variable changed_;
  bool quit_ = false;
};

/// The same vector announced by an asynchronous handle; many sends may be one call.
/// https://docs.libuv.org/en/v1.x/async.html
class UvQueue : TaskVector {
 public:
  UvQueue() {
    uv_loop_init(&loop_);
    uv_async_init(&loop_, &async_, [](uv_async_t* async) {
      auto* const queue = static_cast<UvQueue*>(async->data);
      queue->RunAll(std::unique_lock(queue->mutex_));
    });
    async_.data = this;
  }
  ~UvQueue() {
    uv_close(reinterpret_cast<uv_handle_t*>(&async_), nullptr);
    uv_run(&loop_, UV_RUN_DEFAULT);
    uv_loop_close(&loop_);
  }
  UvQueue(const UvQueue&) = delete;
  UvQueue& operator=(const UvQueue&) = delete;

  void Post(AnyTask task) {
    Add(std::move(task));
    uv_async_send(&async_);
  }
  void Run() { uv_run(&loop_, UV_RUN_DEFAULT); }
  void Quit() { uv_stop(&loop_); }
  void RunPosted() { uv_run(&loop_, UV_RUN_NOWAIT); }

 private:
  uv_loop_t loop_;
  uv_async_t async_;
};

/// The concurrency hint says that one thread runs it. https://think-async.com/Asio/
class AsioQueue {
 public:
  template <class Task>
  void Post(Task task) {
    asio::post(context_, std::move(task));
  }
  void Run() {
    context_.restart();
    context_.run();
  }
  void Quit() { context_.stop(); }
  void RunPosted() {
    context_.restart();
    context_.poll();
  }

 private:
  asio::io_context context_{1};
  const asio::executor_work_guard<asio::io_context::executor_type> work_ =
      asio::make_work_guard(context_);
};

template <class Queue>
void FromAnotherThread(benchmark::State& state) {
  Queue queue;
  for (auto _ : state) {
    std::size_t left = kTasks;
    std::jthread poster([&] {
      for (std::size_t i = 0; i < kTasks; ++i) {
        queue.Post([&] {
          if (--left == 0) queue.Quit();
        });
      }
    });
    queue.Run();
  }
  PerItem(state, kTasks);
}

template <class Queue>
void OnOneThread(benchmark::State& state) {
  Queue queue;
  for (auto _ : state) {
    std::size_t ran = 0;
    for (std::size_t i = 0; i < kTasks; ++i) queue.Post([&ran] { ++ran; });
    queue.RunPosted();
    if (ran != kTasks) state.SkipWithError("not everything ran");
  }
  PerItem(state, kTasks);
}

void SpinFor(Clock::duration duration) {
  for (const auto end = Clock::now() + duration; Clock::now() < end;) {
  }
}

template <class Queue>
void Lonely(benchmark::State& state) {
  Queue queue;
  std::binary_semaphore next(0);
  Clock::time_point posted;
  Clock::time_point ran;
  std::jthread poster([&](const std::stop_token& stop) {
    for (next.acquire(); !stop.stop_requested(); next.acquire()) {
      SpinFor(std::chrono::microseconds(50));  // until the other thread waits
      posted = Clock::now();
      queue.Post([&] {
        ran = Clock::now();
        queue.Quit();
      });
    }
  });
  for (auto _ : state) {
    next.release();
    queue.Run();
    state.SetIterationTime(std::chrono::duration<double>(ran - posted).count());
  }
  poster.request_stop();
  next.release();
}

const Registered kTaskRows = {
    {"5 task from another thread, one of 100,000",
     1.2,
     {{"ours", &FromAnotherThread<OurQueue>},
      {"swapped vector", &FromAnotherThread<SwappedVector>},
      {"libuv", &FromAnotherThread<UvQueue>},
      {"Asio", &FromAnotherThread<AsioQueue>}}},
    {"5 task of the same thread, one of 100,000",
     1.2,
     {{"ours", &OnOneThread<OurQueue>},
      {"swapped vector", &OnOneThread<SwappedVector>},
      {"libuv", &OnOneThread<UvQueue>},
      {"Asio", &OnOneThread<AsioQueue>}}},
    {"5 lonely task for a waiting thread",
     1.1,
     {{"ours", &Lonely<OurQueue>}, {"swapped vector", &Lonely<SwappedVector>}},
     {.iterations = 2000, .times_itself = true}},
};

// Timers, against libuv's, which count from when the loop last looked at the clock; ours count from
// now, and so look at it at each start. https://docs.libuv.org/en/v1.x/timer.html

/// Not one after the other, as in life.
std::uint64_t Interval(std::size_t i) {
  return 3'600'000 + i * 7919 % 100'000;
}

class OurTimers {
 public:
  static auto Create() {
    return CreateTimer([] { ++ticks; }, kHere);
  }
  static void Start(Timer& timer, std::uint64_t interval, bool repeat) {
    timer.Start(interval, repeat);
  }
  static void Stop(Timer& timer) { timer.Stop(); }
  static void Release(std::unique_ptr<Timer> timer) { timer.reset(); }
  void RunDue() { looper_.RunUntilIdle(); }

  static inline std::size_t ticks = 0;

 private:
  base::threading::MainLooperScope& looper_ = LoadedModule::Get().looper();
};

class UvTimers {
 public:
  UvTimers() { uv_loop_init(&loop_); }
  ~UvTimers() {
    uv_run(&loop_, UV_RUN_DEFAULT);
    uv_loop_close(&loop_);
  }
  UvTimers(const UvTimers&) = delete;
  UvTimers& operator=(const UvTimers&) = delete;

  std::unique_ptr<uv_timer_t> Create() {
    auto timer = std::make_unique<uv_timer_t>();
    uv_timer_init(&loop_, timer.get());
    return timer;
  }
  static void Start(uv_timer_t& timer, std::uint64_t interval, bool repeat) {
    uv_timer_start(
        &timer, [](uv_timer_t*) { ++ticks; }, interval, repeat ? interval : 0);
  }
  static void Stop(uv_timer_t& timer) { uv_timer_stop(&timer); }
  /// The loop has to run before its memory may go.
  static void Release(std::unique_ptr<uv_timer_t> timer) {
    uv_close(reinterpret_cast<uv_handle_t*>(timer.release()),
             [](uv_handle_t* handle) { delete reinterpret_cast<uv_timer_t*>(handle); });
  }
  void RunDue() { uv_run(&loop_, UV_RUN_NOWAIT); }

  static inline std::size_t ticks = 0;

 private:
  uv_loop_t loop_;
};

/// So many timers that run, and are released in the end.
template <class Timers>
class Live {
 public:
  template <class IntervalOf>
  Live(Timers& timers, std::size_t count, IntervalOf interval_of, bool repeat) {
    for (std::size_t i = 0; i < count; ++i) {
      timers_.push_back(timers.Create());
      Timers::Start(*timers_.back(), interval_of(i), repeat);
    }
  }
  ~Live() {
    for (auto& timer : timers_) Timers::Release(std::move(timer));
  }
  Live(const Live&) = delete;
  Live& operator=(const Live&) = delete;

 private:
  std::vector<decltype(std::declval<Timers>().Create())> timers_;
};

template <class Timers, std::size_t live_count>
void StartAndStop(benchmark::State& state) {
  Timers timers;
  const Live<Timers> live(timers, live_count, &Interval, false);
  auto timer = timers.Create();
  std::size_t i = 0;
  for (auto _ : state) {
    Timers::Start(*timer, Interval(++i), false);
    Timers::Stop(*timer);
  }
  Timers::Release(std::move(timer));
}

constexpr std::size_t kAtOnce = 64;

template <class Timers, std::size_t live_count>
void CreateToDestroy(benchmark::State& state) {
  Timers timers;
  const Live<Timers> live(timers, live_count, &Interval, false);
  std::size_t i = 0;
  for (auto _ : state) {
    for (std::size_t n = 0; n < kAtOnce; ++n) {
      auto timer = timers.Create();
      Timers::Start(*timer, Interval(++i), false);
      Timers::Stop(*timer);
      Timers::Release(std::move(timer));
    }
    timers.RunDue();
  }
  PerItem(state, kAtOnce);
}

template <class Timers, std::size_t live_count>
void Fire(benchmark::State& state) {
  constexpr std::uint64_t kInterval = live_count / 400 + 1;  // longer than all ticks take
  Timers timers;
  timers.RunDue();  // looks at the clock
  const Live<Timers> live(
      timers, live_count, [](std::size_t) { return kInterval; }, true);
  for (auto _ : state) {
    SpinFor(std::chrono::milliseconds(kInterval + 1));
    const std::size_t ticks = Timers::ticks;
    const auto start = Clock::now();
    timers.RunDue();
    const std::chrono::duration<double> took = Clock::now() - start;
    if (Timers::ticks < ticks + live_count) state.SkipWithError("a tick was missed");
    state.SetIterationTime(took.count() * live_count / static_cast<double>(Timers::ticks - ticks));
  }
  PerItem(state, live_count);
}

template <std::size_t live_count>
Registered TimerRows() {
  const std::string live = std::to_string(live_count);
  return {{"6 timer: start and stop with " + live + " live",
           1.0,
           {{"ours", &StartAndStop<OurTimers, live_count>},
            {"libuv", &StartAndStop<UvTimers, live_count>}},
           {.picture = "timer start and stop", .size = live_count}},
          {"6 timer: create, start, stop, destroy with " + live + " live",
           1.0,
           {{"ours", &CreateToDestroy<OurTimers, live_count>},
            {"libuv", &CreateToDestroy<UvTimers, live_count>}}},
          {"6 timer: tick of one in " + live,
           1.0,
           {{"ours", &Fire<OurTimers, live_count>}, {"libuv", &Fire<UvTimers, live_count>}},
           {.iterations = 30, .times_itself = true, .picture = "timer tick", .size = live_count}}};
}

const Registered kTimerRows[] = {TimerRows<10>(), TimerRows<1'000>(), TimerRows<10'000>()};

}  // namespace
}  // namespace qvs_bench
