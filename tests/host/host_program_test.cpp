// The host program as a user sees it: arguments in, lines and an exit status out.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>

#include "host/byte_text.h"

namespace {

namespace fs = std::filesystem;
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

  /// Ends it as Ctrl-C does, and expects it to take that well.
  void Interrupt() {
    kill(process_, SIGINT);
    const Outcome outcome = WaitForEnd();
    EXPECT_EQ(outcome.exit_status, 0);
    EXPECT_EQ(outcome.err, "");
  }

 private:
  std::string err_ = testing::TempDir() + RandomUuid();
  FILE* out_ = nullptr;
  pid_t process_ = -1;
};

struct Run {
  std::string arguments;
  int exit_status;
  std::string text;  ///< Printed if it is well, else the complaint.
};

#define QVS_UUID " --uuid 5eed0000-0a1b-2c3d-4e5f-0a1b2c3d4e5f "

const Run kRuns[] = {
    {"--help", 0, "Usage: qvs_host"},
    {"state --discoverable", 0, "Bluetooth LE can be used\n"},
    {"demo --log-level 6", 0, "ble init success"},
    {"scan --for 1" QVS_UUID, 0, ""},
    {"advertise --data 'thirteen byte'" QVS_UUID, 1, "the custom data is longer than 12 bytes"},
    {"'two\nlines'", 2, "not expected: two lines"},
    {"--log-level 3", 2, "subcommand"},
    {"--log-level 8 demo", 2, "--log-level"},
    {"--log-file f demo", 2, "--log-level"},
    {"--log-level 3 --log-file /nowhere/f demo", 2, "/nowhere/f"},
    {"demo state", 2, "state"},
    {"advertise", 2, "--uuid"},
    {"advertise --uuid 0a1b2c3d0a1b2c3d4e5f0a1b2c3d4e5f", 2, "--uuid"},
    {"advertise --data a --data-hex 00" QVS_UUID, 2, "--data-hex"},
    {"advertise --data-hex 123" QVS_UUID, 2, "--data-hex"},
    {"advertise --for 0" QVS_UUID, 2, "--for"},
    {"scan --mode 3" QVS_UUID, 2, "--mode"},
    {"scan --interval 0" QVS_UUID, 2, "--interval"},
    {"scan --json=no" QVS_UUID, 2, "json"},
};

TEST(HostProgram, AnswersWithAnExitStatusAndComplainsInOneLine) {
  for (const auto& [arguments, exit_status, text] : kRuns) {
    SCOPED_TRACE(arguments);
    const Outcome outcome = Program(arguments).WaitForEnd();
    EXPECT_EQ(outcome.exit_status, exit_status);
    EXPECT_THAT(exit_status == 0 ? outcome.out : outcome.err, HasSubstr(text));
    EXPECT_TRUE(exit_status == 0 || outcome.out.empty()) << outcome.out;
    EXPECT_THAT(outcome.err, MatchesRegex(exit_status == 0 ? "" : "qvs_host: [^\n]*\n"));
  }
}

TEST(HostProgram, PlaysTheSameDemoEveryTime) {
  EXPECT_EQ(Program("demo").WaitForEnd().out, Program("demo").WaitForEnd().out);
}

TEST(HostProgram, EndsWhenNobodyTakesItsOutput) {
  const std::string fifo = testing::TempDir() + RandomUuid();
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  const std::string no_reader = "3<>" + fifo + " >" + fifo + " 3<&-";
  for (const std::string command : {"state ", "demo ", "advertise" QVS_UUID}) {
    for (const std::string& output : {std::string(">&-"), no_reader}) {
      const Outcome outcome = Program(command + output).WaitForEnd();
      EXPECT_EQ(outcome.exit_status, 1) << command << output;
      EXPECT_EQ(outcome.err, "qvs_host: cannot write to the standard output\n");
    }
  }
  fs::remove(fifo);
}

const std::array<std::string, 4> kMeetings[] = {
    // What is sent, how it is looked for, how it is shown and which bytes it is.
    {"--data 'room 4.02'", "--mode 1 --no-continue", "data \"room 4.02\"\n", "room 4.02"},
    {"--data-hex 4100ff", "--mode 2 --interval 100", "data 0x4100ff\n", std::string("A\0\xFF", 3)},
};

TEST(HostProgram, IsHeardByAnother) {
  for (const auto& [data, scan, shown, bytes] : kMeetings) {
    const std::string uuid = RandomUuid();
    Program advertiser("advertise --uuid " + uuid + ' ' + data);
    EXPECT_EQ(advertiser.WaitForLine("advertising"), "advertising\n");
    Program scanner("scan --uuid " + uuid + ' ' + scan);
    EXPECT_THAT(scanner.WaitForLine("data"), HasSubstr(shown));
    Program json_scanner("scan --json --uuid " + uuid);
    const auto device = nlohmann::json::parse(json_scanner.WaitForLine("{"));
    EXPECT_EQ(qvs_host::Base64ToBytes(device.at("advertise_data").at(0).get<std::string>()),
              qvs_host::UuidToBytes(uuid).value() + bytes);
    for (Program* const program : {&advertiser, &scanner, &json_scanner}) program->Interrupt();
  }
}

TEST(HostProgram, NeedsWhatStandsBesideItAsItWasSigned) {
  const std::string folder = testing::TempDir() + RandomUuid() + '/';
  fs::create_directory(folder);
  std::istringstream files(QVS_HOST_FILES);
  for (std::string file; std::getline(files, file, '|');) fs::copy(file, folder);
  const std::string arguments = "state --log-level 6 --log-file " + folder + "log";
  const auto run = [&] { return Program(arguments, folder + "qvs_host").WaitForEnd(); };

  const Outcome whole = run();
  EXPECT_EQ(whole.out, "Bluetooth LE can be used\n");
  EXPECT_THAT(whole.err, HasSubstr("ble init success"));
  EXPECT_THAT(ReadFile(folder + "log"), HasSubstr("ble init success"));

  std::ofstream(folder + "plenar_ble_api.dll", std::ios::app) << "!";
  const Outcome damaged = run();
  EXPECT_EQ(damaged.exit_status, 1);
  EXPECT_THAT(damaged.err, HasSubstr("qvs_host: the BLE API library cannot be used"));

  fs::remove(folder + QVS_MODULE_FILE);
  EXPECT_THAT(run().err, HasSubstr("qvs_host: cannot load " QVS_MODULE_FILE));
  fs::remove_all(folder);
}

}  // namespace
