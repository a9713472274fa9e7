#include <cstdlib>

/// What the tests look up in a loaded library. It needs the C library, whose calls it does not
/// export.
extern "C" [[gnu::visibility("default")]] int SampleAnswer() {
  return static_cast<int>(std::strtol("42", nullptr, 10));
}
