#include <setupapi.h>

#include "pc_state.h"
#include "stand_in_call.h"

namespace simulated_pc {
namespace {

/// The set-up class of Bluetooth devices, {E0CBF06C-CD8B-4647-BB8A-263B43F0F974}.
constexpr GUID kBluetoothSetupClass = {
    0xE0CBF06C, 0xCD8B, 0x4647, {0xBB, 0x8A, 0x26, 0x3B, 0x43, 0xF0, 0xF9, 0x74}};

/// With interface devices, an enumerator names one device.
DeviceSet FindDevices(const PcState& pc, const GUID& class_guid, PCSTR enumerator, DWORD flags) {
  DeviceSet set;
  // The class is no set-up class, so without this flag nothing belongs to it.
  if ((flags & DIGCF_DEVICEINTERFACE) == 0 || !(class_guid == kBluetoothRadioInterface)) return set;
  for (const Device& device : pc.machine.devices) {
    if (enumerator == nullptr || EqualIgnoringCase(device.instance_id, enumerator)) {
      set.instance_ids.push_back(device.instance_id);
    }
  }
  return set;
}

}  // namespace

STAND_IN HDEVINFO SetupDiGetClassDevsA(const GUID* class_guid, PCSTR enumerator, HWND parent,
                                       DWORD flags) {
  const StandInCall call("SetupDiGetClassDevsA", class_guid, enumerator, parent, flags);
  return call.Run(INVALID_HANDLE_VALUE, [&]() -> HDEVINFO {
    if (class_guid == nullptr) throw Win32Error{ERROR_INVALID_PARAMETER};
    const LockedPc pc;
    return pc->Open(FindDevices(*pc, *class_guid, enumerator, flags));
  });
}

STAND_IN BOOL SetupDiEnumDeviceInfo(HDEVINFO set, DWORD index, PSP_DEVINFO_DATA device) {
  return StandInCall("SetupDiEnumDeviceInfo", set, index).Run(FALSE, [&] {
    const LockedPc pc;
    const auto& found = pc->Get<DeviceSet>(set);
    if (device == nullptr) throw Win32Error{ERROR_INVALID_PARAMETER};
    if (device->cbSize != sizeof *device) throw Win32Error{ERROR_INVALID_USER_BUFFER};
    if (index >= found.instance_ids.size()) throw Win32Error{ERROR_NO_MORE_ITEMS};
    device->ClassGuid = kBluetoothSetupClass;
    device->DevInst = index + 1;
    device->Reserved = reinterpret_cast<ULONG_PTR>(set);
    return TRUE;
  });
}

STAND_IN BOOL SetupDiGetDeviceInstanceIdA(HDEVINFO set, PSP_DEVINFO_DATA device, PSTR instance_id,
                                          DWORD size, PDWORD required_size) {
  return StandInCall("SetupDiGetDeviceInstanceIdA", set, device, size).Run(FALSE, [&] {
    const LockedPc pc;
    const auto& ids = pc->Get<DeviceSet>(set).instance_ids;
    if (device == nullptr || device->cbSize != sizeof *device ||
        device->Reserved != reinterpret_cast<ULONG_PTR>(set) || device->DevInst == 0 ||
        device->DevInst > ids.size()) {
      throw Win32Error{ERROR_INVALID_PARAMETER};
    }
    const std::string& id = ids[device->DevInst - 1];
    if (required_size != nullptr) *required_size = static_cast<DWORD>(id.size() + 1);
    if (instance_id == nullptr || size <= id.size()) throw Win32Error{ERROR_INSUFFICIENT_BUFFER};
    id.copy(instance_id, id.size());
    instance_id[id.size()] = '\0';
    return TRUE;
  });
}

STAND_IN BOOL SetupDiDestroyDeviceInfoList(HDEVINFO set) {
  return StandInCall("SetupDiDestroyDeviceInfoList", set).Run(FALSE, [&] {
    LockedPc()->Close<DeviceSet>(set);
    return TRUE;
  });
}

}  // namespace simulated_pc
