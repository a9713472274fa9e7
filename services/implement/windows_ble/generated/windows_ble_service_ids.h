#pragma once

#include <cstdint>

/// Names and numbers of the service as a host uses them.
namespace quorvel_service::windows_ble {

inline constexpr char kServiceName[] = "service.windows_ble.windows_ble";

/// Method ids for `IService::Call`; the result code is the result's member "ret".
namespace method {
inline constexpr std::uint64_t kInit = 309795504;
inline constexpr std::uint64_t kUnInit = 114714997;
inline constexpr std::uint64_t kCheckBleState = 595582789;
inline constexpr std::uint64_t kStartWatchBroadcast = 452333393;
inline constexpr std::uint64_t kStartBroadcast = 910464787;
inline constexpr std::uint64_t kGetBleScanCache = 299060740;
}  // namespace method

/// Event ids; the payload's one member has the event's name as its key.
namespace event {
inline constexpr std::uint64_t kState = 1010571678;
inline constexpr std::uint64_t kStatusInfo = 538099087;
inline constexpr std::uint64_t kRetryInfo = 170241882;
inline constexpr std::uint64_t kDeviceJson = 658243233;
}  // namespace event

}  // namespace quorvel_service::windows_ble
