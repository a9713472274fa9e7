#pragma once

#include <stdexcept>
#include <string_view>

/// What the program says, and what it ends with.
namespace qvs_host {

/// Something that keeps the program from doing what it was asked to do, told in words.
class HostError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// What the process ends with.
enum ExitStatus : int { kExitOk = 0, kExitFailed = 1, kExitBadArguments = 2 };

/// Nobody reads the standard output any more: the program ends, and quietly.
struct OutputClosed {};

/// Writes to the standard output at once, for people and pipes alike. Throws `OutputClosed`, or
/// `HostError` when it cannot be written to. [any thread]
void Write(std::string_view text);
void PrintLine(std::string_view line);

}  // namespace qvs_host
