// The host program as a user sees it: arguments in, lines and an exit status out.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>

#include "tests/host/process.h"

namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr char kUuid[] = "0a1b2c3d-0a1b-2c3d-4e5f-0a1b2c3d4e5f";

/// A UUID of this test's own: all programs of the machine share one air.
std::string RandomUuid() {
  std::random_device random;
  std::string uuid = kUuid;
  for (char& character : uuid) {
    if (character != '-') character = "0123456789abcdef"[random() % 16];
  }
  return uuid;
}

Outcome RunHost(const std::vector<std::string>& arguments, Output output = Output::kRead) {
  return RunProgram(QVS_HOST_PROGRAM, arguments, output);
}

struct BadArguments {
  std::vector<std::string> arguments;
  std::string complaint;
};

const BadArguments kBadArguments[] = {
    {{"bogus"}, "not expected: bogus"},
    {{"--bogus"}, "not expected: --bogus"},
    {{"two\nlines"}, "not expected: two lines"},
    {{"--log-level", "3"}, "subcommand"},
    {{"--log-level", "8", "demo"}, "--log-level"},
    {{"--log-level", "x", "demo"}, "--log-level"},
    {{"--log-file", "f", "demo"}, "--log-level"},
    {{"--log-level", "3", "--log-file", "/nowhere/f", "demo"}, "/nowhere/f"},
    {{"demo", "extra"}, "extra"},
    {{"demo", "state"}, "state"},
    {{"advertise"}, "--uuid"},
    {{"advertise", "--uuid"}, "--uuid"},
    {{"advertise", "--uuid", ""}, "--uuid"},
    {{"advertise", "--uuid", "0a1b2c3d0a1b2c3d4e5f0a1b2c3d4e5f"}, "--uuid"},
    {{"advertise", "--uuid", kUuid, "--data", "a", "--data-hex", "00"}, "--data-hex"},
    {{"advertise", "--uuid", kUuid, "--data-hex", "123"}, "--data-hex"},
    {{"advertise", "--uuid", kUuid, "--data-hex", "xy"}, "--data-hex"},
    {{"advertise", "--uuid", kUuid, "--for", "0"}, "--for"},
    {{"scan"}, "--uuid"},
    {{"scan", "--uuid", kUuid, "--uuid", kUuid}, "--uuid"},
    {{"scan", "--uuid", kUuid, "--mode", "3"}, "--mode"},
    {{"scan", "--uuid", kUuid, "--mode", "-1"}, "--mode"},
    {{"scan", "--uuid", kUuid, "--interval", "0"}, "--interval"},
    {{"scan", "--uuid", kUuid, "--interval", "99999999999999999999"}, "--interval"},
    {{"scan", "--uuid", kUuid, "--json=no"}, "json"},
    {{"state", "--discoverable", "yes"}, "yes"},
};

TEST(HostProgram, AnswersBadArgumentsWithOneLine) {
  for (const auto& [arguments, complaint] : kBadArguments) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    const Outcome outcome = RunHost(arguments);
    EXPECT_EQ(outcome.exit_status, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, AllOf(StartsWith("qvs_host: "), HasSubstr(complaint), EndsWith("\n")));
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
  }
}

TEST(HostProgram, WithoutArgumentsShowsItsUsage) {
  const Outcome outcome = RunHost({});
  EXPECT_EQ(outcome.exit_status, 2);
  EXPECT_EQ(outcome.out, "");
  EXPECT_THAT(outcome.err, HasSubstr("Usage: qvs_host"));
}

TEST(HostProgram, ShowsHelpAndVersion) {
  for (const auto& [arguments, text] : std::vector<BadArguments>{{{"--help"}, "Usage: qvs_host"},
                                                                 {{"scan", "--help"}, "--uuid"},
                                                                 {{"--version"}, "1."}}) {
    const Outcome outcome = RunHost(arguments);
    EXPECT_EQ(outcome.exit_status, 0);
    EXPECT_THAT(outcome.out, HasSubstr(text));
    EXPECT_EQ(outcome.err, "");
  }
}

TEST(HostProgram, PlaysTheDemo) {
  const Outcome outcome = RunHost({"demo"});
  EXPECT_EQ(outcome.exit_status, 0) << outcome.out;
  EXPECT_EQ(outcome.err, "");
  EXPECT_THAT(outcome.out, AllOf(HasSubstr("  event   state 5, "), Not(HasSubstr("left out")),
                                 Not(HasSubstr("  log "))));
}

TEST(HostProgram, PlaysTheSameDemoEveryTime) {
  EXPECT_EQ(RunHost({"demo"}).out, RunHost({"demo"}).out);
}

TEST(HostProgram, PrintsInTheDemoWhatTheReadmeShows) {
  std::stringstream readme;
  readme << std::ifstream(QVS_README).rdbuf();
  const std::string demo = RunHost({"demo"}).out;
  std::string paragraph;
  bool in_excerpt = false;
  int paragraphs = 0;
  for (std::string line; std::getline(readme, line);) {
    const bool ends = line.empty() || line == "```";
    if (in_excerpt && ends && !paragraph.empty()) {
      EXPECT_THAT(demo, HasSubstr(paragraph));
      paragraph.clear();
      ++paragraphs;
    }
    if (in_excerpt && !ends) paragraph += line + '\n';
    if (line.starts_with("```")) in_excerpt = line == "```text";
  }
  EXPECT_GT(paragraphs, 1);
}

TEST(HostProgram, ShowsLogLinesAmongTheDemosOthers) {
  const Outcome outcome = RunHost({"demo", "--log-level", "6"});
  EXPECT_EQ(outcome.exit_status, 0) << outcome.out;
  EXPECT_EQ(outcome.err, "");
  EXPECT_THAT(outcome.out, HasSubstr("ble init success"));
}

TEST(HostProgram, TellsTheState) {
  for (const auto& arguments :
       std::vector<std::vector<std::string>>{{"state"}, {"state", "--discoverable"}}) {
    const Outcome outcome = RunHost(arguments);
    EXPECT_EQ(outcome.exit_status, 0);
    EXPECT_EQ(outcome.out, "Bluetooth LE can be used\n");
    EXPECT_EQ(outcome.err, "");
  }
}

TEST(HostProgram, TellsAResultInWords) {
  const Outcome outcome = RunHost({"advertise", "--uuid", kUuid, "--data", "thirteen byte"});
  EXPECT_EQ(outcome.exit_status, 1);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err, "qvs_host: the custom data is longer than 12 bytes\n");
}

TEST(HostProgram, WritesLogLinesWhereTheyAreWanted) {
  const auto file = std::filesystem::path(testing::TempDir()) / ("qvs_host_" + RandomUuid());
  const Outcome outcome = RunHost({"state", "--log-level", "6", "--log-file", file.string()});
  std::stringstream lines;
  lines << std::ifstream(file).rdbuf();
  std::filesystem::remove(file);
  EXPECT_EQ(outcome.exit_status, 0);
  EXPECT_EQ(outcome.out, "Bluetooth LE can be used\n");
  EXPECT_THAT(outcome.err, HasSubstr("ble init success"));
  EXPECT_THAT(lines.str(), HasSubstr("ble init success"));
}

TEST(HostProgram, EndsWhenNobodyTakesItsOutput) {
  for (const Output output : {Output::kClosed, Output::kNobodyReads}) {
    for (const auto& arguments : std::vector<std::vector<std::string>>{
             {"state"}, {"demo"}, {"advertise", "--uuid", kUuid}}) {
      const Outcome outcome = RunHost(arguments, output);
      EXPECT_EQ(outcome.exit_status, 1) << arguments[0];
      EXPECT_EQ(outcome.err, "qvs_host: cannot write to the standard output\n");
    }
  }
}

TEST(HostProgram, RunsForTheTimeItIsGiven) {
  const Outcome outcome = RunHost({"scan", "--uuid", RandomUuid(), "--for", "1"});
  EXPECT_EQ(outcome.exit_status, 0);
  EXPECT_EQ(outcome.out + outcome.err, "");
}

/// Ends a program as Ctrl-C does, and expects it to take that well.
void ExpectCleanEnd(Process& process) {
  process.Interrupt();
  const Outcome outcome = process.WaitForEnd();
  EXPECT_EQ(outcome.exit_status, 0);
  EXPECT_EQ(outcome.err, "");
}

struct Meeting {
  std::string name;
  std::vector<std::string> data;  ///< What the advertiser sends.
  std::vector<std::string> scan;  ///< How the scanner looks for it.
  std::string heard;
};

void PrintTo(const Meeting& meeting, std::ostream* out) {
  *out << meeting.name;
}

const Meeting kMeetings[] = {
    {"Text", {"--data", "room 4.02"}, {}, "data \"room 4.02\""},
    {"Bytes", {"--data-hex", "00ff"}, {"--mode", "2"}, "data 0x00ff"},
    {"Nothing", {}, {"--mode", "1", "--interval", "100"}, "data \"\""},
    {"AskedInMode0", {"--data", "asked"}, {"--mode", "0", "--no-continue"}, "data \"asked\""},
    {"AskedInMode1", {"--data", "asked"}, {"--mode", "1", "--no-continue"}, "data \"asked\""},
    {"InMode2",
     {"--data", "all 12 bytes"},
     {"--mode", "2", "--no-continue"},
     "data \"all 12 bytes\""},
};

class HostProgramMeeting : public testing::TestWithParam<Meeting> {};

TEST_P(HostProgramMeeting, IsHeardByAnother) {
  const std::string uuid = RandomUuid();
  std::vector<std::string> advertise = {"advertise", "--uuid", uuid};
  advertise.insert(advertise.end(), GetParam().data.begin(), GetParam().data.end());
  std::vector<std::string> scan = {"scan", "--uuid", uuid};
  scan.insert(scan.end(), GetParam().scan.begin(), GetParam().scan.end());

  Process advertiser(QVS_HOST_PROGRAM, advertise);
  EXPECT_EQ(advertiser.WaitForLine("advertising"), "advertising");
  Process scanner(QVS_HOST_PROGRAM, scan);
  EXPECT_THAT(scanner.WaitForLine("data"), EndsWith(GetParam().heard));
  ExpectCleanEnd(scanner);
  ExpectCleanEnd(advertiser);
}

INSTANTIATE_TEST_SUITE_P(, HostProgramMeeting, testing::ValuesIn(kMeetings),
                         [](const auto& meeting) { return meeting.param.name; });

TEST(HostProgram, PrintsDevicesAsLinesOfJson) {
  const std::string uuid = RandomUuid();
  Process advertiser(QVS_HOST_PROGRAM, {"advertise", "--uuid", uuid, "--data", "hello"});
  Process scanner(QVS_HOST_PROGRAM, {"scan", "--uuid", uuid, "--json"});
  const auto device = nlohmann::json::parse(scanner.WaitForLine("{"));
  EXPECT_TRUE(device.at("device_id").is_string());
  EXPECT_TRUE(device.at("rssi").is_number_integer());
  // 16 bytes of the UUID and 5 of the custom data, in Base64.
  EXPECT_EQ(device.at("advertise_data").at(0).get<std::string>().size(), 28u);
  ExpectCleanEnd(scanner);
  ExpectCleanEnd(advertiser);
}

/// A copy of the program's folder, for tests that spoil it.
class SpoiltHostProgram : public testing::Test {
 protected:
  SpoiltHostProgram() {
    std::filesystem::create_directory(folder_);
    std::istringstream files(QVS_HOST_FILES);
    for (std::string file; std::getline(files, file, '|');) {
      std::filesystem::copy(file, folder_ / std::filesystem::path(file).filename());
    }
  }
  ~SpoiltHostProgram() override { std::filesystem::remove_all(folder_); }

  [[nodiscard]] Outcome RunState() const { return RunProgram(folder_ / "qvs_host", {"state"}); }

  std::filesystem::path folder_ =
      std::filesystem::path(testing::TempDir()) / ("qvs_host_" + RandomUuid());
};

TEST_F(SpoiltHostProgram, RunsFromAnyFolder) {
  const Outcome outcome = RunState();
  EXPECT_EQ(outcome.exit_status, 0) << outcome.err;
}

TEST_F(SpoiltHostProgram, TellsWhenTheModuleIsMissing) {
  std::filesystem::remove(folder_ / QVS_MODULE_FILE);
  const Outcome outcome = RunState();
  EXPECT_EQ(outcome.exit_status, 1);
  EXPECT_THAT(outcome.err, StartsWith("qvs_host: cannot load " QVS_MODULE_FILE));
}

TEST_F(SpoiltHostProgram, TellsWhenTheBleApiLibraryIsNotWhatWasSigned) {
  std::ofstream(folder_ / "plenar_ble_api.dll", std::ios::app) << "!";
  const Outcome outcome = RunState();
  EXPECT_EQ(outcome.exit_status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("BLE API library"));
}

}  // namespace
