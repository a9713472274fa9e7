#include <windows.h>

#include "radio/library_thread.h"
#include "radio/radio.h"

namespace plenar_ble {

LibraryReference ReferToLibrary() {
  HMODULE library = nullptr;
  GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                     reinterpret_cast<const char*>(&ReferToLibrary), &library);
  return LibraryReference(library);
}

void LibraryRelease::operator()(void* library) const {
  FreeLibrary(static_cast<HMODULE>(library));
}

}  // namespace plenar_ble

/// When the library is unloaded, none of its threads is alive, since each keeps it loaded, and only
/// memory is left to release. At the end of the process the system has ended the threads wherever
/// they were: locks may be held for ever, and nothing must be touched.
BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID at_process_end) {
  if (reason == DLL_PROCESS_DETACH && at_process_end == nullptr) {
    plenar_ble::ActiveRadio().Clear();
  }
  return TRUE;
}
