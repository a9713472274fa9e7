#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include <qvs_windows_ble/client.h>

#include "host/terminal.h"

namespace qvs_host {

using Clock = std::chrono::steady_clock;

/// A device that a scan has heard.
struct ListedDevice {
  ble::Device device;
  Clock::time_point first;  ///< Since its last loss.
  Clock::time_point last;
  int count = 0;  ///< In how many reports it was.
  bool is_lost = false;
};

/// What a scan has heard, in the order in which it was first heard.
class DeviceList {
 public:
  /// A device is lost when no report has had it for this long.
  explicit DeviceList(std::chrono::milliseconds patience) : patience_(patience) {}

  /// Takes a report, and gives a line about each device that is new or has changed.
  std::vector<std::string> Update(const std::vector<ble::Device>& report, Clock::time_point now);
  /// Gives a line about each device that is lost from now on.
  std::vector<std::string> FindLost(Clock::time_point now);

  /// How many were heard in which time, and how many of them are lost.
  [[nodiscard]] std::string Summary(Clock::time_point now) const;
  /// The list as lines for a terminal: what was looked for, and a line for each device.
  [[nodiscard]] std::vector<std::string> Table(const std::string& uuid, TerminalSize size,
                                               Clock::time_point now) const;

 private:
  [[nodiscard]] std::size_t LostCount() const;

  const std::chrono::milliseconds patience_;
  const Clock::time_point start_ = Clock::now();
  std::vector<ListedDevice> devices_;
};

}  // namespace qvs_host
