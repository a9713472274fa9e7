#pragma once

#include <string>
#include <variant>
#include <vector>

#include "host/commands.h"

namespace qvs_host {

struct DemoOptions {};

/// What the program was asked to do.
struct CommandLine {
  int log_level = 0;
  std::string log_file;  ///< UTF-8; empty: none.
  std::variant<DemoOptions, AdvertiseOptions, ScanOptions, StateOptions> command;
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
