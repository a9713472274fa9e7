#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qvs_host {

/// Something that is to happen, or to be seen, at a time.
struct Statement {
  std::string place;  ///< "FILE:LINE"
  std::uint64_t time_ms;
  std::string actor;               ///< The first word: host, radio, air, pc or expect.
  std::string text;                ///< What follows it, as it stands there.
  std::vector<std::string> words;  ///< That in words; one in double quotes may hold spaces.
};

struct Step {
  std::string title;
  std::vector<Statement> statements;
};

/// Reads a scenario: a line "SECONDS ACTOR WHAT..." for each statement, in order of their times;
/// any other line is the title of a step, an empty one or one that begins with # says nothing.
/// Throws `HostError` with the line's place.
[[nodiscard]] std::vector<Step> ParseScenario(const std::string& text, const std::string& name);

/// The built-in scenario.
extern const char kDemoScenario[];

}  // namespace qvs_host
