#include "services/implement/windows_ble/src/windows/ble_api_table.h"

#include <windows.h>

#include <utility>

#include "services/implement/windows_ble/src/windows/build_settings.h"

namespace quorvel_service {
namespace {

template <auto Function>
void Store(BleApiTable& table, FARPROC function) {
  using Pointer = std::remove_reference_t<decltype(table.*Function)>;
  // By way of the one function type that compilers let any other be cast from and to.
  table.*Function = reinterpret_cast<Pointer>(reinterpret_cast<void (*)()>(function));
}

#define QV_BINDING(name, line, logs_error_code) \
  {#name, line, logs_error_code, &Store<&BleApiTable::name>},
constexpr BleApiBinding kBindings[] = {QV_BLE_API_FUNCTIONS(QV_BINDING)};
#undef QV_BINDING

}  // namespace

const BleApiBinding* BleApiTable::Bind(HMODULE library) noexcept {
  module = library;
  BleApiTable bound;
  bound.module = library;
  for (const BleApiBinding& binding : kBindings) {
    const FARPROC function = ::GetProcAddress(library, binding.name);
    if (function == nullptr) return &binding;
    binding.store(bound, function);
  }
  *this = bound;
  return nullptr;
}

void BleApiTable::Unload() noexcept {
  if (module != nullptr) ::FreeLibrary(std::exchange(module, nullptr));
}

void BleApiTable::WithdrawCallables() const noexcept {
  const bool gave_callables = BleInit != nullptr;
  if (!gave_callables) return;
  const HMODULE library = ::GetModuleHandleA(build_settings::kBleApiLibrary);
  BleApiTable loaded;
  if (library == nullptr || loaded.Bind(library) != nullptr) return;
  loaded.Call<&BleApiTable::BleClientSetReceivedBroadcastCB>(nullptr);
  loaded.Call<&BleApiTable::BleClientSetStoppedWatchBroadcastCB>(nullptr);
  loaded.Call<&BleApiTable::BleServerSetStatusChangedCB>(nullptr);
  loaded.Call<&BleApiTable::BleSetLogFunc>(nullptr);
}

BleApiTable& BleApi() noexcept {
  static constinit BleApiTable table;
  return table;
}

}  // namespace quorvel_service
