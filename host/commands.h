#pragma once

#include <cstdint>
#include <string>

/// The program's commands.
namespace qvs_host {

/// What the commands can be told; each looks at what it has an option for.
struct Options {
  std::string uuid;  ///< Of the form 8-4-4-4-12.
  std::string data;  ///< Bytes.
  std::uint32_t mode = 0;
  int interval_ms = 500;
  bool on_request = false;  ///< Reports are asked for.
  bool discoverable = false;
  bool json = false;
  std::string radio;  ///< "virtual" or "system"; empty: the library's own choice.
  int retry = 0;      ///< How many checks an adapter that is unavailable gets.
  int seconds = 0;    ///< How long to run; 0: until Ctrl-C.
  std::string file;   ///< UTF-8. What to play, or where the demo's scenario goes; may be empty.
  int log_level = 0;
  std::string log_file;  ///< UTF-8; empty: none.
};

/// Each throws an exception that says in words what went wrong.
using Command = void(const Options& options);
Command Advertise, Scan, ShowState, Diagnose, PlayDemo, PlayFile;

}  // namespace qvs_host
