#include <plenar_base/log.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <plenar_base/log_sink.h>
#include <plenar_base_control/simulated_time.h>

using namespace base::log;

static void Print(int level, std::string message, std::string tag = {}) {
  PrintLog(std::move(tag), "file.cpp", 12, "Function", level, std::move(message));
}

/// Logs about each line, and about the first one also on another thread, for which it waits.
struct Talking final : LogSink {
  void Write(const LogRecord& record) override {
    Print(3, "about " + record.message);
    if (record.message == "line") std::thread([] { Print(3, "meanwhile"); }).join();
    throw 1;
  }
};

class LogTest : public testing::Test {
 protected:
  LogTest() {
    base::time::SetTimeSource(std::make_shared<base::time::SimulatedTime>());
    SetLogLevel(6);
  }
};

TEST_F(LogTest, WritesWhatTheLevelLetsThroughInOneLineEach) {
  EXPECT_EQ(GetLogLevel(), 0) << "nothing is put together for nobody";
  testing::internal::CaptureStderr();
  const auto sink = MakeStderrSink();
  for (int i = 0; i < 2; ++i) AddLogSink(sink);
  EXPECT_EQ(GetLogLevel(), 6);
  Print(7, "too verbose");
  Print(6, "a\r\n\tb" + std::string("\0\x1B\x7F", 3) + "\xC3\xA9\\", "Tag\n");
  for (const int level : {-1, 1, 2, 3, 4, 5}) Print(level, "");
  RemoveLogSink(sink);
  Print(0, "too late");

  const std::string time = "2023-11-14T22:13:20.000Z ";
  std::string expected =
      time + "I #1 [Tag\\n] file.cpp:12 Function: a\\r\\n\\tb\\x00\\x1b\\x7f\xC3\xA9\\\n";
  for (const char letter : std::string("?FCEWN")) {
    expected += time + letter + " #1 file.cpp:12 Function: \n";
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), expected);
}

TEST_F(LogTest, ASinkLosesNoLineOfItsOwnNorOfAThreadThatItWaitsFor) {
  testing::internal::CaptureStderr();
  const std::shared_ptr<LogSink> talking = std::make_shared<Talking>();
  AddLogSink(talking);
  AddLogSink(MakeStderrSink());
  Print(6, "line");
  RemoveLogSink(talking);
  std::string expected;
  for (const char* said :
       {"I #1 % line", "E #1 % about line", "E #2 % meanwhile", "E #1 % about meanwhile"}) {
    expected += "2023-11-14T22:13:20.000Z " + std::string(said) + '\n';
    expected.replace(expected.find('%'), 1, "file.cpp:12 Function:");
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), expected);
}

TEST_F(LogTest, AFileHasErrorsAtOnceAndTheRestInTheEndAndKeepsItsSize) {
  const std::filesystem::path file = testing::TempDir() + "log_test.log";
  const std::filesystem::path old_file = testing::TempDir() + "log_test.log.1";
  const auto lines_of = [](const std::filesystem::path& path) {
    std::ifstream stream(path);
    std::string letters;
    for (std::string line; std::getline(stream, line);) letters += line.back();
    return letters;
  };
  for (const auto& each : {file, old_file}) std::filesystem::remove(each);
  auto sink = MakeFileSink(file, 250);
  AddLogSink(sink);
  for (const char letter : std::string("abcdefg")) Print(3, std::string(20, letter));
  EXPECT_EQ(lines_of(old_file) + lines_of(file), "defg");
  Print(6, "h");
  RemoveLogSink(sink);
  sink.reset();
  EXPECT_EQ(lines_of(file).back(), 'h');
}
