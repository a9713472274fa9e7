#include "host/terminal.h"

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <string_view>
#include <thread>
#include <utility>

namespace qvs_host {

void PrepareStandardStreams() {
  signal(SIGPIPE, SIG_IGN);
  for (int descriptor = 0; descriptor <= 2; ++descriptor) {
    // The lowest free number is taken, which is this one; reading only, so that writing fails.
    if (fcntl(descriptor, F_GETFD) == -1 && open("/dev/null", O_RDONLY) == -1) return;
  }
}

std::optional<TerminalSize> OutputTerminal() {
  const char* const kind = std::getenv("TERM");
  winsize size = {};
  if (kind == nullptr || std::string_view(kind) == "dumb" || isatty(STDOUT_FILENO) == 0 ||
      ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) {
    return std::nullopt;
  }
  return TerminalSize{size.ws_col, size.ws_row};
}

std::string OutputOfThisProgram(const std::string& arguments) {
  std::string output;
  FILE* const pipe =
      popen(("exec /proc/" + std::to_string(getpid()) + "/exe " + arguments).c_str(), "r");
  if (pipe == nullptr) return output;
  for (int byte = fgetc(pipe); byte != EOF; byte = fgetc(pipe)) output += static_cast<char>(byte);
  pclose(pipe);
  return output;
}

std::vector<std::string> ArgumentsInUtf8(int argc, char** argv) {
  return argc > 0 ? std::vector<std::string>(argv + 1, argv + argc) : std::vector<std::string>();
}

namespace {

/// Blocks what interrupts the program, in this thread and those that it starts meanwhile.
class InterruptsBlocked {
 public:
  InterruptsBlocked() {
    sigemptyset(&signals_);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals_, signal);
    pthread_sigmask(SIG_BLOCK, &signals_, &former_mask_);
  }
  InterruptsBlocked(const InterruptsBlocked&) = delete;
  InterruptsBlocked& operator=(const InterruptsBlocked&) = delete;
  ~InterruptsBlocked() { pthread_sigmask(SIG_SETMASK, &former_mask_, nullptr); }

  [[nodiscard]] const sigset_t& Signals() const { return signals_; }

 private:
  sigset_t signals_{};
  sigset_t former_mask_{};
};

}  // namespace

void WithoutInterrupts(const std::function<void()>& function) {
  const InterruptsBlocked blocked;
  function();
}

/// The signals are blocked in every thread, and taken by one that does nothing else.
class InterruptWatch::Impl {
 public:
  explicit Impl(std::function<void()> interrupted)
      : waiter_([this, interrupted = std::move(interrupted)] {
          int signal = 0;
          while (sigwait(&blocked_.Signals(), &signal) == 0 && !ending_) interrupted();
        }) {}

  ~Impl() {
    ending_ = true;
    pthread_kill(waiter_.native_handle(), SIGINT);
    waiter_.join();
  }

 private:
  const InterruptsBlocked blocked_;
  std::atomic<bool> ending_ = false;
  std::thread waiter_;
};

InterruptWatch::InterruptWatch(std::function<void()> interrupted)
    : impl_(std::make_unique<Impl>(std::move(interrupted))) {}

InterruptWatch::~InterruptWatch() = default;

}  // namespace qvs_host
