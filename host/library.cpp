#include "host/library.h"

#include <string>

#include "host/host_error.h"

namespace qvs_host {

Library::Library(const char* file_name) : file_name_(file_name), module_(LoadLibraryA(file_name)) {
  if (module_ == nullptr) {
    throw HostError(std::string("cannot load ") + file_name + ", system error " +
                    std::to_string(GetLastError()));
  }
}

Library::~Library() {
  FreeLibrary(module_);
}

Library::AnyFunction Library::ResolveUntyped(const char* name) const {
  const auto function = reinterpret_cast<AnyFunction>(GetProcAddress(module_, name));
  if (function == nullptr) {
    throw HostError(std::string(file_name_) + " does not export " + name);
  }
  return function;
}

}  // namespace qvs_host
