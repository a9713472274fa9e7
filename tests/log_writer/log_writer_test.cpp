#include "framework/log_writer.h"

#include <climits>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/log_writer/log_double.h"
#include "tests/support/allocation_count.h"

namespace {

using log_double::Line;
using quorvel_service::__logwriter;
using testing::ElementsAre;
using testing::Field;

std::string Text(std::size_t length, char letter = 'a') {
  return std::string(length, letter);
}

std::string LastMessage() {
  const auto& lines = log_double::lines;
  return lines.empty() ? "(no line)" : lines.back().message;
}

/// A writer whose lines go the usual way.
__logwriter Writer(int level, int max_length = 1024) {
  return __logwriter(level, "a.cpp", 7, "F", base::log::PrintLog, max_length);
}

TEST(LogStatement, CarriesPlaceAndPieces) {
  constexpr int kLine = __LINE__ + 1;
  QV_LOG(4) << "text" << std::string("string") << std::int32_t{-5};
  [] { QV_LOG(4) << "x"; }();
  EXPECT_THAT(log_double::lines,
              ElementsAre(Line{"", "log_writer_test.cpp", kLine, "TestBody", 4, "textstring-5"},
                          Line{"", "log_writer_test.cpp", kLine + 1, "operator ()", 4, "x"}));
}

TEST(LogStatement, WritesEachKindOfPiece) {
  const struct {
    void (*log)();
    const char* message;
  } cases[] = {
      {[] { QV_LOG(3) << INT_MIN; }, "-2147483648"},
      {[] { QV_LOG(3) << INT_MAX; }, "2147483647"},
      {[] { QV_LOG(3) << UINT_MAX; }, "4294967295"},
      {[] { QV_LOG(3) << std::uint64_t{ULLONG_MAX}; }, "18446744073709551615"},
      {[] { QV_LOG(3) << true << false; }, "10"},
      {[] { QV_LOG(3) << ""; }, ""},
      {[] { QV_LOG(3) << static_cast<const char*>(nullptr) << "."; }, "."},
      {[] { QV_LOG(3) << "before" << std::string("in\0side", 7) << "after"; }, "beforein"},
  };
  for (const auto& [log, message] : cases) {
    log();
    EXPECT_EQ(LastMessage(), message);
  }
}

TEST(LogStatement, IsWrittenWhenTheLevelAllows) {
  log_double::level = 5;
  for (const int level : {1, 4, 5, 6}) QV_LOG(level) << level;
  EXPECT_THAT(log_double::lines, ElementsAre(Field(&Line::message, "1"), Field(&Line::message, "4"),
                                             Field(&Line::message, "5")));
}

TEST(LogStatement, SuppressedCostsOneQueryAndEvaluatesNothing) {
  log_double::level = 3;
  int evaluated = 0;
  const auto before = qvs_test::AllocationCount();
  QV_LOG(4) << ++evaluated;
  QV_LOG_TAKING(4, __func__, code, ++evaluated) << code;
  EXPECT_EQ(qvs_test::AllocationCount(), before);
  EXPECT_EQ(evaluated, 0);
  EXPECT_EQ(log_double::level_queries, 2);
  EXPECT_TRUE(log_double::lines.empty());
}

TEST(LogWriter, KeepsTheFirst1024Bytes) {
  for (const std::size_t length : {0u, 1u, 1023u, 1024u, 1025u, 5000u}) {
    QV_LOG(6) << Text(length);
    EXPECT_EQ(LastMessage(), Text(std::min<std::size_t>(length, 1024)));
  }
  QV_LOG(6) << Text(1020) << "12"
            << "3456"
            << "789";
  EXPECT_EQ(LastMessage(), Text(1020) + "1234");
  QV_LOG(6) << "starts clean";
  EXPECT_EQ(LastMessage(), "starts clean");
  EXPECT_EQ(log_double::length_queries, 0) << "a dropped piece is no shortening";
}

TEST(LogWriter, CountsASmallerMaximumAs1024) {
  for (const int max_length : {INT_MIN, -1, 0, 1023}) {
    log_double::CleanUpSlot();
    Writer(6, max_length).Stream() << Text(2000);
    EXPECT_EQ(LastMessage(), Text(1024)) << max_length;
  }
}

TEST(LogWriter, ShortensInALargerBufferUnlessTheLevelIs7) {
  Writer(6, 3000).Stream() << Text(4000);
  EXPECT_EQ(LastMessage(), Text(3000)) << "the buffer has the size of its first writer's maximum";
  EXPECT_EQ(log_double::length_queries, 0);
  Writer(6, 2000).Stream() << Text(2001);
  EXPECT_EQ(LastMessage(), Text(2000));
  EXPECT_EQ(log_double::length_queries, 1);
  Writer(7, 2000).Stream() << Text(2001);
  EXPECT_EQ(LastMessage(), Text(2001));
  EXPECT_EQ(log_double::length_queries, 1);
}

TEST(LogWriter, SharesTheBufferWithOneThatIsStillAlive) {
  {
    auto outer = Writer(3);
    outer.Stream() << "outer ";
    {
      auto inner = Writer(4);
      inner.Stream() << "inner";
    }
    outer.Stream() << "rest";
  }
  EXPECT_THAT(log_double::lines, ElementsAre(Line{"", "a.cpp", 7, "F", 4, "outer inner"},
                                             Line{"", "a.cpp", 7, "F", 3, "rest"}));
}

TEST(LogWriter, WithoutASinkEmitsNothing) {
  __logwriter(3, "a.cpp", 7, "F", nullptr, 1024).Stream() << "x";
  EXPECT_TRUE(log_double::lines.empty());
}

TEST(LogWriter, AppendingAllocatesNothing) {
  log_double::record = false;
  const std::string piece(100, 'p');
  QV_LOG(6) << "makes the thread's buffer";
  auto writer = Writer(6);
  const auto before = qvs_test::AllocationCount();
  for (int i = 0; i < 100; ++i) writer.Stream() << piece << i << 7u << std::uint64_t{8} << true;
  EXPECT_EQ(qvs_test::AllocationCount(), before);
}

TEST(LogWriter, TheThreadsEndReleasesItsBuffer) {
  log_double::record = false;
  std::ptrdiff_t growth[2];
  std::thread([&] {
    const auto before = qvs_test::LiveAllocations();
    QV_LOG(6) << "makes the thread's buffer";
    growth[0] = qvs_test::LiveAllocations() - before;
    log_double::CleanUpSlot();
    growth[1] = qvs_test::LiveAllocations() - before;
    QV_LOG(6) << "makes a new one";
    log_double::CleanUpSlot();
  }).join();
  EXPECT_GT(growth[0], 0);
  EXPECT_EQ(growth[1], 0);
}

TEST(LibraryLogForwarder, PassesEverythingOnUnchecked) {
  log_double::level = 0;
  quorvel_service::ForwardLibraryLog("f.cpp", 12, "Fn", 6, Text(3000).c_str());
  quorvel_service::ForwardLibraryLog(nullptr, -1, nullptr, 9, nullptr);
  EXPECT_THAT(log_double::lines, ElementsAre(Line{"PlenarBle", "f.cpp", 12, "Fn", 6, Text(3000)},
                                             Line{"PlenarBle", "", -1, "", 9, ""}));
  EXPECT_EQ(log_double::level_queries, 0);
}

}  // namespace
