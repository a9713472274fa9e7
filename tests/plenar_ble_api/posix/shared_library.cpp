#include "tests/plenar_ble_api/shared_library.h"

#include <cstdio>
#include <cstdlib>

#include <dlfcn.h>

SharedLibrary::SharedLibrary(std::string path) : handle_(dlopen(path.c_str(), RTLD_NOW)) {
  if (handle_ != nullptr) return;
  std::fprintf(stderr, "%s\n", dlerror());
  std::abort();
}

SharedLibrary::~SharedLibrary() {
  dlclose(handle_);
}

void* SharedLibrary::Find(const char* name) const {
  return dlsym(handle_, name);
}

bool SharedLibrary::IsLoaded(const std::string& path) {
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (handle != nullptr) dlclose(handle);
  return handle != nullptr;
}
