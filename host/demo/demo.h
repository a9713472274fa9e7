#pragma once

namespace qvs_host {

/// Plays the script in simulated time, prints the time line, and checks it. The exit status is 0
/// only when everything happened that was to happen. Throws `HostError` when the module or the
/// virtual radio cannot be used.
[[nodiscard]] int RunDemo();

}  // namespace qvs_host
