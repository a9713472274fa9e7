#pragma once

#include <windows.h>

extern "C" SIMULATED_PC_EXPORT BOOL WINAPI PathRemoveFileSpecW(wchar_t* path);
