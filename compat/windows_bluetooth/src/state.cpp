#include "simulated_bluetooth/simulated_bluetooth.h"

#include <atomic>
#include <new>
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

constexpr wchar_t kRegistryKey[] = L"Software\\Microsoft\\WindowsRuntime\\ActivatableClassId\\";
constexpr const wchar_t* kClasses[]{
    L"Windows.Devices.Bluetooth.BluetoothAdapter",
    L"Windows.Devices.Bluetooth.Advertisement.BluetoothLEAdvertisement",
    L"Windows.Devices.Bluetooth.Advertisement.BluetoothLEAdvertisementPublisher",
    L"Windows.Devices.Bluetooth.Advertisement.BluetoothLEAdvertisementWatcher",
    L"Windows.Devices.Bluetooth.Advertisement.BluetoothLEManufacturerData",
};

}  // namespace

void Register(const std::filesystem::path& library) {
  const std::wstring& file = library.native();
  for (const wchar_t* const name : kClasses) {
    const std::wstring key = std::wstring(kRegistryKey) + name;
    if (file.empty()) {
      RegDeleteKeyW(HKEY_LOCAL_MACHINE, key.c_str());
    } else {
      RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), L"DllPath", REG_SZ, file.c_str(),
                      static_cast<DWORD>((file.size() + 1) * sizeof(wchar_t)));
    }
  }
}

Locked::Locked() {
  Shared& shared = Memory();
  while (shared.locked.exchange(true)) SwitchToThread();
  if (!std::exchange(shared.is_made, true)) new (&shared.state) State;
  state_ = &shared.state;
}

Locked::~Locked() {
  Memory().locked = false;
}

}  // namespace simulated_bluetooth
