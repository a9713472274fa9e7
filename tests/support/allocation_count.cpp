#include "tests/support/allocation_count.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t taken = 0;
std::atomic<std::ptrdiff_t> live{0};

}  // namespace

// The other forms of the standard library come down to these.
void* operator new(std::size_t size) {
  using qvs_test::allocations_until_failure;
  const bool fails = qvs_test::allocations_may_fail && allocations_until_failure != 0 &&
                     --allocations_until_failure == 0;
  void* const block = fails ? nullptr : std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  ++taken;
  ++live;
  return block;
}

void operator delete(void* block) noexcept {
  if (block != nullptr) --live;
  std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
  operator delete(block);
}

namespace qvs_test {

std::size_t AllocationCount() noexcept {
  return taken;
}

std::ptrdiff_t LiveAllocations() noexcept {
  return live;
}

}  // namespace qvs_test
