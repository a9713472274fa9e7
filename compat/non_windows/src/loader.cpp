// Loading libraries, and the paths around it.

#include <dlfcn.h>
#include <shlwapi.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <cwchar>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include "pc_state.h"
#include "stand_in_call.h"

namespace simulated_pc {
namespace {

namespace fs = std::filesystem;

fs::path ExecutablePath() {
  const std::string path = LockedPc()->executable_path;
  if (!path.empty()) return path;
  std::error_code error;
  return fs::read_symlink("/proc/self/exe", error);
}

/// Where to load from: a bare name that the executable's folder has is that file.
std::string FindFile(std::string path) {
  std::ranges::replace(path, '\\', '/');
  if (path.find('/') != std::string::npos) return path;
  const fs::path beside_executable = ExecutablePath().parent_path() / path;
  std::error_code error;
  return fs::is_regular_file(beside_executable, error) ? beside_executable.string() : path;
}

HMODULE OpenLibrary(const char* path, int more_flags) {
  return static_cast<HMODULE>(dlopen(path, RTLD_NOW | RTLD_LOCAL | more_flags));
}

HMODULE Load(const std::string& file_name) {
  const std::string path = FindFile(file_name);
  // The library's start-up may make calls of its own, so the state is not locked here.
  const HMODULE module = OpenLibrary(path.c_str(), 0);
  if (module == nullptr) throw Win32Error{ERROR_MOD_NOT_FOUND};
  const LockedPc pc;
  Library& library = pc->libraries[module];
  library.file_name = fs::path(path).filename();
  ++library.load_count;
  return module;
}

}  // namespace

STAND_IN HMODULE LoadLibraryA(const char* file_name) {
  return StandInCall("LoadLibraryA", file_name).Run(HMODULE(), [&] { return Load(file_name); });
}

STAND_IN HMODULE LoadLibraryW(const wchar_t* file_name) {
  return StandInCall("LoadLibraryW", file_name).Run(HMODULE(), [&] {
    return Load(fs::path(file_name));
  });
}

STAND_IN BOOL FreeLibrary(HMODULE module) {
  return StandInCall("FreeLibrary", module).Succeeds([&] {
    {
      const LockedPc pc;
      const auto found = pc->libraries.find(module);
      if (found == pc->libraries.end()) throw Win32Error{ERROR_MOD_NOT_FOUND};
      if (--found->second.load_count == 0) pc->libraries.erase(found);
    }
    dlclose(module);
  });
}

STAND_IN FARPROC GetProcAddress(HMODULE module, const char* name) {
  return StandInCall("GetProcAddress", module, name).Run(FARPROC(), [&] {
    void* const symbol = dlsym(module, name);
    if (symbol == nullptr) throw Win32Error{ERROR_PROC_NOT_FOUND};
    return reinterpret_cast<FARPROC>(symbol);
  });
}

STAND_IN HMODULE GetModuleHandleA(const char* file_name) {
  return StandInCall("GetModuleHandleA", file_name).Run(HMODULE(), [&] {
    if (file_name == nullptr) return OpenLibrary(nullptr, 0);
    const HMODULE module = OpenLibrary(FindFile(file_name).c_str(), RTLD_NOLOAD);
    if (module == nullptr) throw Win32Error{ERROR_MOD_NOT_FOUND};
    dlclose(module);  // The answer is no load of its own.
    return module;
  });
}

STAND_IN DWORD GetModuleFileNameW(HMODULE module, wchar_t* path, DWORD size) {
  return StandInCall("GetModuleFileNameW", module, size).Run(DWORD(), [&]() -> DWORD {
    std::u32string text;
    try {
      text = ExecutablePath().u32string();
    } catch (const std::system_error&) {
      throw Win32Error{ERROR_NO_UNICODE_TRANSLATION};
    }
    std::ranges::replace(text, U'/', U'\\');
    const std::size_t length = std::min<std::size_t>(text.size(), size - 1);
    *std::copy_n(text.begin(), length, path) = L'\0';
    if (length == text.size()) return static_cast<DWORD>(length);
    StandInCall::ThreadError() = ERROR_INSUFFICIENT_BUFFER;
    return size;
  });
}

STAND_IN BOOL PathRemoveFileSpecW(wchar_t* path) {
  return StandInCall("PathRemoveFileSpecW").Run(FALSE, [&] {
    const std::wstring_view text = path;
    const std::size_t backslash = text.rfind(L'\\');
    // The root itself stays; these paths have no drive.
    const std::size_t end = backslash == std::wstring_view::npos ? 0
                            : backslash == 0                     ? 1
                                                                 : backslash;
    if (end == text.size()) return FALSE;
    path[end] = L'\0';
    return TRUE;
  });
}

STAND_IN errno_t wcscat_s(wchar_t* destination, rsize_t capacity, const wchar_t* source) {
  const auto error = static_cast<errno_t>(StandInCall("wcscat_s", capacity).Error([&] {
    const std::size_t length = std::wcslen(destination);
    if (length + std::wcslen(source) >= capacity) throw Win32Error{ERANGE};
    std::wcscpy(destination + length, source);
  }));
  if (error != 0) *destination = L'\0';
  return error;
}

}  // namespace simulated_pc
