#pragma once

/// The one `T` of the process, made on first use and never destroyed: safe to use from static
/// destructors and from threads that outlive `main`.
template <class T>
T& Immortal() {
  static T& object = *new T();
  return object;
}
