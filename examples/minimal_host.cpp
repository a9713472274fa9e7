// Loads the module, asks it whether Bluetooth LE can be used, and puts everything away again.
#include <windows.h>

#include <iostream>
#include <memory>

#include <plenar_base/main_looper.h>

#include "framework/service.h"
#include "services/implement/windows_ble/generated/windows_ble_service_ids.h"

#ifndef QVS_MODULE_FILE
#define QVS_MODULE_FILE "qvs_windows_ble.so"  // qvs_windows_ble.dll on Windows
#endif

namespace ble = quorvel_service::windows_ble;

template <class Function>
Function* Resolve(HMODULE module, const char* name) {
  return reinterpret_cast<Function*>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
}

int main() {
  base::threading::MainLooperScope looper;  // this thread is the main looper thread from now on
  const HMODULE module = LoadLibraryA(QVS_MODULE_FILE);
  if (module == nullptr) return 1;
  const auto create = Resolve<quorvel_service::QVCreateServiceFunction>(module, "QVCreateService");
  const auto destroy =
      Resolve<quorvel_service::QVDestroyServiceFunction>(module, "QVDestroyService");
  auto* const service = create(ble::kServiceName);
  if (service == nullptr) return 1;

  const auto arguments = std::make_shared<base::variant::Variant>();
  arguments->Set("need_check_discoverable", base::variant::Variant(false));
  auto future = service->Call(ble::method::kCheckBleState, arguments);
  std::cout << "state: " << future->Value()->Get("ret").AsInt32() << std::endl;

  future.reset();  // its code, and that of its value, is the module's
  destroy(service);
  looper.RunUntilIdle();  // what the module has posted must not outlive its code
  FreeLibrary(module);
  return 0;
}
