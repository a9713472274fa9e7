#pragma once

#include <string>

/// A library loaded at run time, as its users load it.
class SharedLibrary {
 public:
  /// Ends the program when `path` cannot be loaded.
  explicit SharedLibrary(std::string path);
  SharedLibrary(const SharedLibrary&) = delete;
  SharedLibrary& operator=(const SharedLibrary&) = delete;
  ~SharedLibrary();

  /// Null when there is no such export.
  [[nodiscard]] void* Find(const char* name) const;

  template <typename Function>
  void Bind(Function*& function, const char* name) const {
    function = reinterpret_cast<Function*>(Find(name));
  }

  /// Whether the process has this file loaded.
  [[nodiscard]] static bool IsLoaded(const std::string& path);

 private:
  void* handle_;
};
