#pragma once

namespace base {

/// A position in the caller's source, handed along with timers, posted tasks and futures so that
/// whoever runs them can say where they came from.
///
/// Holds a pointer, not a copy: `file` must be a string literal (or live as long as one), which
/// `__FILE__` is. It must not be read after the library that holds the literal has been unloaded.
class Location {
 public:
  constexpr Location(const char* file, int line) noexcept : file_(file), line_(line) {}

  [[nodiscard]] constexpr const char* File() const noexcept { return file_; }
  [[nodiscard]] constexpr int Line() const noexcept { return line_; }

 private:
  const char* file_;
  int line_;
};

}  // namespace base
