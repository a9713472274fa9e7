#pragma once

#include <cstdint>

namespace plenar_ble {

/// A number that is the same throughout a process and another one in every other process.
[[nodiscard]] std::uint64_t ProcessIdentity();

}  // namespace plenar_ble
