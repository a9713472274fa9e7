#pragma once

#include <cstddef>
#include <utility>

namespace qvs_test {

/// How often the calling thread has taken memory with `new`, in this program and the libraries it
/// loads, since it began.
std::size_t AllocationCount() noexcept;

/// How many blocks taken with `new` were not given back yet, over all threads.
std::ptrdiff_t LiveAllocations() noexcept;

/// Of the calling thread's allocations that may fail, how many there are until one does; 0: none
/// will.
inline thread_local std::size_t allocations_until_failure = 0;
inline thread_local bool allocations_may_fail = false;

/// Says, for as long as it lives, whether the thread's allocations may fail: those of the tested
/// code may, those of the test may not.
class AllocationsMayFail {
 public:
  explicit AllocationsMayFail(bool may) : before_(std::exchange(allocations_may_fail, may)) {}
  AllocationsMayFail(const AllocationsMayFail&) = delete;
  AllocationsMayFail& operator=(const AllocationsMayFail&) = delete;
  ~AllocationsMayFail() { allocations_may_fail = before_; }

 private:
  bool before_;
};

}  // namespace qvs_test
