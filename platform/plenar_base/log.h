#pragma once

#include <string>

#include <plenar_base/plenar_base_export.h>

namespace base::log {

/// The configured level; 0 while nothing takes lines. A line at level N is to be written when this
/// is N or more; a smaller number is more severe (1 fatal, 3 error, 4 warning, 6 information,
/// 7 verbose). [any thread]
[[nodiscard]] PLENAR_BASE_EXPORT int GetLogLevel() noexcept;

/// Hands one finished line to every sink, if `level` is at most `GetLogLevel`.
/// `tag` names the origin and is empty for the process's own lines; `file` is a base name;
/// `message` may hold any bytes. Lines of different threads do not mix. [any thread]
PLENAR_BASE_EXPORT void PrintLog(std::string&& tag, std::string&& file, int line,
                                 std::string&& function, int level, std::string&& message);

/// Asked once each time a line writer is about to shorten an over-long message. Returns whether
/// long lines are of interest. [any thread]
PLENAR_BASE_EXPORT bool GetCheckLogLength() noexcept;

}  // namespace base::log
