#include "loader.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "pc_state.h"
#include "stand_in_call.h"

namespace simulated_pc {
namespace {

namespace fs = std::filesystem;

/// Taken when this library is loaded: later, the system loader's lock could be held by a library
/// whose start-up makes stand-in calls.
const auto executable_module = static_cast<HMODULE>(dlopen(nullptr, RTLD_NOW));

fs::path ExecutablePath() {
  const std::string path = LockedPc()->machine.executable_path;
  if (!path.empty()) return path;
  std::error_code error;
  return fs::read_symlink("/proc/self/exe", error);
}

std::string_view FileName(std::string_view path) {
  return path.substr(path.find_last_of('/') + 1);
}

/// A Windows module name as a path of this system: slashes, and ".dll" unless the name has a dot.
std::string ToPath(LPCSTR name) {
  std::string path = name != nullptr ? name : "";
  if (path.empty()) throw Win32Error{ERROR_MOD_NOT_FOUND};
  std::ranges::replace(path, '\\', '/');
  if (FileName(path).find('.') == std::string_view::npos) path += ".dll";
  if (path.ends_with('.')) path.pop_back();
  return path;
}

/// Where to load from: a bare name that the executable's folder has is that file.
std::string FindFile(const std::string& path) {
  if (path.find('/') != std::string::npos) return path;
  const fs::path beside_executable = ExecutablePath().parent_path() / path;
  std::error_code error;
  return fs::is_regular_file(beside_executable, error) ? beside_executable.string() : path;
}

/// The loader's text begins with the name of the file that did not load: if that is another one,
/// a library that this one needs is missing.
DWORD LoadError(const std::string& path) {
  const std::string_view text = dlerror();
  std::error_code error;
  return text.starts_with(path + ": ") && fs::is_regular_file(path, error) ? ERROR_BAD_EXE_FORMAT
                                                                           : ERROR_MOD_NOT_FOUND;
}

/// The system loader's record of a module; null stands for the executable. Throws `Win32Error` if
/// the module is not loaded.
link_map& FindModule(HMODULE module) {
  if (module == nullptr) module = ExecutableModule();
  if (module != ExecutableModule() && !LockedPc()->libraries.contains(module)) {
    throw Win32Error{ERROR_MOD_NOT_FOUND};
  }
  link_map* map = nullptr;
  if (dlinfo(module, RTLD_DI_LINKMAP, &map) != 0) throw Win32Error{ERROR_MOD_NOT_FOUND};
  return *map;
}

/// Null unless the module itself exports the symbol: the system's loader would search the
/// libraries that it needs too.
void* FindExport(HMODULE module, LPCSTR name) {
  const link_map& map = FindModule(module);
  // Numbers in place of names are for exports by ordinal, which there are none of here.
  if (reinterpret_cast<std::uintptr_t>(name) <= 0xFFFF) return nullptr;
  void* const symbol = dlsym(module != nullptr ? module : ExecutableModule(), name);
  Dl_info info;
  void* owner = nullptr;
  const bool found =
      symbol != nullptr && dladdr1(symbol, &info, &owner, RTLD_DL_LINKMAP) != 0 && owner == &map;
  return found ? symbol : nullptr;
}

/// The path of a module with backslashes.
std::wstring ModulePath(HMODULE module) {
  const link_map& map = FindModule(module);
  const bool is_executable = module == nullptr || module == ExecutableModule();
  try {
    const auto path = (is_executable ? ExecutablePath() : fs::absolute(map.l_name)).u32string();
    std::wstring text(path.begin(), path.end());
    std::ranges::replace(text, L'/', L'\\');
    return text;
  } catch (const std::system_error&) {
    throw Win32Error{ERROR_NO_UNICODE_TRANSLATION};
  }
}

}  // namespace

HMODULE ExecutableModule() noexcept {
  return executable_module;
}

int SimulatedPc::LibraryLoadCount(const std::string& file_name) const {
  const LockedPc pc;
  int count = 0;
  for (const auto& [module, library] : pc->libraries) {
    if (EqualIgnoringCase(library.file_name, file_name)) count += library.load_count;
  }
  return count;
}

STAND_IN HMODULE LoadLibraryA(LPCSTR file_name) {
  return StandInCall("LoadLibraryA", file_name).Run(nullptr, [&] {
    const std::string path = FindFile(ToPath(file_name));
    // The library's start-up may make calls of its own, so the state is not locked here.
    const auto module = static_cast<HMODULE>(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL));
    if (module == nullptr) throw Win32Error{LoadError(path)};
    const LockedPc pc;
    Library& library = pc->libraries[module];
    library.file_name = FileName(path);
    ++library.load_count;
    return module;
  });
}

STAND_IN BOOL FreeLibrary(HMODULE module) {
  return StandInCall("FreeLibrary", module).Run(FALSE, [&] {
    if (module == nullptr) throw Win32Error{ERROR_INVALID_HANDLE};
    if (module == ExecutableModule()) return TRUE;
    {
      const LockedPc pc;
      const auto found = pc->libraries.find(module);
      if (found == pc->libraries.end()) throw Win32Error{ERROR_MOD_NOT_FOUND};
      if (--found->second.load_count == 0) pc->libraries.erase(found);
    }
    dlclose(module);
    return TRUE;
  });
}

STAND_IN FARPROC GetProcAddress(HMODULE module, LPCSTR name) {
  return StandInCall("GetProcAddress", module, name).Run(nullptr, [&] {
    void* const symbol = FindExport(module, name);
    if (symbol == nullptr) throw Win32Error{ERROR_PROC_NOT_FOUND};
    return reinterpret_cast<FARPROC>(symbol);
  });
}

STAND_IN HMODULE GetModuleHandleA(LPCSTR module_name) {
  return StandInCall("GetModuleHandleA", module_name).Run(nullptr, [&] {
    if (module_name == nullptr) return ExecutableModule();
    const std::string path = ToPath(module_name);
    const std::string_view name = FileName(path);
    const LockedPc pc;
    const auto found = std::ranges::find_if(pc->libraries, [&](const auto& entry) {
      return EqualIgnoringCase(entry.second.file_name, name);
    });
    if (found == pc->libraries.end()) throw Win32Error{ERROR_MOD_NOT_FOUND};
    return found->first;
  });
}

STAND_IN DWORD GetModuleFileNameW(HMODULE module, LPWSTR file_name, DWORD size) {
  return StandInCall("GetModuleFileNameW", module, size).Run(0, [&]() -> DWORD {
    const std::wstring path = ModulePath(module);
    if (file_name == nullptr || size == 0) throw Win32Error{ERROR_INSUFFICIENT_BUFFER};
    const std::size_t length = path.copy(file_name, size - 1);
    file_name[length] = L'\0';
    if (length == path.size()) return static_cast<DWORD>(length);
    StandInCall::ThreadError() = ERROR_INSUFFICIENT_BUFFER;
    return size;
  });
}

}  // namespace simulated_pc
