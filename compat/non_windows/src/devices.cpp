// What the machine answers of itself and of its radios: version, Bluetooth, set-up, registry.

#include <bluetoothapis.h>
#include <setupapi.h>
#include <windows.h>
#include <winternl.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include <simulated_pc/simulated_pc.h>

#include "pc_state.h"
#include "stand_in_call.h"

namespace simulated_pc {
namespace {

std::string ParametersKey(const Device& device) {
  return R"(SYSTEM\CurrentControlSet\Enum\)" + device.instance_id + R"(\Device Parameters)";
}

}  // namespace

bool IsBluetoothRadio(const GUID& interface_class) {
  // {0850302A-B344-4FDA-9BE9-90576B8D46F0}
  constexpr BYTE kEnd[] = {0x9B, 0xE9, 0x90, 0x57, 0x6B, 0x8D, 0x46, 0xF0};
  return interface_class.Data1 == 0x0850302A && interface_class.Data2 == 0xB344 &&
         interface_class.Data3 == 0x4FDA && std::ranges::equal(interface_class.Data4, kEnd);
}

STAND_IN NTSTATUS RtlGetVersion(PRTL_OSVERSIONINFOW information) {
  constexpr DWORD kStatusInvalidParameter = 0xC000000D;
  return static_cast<NTSTATUS>(StandInCall("RtlGetVersion", information).Error([&] {
    if (information->dwOSVersionInfoSize != sizeof *information) {
      throw Win32Error{kStatusInvalidParameter};
    }
    const LockedPc pc;
    information->dwMajorVersion = pc->major;
    information->dwMinorVersion = pc->minor;
    information->dwBuildNumber = pc->build;
  }));
}

STAND_IN HBLUETOOTH_RADIO_FIND BluetoothFindFirstRadio(BLUETOOTH_FIND_RADIO_PARAMS* parameters,
                                                       HANDLE* radio) {
  const StandInCall call("BluetoothFindFirstRadio", parameters, radio);
  return call.Run(HBLUETOOTH_RADIO_FIND(), [&] {
    if (parameters->dwSize != sizeof *parameters) throw Win32Error{ERROR_REVISION_MISMATCH};
    const LockedPc pc;
    if (!pc->radio_on) throw Win32Error{ERROR_NO_MORE_ITEMS};
    const HANDLE search = pc->Open(RadioSearch());
    try {
      *radio = pc->Open(Radio());
    } catch (...) {
      pc->Close<RadioSearch>(search);
      throw;
    }
    return search;
  });
}

STAND_IN BOOL BluetoothFindRadioClose(HBLUETOOTH_RADIO_FIND search) {
  const StandInCall call("BluetoothFindRadioClose", search);
  return call.Succeeds([&] { LockedPc()->Close<RadioSearch>(search); });
}

STAND_IN BOOL CloseHandle(HANDLE object) {
  return StandInCall("CloseHandle", object).Succeeds([&] { LockedPc()->Close<Radio>(object); });
}

STAND_IN HDEVINFO SetupDiGetClassDevsA(const GUID* class_guid, const char* enumerator, HWND parent,
                                       DWORD flags) {
  const StandInCall call("SetupDiGetClassDevsA", class_guid, enumerator, parent, flags);
  return call.Run(INVALID_HANDLE_VALUE, [&] {
    const LockedPc pc;
    DeviceSet set;
    // The class is no set-up class, so without this flag nothing belongs to it.
    if ((flags & DIGCF_DEVICEINTERFACE) != 0 && IsBluetoothRadio(*class_guid)) {
      for (const Device& device : pc->devices) set.instance_ids.push_back(device.instance_id);
    }
    return pc->Open(std::move(set));
  });
}

STAND_IN BOOL SetupDiEnumDeviceInfo(HDEVINFO set, DWORD index, SP_DEVINFO_DATA* device) {
  return StandInCall("SetupDiEnumDeviceInfo", set, index).Succeeds([&] {
    const LockedPc pc;
    const auto& ids = pc->Get<DeviceSet>(set).instance_ids;
    if (device->cbSize != sizeof *device) throw Win32Error{ERROR_INVALID_USER_BUFFER};
    if (index >= ids.size()) throw Win32Error{ERROR_NO_MORE_ITEMS};
    device->DevInst = index + 1;
  });
}

STAND_IN BOOL SetupDiGetDeviceInstanceIdA(HDEVINFO set, SP_DEVINFO_DATA* device, char* instance_id,
                                          DWORD size, DWORD* /*required_size*/) {
  return StandInCall("SetupDiGetDeviceInstanceIdA", set, device, size).Succeeds([&] {
    const LockedPc pc;
    const auto& ids = pc->Get<DeviceSet>(set).instance_ids;
    const DWORD number = device->DevInst;
    if (number == 0 || number > ids.size()) throw Win32Error{ERROR_INVALID_PARAMETER};
    const std::string& id = ids[number - 1];
    if (size <= id.size()) throw Win32Error{ERROR_INSUFFICIENT_BUFFER};
    std::ranges::copy_n(id.c_str(), static_cast<std::ptrdiff_t>(id.size() + 1), instance_id);
  });
}

STAND_IN BOOL SetupDiDestroyDeviceInfoList(HDEVINFO set) {
  const StandInCall call("SetupDiDestroyDeviceInfoList", set);
  return call.Succeeds([&] { LockedPc()->Close<DeviceSet>(set); });
}

STAND_IN LSTATUS RegOpenKeyExA(HKEY key, const char* sub_key, DWORD options, DWORD access,
                               HKEY* result) {
  const StandInCall call("RegOpenKeyExA", key, sub_key, options, access);
  return static_cast<LSTATUS>(call.Error([&] {
    const LockedPc pc;
    const auto device = std::ranges::find(pc->devices, sub_key, ParametersKey);
    if (key != HKEY_LOCAL_MACHINE || device == pc->devices.end() || !device->has_parameters_key) {
      throw Win32Error{ERROR_FILE_NOT_FOUND};
    }
    *result = static_cast<HKEY>(pc->Open(RegistryKey{device->write_scan_enable}));
  }));
}

STAND_IN LSTATUS RegQueryValueExA(HKEY key, const char* name, DWORD* /*reserved*/, DWORD* type,
                                  BYTE* data, DWORD* size) {
  return static_cast<LSTATUS>(StandInCall("RegQueryValueExA", key, name).Error([&] {
    const LockedPc pc;
    const auto& value = pc->Get<RegistryKey>(key).write_scan_enable;
    if (!value || name != std::string_view("Write Scan Enable")) {
      throw Win32Error{ERROR_FILE_NOT_FOUND};
    }
    *type = value->type;
    const DWORD capacity = *size;
    *size = static_cast<DWORD>(value->data.size());
    if (capacity < *size) throw Win32Error{ERROR_MORE_DATA};
    std::ranges::copy(value->data, data);
  }));
}

STAND_IN LSTATUS RegCloseKey(HKEY key) {
  const StandInCall call("RegCloseKey", key);
  return static_cast<LSTATUS>(call.Error([&] { LockedPc()->Close<RegistryKey>(key); }));
}

}  // namespace simulated_pc
