#include "host/result_text.h"

#include <array>
#include <string_view>

#include "services/implement/windows_ble/generated/windows_ble_service_ids.h"

namespace qvs_host {
namespace {

namespace result = quorvel_service::windows_ble::result;

struct CodeText {
  std::int32_t code;
  std::string_view text;
};

constexpr std::array kResultTexts = {
    CodeText{result::kSuccess, "success"},
    CodeText{result::kNotInitialised, "Bluetooth LE support is not initialised"},
    CodeText{result::kWindowsTooOld, "Windows is older than Windows 10"},
    CodeText{result::kLibraryFailure, "the BLE API library cannot be used, or refused the request"},
    CodeText{result::kAdapterUnavailable, "the Bluetooth adapter is temporarily unavailable"},
    CodeText{result::kRadioOff, "the Bluetooth radio is off"},
    CodeText{result::kNotDiscoverable, "the Bluetooth radio is not discoverable"},
    CodeText{result::kInvalidUuid, "the UUID is not valid"},
    CodeText{result::kPayloadTooLong, "the custom data is longer than 12 bytes"},
    CodeText{result::kAdapterError, "the Bluetooth adapter reports an error"},
};

}  // namespace

std::string ResultText(std::int32_t code) {
  for (const CodeText& row : kResultTexts) {
    if (row.code == code) return std::string(row.text);
  }
  return "unknown result " + std::to_string(code);
}

std::string StateText(std::int32_t state) {
  return state == result::kSuccess ? "Bluetooth LE can be used" : ResultText(state);
}

}  // namespace qvs_host
