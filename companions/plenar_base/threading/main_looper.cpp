#include <mutex>
#include <stdexcept>
#include <utility>

#include <plenar_base/looper.h>
#include <plenar_base/main_looper.h>

#include "immortal.h"
#include "threading/looper_core.h"

namespace base::threading {
namespace {

struct Current {
  std::mutex mutex;
  std::shared_ptr<LooperCore> core;
};

}  // namespace

class MainLooperScope::Impl final : public LooperCore {};

std::shared_ptr<LooperCore> CurrentLooperCore() noexcept {
  auto& current = Immortal<Current>();
  std::lock_guard lock(current.mutex);
  return current.core;
}

std::shared_ptr<Looper> LooperThread::MainLooper() noexcept {
  return CurrentLooperCore();
}

MainLooperScope::MainLooperScope() {
  auto& current = Immortal<Current>();
  std::lock_guard lock(current.mutex);
  if (current.core) throw std::logic_error("there is a main looper already");
  impl_ = std::make_shared<Impl>();
  current.core = impl_;
}

MainLooperScope::~MainLooperScope() {
  auto& current = Immortal<Current>();
  {
    std::lock_guard lock(current.mutex);
    current.core = nullptr;
  }
  impl_->Close();
}

void MainLooperScope::Run() {
  impl_->Run();
}

void MainLooperScope::Quit() {
  impl_->Quit();
}

std::size_t MainLooperScope::RunUntilIdle() {
  return impl_->RunUntilIdle();
}

std::optional<std::uint64_t> MainLooperScope::NextDeadline() const {
  return impl_->NextDeadline();
}

}  // namespace base::threading
