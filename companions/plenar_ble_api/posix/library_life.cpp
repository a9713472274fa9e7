#include <dlfcn.h>

#include "radio/library_thread.h"
#include "radio/radio.h"

namespace plenar_ble {
namespace {

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
  if (dladdr(reinterpret_cast<const void*>(&ReferToLibrary), &info) == 0) return nullptr;
  return LibraryReference(dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD));
}

void LibraryRelease::operator()(void* library) const {
  dlclose(library);
}

}  // namespace plenar_ble
