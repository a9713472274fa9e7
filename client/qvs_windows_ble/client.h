#pragma once

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <plenar_base/crypto.h>
#include <plenar_base/deviceinfo.h>
#include <plenar_base/main_looper.h>
#include <plenar_base/variant.h>
#include <nlohmann/json.hpp>

#include "framework/service.h"
#include "services/implement/windows_ble/generated/windows_ble_service_ids.h"

/// The module for hosts, with types: a header over the interface of framework/service.h.
namespace ble {

namespace ids = quorvel_service::windows_ble;

/// What a method gives, and a state, which has the same numbers.
enum class Result : std::int32_t {
  kSuccess = ids::result::kSuccess,  ///< Also: nothing to do, ignored or deferred.
  kNotInitialised = ids::result::kNotInitialised,
  kWindowsTooOld = ids::result::kWindowsTooOld,
  kLibraryFailure = ids::result::kLibraryFailure,
  kAdapterUnavailable = ids::result::kAdapterUnavailable,
  kRadioOff = ids::result::kRadioOff,
  kNotDiscoverable = ids::result::kNotDiscoverable,
  kInvalidUuid = ids::result::kInvalidUuid,
  kPayloadTooLong = ids::result::kPayloadTooLong,
  kAdapterError = ids::result::kAdapterError,
};

/// What the publisher does.
struct PublisherStatus {
  enum Status : std::int32_t { kStarting = 1, kStarted = 2, kStopping = 3, kStopped = 4 };
  static constexpr std::int32_t kPublisherInUse = 102;

  Status status;
  std::int32_t error;  ///< 0, or the BLE API library's number.
};

/// How the re-checks of an unavailable adapter went.
struct RetryReport {
  bool success;
  int checks;  ///< How many were made.
};

/// A device that was heard. Its texts come from the air: a stranger chose them.
struct Device {
  std::string address;
  std::string name;  ///< UTF-8; empty if it sends none.
  int rssi;          ///< dBm
  bool connectable;
  std::vector<std::string> service_uuids;  ///< As text.
  /// The bytes that it sends with the watched UUID; none if it lists that among its service UUIDs.
  std::optional<std::string> data;
  nlohmann::ordered_json record;  ///< All of it, as the module gives it.
};

/// How to watch; docs/host-integration.md has the table of what is reported when.
struct WatchOptions {
  std::uint32_t mode = 0;  ///< 0, 1 or 2.
  bool continuous = true;
  std::chrono::milliseconds interval{500};  ///< Between two reports.
};

/// The module cannot be used; the text says why and what to do.
class Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

inline constexpr char kBleApiFile[] = "plenar_ble_api.dll";
#ifdef _WIN32
inline constexpr char kModuleFile[] = "qvs_windows_ble.dll";
#else
inline constexpr char kModuleFile[] = "qvs_windows_ble.so";
#endif

/// The full path of a file in the program's folder, where the module and all it needs stand. Throws
/// `Error` when the system does not tell.
[[nodiscard]] inline std::filesystem::path BesideProgram(const char* name) {
  std::wstring path(32768, L'\0');  // no path is longer
  const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
  if (length == 0 || length == path.size()) {
    throw Error("cannot tell where the program stands: system error " +
                std::to_string(GetLastError()));
  }
  path.resize(length);
  std::replace(path.begin(), path.end(), L'\\', L'/');
  return std::filesystem::path(path).replace_filename(name).make_preferred();
}

[[nodiscard]] inline bool FileExists(const std::filesystem::path& file) noexcept {
  std::error_code ignored;
  return std::filesystem::is_regular_file(file, ignored);
}

/// A path in UTF-8.
[[nodiscard]] inline std::string PathText(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

/// A library in the program's folder, held loaded. [any thread]
class LoadedLibrary {
 public:
  /// Loads it by its full path. Throws `Error`.
  explicit LoadedLibrary(const char* name) {
    const std::filesystem::path file = BesideProgram(name);
    module_ = LoadLibraryW(file.wstring().c_str());
    if (module_ != nullptr) return;
    const std::string error = ": system error " + std::to_string(GetLastError());
    throw Error(
        FileExists(file)
            ? "cannot load " + PathText(file) + error +
                  "; it, or a library that it needs, is missing or does not fit this program"
            : PathText(file) + " is missing: install it beside the program");
  }
  ~LoadedLibrary() { FreeLibrary(module_); }
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

  /// A function that it exports. Throws `Error` when there is none of that name.
  template <class Function>
  [[nodiscard]] Function* Resolve(const char* name) const {
    const auto function = reinterpret_cast<void (*)()>(GetProcAddress(module_, name));
    if (function == nullptr) throw Error(std::string("a library does not export ") + name);
    return reinterpret_cast<Function*>(function);
  }

 private:
  HMODULE module_;
};

/// What a result or a state means, in words.
[[nodiscard]] constexpr std::string_view Meaning(Result result) {
  constexpr std::string_view kMeanings[] = {
      "success",
      "Bluetooth LE support is not initialised",
      "Windows is older than Windows 10",
      "the BLE API library cannot be used, or refused the request",
      "the Bluetooth adapter is temporarily unavailable",
      "the Bluetooth radio is off",
      "the Bluetooth radio is not discoverable",
      "the UUID is not valid",
      "the custom data is longer than 12 bytes",
      "the Bluetooth adapter reports an error",
  };
  const auto number = static_cast<std::size_t>(result);
  return number < std::size(kMeanings) ? kMeanings[number] : "unknown result";
}

/// What is wrong with the BLE API library's file and what to do, as far as the file shows it.
[[nodiscard]] inline std::string ExplainBleApiFile() {
  const std::filesystem::path file = BesideProgram(kBleApiFile);
  const std::string path = PathText(file);
  if (!FileExists(file)) {
    return path + " is missing: install it beside the program";
  }
  if (util::crypto::VerifyFile(file.wstring()) == 0) {
    return path + " is signed and trusted, but failed or refused: the log at level 3 tells more";
  }
  const std::string signer = util::deviceinfo::GetFileSignature(path);
  if (signer.empty()) return path + " is not signed, or was changed: install it again";
  return path + " is signed by \"" + signer +
         "\": unless that is who made this program, install it again; the log at level 3 tells "
         "more";
}

/// What a result or a state means and what to do about it, in a line.
[[nodiscard]] inline std::string Explain(Result result) {
  std::string meaning(Meaning(result));
  switch (result) {
    case Result::kLibraryFailure:
      return meaning + "; " + ExplainBleApiFile();
    case Result::kAdapterUnavailable:
      return meaning + "; plug it in or wait, and let it be checked again";
    case Result::kRadioOff:
      return meaning + "; turn Bluetooth on in the system's settings";
    case Result::kNotDiscoverable:
      return meaning + "; let Bluetooth devices find this computer in the system's settings";
    case Result::kInvalidUuid:
      return meaning + "; it has the form 0a1b2c3d-0a1b-2c3d-4e5f-0a1b2c3d4e5f";
    case Result::kAdapterError:
      return meaning + "; turn it off and on, the log at level 3 tells more";
    default:
      return meaning;
  }
}

/// The bytes of a Base64 text with padding (RFC 4648, section 4), as payloads hold it.
[[nodiscard]] inline std::string Base64ToBytes(std::string_view text) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string bytes;
  std::uint32_t bits = 0;
  int bit_count = 0;
  for (const char character : text.substr(0, text.find('='))) {
    const auto digit = kDigits.find(character);
    if (digit == std::string_view::npos) throw Error("the module sent a text that is not Base64");
    bits = bits << 6 | static_cast<std::uint32_t>(digit);
    bit_count += 6;
    if (bit_count >= 8) bytes += static_cast<char>(bits >> (bit_count -= 8) & 0xFF);
  }
  return bytes;
}

/// The 16 bytes of a UUID text, in its order; fewer for another text.
[[nodiscard]] inline std::string UuidToBytes(std::string_view uuid) {
  constexpr std::string_view kDigits = "0123456789abcdef0123456789ABCDEF";
  std::string bytes;
  std::size_t count = 0;
  for (const char character : uuid) {
    const auto digit = kDigits.find(character);
    if (digit == std::string_view::npos) continue;
    if (count++ % 2 == 0) bytes += '\0';
    bytes.back() = static_cast<char>(static_cast<unsigned char>(bytes.back()) * 16u + digit % 16);
  }
  return bytes;
}

/// Bluetooth LE, as the module in the program's folder offers it. For the main looper thread alone.
/// The looper outlives it. A callback may call any method, but neither end the client nor set the
/// callback that is running. What it throws is swallowed by the module.
class Client final : private quorvel_service::IServiceListener {
 public:
  // Set these to hear of events.
  std::function<void(Result state)> on_state;
  std::function<void(const PublisherStatus& status)> on_status;
  std::function<void(const RetryReport& report)> on_retry;
  std::function<void(std::vector<Device>& devices)> on_devices;

  /// Loads the module by its full path and makes the service, which brings Bluetooth LE support up
  /// if it can: `CheckState` tells. Throws `Error` when the module cannot be used.
  explicit Client(base::threading::MainLooperScope& looper)
      : looper_(looper),
        destroy_(library_.Resolve<quorvel_service::QVDestroyServiceFunction>("QVDestroyService")),
        service_(library_.Resolve<quorvel_service::QVCreateServiceFunction>("QVCreateService")(
            ids::kServiceName)) {
    if (service_ == nullptr) throw Error("the module has no service for Bluetooth LE");
    service_->AddListener(this);
  }

  /// Ends the service, lets the looper run once, since what the module has posted must not outlive
  /// its code, and unloads the module. Not inside a task or a callback.
  ~Client() override {
    service_->RemoveListener(this);
    destroy_(service_);
    looper_.RunUntilIdle();
  }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  /// Brings Bluetooth LE support up. An adapter that is unavailable is checked again that often at
  /// most, and `on_retry` tells how that went.
  Result Init(int retry_time = 0) {
    return Call(ids::method::kInit, {{"retry_time", Variant(retry_time)}});
  }
  Result UnInit() { return Call(ids::method::kUnInit, {}); }
  Result CheckState(bool need_discoverable = false) {
    return Call(ids::method::kCheckBleState,
                {{"need_check_discoverable", Variant(need_discoverable)}});
  }

  /// Advertises a UUID and up to 12 bytes; `on_status` tells how that goes. Ignored while the
  /// publisher starts or stops; a status counts once its callback has returned.
  Result StartBroadcast(const std::string& uuid, const std::string& data) {
    return Call(
        ids::method::kStartBroadcast,
        {{"start", Variant(true)}, {"uuid", Variant(uuid)}, {"custom_data", Variant(data)}});
  }
  Result StopBroadcast() { return Call(ids::method::kStartBroadcast, {{"start", Variant(false)}}); }

  /// Looks for devices that advertise a UUID; `on_devices` has them.
  Result StartWatch(const std::string& uuid, const WatchOptions& options = {}) {
    watched_uuid_ = UuidToBytes(uuid);
    const auto interval = static_cast<std::uint64_t>(options.interval.count());
    return Call(ids::method::kStartWatchBroadcast,
                {{"start", Variant(true)},
                 {"uuid", Variant(uuid)},
                 {"scan_mode", Variant(options.mode)},
                 {"continue_callback_enable", Variant(options.continuous)},
                 {"broadcast_cb_interval", Variant(interval)}});
  }
  Result StopWatch() {
    return Call(ids::method::kStartWatchBroadcast, {{"start", Variant(false)}});
  }
  /// Asks for a report, which comes with the next broadcast that is heard.
  Result RequestDevices() { return Call(ids::method::kGetBleScanCache, {}); }

 private:
  using Variant = base::variant::Variant;
  using Json = nlohmann::ordered_json;

  /// No future or value of the module is left when it returns. Throws only when memory runs out.
  Result Call(std::uint64_t method,
              std::initializer_list<std::pair<const char*, Variant>> arguments) {
    const auto packed = std::make_shared<Variant>();
    for (const auto& [key, value] : arguments) packed->Set(key, value);
    const auto future = service_->Call(method, packed);
    if (!future) throw std::bad_alloc();
    return static_cast<Result>(future->Value()->Get("ret").AsInt32());
  }

  void OnServiceEvent(std::uint64_t event, const std::shared_ptr<Variant>& payload) override {
    switch (event) {
      case ids::event::kState:
        if (on_state) on_state(static_cast<Result>(payload->Get("state").AsInt32()));
        break;
      case ids::event::kStatusInfo:
        if (on_status) on_status(ToStatus(Json::parse(payload->Get("status_info").AsStr())));
        break;
      case ids::event::kRetryInfo:
        if (on_retry) on_retry(ToRetryReport(Json::parse(payload->Get("retry_info").AsStr())));
        break;
      case ids::event::kDeviceJson:
        if (on_devices) ReportDevices(Json::parse(payload->Get("device_json").AsStr()));
        break;
      default:
        break;
    }
  }

  static PublisherStatus ToStatus(const Json& json) {
    return {json.at("status").get<PublisherStatus::Status>(), json.at("err").get<std::int32_t>()};
  }

  static RetryReport ToRetryReport(const Json& json) {
    return {json.at("is_success").get<bool>(), json.at("retry_time").get<int>()};
  }

  void ReportDevices(Json json) {
    std::vector<Device> devices;
    for (Json& record : json) devices.push_back(ToDevice(std::move(record)));
    on_devices(devices);
  }

  Device ToDevice(Json record) const {
    Device device{.address = record.at("device_id").get<std::string>(),
                  .name = record.at("local_name").get<std::string>(),
                  .rssi = record.at("rssi").get<int>(),
                  .connectable = record.at("connectable").get<bool>(),
                  .service_uuids = {},
                  .data = {},
                  .record = {}};
    for (const Json& uuid : record.at("uuids")) {
      device.service_uuids.push_back(Base64ToBytes(uuid.get_ref<const std::string&>()));
    }
    for (const Json& item : record.at("advertise_data")) {
      const std::string bytes = Base64ToBytes(item.get_ref<const std::string&>());
      if (bytes.starts_with(watched_uuid_)) device.data = bytes.substr(watched_uuid_.size());
    }
    device.record = std::move(record);
    return device;
  }

  base::threading::MainLooperScope& looper_;
  const LoadedLibrary library_{kModuleFile};
  quorvel_service::QVDestroyServiceFunction* const destroy_;
  quorvel_service::IService* service_;
  std::string watched_uuid_;  ///< Its 16 bytes.
};

}  // namespace ble
