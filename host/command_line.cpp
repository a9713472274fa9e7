#include "host/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <utility>

#include "host/byte_text.h"
#include "host/host_error.h"

namespace qvs_host {
namespace {

constexpr int kLongestRunSeconds = 1'000'000;
constexpr int kLongestIntervalMs = 3'600'000;

std::string CheckUuid(const std::string& text) {
  return UuidToBytes(text) ? "" : "not a UUID like 0a1b2c3d-0a1b-2c3d-4e5f-0a1b2c3d4e5f";
}

std::string CheckHex(const std::string& text) {
  return HexToBytes(text) ? "" : "not an even number of hexadecimal digits";
}

/// What the parser writes into; turned into a `CommandLine` when it is done.
struct RawOptions {
  std::string uuid;
  std::string data;
  std::string data_hex;
  int mode = 0;
  int interval_ms = 500;
  int for_seconds = 0;
  bool no_continue = false;
  bool json = false;
  bool discoverable = false;

  [[nodiscard]] std::optional<std::chrono::seconds> Duration() const {
    if (for_seconds == 0) return std::nullopt;
    return std::chrono::seconds(for_seconds);
  }
};

class Parser {
 public:
  Parser() {
    // None is told apart below, after what was given instead.
    app_.require_subcommand(0, 1);
    for (CLI::App* const command : {demo_, advertise_, scan_, state_}) command->fallthrough();
    app_.set_version_flag("--version", "qvs_host " QVS_VERSION);
    auto* const level =
        AddNumber(app_, "--log-level", result_.log_level, {0, 7},
                  "Write log lines up to this level: 1 fatal, 3 errors, 4 warnings, "
                  "6 information, 7 everything")
            ->capture_default_str();
    app_.add_option("--log-file", result_.log_file, "Write the log lines to this file as well")
        ->type_name("FILE")
        ->needs(level);
    AddAdvertise();
    AddScan();
    AddFlag(*state_, "--discoverable", raw_.discoverable,
            "Ask as well whether other devices can discover the radio");
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
    if (app_.get_subcommands().empty()) {
      return Notice{ErrorLine("a subcommand is required; see --help"), kExitBadArguments};
    }
    SetCommand();
    return result_;
  }

 private:
  struct Bounds {
    int lowest;
    int highest;
  };

  static CLI::Option* AddNumber(CLI::App& app, const char* name, int& value, Bounds bounds,
                                const std::string& description) {
    const std::string range =
        " (" + std::to_string(bounds.lowest) + " to " + std::to_string(bounds.highest) + ')';
    return app.add_option(name, value, description + range)
        ->type_name("N")
        ->check(CLI::Range(bounds.lowest, bounds.highest).description(""));
  }

  static void AddFlag(CLI::App& app, const char* name, bool& value, const char* description) {
    app.add_flag(name, value, description)->disable_flag_override();
  }

  void AddAdvertise() {
    AddUuid(*advertise_, "Service UUID to advertise");
    auto* const text =
        advertise_->add_option("--data", raw_.data, "Custom data as text, at most 12 bytes");
    advertise_->add_option("--data-hex", raw_.data_hex, "Custom data as hexadecimal digits")
        ->type_name("HEX")
        ->check(CheckHex)
        ->excludes(text);
    AddDuration(*advertise_);
  }

  void AddScan() {
    AddUuid(*scan_, "Service UUID to look for");
    AddNumber(*scan_, "--mode", raw_.mode, {0, 2}, "Scan mode")->capture_default_str();
    AddNumber(*scan_, "--interval", raw_.interval_ms, {1, kLongestIntervalMs},
              "Milliseconds between reports")
        ->capture_default_str();
    AddFlag(*scan_, "--no-continue", raw_.no_continue,
            "No reports by the module itself in modes 0 and 1; it is asked for them");
    AddFlag(*scan_, "--json", raw_.json, "Print each device as a line of JSON");
    AddDuration(*scan_);
  }

  void AddUuid(CLI::App& command, const char* description) {
    command.add_option("--uuid", raw_.uuid, description)
        ->type_name("UUID")
        ->required()
        ->check(CheckUuid);
  }

  void AddDuration(CLI::App& command) {
    AddNumber(command, "--for", raw_.for_seconds, {1, kLongestRunSeconds},
              "Seconds to run; until Ctrl-C without it");
  }

  void SetCommand() {
    if (advertise_->parsed()) {
      result_.command = AdvertiseOptions{
          .uuid = raw_.uuid,
          .custom_data = raw_.data_hex.empty() ? raw_.data : HexToBytes(raw_.data_hex).value(),
          .duration = raw_.Duration()};
    } else if (scan_->parsed()) {
      result_.command = ScanOptions{.uuid = raw_.uuid,
                                    .mode = static_cast<std::uint32_t>(raw_.mode),
                                    .interval = std::chrono::milliseconds(raw_.interval_ms),
                                    .continuous = !raw_.no_continue,
                                    .json = raw_.json,
                                    .duration = raw_.Duration()};
    } else if (state_->parsed()) {
      result_.command = StateOptions{.need_discoverable = raw_.discoverable};
    }
  }

  /// One line, whatever the argument holds that the text quotes.
  static std::string ErrorLine(std::string text) {
    for (char& character : text) {
      if (static_cast<unsigned char>(character) < ' ') character = ' ';
    }
    return "qvs_host: " + text + '\n';
  }

  CommandLine result_;
  RawOptions raw_;
  CLI::App app_{"Bluetooth Low Energy through the module that stands beside this program.",
                "qvs_host"};
  CLI::App* demo_ =
      app_.add_subcommand("demo", "Show everything the module does, in simulated time");
  CLI::App* advertise_ = app_.add_subcommand("advertise", "Advertise a service UUID");
  CLI::App* scan_ = app_.add_subcommand("scan", "Show the devices that advertise a service UUID");
  CLI::App* state_ = app_.add_subcommand("state", "Tell whether Bluetooth LE can be used");
};

}  // namespace

std::variant<CommandLine, Notice> ParseCommandLine(std::vector<std::string> arguments) {
  return Parser().Parse(std::move(arguments));
}

}  // namespace qvs_host
