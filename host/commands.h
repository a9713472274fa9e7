#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

/// The program's commands in real time. Each throws `HostError` with what went wrong in words.
namespace qvs_host {

struct AdvertiseOptions {
  std::string uuid;
  std::string custom_data;  ///< Bytes.
  std::optional<std::chrono::seconds> duration;
};

struct ScanOptions {
  std::string uuid;  ///< Of the form 8-4-4-4-12.
  std::uint32_t mode = 0;
  std::chrono::milliseconds interval{500};
  bool continuous = true;
  bool json = false;
  std::optional<std::chrono::seconds> duration;
};

struct StateOptions {
  bool need_discoverable = false;
};

void Advertise(const AdvertiseOptions& options);
void Scan(const ScanOptions& options);
void ShowState(const StateOptions& options);

}  // namespace qvs_host
