#include "framework/process_end.h"

#include <windows.h>

namespace quorvel_service {
namespace {

bool process_is_ending = false;

}  // namespace

bool IsProcessEnding() noexcept {
  return process_is_ending;
}

}  // namespace quorvel_service

/// Called before static destruction. `reserved` tells the end of the process (not null) from an
/// unload.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void* reserved) {
  if (reason == DLL_PROCESS_DETACH) quorvel_service::process_is_ending = reserved != nullptr;
  return TRUE;
}
