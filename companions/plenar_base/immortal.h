#pragma once

#include <cstddef>
#include <new>

/// The one `T` of the process, made on first use and never destroyed: safe to use from static
/// destructors and from threads that outlive `main`. Takes no memory but what `T()` takes.
template <class T>
T& Immortal() {
  alignas(T) static std::byte memory[sizeof(T)];
  static T& object = *new (memory) T();
  return object;
}
