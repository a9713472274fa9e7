#pragma once

#include <simulated_pc/simulated_pc_export.h>

namespace simulated_pc {

/// For the library that runs the main looper: what is called, on any thread, after a message has
/// been queued for a window, so that the looper's thread wakes and fetches it with `PeekMessageA`.
/// Null removes it; when the call returns, the old one is not running any more, so it must not be
/// made with a lock held that the waker takes.
using MessageWaker = void (*)();
SIMULATED_PC_EXPORT void SetMessageWaker(MessageWaker waker);

}  // namespace simulated_pc
