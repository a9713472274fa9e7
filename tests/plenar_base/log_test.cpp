#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <plenar_base/log.h>
#include <plenar_base/log_sink.h>
#include <plenar_base_control/simulated_time.h>

using namespace base::log;

static void Print(int level, std::string message, std::string tag = {}) {
  PrintLog(std::move(tag), "file.cpp", 12, "Function", level, std::move(message));
}

struct Faulty final : LogSink {
  void Write(const LogRecord&) override {
    Print(3, "from a sink");
    throw 1;
  }
};

TEST(LogTest, WritesWhatTheLevelLetsThroughInOneLineEach) {
  base::time::SetTimeSource(std::make_shared<base::time::SimulatedTime>());
  testing::internal::CaptureStderr();
  SetLogLevel(6);
  const std::shared_ptr<LogSink> faulty = std::make_shared<Faulty>();
  const std::shared_ptr<LogSink> sink = MakeStderrSink();
  for (const auto& added : {faulty, sink, sink}) AddLogSink(added);
  Print(7, "too verbose");
  Print(6, "a\r\n\tb" + std::string("\0\x1B\x7F", 3) + "\xC3\xA9\\", "Tag\n");
  for (const int level : {-1, 1, 2, 3, 4, 5}) Print(level, "");
  RemoveLogSink(sink);
  Print(6, "too late");

  const std::string time = "2023-11-14T22:13:20Z ";
  std::string expected =
      time + "I [Tag\\n] file.cpp:12 Function: a\\r\\n\\tb\\x00\\x1b\\x7f\xC3\xA9\\\n";
  for (const char letter : std::string("?FCEWN")) {
    expected += time + letter + " file.cpp:12 Function: \n";
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), expected);
}
