#include "host/device_list.h"

#include <algorithm>
#include <array>
#include <iomanip>
#include <sstream>
#include <string_view>
#include <utility>

#include <qvs_windows_ble/client.h>

#include "host/describe.h"

namespace qvs_host {
namespace {

using std::chrono::seconds;

constexpr seconds kNewFor{3};

constexpr std::string_view kDim = "\x1B[2m";
constexpr std::string_view kPlain = "\x1B[0m";

/// Where the columns of the table begin, from 1. The texts share what is more than 60 columns wide.
struct Columns {
  explicit Columns(int width) {
    const int more = std::clamp(width - 60, 0, 30);
    data = 13 + more / 2;
    address = 25 + more;
  }

  int name = 3;
  int data;
  int address;
  [[nodiscard]] int Signal() const { return address + 18; }
  [[nodiscard]] int Dbm() const { return Signal() + 4; }
  [[nodiscard]] int Age() const { return Dbm() + 4; }
  [[nodiscard]] int Count() const { return Age() + 4; }
};

/// Goes to a column: however wide the terminal shows what stands before, the next field covers it.
std::string At(int column) {
  return "\x1B[" + std::to_string(column) + 'G';
}

/// At most so many characters of a well-formed text.
std::string Cut(const std::string& text, int length) {
  const auto is_first = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; };
  std::size_t end = 0;
  for (; end < text.size(); ++end) {
    if (is_first(text[end]) && --length < 0) break;
  }
  return text.substr(0, end);
}

std::string Right(const std::string& text, int width) {
  std::ostringstream out;
  out << std::setw(width) << text;
  return out.str();
}

/// "12s", "3m" or "5h".
std::string Age(Clock::duration duration) {
  const auto count = std::chrono::duration_cast<seconds>(duration).count();
  if (count < 100) return std::to_string(count) + 's';
  return count < 6000 ? std::to_string(count / 60) + 'm' : std::to_string(count / 3600) + 'h';
}

/// "1:02" or "1:00:02".
std::string Elapsed(Clock::duration duration) {
  const auto count = std::chrono::duration_cast<seconds>(duration).count();
  std::ostringstream out;
  if (count >= 3600) out << count / 3600 << ':' << std::setfill('0') << std::setw(2);
  out << count / 60 % 60 << ':' << std::setfill('0') << std::setw(2) << count % 60;
  return out.str();
}

std::string_view Bars(int rssi) {
  constexpr std::array<std::pair<int, std::string_view>, 4> kLevels = {
      {{-55, "▂▄▆█"}, {-67, "▂▄▆"}, {-79, "▂▄"}, {-91, "▂"}}};
  for (const auto& [least, bars] : kLevels) {
    if (rssi >= least) return bars;
  }
  return "";
}

std::string Count(std::size_t count, const char* what) {
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

/// Whether it is more than the signal that differs.
bool HasChanged(const ble::Device& before, const ble::Device& after) {
  return before.name != after.name || before.data != after.data ||
         before.connectable != after.connectable || before.service_uuids != after.service_uuids;
}

std::string Row(const ListedDevice& listed, const Columns& columns, Clock::time_point now) {
  const ble::Device& device = listed.device;
  const bool is_new = now - listed.first < kNewFor;
  const std::string data = device.data ? BytesOrText(*device.data) : "";
  std::string row = listed.is_lost ? std::string(kDim) + '-' : is_new ? "+" : " ";
  row += At(columns.name) + Cut(Escaped(device.name), columns.data - columns.name - 1) +
         At(columns.data) + Cut(data, columns.address - columns.data - 1) + At(columns.address) +
         Cut(Escaped(device.address), 17) + At(columns.Signal()) + std::string(Bars(device.rssi)) +
         At(columns.Dbm()) + Right(std::to_string(device.rssi), 4) + At(columns.Age()) +
         Right(Age(now - listed.last), 4) + At(columns.Count()) +
         Right(std::to_string(listed.count), 6);
  return row + (listed.is_lost ? std::string(kPlain) : "");
}

}  // namespace

std::vector<std::string> DeviceList::Update(const std::vector<ble::Device>& report,
                                            Clock::time_point now) {
  std::vector<std::string> lines;
  for (const ble::Device& device : report) {
    auto found = std::ranges::find(
        devices_, device.address, [](const ListedDevice& listed) { return listed.device.address; });
    const bool is_new = found == devices_.end() || found->is_lost;
    if (is_new) lines.push_back("new   " + Describe(device));
    if (!is_new && HasChanged(found->device, device)) lines.push_back("now   " + Describe(device));
    if (found == devices_.end()) found = devices_.insert(found, ListedDevice());
    if (is_new) found->first = now;
    found->device = device;
    found->last = now;
    found->is_lost = false;
    ++found->count;
  }
  return lines;
}

std::vector<std::string> DeviceList::FindLost(Clock::time_point now) {
  std::vector<std::string> lines;
  for (ListedDevice& listed : devices_) {
    if (listed.is_lost || now - listed.last < patience_) continue;
    listed.is_lost = true;
    lines.push_back("lost  " + Describe(listed.device));
  }
  return lines;
}

std::size_t DeviceList::LostCount() const {
  return static_cast<std::size_t>(std::ranges::count(devices_, true, &ListedDevice::is_lost));
}

std::string DeviceList::Summary(Clock::time_point now) const {
  const std::string time = " in " + Elapsed(now - start_);
  if (devices_.empty()) return "heard nothing" + time;
  const std::size_t lost = LostCount();
  return "heard " + Count(devices_.size(), "device") + time +
         (lost > 0 ? ", lost " + std::to_string(lost) : "");
}

std::vector<std::string> DeviceList::Table(const std::string& uuid, TerminalSize size,
                                           Clock::time_point now) const {
  const Columns columns(size.columns);
  std::vector<std::string> lines = {
      uuid + "  " + Elapsed(now - start_) + "  " + Count(devices_.size() - LostCount(), "device"),
      At(columns.name) + "name" + At(columns.data) + "data" + At(columns.address) + "address" +
          At(columns.Dbm()) + " dBm" + At(columns.Age()) + " age" + At(columns.Count()) + " count"};
  const auto room = static_cast<std::size_t>(std::max(size.rows - 4, 1));
  for (const ListedDevice& listed : devices_) {
    if (lines.size() - 2 == room) {
      lines.push_back("and " + std::to_string(devices_.size() - room) + " more");
      break;
    }
    lines.push_back(Row(listed, columns, now));
  }
  return lines;
}

}  // namespace qvs_host
