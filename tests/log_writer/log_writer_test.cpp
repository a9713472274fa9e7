// The lines of the log: the statement, the writer, the forwarder. The base library's log and
// thread-local slots, as the writer sees them, are defined here in place of the library.
#include "framework/log_writer.h"

#include <climits>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <plenar_base/log.h>
#include <plenar_base/thread_local.h>

#include "tests/support/allocation_count.h"

namespace {

using quorvel_service::__logwriter;
using testing::ElementsAre;

struct Line {
  std::string tag, file;
  int line;
  std::string function;
  int level;
  std::string message;
  bool operator==(const Line&) const = default;
};

int log_level = 6;
int level_queries = 0;
int length_queries = 0;
std::vector<Line> lines;

struct Slot {
  bool initialized = false;
  void* value = nullptr;
  base::threading::ThreadLocal::Cleanup cleanup = nullptr;
} slot;

/// Ends the thread as far as its slot is concerned.
void CleanUpSlot() {
  if (slot.value != nullptr) slot.cleanup(std::exchange(slot.value, nullptr));
}

}  // namespace

int base::log::GetLogLevel() noexcept {
  ++level_queries;
  return log_level;
}

bool base::log::GetCheckLogLength() noexcept {
  ++length_queries;
  return false;
}

void base::log::PrintLog(std::string&& tag, std::string&& file, int line, std::string&& function,
                         int level, std::string&& message) {
  lines.push_back({tag, file, line, function, level, message});
}

void* base::threading::ThreadLocal::GetValue(std::string_view key) noexcept {
  return key == "base.log.stream" ? slot.value : nullptr;
}

void base::threading::ThreadLocal::SetValue(std::string_view key, void* value, Cleanup cleanup) {
  if (key == "base.log.stream" && slot.initialized) slot = {true, value, cleanup};
}

void base::threading::ThreadLocal::EnsureInitializedForCurrentThread() {
  slot.initialized = true;
}

namespace {

std::string Text(std::size_t length) {
  return std::string(length, 'a');
}

std::string LastMessage() {
  return lines.empty() ? "(no line)" : lines.back().message;
}

__logwriter Writer(int level, int max_length) {
  return __logwriter(level, "a.cpp", 7, "F", base::log::PrintLog, max_length);
}

TEST(LogStatement, CarriesPlaceAndPieces) {
  constexpr int kLine = __LINE__ + 1;
  QV_LOG(4) << "text" << std::string("string") << std::int32_t{-5};
  [] { QV_LOG(6) << "x"; }();
  QV_LOG_AT(3, "Place", 30) << "";
  EXPECT_THAT(lines,
              ElementsAre(Line{"", "log_writer_test.cpp", kLine, "TestBody", 4, "textstring-5"},
                          Line{"", "log_writer_test.cpp", kLine + 1, "operator ()", 6, "x"},
                          Line{"", "log_writer_test.cpp", 30, "Place", 3, ""}));
}

TEST(LogStatement, WritesEachKindOfPiece) {
  QV_LOG(3) << INT_MIN << " " << INT_MAX << " " << UINT_MAX << " " << std::uint64_t{ULLONG_MAX}
            << true << false << static_cast<const char*>(nullptr) << std::string("in\0side", 7);
  EXPECT_EQ(LastMessage(), "-2147483648 2147483647 4294967295 1844674407370955161510in");
}

TEST(LogStatement, SuppressedCostsOneQueryAndEvaluatesNothing) {
  log_level = 3;
  int evaluated = 0;
  const auto before = qvs_test::AllocationCount();
  QV_LOG(4) << ++evaluated;
  QV_LOG_TAKING(4, __func__, code, ++evaluated) << code;
  EXPECT_EQ(qvs_test::AllocationCount(), before);
  EXPECT_EQ(evaluated, 0);
  EXPECT_EQ(level_queries, 2);
  EXPECT_TRUE(lines.empty());
}

TEST(LogStatement, TellsOfAFailure) {
  for (const bool has_text : {true, false}) {
    for (log_level = 2; log_level <= 3; ++log_level) {
      try {
        if (has_text) throw std::runtime_error("why");
        throw 5;
      } catch (...) {
        QV_LOG_FAILURE();
      }
      ASSERT_EQ(lines.empty(), log_level == 2);
    }
    EXPECT_EQ(LastMessage(), has_text ? "operation failed: why" : "operation failed");
    EXPECT_EQ(lines.back().level, 3);
    lines.clear();
  }
}

TEST(LogWriter, KeepsTheFirst1024Bytes) {
  for (const int max_length : {INT_MIN, 0, 1023, 1024}) {
    CleanUpSlot();
    for (const std::size_t length : {0u, 1023u, 1024u, 1025u, 5000u}) {
      Writer(6, max_length).Stream() << Text(length);
      EXPECT_EQ(LastMessage(), Text(std::min<std::size_t>(length, 1024))) << max_length;
    }
  }
  QV_LOG(6) << Text(1020) << "12" << std::string("3456") << "789";
  EXPECT_EQ(LastMessage(), Text(1020) + "1234");
  QV_LOG(6) << "starts clean";
  EXPECT_EQ(LastMessage(), "starts clean");
  EXPECT_EQ(length_queries, 0) << "a dropped piece is no shortening";
}

TEST(LogWriter, ShortensInALargerBufferUnlessTheLevelIs7) {
  Writer(6, 3000).Stream() << Text(4000);
  EXPECT_EQ(LastMessage(), Text(3000)) << "the buffer has the size of its first writer's maximum";
  Writer(6, 2000).Stream() << Text(2000);
  EXPECT_EQ(length_queries, 0);
  Writer(6, 2000).Stream() << Text(2001);
  EXPECT_EQ(LastMessage(), Text(2000));
  EXPECT_EQ(length_queries, 1);
  Writer(7, 2000).Stream() << Text(2001);
  EXPECT_EQ(LastMessage(), Text(2001));
}

TEST(LogWriter, SharesTheBufferWithOneThatIsStillAlive) {
  {
    auto outer = Writer(3, 1024);
    outer.Stream() << "outer ";
    Writer(4, 1024).Stream() << "inner";
    outer.Stream() << "rest";
  }
  EXPECT_THAT(lines, ElementsAre(Line{"", "a.cpp", 7, "F", 4, "outer inner"},
                                 Line{"", "a.cpp", 7, "F", 3, "rest"}));
}

TEST(LogWriter, TakesMemoryOnceAndGivesItBackAtTheThreadsEnd) {
  lines.reserve(10);
  const auto live = qvs_test::LiveAllocations();
  QV_LOG(6) << "makes the thread's buffer";
  EXPECT_GT(qvs_test::LiveAllocations(), live);
  lines.clear();
  {
    auto writer = Writer(6, 1024);
    const auto taken = qvs_test::AllocationCount();
    for (int i = 0; i < 100; ++i) writer.Stream() << "piece" << i << 7u << std::uint64_t{8} << true;
    EXPECT_EQ(qvs_test::AllocationCount(), taken);
  }
  lines.clear();
  CleanUpSlot();
  EXPECT_EQ(qvs_test::LiveAllocations(), live);
}

TEST(LibraryLogForwarder, PassesEverythingOnUnchecked) {
  log_level = 0;
  quorvel_service::ForwardLibraryLog("f.cpp", 12, "Fn", 6, Text(3000).c_str());
  quorvel_service::ForwardLibraryLog(nullptr, -1, nullptr, 9, nullptr);
  EXPECT_THAT(lines, ElementsAre(Line{"PlenarBle", "f.cpp", 12, "Fn", 6, Text(3000)},
                                 Line{"PlenarBle", "", -1, "", 9, ""}));
  EXPECT_EQ(level_queries, 0);
}

}  // namespace
