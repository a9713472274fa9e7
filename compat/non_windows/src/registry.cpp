#include <algorithm>
#include <string_view>

#include "pc_state.h"
#include "stand_in_call.h"

namespace simulated_pc {
namespace {

constexpr std::string_view kEnumKey = R"(SYSTEM\CurrentControlSet\Enum)";
constexpr std::string_view kParametersKey = R"(\Device Parameters)";
constexpr std::string_view kScanEnableValue = "Write Scan Enable";

std::string DeviceKey(const Device& device) {
  return std::string(kEnumKey) + '\\' + device.instance_id;
}

/// Whether `path` is the key `existing` or one above it.
bool Leads(std::string_view path, std::string_view existing) {
  if (path.empty()) return true;
  if (path.size() < existing.size() && existing[path.size()] != '\\') return false;
  return EqualIgnoringCase(path, existing.substr(0, path.size()));
}

bool KeyExists(const PcState& pc, std::string_view path) {
  return Leads(path, kEnumKey) || std::ranges::any_of(pc.machine.devices, [&](const auto& device) {
           std::string key = DeviceKey(device);
           if (device.has_parameters_key) key += kParametersKey;
           return Leads(path, key);
         });
}

const RegistryValue* FindValue(const PcState& pc, const RegistryKey& key, std::string_view name) {
  if (!EqualIgnoringCase(name, kScanEnableValue)) return nullptr;
  for (const Device& device : pc.machine.devices) {
    if (device.has_parameters_key && device.write_scan_enable &&
        EqualIgnoringCase(DeviceKey(device).append(kParametersKey), key.path)) {
      return &*device.write_scan_enable;
    }
  }
  return nullptr;
}

/// The path below the local-machine root of a key and a path below it.
std::string FullPath(PcState& pc, HKEY key, std::string_view sub_key) {
  std::string path = key == HKEY_LOCAL_MACHINE ? "" : pc.Get<RegistryKey>(key).path;
  if (sub_key.starts_with('\\')) throw Win32Error{ERROR_BAD_PATHNAME};
  if (sub_key.ends_with('\\')) sub_key.remove_suffix(1);
  if (!path.empty() && !sub_key.empty()) path += '\\';
  return path.append(sub_key);
}

void CopyValue(const RegistryValue* value, LPDWORD type, LPBYTE data, LPDWORD size) {
  if (value == nullptr) {
    if (type != nullptr) *type = REG_NONE;
    if (data == nullptr && size != nullptr) *size = 0;
    throw Win32Error{ERROR_FILE_NOT_FOUND};
  }
  if (type != nullptr) *type = value->type;
  if (size == nullptr) return;
  const DWORD capacity = *size;
  *size = static_cast<DWORD>(value->data.size());
  if (data == nullptr) return;
  if (capacity < value->data.size()) throw Win32Error{ERROR_MORE_DATA};
  std::ranges::copy(value->data, data);
}

}  // namespace

STAND_IN LSTATUS RegOpenKeyExA(HKEY key, LPCSTR sub_key, DWORD options, REGSAM access,
                               PHKEY result) {
  const StandInCall call("RegOpenKeyExA", key, sub_key, options, access);
  return static_cast<LSTATUS>(call.Status([&] {
    if (result == nullptr) throw Win32Error{ERROR_INVALID_PARAMETER};
    *result = nullptr;
    const LockedPc pc;
    std::string path = FullPath(*pc, key, sub_key != nullptr ? sub_key : "");
    if (!KeyExists(*pc, path)) throw Win32Error{ERROR_FILE_NOT_FOUND};
    *result = path.empty() ? HKEY_LOCAL_MACHINE
                           : static_cast<HKEY>(pc->Open(RegistryKey{std::move(path), access}));
  }));
}

STAND_IN LSTATUS RegQueryValueExA(HKEY key, LPCSTR name, LPDWORD reserved, LPDWORD type,
                                  LPBYTE data, LPDWORD size) {
  const StandInCall call("RegQueryValueExA", key, name);
  return static_cast<LSTATUS>(call.Status([&] {
    if (reserved != nullptr || (data != nullptr && size == nullptr)) {
      throw Win32Error{ERROR_INVALID_PARAMETER};
    }
    const LockedPc pc;
    const RegistryKey root = {"", KEY_READ};
    const RegistryKey& found = key == HKEY_LOCAL_MACHINE ? root : pc->Get<RegistryKey>(key);
    if ((found.access & KEY_QUERY_VALUE) == 0) throw Win32Error{ERROR_ACCESS_DENIED};
    if (!KeyExists(*pc, found.path)) throw Win32Error{ERROR_KEY_DELETED};
    CopyValue(FindValue(*pc, found, name != nullptr ? name : ""), type, data, size);
  }));
}

STAND_IN LSTATUS RegCloseKey(HKEY key) {
  return static_cast<LSTATUS>(StandInCall("RegCloseKey", key).Status([&] {
    if (key != HKEY_LOCAL_MACHINE) LockedPc()->Close<RegistryKey>(key);
  }));
}

}  // namespace simulated_pc
