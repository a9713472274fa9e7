#pragma once

#include <string_view>

namespace qvs_host {

/// Nobody reads the standard output any more: the program ends, and quietly.
struct OutputClosed {};

/// Writes to the standard output at once, for people and pipes alike. Throws `OutputClosed`, or
/// `HostError` when it cannot be written to. [any thread]
void Write(std::string_view text);
void PrintLine(std::string_view line);

}  // namespace qvs_host
