#pragma once

#include <memory>

namespace plenar_ble {

/// Keeps the library loaded, so that no thread of its runs in code that is gone, whatever its user
/// unloads. Dropping one is for a caller that has the library loaded himself.
using LibraryReference = std::unique_ptr<void, void (*)(void*)>;

/// Null when the code is part of the program and needs no keeping.
[[nodiscard]] LibraryReference ReferToLibrary();

}  // namespace plenar_ble
