#include "host/play/scenario.h"

#include <cmath>
#include <iomanip>
#include <sstream>

#include "host/output.h"

namespace qvs_host {
namespace {

constexpr double kLongestSeconds = 1e9;

Statement ParseStatement(const std::string& line, const std::string& place) {
  std::istringstream in(line);
  Statement statement{.place = place, .time_ms = 0, .actor = {}, .text = {}, .words = {}};
  double seconds = 0;
  if (!(in >> seconds >> statement.actor) || !(seconds <= kLongestSeconds)) {
    throw HostError(place + ": not of the form: SECONDS ACTOR WHAT...");
  }
  statement.time_ms = static_cast<std::uint64_t>(std::llround(seconds * 1000));
  std::getline(in >> std::ws, statement.text);
  std::istringstream rest(statement.text);
  for (std::string word; rest >> std::quoted(word);) statement.words.push_back(word);
  return statement;
}

}  // namespace

std::vector<Step> ParseScenario(const std::string& text, const std::string& name) {
  std::vector<Step> steps;
  std::uint64_t now = 0;
  std::istringstream in(text);
  int number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    if (line.ends_with('\r')) line.pop_back();
    if (line.empty() || line.front() == '#') continue;
    if (line.find_first_of("0123456789") != 0) {
      steps.push_back({line, {}});
      continue;
    }
    const std::string place = name + ':' + std::to_string(number);
    if (steps.empty()) steps.push_back({name, {}});
    const Statement statement = ParseStatement(line, place);
    if (statement.time_ms < now) throw HostError(place + ": earlier than the line before");
    now = statement.time_ms;
    steps.back().statements.push_back(statement);
  }
  return steps;
}

}  // namespace qvs_host
