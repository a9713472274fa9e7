#pragma once

#include "windef.h"

extern "C" {

SIMULATED_PC_EXPORT BOOL WINAPI PathRemoveFileSpecW(LPWSTR path);

}  // extern "C"
