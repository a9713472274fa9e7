#include <utility>

#include <plenar_base/looper.h>
#include <plenar_base/main_looper.h>

#include "threading/looper_core.h"

namespace base::threading {

std::shared_ptr<Looper> LooperThread::MainLooper() noexcept {
  LooperCore& looper = LooperCore::Get();
  if (!looper.IsOpen()) return nullptr;
  return {std::shared_ptr<void>(), &looper};  // lives for ever, so nobody counts its users
}

MainLooperScope::MainLooperScope(std::function<void()> wake) {
  LooperCore::Get().Open(std::move(wake));
}

MainLooperScope::~MainLooperScope() {
  LooperCore::Get().Close();
}

void MainLooperScope::Run() {
  LooperCore::Get().Run();
}

void MainLooperScope::Quit() {
  LooperCore::Get().Quit();
}

std::size_t MainLooperScope::RunUntilIdle() {
  return LooperCore::Get().RunUntilIdle();
}

std::optional<std::uint64_t> MainLooperScope::NextDeadline() const {
  return LooperCore::Get().NextDeadline();
}

}  // namespace base::threading
