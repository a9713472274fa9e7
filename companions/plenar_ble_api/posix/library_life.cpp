#include <dlfcn.h>

#include "radio/library_thread.h"
#include "radio/radio.h"

namespace plenar_ble {
namespace {

void Drop(void* library) {
  dlclose(library);
}

/// Ends when the library is unloaded, with none of its threads alive, or at the end of the process
/// before the statics of whatever was there when the library was loaded: the threads end here and
/// call into nothing that is destroyed later.
struct UntilUnload {
  ~UntilUnload() { ActiveRadio().Clear(); }
};

const UntilUnload until_unload;

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
