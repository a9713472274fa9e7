#pragma once

#include <string_view>

namespace qvs_host {

/// Writes a line to the standard output at once, for people and pipes alike. Throws `HostError`
/// when nobody takes it.
void PrintLine(std::string_view line);

}  // namespace qvs_host
