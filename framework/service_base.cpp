#include "framework/service_base.h"

#include <cassert>
#include <vector>

#include <plenar_base/variant.h>

#include "framework/guard.h"
#include "framework/main_looper.h"

namespace quorvel_service {

ServiceBase::~ServiceBase() {
  listeners_->clear();
}

void ServiceBase::AddListener(IServiceListener* listener) {
  if (listener == nullptr) return;
  Swallow([&] { listeners_->insert(listener); });
}

void ServiceBase::RemoveListener(IServiceListener* listener) {
  listeners_->erase(listener);
}

void ServiceBase::NotifyEvent(std::uint64_t event_id,
                              const std::shared_ptr<base::variant::Variant>& payload) {
  assert(IsOnMainLooper());
  const auto listeners = listeners_;
  Swallow([&] {
    const std::vector<IServiceListener*> snapshot(listeners->begin(), listeners->end());
    for (IServiceListener* listener : snapshot) {
      if (!listeners->contains(listener)) continue;
      Swallow([&] { listener->OnServiceEvent(event_id, payload); });
    }
  });
}

}  // namespace quorvel_service
