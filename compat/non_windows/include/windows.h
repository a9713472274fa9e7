#pragma once

/// The part of the Windows interface that the project's sources use, for the platforms that do not
/// have it: names, signatures, values and sizes are those of the real headers. The calls work on
/// the machine that <simulated_pc/simulated_pc.h> sets up.

#include <cstddef>

#include "winbase.h"
#include "windef.h"
#include "winerror.h"
#include "winreg.h"
#include "winuser.h"

// The C library's bounds-checked text calls, which the other platforms' <cwchar> does not have.
using errno_t = int;
using rsize_t = std::size_t;

extern "C" {

/// A constraint violation empties `destination` and gives EINVAL or ERANGE; nothing is aborted.
SIMULATED_PC_EXPORT errno_t wcscat_s(wchar_t* destination, rsize_t capacity, const wchar_t* source);

}  // extern "C"
