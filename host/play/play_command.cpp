#include <algorithm>
#include <charconv>
#include <cstdint>
#include <exception>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <plenar_ble_api/ble_api.h>
#include <qvs_windows_ble/client.h>

#include "host/commands.h"
#include "host/describe.h"
#include "host/output.h"
#include "host/play/pc.h"
#include "host/play/scenario.h"
#include "host/play/stage.h"
#include "host/play/time_line.h"
#include "host/scoped_log_sink.h"

namespace qvs_host {
namespace {

using Words = std::vector<std::string>;

int Number(const std::string& word) {
  int number = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
  if (error != std::errc() || *end != '\0') throw HostError('"' + word + "\" is not a number");
  return number;
}

bool IsOn(const std::string& word) {
  if (word != "on" && word != "off") throw HostError('"' + word + "\" is neither on nor off");
  return word == "on";
}

/// Bytes as text, or hexadecimal after 0x.
std::string Bytes(const std::string& word) {
  return (word.starts_with("0x") ? HexToBytes(word.substr(2)) : std::nullopt).value_or(word);
}

BleBroadcastInfo Broadcast(const Words& words) {
  BleBroadcastInfo device;
  device.address = words[0];
  device.local_name = words[1];
  device.rssi = static_cast<std::int16_t>(Number(words[2]));
  return device;
}

void PutServiceOnAir(Stage& stage, const Words& words) {
  BleBroadcastInfo device = Broadcast(words);
  device.service_uuids = {words[4]};
  device.connectable = true;
  stage.Radio().PutOnAir(device, static_cast<std::uint64_t>(Number(words[3])));
}

void PutDataOnAir(Stage& stage, const Words& words) {
  constexpr std::uint16_t kCompany = 0x7E51;
  BleBroadcastInfo device = Broadcast(words);
  const std::string data = ble::UuidToBytes(words[4]) + Bytes(words[5]);
  device.manufacturer_data[kCompany].assign(data.begin(), data.end());
  stage.Radio().PutOnAir(device, static_cast<std::uint64_t>(Number(words[3])));
}

void StartScan(Stage& stage, const Words& words, bool continuous) {
  stage.NoteResult(stage.Host().StartWatch(
      words[0], {.mode = static_cast<std::uint32_t>(Number(words[1])), .continuous = continuous}));
}

struct Action {
  std::string_view pattern;  ///< Words in capitals stand for what is given to `act`.
  void (*act)(Stage& stage, const Words& words);
};

constexpr Action kActions[] = {
    {"host create", [](Stage& stage, const Words&) { stage.CreateHost(); }},
    {"host destroy", [](Stage& stage, const Words&) { stage.DestroyHost(); }},
    {"host init RETRIES",
     [](Stage& stage, const Words& words) {
       stage.NoteResult(stage.Host().Init(Number(words[0])));
     }},
    {"host uninit", [](Stage& stage, const Words&) { stage.NoteResult(stage.Host().UnInit()); }},
    {"host check",
     [](Stage& stage, const Words&) { stage.NoteState("result", stage.Host().CheckState()); }},
    {"host check discoverable",
     [](Stage& stage, const Words&) {
       stage.NoteState("result", stage.Host().CheckState(/*need_discoverable=*/true));
     }},
    {"host advertise UUID DATA",
     [](Stage& stage, const Words& words) {
       stage.NoteResult(stage.Host().StartBroadcast(words[0], Bytes(words[1])));
     }},
    {"host stop advertising",
     [](Stage& stage, const Words&) { stage.NoteResult(stage.Host().StopBroadcast()); }},
    {"host scan UUID mode MODE continuous",
     [](Stage& stage, const Words& words) { StartScan(stage, words, /*continuous=*/true); }},
    {"host scan UUID mode MODE requested",
     [](Stage& stage, const Words& words) { StartScan(stage, words, /*continuous=*/false); }},
    {"host stop scanning",
     [](Stage& stage, const Words&) { stage.NoteResult(stage.Host().StopWatch()); }},
    {"host ask",
     [](Stage& stage, const Words&) { stage.NoteResult(stage.Host().RequestDevices()); }},
    {"radio answers FUNCTION NUMBER",
     [](Stage& stage, const Words& words) { stage.Radio().SetResult(words[0], Number(words[1])); }},
    {"radio reports publisher STATUS ERROR",
     [](Stage& stage, const Words& words) {
       stage.Radio().ReportPublisherStatus(BlePublisherStatus{Number(words[0])},
                                           BleError{Number(words[1])});
     }},
    {"radio show", [](Stage& stage, const Words&) { stage.ShowSending(); }},
    {"air ADDRESS NAME RSSI dBm every MS ms service UUID", PutServiceOnAir},
    {"air ADDRESS NAME RSSI dBm every MS ms data UUID DATA", PutDataOnAir},
    {"pc bluetooth ON", [](Stage&, const Words& words) { OurPc()->set_bluetooth(IsOn(words[0])); }},
    {"pc discoverable ON",
     [](Stage&, const Words& words) { OurPc()->set_discoverable(IsOn(words[0])); }},
};

/// The words that stand for the pattern's capitals; none if the statement is not of the pattern.
std::optional<Words> Match(std::string_view pattern, const Statement& statement) {
  std::istringstream in{std::string(pattern)};
  std::string expected;
  if (!(in >> expected) || expected != statement.actor) return std::nullopt;
  Words given;
  for (const std::string& word : statement.words) {
    if (!(in >> expected)) return std::nullopt;
    const bool any = std::ranges::all_of(expected, [](char c) { return c >= 'A' && c <= 'Z'; });
    if (any) {
      given.push_back(word);
    } else if (word != expected) {
      return std::nullopt;
    }
  }
  return in >> expected ? std::nullopt : std::optional(given);
}

void Act(const Statement& statement, Stage& stage) {
  for (const Action& action : kActions) {
    if (const auto words = Match(action.pattern, statement)) return action.act(stage, *words);
  }
  std::string known;
  for (const Action& action : kActions) known += "\n  " + std::string(action.pattern);
  throw HostError("unknown action; there are:" + known);
}

void Play(const Statement& statement, Stage& stage, TimeLine& line) {
  try {
    stage.LetTimePassUntil(statement.time_ms);
    if (statement.actor != "expect") {
      line.Print(statement.actor, statement.text);
      Act(statement, stage);
    } else if (!line.HasSeen(statement.text)) {
      throw HostError("waited in vain for: " + statement.text);
    }
  } catch (const std::exception& error) {
    throw HostError(statement.place + ": " + error.what());
  }
}

void Play(const std::string& scenario, const std::string& name) {
  const auto steps = ParseScenario(scenario, name);
  PrintLine(
      "Times are simulated, in seconds. host, radio, air, pc: what these do; result: what the\n"
      "host is answered; event, device: what the module reports.");
  ScopedSimulatedTime time;
  const auto line = std::make_shared<TimeLine>(*time);
  const ScopedLogSink log(line);
  Stage stage(*time, *line);
  for (const auto& [title, statements] : steps) {
    const bool changes_pc = std::ranges::count(statements, "pc", &Statement::actor) > 0;
    if (changes_pc && OurPc() == nullptr) {
      line->BeginStep(title + " (left out: this machine's settings are not changed)");
      continue;
    }
    line->BeginStep(title);
    for (const Statement& statement : statements) Play(statement, stage, *line);
  }
  PrintLine("\nEverything that was waited for happened.");
}

}  // namespace

void PlayDemo(const Options& options) {
  if (!options.file.empty()) {
    std::ofstream file(options.file, std::ios::binary);
    if (!(file << kDemoScenario).flush()) throw HostError("cannot write " + options.file);
  }
  Play(kDemoScenario, "demo");
}

void PlayFile(const Options& options) {
  std::ifstream file(options.file, std::ios::binary);
  std::stringstream text;
  if (!(text << file.rdbuf())) throw HostError("cannot read " + options.file);
  Play(text.str(), options.file);
}

}  // namespace qvs_host
