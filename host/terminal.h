#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// How the program and its terminal meet; one source per platform.
namespace qvs_host {

/// Makes writing to a closed standard stream fail, rather than end the process or reach a file that
/// was opened later, and a console show UTF-8 until the process ends. To be called first in `main`.
void PrepareStandardStreams();

struct TerminalSize {
  int columns;
  int rows;
};

/// Of the terminal that the standard output goes to, if it goes to one that can move its cursor.
[[nodiscard]] std::optional<TerminalSize> OutputTerminal();

/// Runs this program with other arguments, which need no quotes, and gives what it prints.
[[nodiscard]] std::string OutputOfThisProgram(const std::string& arguments);

/// The program's arguments as UTF-8, without its name.
[[nodiscard]] std::vector<std::string> ArgumentsInUtf8(int argc, char** argv);

/// Runs a function; the threads that it starts leave it to others to be interrupted.
void WithoutInterrupts(const std::function<void()>& function);

/// Calls a function, on a thread of its own, when the user asks the program to end (Ctrl-C, the
/// terminal closes, the system shuts down). To be made before any thread that is not started in
/// `WithoutInterrupts`, one at a time.
class InterruptWatch {
 public:
  explicit InterruptWatch(std::function<void()> interrupted);
  ~InterruptWatch();
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace qvs_host
