#include "radio/library_thread.h"

#include <windows.h>

namespace plenar_ble {
namespace {

void Drop(void* library) {
  FreeLibrary(static_cast<HMODULE>(library));
}

}  // namespace

LibraryReference ReferToLibrary() {
  HMODULE library = nullptr;
  GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                     reinterpret_cast<const char*>(&ReferToLibrary), &library);
  return {library, Drop};
}

}  // namespace plenar_ble
