#pragma once

#include <string>
#include <variant>
#include <vector>

#include "host/commands.h"

namespace qvs_host {

/// What the program was asked to do.
struct CommandLine {
  Options options;
  Command* command = nullptr;
};

/// Text to be printed instead of doing anything.
struct Notice {
  std::string text;
  int exit_status;  ///< 0: the text answers a question; otherwise it says what is wrong.
};

/// Reads the arguments (UTF-8, without the program's name).
[[nodiscard]] std::variant<CommandLine, Notice> ParseCommandLine(
    std::vector<std::string> arguments);

}  // namespace qvs_host
