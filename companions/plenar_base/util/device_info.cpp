#include <windows.h>
#include <winternl.h>

#include <plenar_base/deviceinfo.h>

// Windows' own headers declare it to drivers only.
extern "C" NTSTATUS NTAPI RtlGetVersion(PRTL_OSVERSIONINFOW information);

namespace util::deviceinfo {

bool IsWin10OrLater() {
  RTL_OSVERSIONINFOW version{};
  version.dwOSVersionInfoSize = sizeof(version);
  constexpr NTSTATUS kSuccess = 0;
  return RtlGetVersion(&version) == kSuccess && version.dwMajorVersion >= 10;
}

}  // namespace util::deviceinfo
