#include <shlwapi.h>

#include <algorithm>
#include <cerrno>
#include <cwchar>
#include <string_view>

#include "stand_in_call.h"

namespace simulated_pc {
namespace {

/// How much of a path `PathRemoveFileSpecW` never cuts: "\", "\\" or what ends with a drive's
/// colon, with the backslash after it.
std::size_t RootLength(std::wstring_view path) {
  const std::size_t colon = path.rfind(L':');
  if (colon != std::wstring_view::npos)
    return colon + (path.substr(colon + 1).starts_with(L'\\') ? 2 : 1);
  return path.starts_with(L"\\\\") ? 2 : path.starts_with(L'\\') ? 1 : 0;
}

}  // namespace

STAND_IN BOOL PathRemoveFileSpecW(LPWSTR path) {
  return StandInCall("PathRemoveFileSpecW", path).Run(FALSE, [&] {
    if (path == nullptr) return FALSE;
    const std::wstring_view text = path;
    const std::size_t root = RootLength(text);
    const std::size_t backslash = text.find_last_of(L'\\');
    const std::size_t end = backslash == std::wstring_view::npos ? root : std::max(root, backslash);
    if (end == text.size()) return FALSE;
    path[end] = L'\0';
    return TRUE;
  });
}

STAND_IN errno_t wcscat_s(wchar_t* destination, rsize_t capacity, const wchar_t* source) {
  const auto error = static_cast<errno_t>(StandInCall("wcscat_s", capacity, source).Status([&] {
    if (destination == nullptr || capacity == 0 || source == nullptr) throw Win32Error{EINVAL};
    const wchar_t* const end = std::wmemchr(destination, L'\0', capacity);
    if (end == nullptr) throw Win32Error{EINVAL};
    const auto length = static_cast<std::size_t>(end - destination);
    const std::size_t added = std::wcslen(source) + 1;
    if (added > capacity - length) throw Win32Error{ERANGE};
    std::wmemmove(destination + length, source, added);
  }));
  if (error == 0) return 0;
  if (destination != nullptr && capacity != 0) destination[0] = L'\0';
  errno = error;
  return error;
}

}  // namespace simulated_pc
