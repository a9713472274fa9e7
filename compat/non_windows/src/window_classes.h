#pragma once

#include <vector>

#include "pc_state.h"

namespace simulated_pc {

/// The class with this name (or atom) of an instance; a null instance stands for any.
[[nodiscard]] std::vector<WindowClass>::iterator FindClass(PcState& pc, LPCSTR name,
                                                           HINSTANCE instance);

}  // namespace simulated_pc
