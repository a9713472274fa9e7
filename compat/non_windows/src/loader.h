#pragma once

#include <windows.h>

namespace simulated_pc {

/// The module of the process's executable.
[[nodiscard]] HMODULE ExecutableModule() noexcept;

}  // namespace simulated_pc
