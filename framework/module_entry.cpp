#include <qvs_windows_ble_export.h>

#include "framework/guard.h"
#include "framework/service.h"
#include "framework/service_factory.h"

using quorvel_service::IService;
using quorvel_service::ServiceFactory;
using quorvel_service::Swallow;

extern "C" {

/// A new service of that name, or null. See `framework/service.h`.
QVS_WINDOWS_BLE_EXPORT IService* QVCreateService(const char* service_name) {
  if (service_name == nullptr) return nullptr;
  IService* service = nullptr;
  Swallow([&] { service = ServiceFactory<>::GetInstance()->Create(service_name); });
  if (service != nullptr) Swallow([&] { service->InitService(); });
  return service;
}

/// Ends a service that `QVCreateService` made.
QVS_WINDOWS_BLE_EXPORT void QVDestroyService(IService* service) {
  if (service == nullptr) return;
  Swallow([&] { service->UnInitService(); });
  Swallow([&] { delete service; });
}

}  // extern "C"
