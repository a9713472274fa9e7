// The host program as a user sees it: arguments in, lines and an exit status out.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <qvs_windows_ble/client.h>
#include <array>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;

/// For what must not meet another test: all programs of the machine share one air.
std::string RandomUuid() {
  return "5eed0000-0a1b-2c3d-4e5f-" + std::to_string(100'000'000'000 + std::random_device()());
}

std::string ReadFile(const std::string& name) {
  std::stringstream text;
  text << std::ifstream(name).rdbuf();
  return text.str();
}

struct Outcome {
  int exit_status;
  std::string out;  ///< Without what has been waited for.
  std::string err;
};

/// A run of the program from a shell, which does not outlive its test's time limit.
class Program {
 public:
  explicit Program(const std::string& arguments, const std::string& program = QVS_HOST_PROGRAM) {
    const std::string limit = "echo $$; exec timeout --foreground 45 ";
    out_ = popen((limit + program + " 2>" + err_ + ' ' + arguments).c_str(), "r");
    process_ = std::stoi(WaitForLine(""));
  }

  /// Waits until a line of the standard output contains `text` and gives it; empty if none comes.
  std::string WaitForLine(std::string_view text) {
    std::array<char, 4096> line;
    while (fgets(line.data(), line.size(), out_) != nullptr) {
      if (std::string_view(line.data()).find(text) != std::string_view::npos) return line.data();
    }
    return "";
  }

  Outcome WaitForEnd() {
    Outcome outcome = {};
    while (feof(out_) == 0) outcome.out += WaitForLine("");
    outcome.exit_status = WEXITSTATUS(pclose(out_));
    outcome.err = ReadFile(err_);
    fs::remove(err_);
    return outcome;
  }

  /// Asks it to end, and expects it to take that well and to say this in the end.
  void Interrupt(int signal, const std::string& last) {
    kill(process_, signal);
    const Outcome outcome = WaitForEnd();
    EXPECT_EQ(outcome.exit_status, 0);
    EXPECT_THAT(outcome.out, EndsWith(last));
    EXPECT_EQ(outcome.err, "");
  }

 private:
  std::string err_ = testing::TempDir() + RandomUuid();
  FILE* out_ = nullptr;
  pid_t process_ = -1;
};

Outcome RunHost(const std::string& arguments) {
  return Program(arguments).WaitForEnd();
}

/// A file that is not there, or holds a text, and is gone at the end.
struct TemporaryFile {
  TemporaryFile() = default;
  explicit TemporaryFile(const std::string& text) { std::ofstream(name) << text; }
  ~TemporaryFile() { fs::remove(name); }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  const std::string name = testing::TempDir() + RandomUuid();
};

struct Case {
  std::string arguments;
  int exit_status;
  std::string text;  ///< Printed if it is well, else the complaint.
};

#define QVS_UUID "5eed0000-0a1b-2c3d-4e5f-0a1b2c3d4e5f"
#define QVS_UUID_OPTION " --uuid " QVS_UUID " "

const Case kCases[] = {
    {"--help", 0, "Usage: qvs_host"},
    {"state --discoverable", 0, "Bluetooth LE can be used\n"},
    {"state --radio virtual", 0, "radio: virtual, heard on this machine only\n"},
    {"state --radio system", 1, "no radio over this system's own Bluetooth"},
    {"state --radio other", 2, "--radio"},
    {"demo --log-level 6", 0, "ble init success"},
    {"scan --for 1 --uuid 5eed0001-0a1b-2c3d-4e5f-0a1b2c3d4e5f", 0, "\nheard nothing in 0:0"},
    {"doctor", 0, "and another program hears it\n"},
    {"play /nowhere", 2, "/nowhere"},
    {"advertise --data 'thirteen byte'" QVS_UUID_OPTION, 2, "at most 12 bytes, not 13"},
    {"'two\nlines'", 2, "not expected: two\\u{a}lines"},
    {"--log-level 3", 2, "subcommand"},
    {"--log-file f demo", 2, "--log-level"},
    {"--log-level 3 --log-file /nowhere/f demo", 2, "/nowhere/f"},
    {"advertise --uuid 0A1b2c3d0a1b2c3d4e5f0a1b2c3d4e5f", 2,
     "0A1b2c3d-0a1b-2c3d-4e5f-0a1b2c3d4e5f"},
    {"scan --uuid {" QVS_UUID "}", 2, "write " QVS_UUID},
    {"scan --uuid 0x", 2, "not a UUID like"},
    {"advertise --data-hex 0x41:00:FF" QVS_UUID_OPTION, 2, "write 4100FF"},
    {"advertise --data a --data-hex 00" QVS_UUID_OPTION, 2, "--data-hex"},
    {"scan --mode 3" QVS_UUID_OPTION, 2, "--mode"},
    {"scan --json=no" QVS_UUID_OPTION, 2, "json"},
};

TEST(HostProgram, AnswersWithAnExitStatusAndComplainsInOneLine) {
  for (const auto& [arguments, exit_status, text] : kCases) {
    SCOPED_TRACE(arguments);
    const Outcome outcome = RunHost(arguments);
    EXPECT_EQ(outcome.exit_status, exit_status);
    EXPECT_THAT(exit_status == 0 ? outcome.out : outcome.err, HasSubstr(text));
    EXPECT_TRUE(exit_status == 0 || outcome.out.empty()) << outcome.out;
    EXPECT_THAT(outcome.err, MatchesRegex(exit_status == 0 ? "" : "qvs_host: [^\n]*\n"));
  }
}

TEST(HostProgram, PlaysTheSameDemoEveryTimeAlsoFromItsRecord) {
  const std::string expected = ReadFile(QVS_DEMO_OUTPUT);
  const TemporaryFile scenario;
  EXPECT_EQ(RunHost("demo --record " + scenario.name).out, expected);
  EXPECT_EQ(RunHost("play " + scenario.name).out, expected);
}

const std::array<std::string, 2> kWrongScenarios[] = {
    // What is played, and what is complained of, after the file's name.
    {"0 expect result 0,", ":1: waited in vain for: result 0,"},
    {"# none\n\nTitle\n1 host create\n0.5 host destroy", ":5: earlier than the line before"},
    {"0 host", ":1: unknown action; there are:"},
    {"0 host create\n0 host init x", ":2: \"x\" is not a number"},
    {"0 host check", ":1: there is no host"},
    {"1e99 host create", ":1: not of the form"},
};

TEST(HostProgram, SaysWhereAScenarioIsWrongOrWhatItWaitedForInVain) {
  for (const auto& [text, complaint] : kWrongScenarios) {
    const TemporaryFile scenario(text);
    const Outcome outcome = RunHost("play " + scenario.name);
    EXPECT_EQ(outcome.exit_status, 1);
    EXPECT_THAT(outcome.err, HasSubstr(scenario.name + complaint));
  }
}

const std::array<std::string, 3> kStrangers[] = {
    // A device's name and its data (in hexadecimal), and how they are shown.
    {"B\xC3\xBCro", "42c3bc", "\"B\xC3\xBCro\"  data \"B\xC3\xBC\""},
    {R"(TV\"  data \"1)", "225c22", R"("TV\"  data \"1"  data "\"\\\"")"},
    {"\x1B[2J\xC2\x9B", "1b5b324a", R"("\u{1b}[2J\u{9b}"  data 0x1b5b324a)"},
    {"a\xE2\x80\xAE\xE2\x80\x8B", "e2808b", R"("a\u{202e}\u{200b}"  data 0xe2808b)"},
    {"\xF3\xA0\x80\xA0\xFF", "42fc", "\"\\u{e0020}\xEF\xBF\xBD\"  data 0x42fc"},
};

TEST(HostProgram, ShowsNoNameThatImitatesOtherFieldsOrCommandsTheTerminal) {
  for (const auto& [name, data, shown] : kStrangers) {
    const TemporaryFile scenario("0 host create\n0 air 02:00 \"" + name +
                                 "\" -50 dBm every 100 ms data " QVS_UUID " 0x" + data +
                                 "\n0 host scan " QVS_UUID " mode 0 continuous\n1 host destroy");
    EXPECT_THAT(RunHost("play " + scenario.name).out, HasSubstr("02:00  -50 dBm  " + shown + '\n'));
  }
}

TEST(HostProgram, EndsWhenNobodyTakesItsOutput) {
  const TemporaryFile fifo;
  ASSERT_EQ(mkfifo(fifo.name.c_str(), 0600), 0);
  const std::string no_reader = "3<>" + fifo.name + " >" + fifo.name + " 3<&-";
  for (const std::string command : {"state ", "demo ", "--help ", "advertise" QVS_UUID_OPTION}) {
    const Outcome closed = RunHost(command + no_reader);
    EXPECT_EQ(closed.exit_status, 0) << command;
    EXPECT_EQ(closed.err, "");
    const Outcome missing = RunHost(command + ">&-");
    EXPECT_EQ(missing.exit_status, 1) << command;
    EXPECT_EQ(missing.err, "qvs_host: cannot write to the standard output\n");
  }
}

const std::array<std::string, 4> kMeetings[] = {
    // What is sent, how it is looked for, how it is shown and which bytes it is.
    {"--data 'room 4.02'", "--mode 1 --no-continue", "\"room 4.02\"", "room 4.02"},
    {"--data-hex 4100ff", "--mode 2 --interval 100", "0x4100ff", std::string("A\0\xFF", 3)},
};

TEST(HostProgram, IsHeardByAnotherAndEndsTidilyHoweverItIsAskedTo) {
  for (const auto& [data, scan, shown, bytes] : kMeetings) {
    const std::string uuid = RandomUuid();
    Program advertiser("--log-level 1 --log-file /dev/null advertise --uuid " + uuid + ' ' + data);
    EXPECT_THAT(advertiser.WaitForLine("of 12 bytes"), HasSubstr(shown));
    EXPECT_EQ(advertiser.WaitForLine("advertising"), "advertising\n");
    Program scanner("scan --uuid " + uuid + ' ' + scan);
    EXPECT_THAT(scanner.WaitForLine("new"), EndsWith("data " + shown + '\n'));
    Program json_scanner("scan --json --uuid " + uuid);
    const auto device = nlohmann::json::parse(json_scanner.WaitForLine("device_json"));
    EXPECT_EQ(ble::Base64ToBytes(device.at("advertise_data").at(0).get<std::string>()),
              ble::UuidToBytes(uuid) + bytes);
    EXPECT_EQ(device.at("uuid"), uuid);
    EXPECT_EQ(device.at("data").is_null(), bytes[1] == '\0');
    EXPECT_GT(device.at("time"), 1e9);

    const std::string on_terminal = " env TERM=xterm script -qec 'stty columns 60 rows 9; " +
                                    std::string(QVS_HOST_PROGRAM " scan --for 1 --uuid ") + uuid +
                                    "' /dev/null";
    const Outcome table = Program("", on_terminal).WaitForEnd();
    EXPECT_THAT(table.out, ContainsRegex("\n[+][^\n]*" + shown + "[^\n]* -[0-9]+\x1B[^\n]*\n"));
    EXPECT_THAT(table.out, ContainsRegex(uuid + "  0:0[0-9]  1 device\r\n"));
    EXPECT_THAT(table.out, HasSubstr("heard 1 device in 0:0"));

    advertiser.Interrupt(SIGHUP, "stopping\nstopped\n");
    scanner.Interrupt(SIGTERM, "\n");
    json_scanner.Interrupt(SIGINT, "}\n");
  }
}

TEST(HostProgram, NamesTheFileThatIsMissingOrDamaged) {
  const TemporaryFile folder;
  fs::create_directory(folder.name);
  std::istringstream files(QVS_HOST_FILES);
  for (std::string file; std::getline(files, file, '|');) fs::copy(file, folder.name);
  const std::string path = folder.name + '/';
  const auto run = [&] {
    return Program("state --log-level 6 --log-file " + path + "log", path + "qvs_host")
        .WaitForEnd();
  };

  const Outcome whole = run();
  EXPECT_THAT(whole.out, HasSubstr("Bluetooth LE can be used\n"));
  EXPECT_THAT(whole.err, HasSubstr("ble init success"));
  EXPECT_THAT(ReadFile(path + "log"), HasSubstr("ble init success"));

  std::ofstream(path + ble::kBleApiFile, std::ios::app) << "!";
  EXPECT_THAT(run().err, HasSubstr(path + ble::kBleApiFile + " is not signed, or was changed"));
  fs::remove(path + ble::kBleApiFile);
  EXPECT_THAT(run().err, HasSubstr(path + ble::kBleApiFile + " is missing"));

  std::ofstream(path + ble::kModuleFile) << "!";
  EXPECT_THAT(run().err, HasSubstr("cannot load " + path + ble::kModuleFile));
  fs::remove(path + ble::kModuleFile);
  const Outcome without = run();
  EXPECT_EQ(without.exit_status, 1);
  EXPECT_THAT(without.err, HasSubstr(path + ble::kModuleFile + " is missing"));
  fs::remove_all(folder.name);
}

}  // namespace
