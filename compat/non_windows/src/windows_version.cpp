#include <winternl.h>

#include "pc_state.h"
#include "stand_in_call.h"

namespace simulated_pc {
namespace {

constexpr DWORD kStatusInvalidParameter = 0xC000000D;
constexpr DWORD kPlatformNt = 2;

}  // namespace

STAND_IN NTSTATUS RtlGetVersion(PRTL_OSVERSIONINFOW information) {
  return static_cast<NTSTATUS>(StandInCall("RtlGetVersion", information).Status([&] {
    if (information == nullptr || information->dwOSVersionInfoSize != sizeof *information) {
      throw Win32Error{kStatusInvalidParameter};
    }
    const LockedPc pc;
    information->dwMajorVersion = pc->machine.major;
    information->dwMinorVersion = pc->machine.minor;
    information->dwBuildNumber = pc->machine.build;
    information->dwPlatformId = kPlatformNt;
    information->szCSDVersion[0] = L'\0';
  }));
}

}  // namespace simulated_pc
