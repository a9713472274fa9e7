#pragma once

#include <cstdint>

#include <plenar_base/plenar_base_export.h>

namespace util::time {

enum class ClockType : std::int32_t {
  kSeconds = 1,  ///< Whole seconds since 1970-01-01 UTC.
};

/// Wall-clock time in whole seconds since 1970-01-01 UTC. May jump back when the clock is set.
/// [any thread]
[[nodiscard]] PLENAR_BASE_EXPORT std::uint64_t GetTimestamp() noexcept;

/// The same clock under the name for times that are compared over days. [any thread]
[[nodiscard]] PLENAR_BASE_EXPORT std::uint64_t GetServerTimestamp(ClockType type) noexcept;

}  // namespace util::time
