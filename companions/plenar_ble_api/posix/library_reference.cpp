#include "radio/library_thread.h"

#include <dlfcn.h>

namespace plenar_ble {
namespace {

void Drop(void* library) {
  dlclose(library);
}

}  // namespace

LibraryReference ReferToLibrary() {
  Dl_info info{};
  void* library = nullptr;
  if (dladdr(reinterpret_cast<const void*>(&ReferToLibrary), &info) != 0) {
    library = dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD);
  }
  return {library, Drop};
}

}  // namespace plenar_ble
