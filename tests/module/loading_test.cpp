// What comes before the BLE API library is used: Windows version, authenticity gate, loading,
// binding, initialising; and what still comes when it has been unloaded.
#include <filesystem>
#include <fstream>

#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

namespace fs = std::filesystem;

/// A service that has not looked at the library yet.
class UnreadyTest : public ModuleTest {
 protected:
  void SetUp() override {
    pc_.SetWindowsVersion(6, 3, 9600);
    Start();
    pc_.SetWindowsVersion(10, 0, 19045);
  }
};
using LoadingStory = StoryTest<UnreadyTest>;

TEST_F(LoadingStory, NeedsWindows10) {
  pc_.SetWindowsVersion(6, 3, 9600);
  Init(5);
  CheckState();
  UnInit();
}

TEST_F(LoadingStory, TheGateDecidesWhatIsLoaded) {
  const auto signed_by = [](const std::string& identity) {
    return QVS_TEST_SIGNATURES "/" + identity + "/plenar_ble_api.dll.p7s";
  };
  const struct {
    const char* description;
    bool there, damaged;
    std::string signature;
  } cases[] = {
      {"an accepted name", true, false, signed_by("accepted_1")},
      {"the other accepted name", true, false, signed_by("accepted_2")},
      {"another name", true, false, signed_by("other")},
      {"one byte changed", true, true, kBleApi + ".p7s"},
      {"unsigned", true, false, ""},
      {"missing", false, false, kBleApi + ".p7s"},
  };
  const auto folder = fs::path(testing::TempDir()) / "qvs_gate_test";
  const auto file = folder / "plenar_ble_api.dll";
  pc_.SetExecutablePath((folder / "host").string());
  for (const auto& [description, there, damaged, signature] : cases) {
    fs::remove_all(folder);
    fs::create_directories(folder);
    if (there) fs::copy_file(kBleApi, file);
    if (!signature.empty()) fs::copy_file(signature, file.string() + ".p7s");
    if (damaged) std::fstream(file, std::ios::in | std::ios::out).seekp(100).put('x');
    Note(description);
    const bool loaded = Init(0) == 0;
    EXPECT_EQ(LoadCount(), loaded);
    if (loaded) UnInit();
    EXPECT_EQ(LoadCount(), 0);
  }
  fs::remove_all(folder);
}

// Of a path that is cut off, the loader would look in another folder than the gate.
TEST_F(LoadingStory, TheProgramsPathMustBeWhole) {
  for (const std::size_t length : {259u, 260u}) {
    Note(std::to_string(length) + " characters");
    pc_.SetExecutablePath('/' + std::string(length - 6, 'x') + "/host");
    Init(0);
  }
  Note("no path");
  pc_.FailNext("GetModuleFileNameW", 5);
  Init(0);
}

TEST_F(LoadingStory, NeedsAll17Exports) {
  base::log::SetLogLevel(3);
  for (int there = 0; there < 17; ++there) {
    pc_.FailNext("GetProcAddress", 127, there);
    Init(0);
    EXPECT_EQ(LoadCount(), 0);
  }
}

TEST_F(LoadingStory, ReportsALibraryThatDoesNotLoad) {
  const std::pair<unsigned, int> cases[] = {{193, 6}, {4'000'000'000, 3}, {5, 2}};
  for (const auto& [error, level] : cases) {
    base::log::SetLogLevel(level);
    Note("log level " + std::to_string(level));
    pc_.FailNext("LoadLibraryA", error);
    Init(0);  // the code is asked for when the line is written only
  }
  base::log::SetLogLevel(6);
  pc_.FailNext("GetProcAddress", 127);
  Init(0);
  kinds_ |= kWindows;
}

TEST_F(LoadingStory, TakesDownALibraryThatDoesNotInitialise) {
  radio_->SetResult("BleInit", -5);
  Init(5);
  EXPECT_EQ(LoadCount(), 0);
  EXPECT_EQ(UntilTick(), 0u) << "nothing is retried";
  UnInit();
}

TEST_F(LoadingStory, KeepsTheLibraryWhileTheAdapterIsNotUsable) {
  const std::pair<int, int> cases[] = {{6, 0}, {6, -1}, {-1, 5}};
  int loads = 0;
  for (const auto& [error, retry_time] : cases) {
    SetAdapter(error);
    Init(retry_time);
    EXPECT_EQ(LoadCount(), ++loads);
    EXPECT_EQ(UntilTick(), 0u) << "nothing is retried";
    UnInit();
  }
  SetAdapter(0);
  Unrecorded([this] {
    Init(0);
    UnInit();
  });
  EXPECT_EQ(LoadCount(), loads) << "one UnInit frees one of the loads";
}

/// A service whose BLE API library is loaded by nobody else, and so goes when the module lets go.
class ShutDownStory : public StoryTest<ServiceTest> {
 protected:
  void SetUp() override {
    StoryTest::SetUp();
    ReleaseBleApi();
  }
  void ShutDown() {
    EXPECT_TRUE(IsLoaded(kBleApi));
    EXPECT_EQ(UnInit(), 0);
    EXPECT_FALSE(IsLoaded(kBleApi));
  }
};

TEST_F(ShutDownStory, ALateStatusRestartsNothing) {
  Advertise(kUuid, "old");
  ReportStatus(2);
  Advertise(kUuid, "new");
  Take();
  radio_->ReportPublisherStatus(BlePublisherStatus::kStopped, BleError::kNone);
  ShutDown();
  Note("unload, which runs first what still waits");
  UnloadModule();
}

TEST_F(ShutDownStory, ALateReportRestartsNothing) {
  Scan(kUuid, 2, false);
  StopScan();
  Scan(kUuid, 2, false);
  Take();
  radio_->ReportBroadcast(Broadcast("late"));
  radio_->ReportWatcherStopped(BleError::kNone);
  ShutDown();
  Wait(1000);
}

TEST_F(ShutDownStory, ALateTickRestartsNothing) {
  Scan(kUuid, 0, false);
  StopScan();
  Scan(kUuid, 0, false);
  Take();
  ShutDown();
  Wait(100);
}

}  // namespace
}  // namespace qvs_test
