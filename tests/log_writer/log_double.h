#pragma once

#include <string>
#include <vector>

/// The base library's log and thread-local slots as the log line writer sees them, in place of the
/// library itself.
namespace log_double {

struct Line {
  std::string tag;
  std::string file;
  int line;
  std::string function;
  int level;
  std::string message;
  bool operator==(const Line&) const = default;
};

struct State {
  int level = 6;
  int level_queries = 0;
  int length_queries = 0;
  bool record = true;  ///< Off: lines are dropped, and the double allocates nothing.
  std::vector<Line> lines;
};
State& Get();

/// Ends the calling thread as far as its slots are concerned: their values are cleaned up.
void CleanUpSlots();

}  // namespace log_double
