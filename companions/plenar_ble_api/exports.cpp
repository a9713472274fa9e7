#include <exception>
#include <span>
#include <string>
#include <type_traits>
#include <utility>

#include <plenar_ble_api/ble_api.h>
#include <plenar_ble_control/virtual_radio.h>

#include "air/text.h"
#include "radio/control.h"
#include "radio/radio.h"

// The exported functions. Which symbols show is said where the library is linked.

namespace {

using plenar_ble::ByteView;
using plenar_ble::Function;
using plenar_ble::Radio;

/// What every function does: it is observed, it throws or fails if it was told to, and otherwise
/// works. Nothing but what it was told to throw leaves it.
template <typename R, typename Describe, typename Work>
R Call(Function function, const Describe& describe, const Work& work) {
  Radio& radio = Radio::Instance();
  const std::int32_t scripted = radio.script.Begin(function, describe);
  try {
    if constexpr (std::is_void_v<R>) {
      work(radio);
    } else {
      return scripted != 0 ? static_cast<R>(scripted) : static_cast<R>(work(radio));
    }
  } catch (const std::exception&) {
    if constexpr (!std::is_void_v<R>) return static_cast<R>(plenar_ble::kFailure);
  }
}

std::string NoArguments() {
  return {};
}

/// Empty for no bytes at all; none for bytes that are promised but not there.
std::optional<ByteView> View(const std::uint8_t* data, std::size_t length) {
  if (data == nullptr && length != 0) return std::nullopt;
  return ByteView(data, length);
}

std::string BytesText(const std::uint8_t* data, std::size_t length) {
  return data == nullptr ? "null" : plenar_ble::HexText(ByteView(data, length));
}

std::string CompanyText(std::uint16_t company, const std::uint8_t* data, std::size_t length) {
  const std::uint8_t bytes[]{static_cast<std::uint8_t>(company >> 8),
                             static_cast<std::uint8_t>(company & 0xFF)};
  return "company=0x" + plenar_ble::HexText(bytes) + " data=" + BytesText(data, length);
}

/// The setters of callables differ in the callable only.
template <typename Callable, typename Slot>
void SetCallable(Function function, Callable& callable, const Slot& slot) {
  Call<void>(
      function, [&] { return std::string(callable ? "callable=set" : "callable=empty"); },
      [&](Radio& radio) { slot(radio).Set(std::move(callable)); });
}

}  // namespace

extern "C" {

int BleInit(std::uintptr_t reserved) {
  return Call<int>(
      Function::kInit, [=] { return "reserved=" + std::to_string(reserved); },
      [](Radio& radio) { return radio.Init(); });
}

void BleUnInit() {
  Call<void>(Function::kUnInit, NoArguments, [](Radio& radio) { radio.UnInit(); });
}

void BleSetLogFunc(BleLogFunc log) {
  SetCallable(
      Function::kSetLogFunc, log, [](Radio & radio) -> auto& { return radio.core.log; });
}

BleError BleCheckState() {
  return Call<BleError>(Function::kCheckState, NoArguments,
                        [](Radio& radio) { return radio.CheckState(); });
}

void BleClientSetScanMode(int mode) {
  Call<void>(
      Function::kClientSetScanMode, [=] { return "mode=" + std::to_string(mode); },
      [=](Radio& radio) { radio.Locked([&] { radio.watcher.SetScanMode(mode); }); });
}

/// Null or empty: any service.
void BleClientSetServiceUuidFilter(const char* uuid) {
  const std::string text = uuid == nullptr ? "" : uuid;
  Call<void>(
      Function::kClientSetServiceUuidFilter, [&] { return "uuid=" + text; },
      [&](Radio& radio) {
        radio.Locked([&] {
          radio.watcher.filter.service_uuid.reset();
          if (!text.empty()) radio.watcher.filter.service_uuid = text;
        });
      });
}

/// `data` is what the company's data must begin with; null: anything, of any company.
void BleClientSetManufacturerDataFilter(std::uint16_t company, const std::uint8_t* data,
                                        std::size_t length) {
  Call<void>(
      Function::kClientSetManufacturerDataFilter,
      [=] { return CompanyText(company, data, length); },
      [=](Radio& radio) {
        radio.Locked([&] {
          radio.watcher.filter.manufacturer_data.reset();
          if (data == nullptr) return;
          radio.watcher.filter.manufacturer_data = {company, {data, data + length}};
        });
      });
}

void BleClientSetSignalStrengthFilter(std::int16_t minimum_dbm) {
  Call<void>(
      Function::kClientSetSignalStrengthFilter,
      [=] { return "minimum_dbm=" + std::to_string(minimum_dbm); },
      [=](Radio& radio) { radio.Locked([&] { radio.watcher.filter.minimum_dbm = minimum_dbm; }); });
}

void BleClientSetReceivedBroadcastCB(BleReceivedBroadcastCB callback) {
  SetCallable(
      Function::kClientSetReceivedBroadcastCB, callback,
      [](Radio & radio) -> auto& { return radio.watcher.received; });
}

void BleClientSetStoppedWatchBroadcastCB(BleStoppedWatchBroadcastCB callback) {
  SetCallable(
      Function::kClientSetStoppedWatchBroadcastCB, callback,
      [](Radio & radio) -> auto& { return radio.watcher.stopped; });
}

int BleClientStartWatchBroadcast() {
  return Call<int>(Function::kClientStartWatchBroadcast, NoArguments, [](Radio& radio) {
    return radio.Locked([&] { return radio.watcher.Start(); });
  });
}

void BleClientStopWatchBroadcast() {
  Call<void>(Function::kClientStopWatchBroadcast, NoArguments,
             [](Radio& radio) { radio.Locked([&] { radio.watcher.Stop(); }); });
}

int BleServerAddManufacturerData(std::uint16_t company, const std::uint8_t* data,
                                 std::size_t length) {
  return Call<int>(
      Function::kServerAddManufacturerData, [=] { return CompanyText(company, data, length); },
      [=](Radio& radio) {
        const auto view = View(data, length);
        if (!view) return plenar_ble::kInvalidArgument;
        return radio.Locked([&] { return radio.publisher.SetManufacturerData(company, *view); });
      });
}

int BleServerAddDataSection(std::uint8_t type, const std::uint8_t* data, std::size_t length) {
  return Call<int>(
      Function::kServerAddDataSection,
      [=] {
        return "type=0x" + plenar_ble::HexText(ByteView(&type, 1)) +
               " data=" + BytesText(data, length);
      },
      [=](Radio& radio) {
        const auto view = View(data, length);
        if (!view) return plenar_ble::kInvalidArgument;
        return radio.Locked([&] { return radio.publisher.SetDataSection(type, *view); });
      });
}

void BleServerSetStatusChangedCB(BleStatusChangedCB callback) {
  SetCallable(
      Function::kServerSetStatusChangedCB, callback,
      [](Radio & radio) -> auto& { return radio.publisher.status_changed; });
}

int BleServerStartBroadcast() {
  return Call<int>(Function::kServerStartBroadcast, NoArguments, [](Radio& radio) {
    return radio.Locked([&] { return radio.publisher.Start(); });
  });
}

void BleServerStopBroadcast() {
  Call<void>(Function::kServerStopBroadcast, NoArguments,
             [](Radio& radio) { radio.Locked([&] { radio.publisher.Stop(); }); });
}

plenar_ble_control::VirtualRadio* PlenarBleControl() {
  return &plenar_ble::Control();
}

}  // extern "C"
