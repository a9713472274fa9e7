#include "host/terminal.h"

#include <windows.h>

#include <shellapi.h>

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <utility>

#include <plenar_base/stringhelp.h>

namespace qvs_host {
namespace {

// The system's handler is a plain function.
std::mutex handler_mutex;
std::function<void()> on_interrupt;

// As the console was before.
UINT former_code_page = 0;
DWORD former_mode = 0;
bool is_console = false;

BOOL WINAPI HandleControl(DWORD event) {
  {
    std::lock_guard lock(handler_mutex);
    if (!on_interrupt) return FALSE;
    on_interrupt();
  }
  // The system ends the process when this returns, unless the user has only pressed keys.
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) Sleep(INFINITE);
  return TRUE;
}

}  // namespace

void PrepareStandardStreams() {
  former_code_page = GetConsoleOutputCP();
  SetConsoleOutputCP(CP_UTF8);
  const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
  is_console = GetConsoleMode(output, &former_mode) &&
               SetConsoleMode(output, former_mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
  std::atexit([] {
    if (is_console) SetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), former_mode);
    if (former_code_page != 0) SetConsoleOutputCP(former_code_page);
  });
}

std::optional<TerminalSize> OutputTerminal() {
  CONSOLE_SCREEN_BUFFER_INFO info = {};
  if (!is_console || !GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info)) {
    return std::nullopt;
  }
  return TerminalSize{info.srWindow.Right - info.srWindow.Left + 1,
                      info.srWindow.Bottom - info.srWindow.Top + 1};
}

std::string OutputOfThisProgram(const std::string& arguments) {
  std::wstring program(32768, L'\0');
  program.resize(GetModuleFileNameW(nullptr, program.data(), 32768));
  const std::wstring command =
      L"\"\"" + program + L"\" " + util::stringhelp::StringToWString(arguments) + L"\"";
  std::string output;
  FILE* const pipe = _wpopen(command.c_str(), L"r");
  if (pipe == nullptr) return output;
  for (int byte = fgetc(pipe); byte != EOF; byte = fgetc(pipe)) output += static_cast<char>(byte);
  _pclose(pipe);
  return output;
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

// The system brings a thread of its own.
void WithoutInterrupts(const std::function<void()>& function) {
  function();
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
