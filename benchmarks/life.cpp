// A service's life in a process of its own, from loading the module to unloading it: prints the
// least of ten in nanoseconds, without the check of the BLE API library's signature, which is the
// cryptography library's work and measured beside it.

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <limits>

#include <plenar_base/crypto.h>
#include <plenar_base/future.h>
#include <plenar_base/main_looper.h>
#include <plenar_base/stringhelp.h>
#include <plenar_base/variant.h>

#include "framework/service.h"
#include "services/implement/windows_ble/generated/windows_ble_service_ids.h"

namespace {

namespace ble = quorvel_service::windows_ble;

template <class Function>
Function* Resolve(HMODULE library, const char* name) {
  return reinterpret_cast<Function*>(reinterpret_cast<void (*)()>(GetProcAddress(library, name)));
}

template <class Function>
double Nanoseconds(const Function& function) {
  const auto begin = std::chrono::steady_clock::now();
  function();
  return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - begin).count();
}

/// Whether the service came up.
bool Live(base::threading::MainLooperScope& looper) {
  const HMODULE module = LoadLibraryA(QVS_MODULE_FILE);
  if (module == nullptr) return false;
  auto* const service = Resolve<quorvel_service::QVCreateServiceFunction>(
      module, "QVCreateService")(ble::kServiceName);
  const int state =
      service->Call(ble::method::kCheckBleState, nullptr)->Value()->Get("ret").AsInt32();
  Resolve<quorvel_service::QVDestroyServiceFunction>(module, "QVDestroyService")(service);
  looper.RunUntilIdle();
  FreeLibrary(module);
  return state == 0;
}

}  // namespace

int main() {
  base::threading::MainLooperScope looper;
  const std::wstring library = util::stringhelp::StringToWString(QVS_BLE_API_PATH);
  double least_whole = std::numeric_limits<double>::max();
  double least_signature = std::numeric_limits<double>::max();
  for (int i = 0; i < 10; ++i) {
    bool is_up = false;
    least_whole = std::min(least_whole, Nanoseconds([&] { is_up = Live(looper); }));
    int verified = 1;
    least_signature = std::min(least_signature,
                               Nanoseconds([&] { verified = util::crypto::VerifyFile(library); }));
    if (!is_up || verified != 0) return 1;
  }
  std::printf("%.0f\n", least_whole - least_signature);
  return 0;
}
