#pragma once

namespace quorvel_service {

/// Whether static destruction runs because the process ends, not because the module is unloaded,
/// and the system has ended all other threads before: whatever they held a lock on stays locked,
/// and libraries loaded after the module may be gone. [static destruction]
[[nodiscard]] bool IsProcessEnding() noexcept;

}  // namespace quorvel_service
