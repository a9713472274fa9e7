#include "host/terminal.h"

#include <windows.h>

#include <shellapi.h>

#include <mutex>
#include <utility>

#include <plenar_base/stringhelp.h>

namespace qvs_host {
namespace {

// The system's handler is a plain function.
std::mutex handler_mutex;
std::function<void()> on_interrupt;

BOOL WINAPI HandleControl(DWORD) {
  std::lock_guard lock(handler_mutex);
  if (!on_interrupt) return FALSE;
  on_interrupt();
  return TRUE;
}

}  // namespace

void PrepareStandardStreams() {
  SetConsoleOutputCP(CP_UTF8);
}

std::vector<std::string> ArgumentsInUtf8(int, char**) {
  // What `main` gets is in the system's code page.
  int count = 0;
  wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
  std::vector<std::string> arguments;
  for (int i = 1; i < count; ++i) {
    arguments.push_back(util::stringhelp::UnicodeToUtf8(wide[i]));
  }
  LocalFree(wide);
  return arguments;
}

class InterruptWatch::Impl {
 public:
  explicit Impl(std::function<void()> interrupted) {
    {
      std::lock_guard lock(handler_mutex);
      on_interrupt = std::move(interrupted);
    }
    SetConsoleCtrlHandler(HandleControl, TRUE);
  }

  ~Impl() {
    SetConsoleCtrlHandler(HandleControl, FALSE);
    std::lock_guard lock(handler_mutex);
    on_interrupt = nullptr;
  }
};

InterruptWatch::InterruptWatch(std::function<void()> interrupted)
    : impl_(std::make_unique<Impl>(std::move(interrupted))) {}

InterruptWatch::~InterruptWatch() = default;

}  // namespace qvs_host
