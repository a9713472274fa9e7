#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <plenar_base/log.h>
#include <plenar_base/log_sink.h>
#include <plenar_base_control/simulated_time.h>

using namespace base::log;

namespace {

class Lines final : public LogSink {
 public:
  void Write(const LogRecord& record) override {
    // Not locked: the log promises that calls never overlap.
    lines.push_back(FormatLogRecord(record));
  }
  std::vector<std::string> lines;
};

void Print(int level, std::string message, std::string tag = {}) {
  PrintLog(std::move(tag), "file.cpp", 12, "Function", level, std::move(message));
}

class LogTest : public testing::Test {
 protected:
  LogTest() {
    base::time::SetTimeSource(std::make_shared<base::time::SimulatedTime>());
    AddLogSink(sink_);
    AddLogSink(sink_);
  }
  ~LogTest() override {
    RemoveLogSink(sink_);
    SetLogLevel(0);
  }

  const std::shared_ptr<Lines> sink_ = std::make_shared<Lines>();
};

}  // namespace

TEST_F(LogTest, WritesWhatTheLevelLetsThrough) {
  EXPECT_EQ(GetLogLevel(), 0);
  Print(1, "too early");
  SetLogLevel(4);
  for (const int level : {1, 3, 4, 5, 6, 7}) Print(level, "text");
  EXPECT_EQ(sink_->lines,
            (std::vector<std::string>{"2023-11-14T22:13:20Z F file.cpp:12 Function: text",
                                      "2023-11-14T22:13:20Z E file.cpp:12 Function: text",
                                      "2023-11-14T22:13:20Z W file.cpp:12 Function: text"}));
}

TEST_F(LogTest, OneRecordIsOneLine) {
  SetLogLevel(7);
  Print(6, "a\r\n\tb" + std::string("\0\x1B\x7F", 3) + "\xC3\xA9\\", "Tag\n");
  Print(7, "");
  Print(-1, "");
  EXPECT_EQ(sink_->lines,
            (std::vector<std::string>{"2023-11-14T22:13:20Z I [Tag\\n] file.cpp:12 Function: "
                                      "a\\r\\n\\tb\\x00\\x1b\\x7f\xC3\xA9\\",
                                      "2023-11-14T22:13:20Z V file.cpp:12 Function: ",
                                      "2023-11-14T22:13:20Z ? file.cpp:12 Function: "}));
}

TEST_F(LogTest, LinesOfManyThreadsDoNotMixAndNoneComesAfterRemoval) {
  SetLogLevel(6);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int line = 0; line < 200; ++line) Print(6, "text");
    });
  }
  RemoveLogSink(sink_);
  const std::size_t count = sink_->lines.size();
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(sink_->lines.size(), count);

  AddLogSink(sink_);
  threads.clear();
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int line = 0; line < 200; ++line) Print(6, "text");
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(sink_->lines.size(), count + 800);
}

TEST_F(LogTest, ASinkThatThrowsOrLogsHoldsUpNobody) {
  struct Faulty final : LogSink {
    void Write(const LogRecord&) override {
      Print(3, "from a sink");
      throw std::runtime_error("faulty");
    }
  };
  const auto last = std::make_shared<Lines>();
  const auto faulty = std::make_shared<Faulty>();
  AddLogSink(faulty);
  AddLogSink(last);
  AddLogSink(nullptr);
  SetLogLevel(6);
  Print(6, "one");
  Print(6, "two");
  EXPECT_EQ(last->lines.size(), 2u);
  RemoveLogSink(faulty);
  RemoveLogSink(last);
}

TEST_F(LogTest, FileSinkAppendsLineByLine) {
  const auto file = std::filesystem::temp_directory_path() /
                    ("plenar_base_log_test_" +
                     std::to_string(testing::UnitTest::GetInstance()->random_seed()) + ".log");
  std::filesystem::remove(file);
  SetLogLevel(6);
  for (const char* text : {"one", "two"}) {
    const auto sink = MakeFileSink(file);
    AddLogSink(sink);
    Print(6, text);
    RemoveLogSink(sink);
  }
  std::ifstream stream(file);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  EXPECT_EQ(lines, sink_->lines);
  stream.close();
  std::filesystem::remove(file);
  EXPECT_THROW(static_cast<void>(MakeFileSink(file / "none" / "file.log")), std::system_error);
}

TEST_F(LogTest, StderrSinkWritesTheLine) {
  SetLogLevel(6);
  const auto sink = MakeStderrSink();
  AddLogSink(sink);
  testing::internal::CaptureStderr();
  Print(6, "text");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), sink_->lines.at(0) + "\n");
  RemoveLogSink(sink);
}

TEST_F(LogTest, TellsHowManyLinesWereCut) {
  SetLogLevel(6);
  EXPECT_FALSE(GetCheckLogLength());
  SetLogLevel(7);
  EXPECT_TRUE(GetCheckLogLength());
  EXPECT_EQ(GetLongLineCount(), 2u);
}
