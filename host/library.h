#pragma once

#include <windows.h>

namespace qvs_host {

/// A dynamic library, held loaded.
class Library {
 public:
  /// Loads a library by its file name; the program's own folder is searched first. Throws
  /// `HostError`.
  explicit Library(const char* file_name);
  ~Library();

  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  /// A function that the library exports. Throws `HostError` when there is none of that name.
  template <class Function>
  [[nodiscard]] Function* Resolve(const char* name) const {
    return reinterpret_cast<Function*>(ResolveUntyped(name));
  }

 private:
  using AnyFunction = void (*)();
  [[nodiscard]] AnyFunction ResolveUntyped(const char* name) const;

  const char* file_name_;
  HMODULE module_;
};

}  // namespace qvs_host
