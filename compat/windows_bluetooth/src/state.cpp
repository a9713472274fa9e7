#include "simulated_bluetooth/simulated_bluetooth.h"

#include <atomic>
#include <filesystem>
#include <new>
#include <string>
#include <utility>

namespace simulated_bluetooth {
namespace {

/// Zeroed by the system before anybody uses it.
struct Shared {
  std::atomic<bool> locked;
  bool is_made;
  State state;
};

/// Lasts as long as a process that has used it.
Shared& Memory() {
  static void* const view = [] {
    const HANDLE file = CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                           sizeof(Shared), "qvs_simulated_bluetooth");
    return MapViewOfFile(file, FILE_MAP_ALL_ACCESS, 0, 0, sizeof(Shared));
  }();
  return *static_cast<Shared*>(view);
}

/// Nobody holds the lock that long: a process was killed that had it.
constexpr ULONGLONG kLongestHoldMs = 1000;

constexpr const wchar_t* kClasses[]{
    L"Windows.Devices.Bluetooth.BluetoothAdapter",
    L"Windows.Devices.Bluetooth.Advertisement.BluetoothLEAdvertisement",
    L"Windows.Devices.Bluetooth.Advertisement.BluetoothLEAdvertisementPublisher",
    L"Windows.Devices.Bluetooth.Advertisement.BluetoothLEAdvertisementWatcher",
    L"Windows.Devices.Bluetooth.Advertisement.BluetoothLEManufacturerData",
};

std::wstring KeyOf(const wchar_t* name) {
  return std::wstring(L"Software\\Microsoft\\WindowsRuntime\\ActivatableClassId\\") + name;
}

}  // namespace

void Install() {
  HMODULE here = nullptr;
  wchar_t path[MAX_PATH] = {};
  GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<const wchar_t*>(&Install), &here);
  GetModuleFileNameW(here, path, MAX_PATH);
  const std::wstring file = std::filesystem::path(path).replace_filename("simulated_bluetooth.dll");
  for (const wchar_t* const name : kClasses) {
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, KeyOf(name).c_str(), L"DllPath", REG_SZ, file.c_str(),
                    static_cast<DWORD>((file.size() + 1) * sizeof(wchar_t)));
  }
}

void Uninstall() {
  for (const wchar_t* const name : kClasses) {
    RegDeleteKeyW(HKEY_LOCAL_MACHINE, KeyOf(name).c_str());
  }
}

Locked::Locked() {
  Shared& shared = Memory();
  const ULONGLONG start = GetTickCount64();
  while (shared.locked.exchange(true) && GetTickCount64() - start < kLongestHoldMs) {
    SwitchToThread();
  }
  if (!std::exchange(shared.is_made, true)) new (&shared.state) State;
  state_ = &shared.state;
}

Locked::~Locked() {
  Memory().locked = false;
}

}  // namespace simulated_bluetooth
