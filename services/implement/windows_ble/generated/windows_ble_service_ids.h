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

/// Result codes ("ret"); the state that `CheckBleState` gives and "state" reports has the same
/// numbers.
namespace result {
inline constexpr std::int32_t kSuccess = 0;         ///< Also: nothing to do, ignored or deferred.
inline constexpr std::int32_t kNotInitialised = 1;  ///< BLE support is not up.
inline constexpr std::int32_t kWindowsTooOld = 2;   ///< Older than Windows 10.
inline constexpr std::int32_t kLibraryFailure = 3;  ///< The BLE API library failed or refused.
inline constexpr std::int32_t kAdapterUnavailable = 4;  ///< For now; checked again when asked to.
inline constexpr std::int32_t kRadioOff = 5;
inline constexpr std::int32_t kNotDiscoverable = 6;
inline constexpr std::int32_t kInvalidUuid = 7;
inline constexpr std::int32_t kPayloadTooLong = 8;  ///< UUID and custom data exceed 28 bytes.
inline constexpr std::int32_t kAdapterError = 9;
}  // namespace result

}  // namespace quorvel_service::windows_ble
