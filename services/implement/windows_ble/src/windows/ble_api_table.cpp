#include "services/implement/windows_ble/src/windows/ble_api_table.h"

#include "framework/guard.h"

namespace quorvel_service {
namespace {

template <auto Function>
void Store(BleApiTable& table, FARPROC function) {
  using Pointer = std::remove_reference_t<decltype(table.*Function)>;
  // By way of the one function type that compilers let any other be cast from and to.
  table.*Function = reinterpret_cast<Pointer>(reinterpret_cast<void (*)()>(function));
}

constexpr BleApiBinding kBindings[] = {
    {"BleInit", "load BleInit failed, error: ", true, &Store<&BleApiTable::BleInit>},
    {"BleUnInit", "load bleUnInit failed, error: ", true, &Store<&BleApiTable::BleUnInit>},
    {"BleSetLogFunc", "load bleSetLogFunc failed, error: ", true,
     &Store<&BleApiTable::BleSetLogFunc>},
    {"BleCheckState", "load bleCheckState failed, error: ", true,
     &Store<&BleApiTable::BleCheckState>},
    {"BleClientSetScanMode", "load BleClientSetScanMode failed", false,
     &Store<&BleApiTable::BleClientSetScanMode>},
    {"BleClientSetServiceUuidFilter", "load bleClientSetServiceUuidFilter failed", false,
     &Store<&BleApiTable::BleClientSetServiceUuidFilter>},
    {"BleClientSetManufacturerDataFilter", "load bleClientSetManufacturerDataFilter failed", false,
     &Store<&BleApiTable::BleClientSetManufacturerDataFilter>},
    {"BleClientSetSignalStrengthFilter", "load bleClientSetSignalStrengthFilter failed", false,
     &Store<&BleApiTable::BleClientSetSignalStrengthFilter>},
    {"BleClientSetReceivedBroadcastCB", "load bleClientSetReceivedBroadcastCB failed", false,
     &Store<&BleApiTable::BleClientSetReceivedBroadcastCB>},
    {"BleClientSetStoppedWatchBroadcastCB", "load bleClientSetStoppedWatchBroadcastCB failed",
     false, &Store<&BleApiTable::BleClientSetStoppedWatchBroadcastCB>},
    {"BleClientStartWatchBroadcast", "load BleClientStartWatchBroadcast failed", false,
     &Store<&BleApiTable::BleClientStartWatchBroadcast>},
    {"BleClientStopWatchBroadcast", nullptr, false,
     &Store<&BleApiTable::BleClientStopWatchBroadcast>},
    {"BleServerAddManufacturerData", "load BleServerAddManufacturerData failed", false,
     &Store<&BleApiTable::BleServerAddManufacturerData>},
    {"BleServerAddDataSection", "load bleServerAddDataSection failed", false,
     &Store<&BleApiTable::BleServerAddDataSection>},
    {"BleServerSetStatusChangedCB", "load BleServerSetStatusChangedCB failed", false,
     &Store<&BleApiTable::BleServerSetStatusChangedCB>},
    {"BleServerStartBroadcast", "load BleServerStartBroadcast failed", false,
     &Store<&BleApiTable::BleServerStartBroadcast>},
    {"BleServerStopBroadcast", "load BleServerStopBroadcast failed", false,
     &Store<&BleApiTable::BleServerStopBroadcast>},
};

}  // namespace

const BleApiBinding* BleApiTable::Bind(HMODULE loaded) noexcept {
  module = loaded;
  ++load_count;
  for (const BleApiBinding& binding : kBindings) {
    const FARPROC function = ::GetProcAddress(module, binding.name);
    if (function == nullptr) return &binding;
    binding.store(*this, function);
  }
  return nullptr;
}

void BleApiTable::Unload() noexcept {
  if (module == nullptr) return;
  ::FreeLibrary(module);
  module = nullptr;
  --load_count;
}

void BleApiTable::WithdrawCallables() const noexcept {
  if (load_count == 0) return;
  const auto withdraw = [](auto set) {
    if (set != nullptr) Swallow([set] { set(nullptr); });
  };
  withdraw(BleClientSetReceivedBroadcastCB);
  withdraw(BleClientSetStoppedWatchBroadcastCB);
  withdraw(BleServerSetStatusChangedCB);
  withdraw(BleSetLogFunc);
}

BleApiTable& BleApi() noexcept {
  static constinit BleApiTable table;
  return table;
}

}  // namespace quorvel_service
