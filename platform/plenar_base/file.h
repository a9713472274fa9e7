#pragma once

#include <string>

#include <plenar_base/plenar_base_export.h>

namespace util::file {

/// Joins a directory and a file name with exactly one separator: `dir` may end in one (either
/// kind). An empty `dir` gives `name`. [any thread]
[[nodiscard]] PLENAR_BASE_EXPORT std::string MakeFilePath(const std::string& dir,
                                                          const std::string& name);

}  // namespace util::file
