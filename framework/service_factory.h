#pragma once

#include <functional>
#include <string>
#include <unordered_map>
#include <utility>

#include "framework/service.h"

namespace quorvel_service {

/// Maps service names to ways of making a service; `Args` are what the creators take. Names are
/// compared byte for byte. Used while the module is loaded and unloaded and on the host's main
/// thread, never by two threads at once.
template <class... Args>
class ServiceFactory {
 public:
  using Creator = std::function<IService*(Args...)>;

  ServiceFactory() = default;
  ServiceFactory(const ServiceFactory&) = delete;
  ServiceFactory& operator=(const ServiceFactory&) = delete;
  virtual ~ServiceFactory() = default;

  /// The one factory. Never destroyed: services unregister during static destruction, in whatever
  /// order that happens.
  static ServiceFactory* GetInstance() {
    static ServiceFactory* instance = nullptr;
    if (instance == nullptr) instance = new ServiceFactory;
    return instance;
  }

  /// False, and nothing is stored, for an empty creator or a name that is already registered.
  bool Register(const std::string& name, Creator creator) {
    return creator && creators_.try_emplace(name, std::move(creator)).second;
  }

  /// False if the name was not registered.
  bool Unregister(const std::string& name) { return creators_.erase(name) != 0; }

  /// A new service, owned by the caller; null if nothing is registered under the name.
  [[nodiscard]] IService* Create(const std::string& name, Args... args) const {
    const auto found = creators_.find(name);
    return found == creators_.end() ? nullptr : found->second(std::forward<Args>(args)...);
  }

 private:
  std::unordered_map<std::string, Creator> creators_;
};

}  // namespace quorvel_service
