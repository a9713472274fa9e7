#include "air/process_identity.h"

#include <windows.h>

namespace plenar_ble {

std::uint64_t ProcessIdentity() {
  FILETIME created{};
  FILETIME unused{};
  GetProcessTimes(GetCurrentProcess(), &created, &unused, &unused, &unused);
  const std::uint64_t since_1601 =
      static_cast<std::uint64_t>(created.dwHighDateTime) << 32 | created.dwLowDateTime;
  return since_1601 ^ static_cast<std::uint64_t>(GetCurrentProcessId()) << 40;
}

}  // namespace plenar_ble
