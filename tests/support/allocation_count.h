#pragma once

#include <cstddef>

namespace qvs_test {

/// How often the calling thread has taken memory with `new`, in this program and the libraries it
/// loads, since it began.
std::size_t AllocationCount() noexcept;

/// How many blocks taken with `new` were not given back yet, over all threads.
std::ptrdiff_t LiveAllocations() noexcept;

}  // namespace qvs_test
