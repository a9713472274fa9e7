#pragma once

#include <new>

#include "framework/guard.h"
#include "framework/service.h"
#include "framework/service_factory.h"

namespace quorvel_service {

/// Base of a service class `T`: deriving from it registers `T` under `T::ServiceName()` for as long
/// as the module is loaded.
template <class T, class... Args>
class ServiceRegister {
 public:
  // Naming the registrar makes the compiler define it. A virtual destructor is compiled for every
  // class that derives from this one; a constructor would be only where objects are made, which is
  // in what the registrar registers.
  virtual ~ServiceRegister() { static_cast<void>(&registrar_); }

 private:
  using Factory = ServiceFactory<Args...>;

  struct Registrar {
    Registrar() {
      Swallow([] { Factory::GetInstance()->Register(T::ServiceName(), &Create); });
    }
    ~Registrar() {
      Swallow([] { Factory::GetInstance()->Unregister(T::ServiceName()); });
    }
  };

  static IService* Create(Args... args) {
    try {
      return new T(args...);
    } catch (const std::bad_alloc&) {
      return nullptr;
    }
  }

  static inline const Registrar registrar_;
};

}  // namespace quorvel_service
