#include "host/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

#include "host/describe.h"
#include "host/output.h"

namespace qvs_host {
namespace {

constexpr int kLongestRunSeconds = 1'000'000;
constexpr int kLongestIntervalMs = 3'600'000;
constexpr char kExampleUuid[] = "0a1b2c3d-0a1b-2c3d-4e5f-0a1b2c3d4e5f";

/// The hexadecimal digits of a text, without a 0x before them and what is often put around them.
std::string DigitsOf(std::string text) {
  if (text.starts_with("0x") || text.starts_with("0X")) text.erase(0, 2);
  std::erase_if(text,
                [](char c) { return std::string_view("{}()-: ").find(c) != std::string::npos; });
  return text;
}

std::string CheckUuid(const std::string& text) {
  const std::string digits = DigitsOf(text);
  if (digits.size() != 32 || !HexToBytes(digits)) {
    return std::string("not a UUID like ") + kExampleUuid;
  }
  const std::string right = UuidText(digits);
  return text == right ? "" : "write " + right;
}

std::string CheckLength(const std::string& data) {
  constexpr std::size_t kMostBytes = 12;
  if (data.size() <= kMostBytes) return "";
  return "at most 12 bytes, not " + std::to_string(data.size());
}

/// Turns the digits into what they stand for.
std::string TakeHex(std::string& text) {
  if (auto bytes = HexToBytes(text)) {
    text = *std::move(bytes);
    return CheckLength(text);
  }
  const std::string right = DigitsOf(text);
  return HexToBytes(right) ? "write " + right : "not an even number of hexadecimal digits";
}

class Parser {
 public:
  Parser() {
    // None is told apart below, after what was given instead.
    app_.require_subcommand(0, 1);
    app_.set_version_flag("--version", "qvs_host " QVS_VERSION);
    app_.get_formatter()->column_width(22);
    auto* const level = AddNumber(app_, "--log-level", options_.log_level, {0, 7},
                                  "Write log lines up to this level to the standard\n"
                                  "error: 3 errors, 4 warnings, 6 information, 7 all")
                            ->capture_default_str();
    app_.add_option("--log-file", options_.log_file, "Write them to this file as well")
        ->type_name("FILE")
        ->needs(level);
    AddDemo();
    AddPlay();
    AddAdvertise();
    AddScan();
    AddState();
    AddCommand("doctor", "Look at all that Bluetooth LE needs, and say what to do", Diagnose);
  }

  std::variant<CommandLine, Notice> Parse(std::vector<std::string> arguments) {
    if (arguments.empty()) return Notice{app_.help(), kExitBadArguments};
    try {
      std::reverse(arguments.begin(), arguments.end());
      app_.parse(std::move(arguments));
    } catch (const CLI::CallForHelp&) {
      return Notice{app_.help(), kExitOk};
    } catch (const CLI::CallForVersion& version) {
      return Notice{std::string(version.what()) + '\n', kExitOk};
    } catch (const CLI::ParseError& error) {
      return Notice{ErrorLine(error.what()), kExitBadArguments};
    }
    if (line_.command == nullptr) {
      return Notice{ErrorLine("a subcommand is required; see --help"), kExitBadArguments};
    }
    return line_;
  }

 private:
  CLI::App& AddCommand(const char* name, const char* description, Command* command) {
    CLI::App& app = *app_.add_subcommand(name, description);
    app.callback([this, command] { line_.command = command; });
    app.fallthrough();
    app.footer("Every command takes --log-level N and --log-file FILE: see qvs_host --help.\n");
    return app;
  }

  void AddDemo() {
    AddCommand("demo", "Show everything that the module does, in simulated time", PlayDemo)
        .add_option("--record", options_.file,
                    "Write what is played to this file, for 'play',\nto be changed")
        ->type_name("FILE");
  }

  void AddPlay() {
    AddCommand("play", "Play a scenario, a text of what happens at which time", PlayFile)
        .add_option("scenario", options_.file, "What to play; 'demo --record' writes an example")
        ->type_name("FILE")
        ->check(CLI::Validator(CLI::ExistingFile).description(""))
        ->required();
  }

  void AddAdvertise() {
    CLI::App& app = AddCommand("advertise", "Advertise a service UUID", Advertise);
    AddUuid(app, "The UUID to advertise");
    auto* const text =
        app.add_option("--data", options_.data, "Up to 12 bytes of your own, as text")
            ->check(CLI::Validator(CheckLength, ""));
    app.add_option("--data-hex", options_.data, "The same as hexadecimal digits: 4100ff")
        ->type_name("HEX")
        ->transform(CLI::Validator(TakeHex, ""))
        ->excludes(text);
    AddRunning(app);
  }

  void AddScan() {
    CLI::App& app = AddCommand("scan", "Show the devices that advertise a service UUID", Scan);
    AddUuid(app, "The UUID to look for");
    AddNumber(app, "--mode", options_.mode, {0, 2},
              "What a report holds with --no-continue:\n"
              "0  what was heard in the last 20 s\n"
              "1  everything that was heard; from 30 devices on,\n"
              "   in the last 20 s\n"
              "2  what was heard since the last report")
        ->capture_default_str();
    AddNumber(app, "--interval", options_.interval_ms, {1, kLongestIntervalMs},
              "Milliseconds between reports")
        ->capture_default_str();
    AddFlag(app, "--no-continue", options_.on_request,
            "Ask for reports as --mode says, instead of having\n"
            "what was heard since the last one");
    AddRunning(app);
  }

  void AddState() {
    CLI::App& app = AddCommand("state", "Tell whether Bluetooth LE can be used", ShowState);
    AddFlag(app, "--discoverable", options_.discoverable,
            "Ask as well whether other devices can discover\nthe radio");
    AddOutput(app);
  }

  static void AddFlag(CLI::App& app, const char* name, bool& value, const char* description) {
    app.add_flag(name, value, description)->disable_flag_override();
  }

  template <class Number>
  static CLI::Option* AddNumber(CLI::App& app, const char* name, Number& value,
                                std::pair<int, int> bounds, const std::string& description) {
    return app.add_option(name, value, description)
        ->type_name("N")
        ->check(CLI::Range(bounds.first, bounds.second).description(""));
  }

  void AddUuid(CLI::App& app, const std::string& description) {
    app.add_option("--uuid", options_.uuid, description + ", like\n" + kExampleUuid)
        ->type_name("UUID")
        ->required()
        ->check(CLI::Validator(CheckUuid, ""));
  }

  void AddRunning(CLI::App& app) {
    AddNumber(app, "--for", options_.seconds, {1, kLongestRunSeconds},
              "Seconds to run; without it until Ctrl-C");
    AddOutput(app);
  }

  void AddOutput(CLI::App& app) {
    AddNumber(app, "--retry", options_.retry, {1, 1000},
              "Check an unavailable adapter again, that often,\nevery 3 s (30 s from 10 on)");
    app.add_option("--radio", options_.radio,
                   "virtual: heard on this machine only; system: the\n"
                   "system's own Bluetooth")
        ->type_name("KIND")
        ->check(CLI::IsMember({"virtual", "system"}).description(""));
    AddFlag(app, "--json", options_.json, "Print one JSON object a line");
  }

  /// One line, whatever the argument holds that the text quotes.
  static std::string ErrorLine(const std::string& text) {
    return "qvs_host: " + Escaped(text) + '\n';
  }

  CommandLine line_;
  Options& options_ = line_.options;
  CLI::App app_{
      "Bluetooth Low Energy through the module that stands beside this program.\n"
      "'qvs_host COMMAND --help' tells what a command can be told.",
      "qvs_host"};
};

}  // namespace

std::variant<CommandLine, Notice> ParseCommandLine(std::vector<std::string> arguments) {
  return Parser().Parse(std::move(arguments));
}

}  // namespace qvs_host
