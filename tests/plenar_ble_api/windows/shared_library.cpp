#include "tests/plenar_ble_api/shared_library.h"

#include <cstdio>
#include <cstdlib>

#include <windows.h>

SharedLibrary::SharedLibrary(std::string path) : handle_(LoadLibraryA(path.c_str())) {
  if (handle_ != nullptr) return;
  std::fprintf(stderr, "%s: error %lu\n", path.c_str(), GetLastError());
  std::abort();
}

SharedLibrary::~SharedLibrary() {
  FreeLibrary(static_cast<HMODULE>(handle_));
}

void* SharedLibrary::Find(const char* name) const {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle_), name));
}

bool SharedLibrary::IsLoaded(const std::string& path) {
  return GetModuleHandleA(path.c_str()) != nullptr;
}
