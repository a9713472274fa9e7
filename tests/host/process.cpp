#include "tests/host/process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace {

constexpr int kPatienceMs = 30'000;

std::array<int, 2> MakePipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category());
  return ends;
}

}  // namespace

Process::Process(const std::string& program, const std::vector<std::string>& arguments,
                 Output output) {
  const auto out = MakePipe();
  const auto err = MakePipe();
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  if (output == Output::kClosed) {
    posix_spawn_file_actions_addclose(&actions, STDOUT_FILENO);
  } else {
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
  }
  posix_spawn_file_actions_adddup2(&actions, err[1], STDERR_FILENO);
  if (output == Output::kNobodyReads) {
    close(out[0]);
  } else {
    out_.descriptor = out[0];
  }
  err_.descriptor = err[0];

  std::vector<char*> argv = {const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const int error =
      posix_spawn(&process_, program.c_str(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(out[1]);
  close(err[1]);
  if (error != 0) throw std::system_error(error, std::generic_category(), program);
}

Process::~Process() {
  if (process_ > 0) {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
  if (out_.descriptor >= 0) close(out_.descriptor);
  if (err_.descriptor >= 0) close(err_.descriptor);
}

bool Process::Read() {
  std::array<pollfd, 2> waiting = {pollfd{out_.descriptor, POLLIN, 0},
                                   pollfd{err_.descriptor, POLLIN, 0}};
  if (poll(waiting.data(), waiting.size(), kPatienceMs) <= 0) return false;
  bool has_read = false;
  for (Stream* const stream : {&out_, &err_}) {
    if (waiting[stream == &out_ ? 0 : 1].revents == 0) continue;
    std::array<char, 4096> buffer;
    const ssize_t size = read(stream->descriptor, buffer.data(), buffer.size());
    if (size > 0) {
      stream->text.append(buffer.data(), static_cast<std::size_t>(size));
    } else {
      close(stream->descriptor);
      stream->descriptor = -1;  // which `poll` passes over
    }
    has_read = true;
  }
  return has_read;
}

std::string Process::WaitForLine(std::string_view text) {
  std::size_t begin = 0;
  while (true) {
    const std::size_t end = out_.text.find('\n', begin);
    if (end == std::string::npos) {
      if (out_.descriptor < 0 || !Read()) return "";
      continue;
    }
    std::string line = out_.text.substr(begin, end - begin);
    if (line.find(text) != std::string::npos) return line;
    begin = end + 1;
  }
}

void Process::Interrupt() const {
  kill(process_, SIGINT);
}

Outcome Process::WaitForEnd() {
  while ((out_.descriptor >= 0 || err_.descriptor >= 0) && Read()) {
  }
  if (out_.descriptor >= 0 || err_.descriptor >= 0) kill(process_, SIGKILL);
  int status = 0;
  waitpid(process_, &status, 0);
  process_ = -1;
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out_.text, err_.text};
}

Outcome RunProgram(const std::string& program, const std::vector<std::string>& arguments,
                   Output output) {
  return Process(program, arguments, output).WaitForEnd();
}
