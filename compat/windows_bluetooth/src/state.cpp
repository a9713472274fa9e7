#include "simulated_bluetooth/simulated_bluetooth.h"

#include <new>

namespace simulated_bluetooth {
namespace {

struct Shared {
  bool is_made;
  State state;
};

HANDLE Mutex() {
  static const HANDLE mutex = CreateMutexA(nullptr, FALSE, "qvs_simulated_bluetooth_mutex");
  return mutex;
}

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
  WaitForSingleObject(Mutex(), INFINITE);
  Shared& shared = Memory();
  if (!shared.is_made) new (&shared.state) State;
  shared.is_made = true;
  state_ = &shared.state;
}

Locked::~Locked() {
  ReleaseMutex(Mutex());
}

}  // namespace simulated_bluetooth
