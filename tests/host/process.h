#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>
#include <vector>

/// What a program left behind.
struct Outcome {
  int exit_status;  ///< -1 when it did not end by itself.
  std::string out;
  std::string err;
};

enum class Output { kRead, kClosed, kNobodyReads };

/// A run of a program as a user starts it. Everything that waits gives up after a generous time,
/// and the program is killed when the object goes.
class Process {
 public:
  Process(const std::string& program, const std::vector<std::string>& arguments,
          Output output = Output::kRead);
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  /// Waits until a whole line of the standard output contains `text` and gives that line; empty if
  /// none comes.
  std::string WaitForLine(std::string_view text);

  /// What Ctrl-C does.
  void Interrupt() const;

  Outcome WaitForEnd();

 private:
  struct Stream {
    int descriptor = -1;
    std::string text;
  };

  /// Reads what there is, waiting for it; false when nothing comes any more.
  bool Read();

  Stream out_;
  Stream err_;
  pid_t process_ = -1;
};

/// Runs a program to its end.
Outcome RunProgram(const std::string& program, const std::vector<std::string>& arguments,
                   Output output = Output::kRead);
