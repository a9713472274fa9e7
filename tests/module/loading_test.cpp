// What comes before the BLE API library is used: Windows version, authenticity gate, loading,
// binding, initialising.
#include <algorithm>
#include <filesystem>
#include <fstream>

#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

namespace fs = std::filesystem;
using testing::Contains;

constexpr char kPath[] = "6 CheckSignature: full path: *plenar_ble_api.dll, dir:*\\";

class LoadingTest : public ModuleTest {
 protected:
  /// Makes a service that has not looked at the library yet.
  void CreateOnOldWindows() {
    pc_.SetWindowsVersion(6, 3, 9600);
    service_ = CreateService();
    pc_.SetWindowsVersion(10, 0, 19045);
    Take();
  }
};

TEST_F(LoadingTest, NeedsWindows10) {
  pc_.SetWindowsVersion(6, 3, 9600);
  service_ = CreateService();
  EXPECT_THAT(Take(kLog | kWindows),
              Reads({"6 InitService: init Service", "win RtlGetVersion(*)",
                     "3 Init: current windows version is not win10 or later"}));
  EXPECT_EQ(Init(5), 2);
  EXPECT_EQ(CheckState(), 1);
}

TEST_F(LoadingTest, TheGateDecidesWhatIsLoaded) {
  const std::string libraries = QVS_TEST_LIBRARIES "/";
  const std::string minimal = libraries + "complete/plenar_ble_api.dll";
  const struct {
    const char* description;
    std::string library, signature;
    bool damaged;
    std::string signer;
    bool loaded;
  } cases[] = {
      {"first name", minimal, libraries + "accepted_1.p7s", false, QVS_PUBLISHER_NAME_1, true},
      {"second name", minimal, libraries + "accepted_2.p7s", false, QVS_PUBLISHER_NAME_2, true},
      {"other name", minimal, libraries + "other.p7s", false, QVS_TEST_OTHER_NAME, false},
      {"unsigned", minimal, "", false, "", false},
      {"one byte changed", kBleApi, kBleApi + ".p7s", true, "", false},
      {"another's signature", minimal, kBleApi + ".p7s", false, "", false},
      {"missing", "", "", false, "", false},
  };
  const Lines taken = {"6 CheckSignature: is_valid: 1", "6 Init: start ble init...,retry_time = 0",
                       "6 Init: ble init success"};
  const Lines refused = {"6 CheckSignature: is_valid: 0", "3 Init: dll signature is illegal"};
  CreateOnOldWindows();
  const auto folder = fs::path(testing::TempDir()) / "qvs_gate_test";
  const auto file = folder / "plenar_ble_api.dll";
  pc_.SetExecutablePath((folder / "host").string());
  for (const auto& [description, library, signature, damaged, signer, loaded] : cases) {
    SCOPED_TRACE(description);
    fs::remove_all(folder);
    fs::create_directories(folder);
    if (!library.empty()) fs::copy_file(library, file);
    if (!signature.empty()) fs::copy_file(signature, file.string() + ".p7s");
    if (damaged) {
      std::fstream bytes(file, std::ios::in | std::ios::out | std::ios::binary);
      bytes.seekg(100);
      const auto byte = static_cast<char>(bytes.get() ^ 1);
      bytes.seekp(100);
      bytes.put(byte);
    }
    EXPECT_EQ(Init(0), loaded ? 0 : 3);
    Lines expected = loaded ? taken : refused;
    expected.insert(expected.begin(), {kPath, "6 CheckSignature: sign str: " + signer});
    EXPECT_THAT(Take(kLog), Reads(expected));
    EXPECT_EQ(LoadCount(), loaded ? 1 : 0);
    EXPECT_EQ(UnInit(), loaded ? 0 : 1);
    EXPECT_EQ(LoadCount(), 0);
    Take();
  }
  fs::remove_all(folder);
}

/// The line of each export that is missing, in the order of binding.
const std::pair<std::string, std::string> kFailureLines[] = {
    {"BleInit", "load BleInit failed, error: 127"},
    {"BleUnInit", "load bleUnInit failed, error: 127"},
    {"BleSetLogFunc", "load bleSetLogFunc failed, error: 127"},
    {"BleCheckState", "load bleCheckState failed, error: 127"},
    {"BleClientSetScanMode", "load BleClientSetScanMode failed"},
    {"BleClientSetServiceUuidFilter", "load bleClientSetServiceUuidFilter failed"},
    {"BleClientSetManufacturerDataFilter", "load bleClientSetManufacturerDataFilter failed"},
    {"BleClientSetSignalStrengthFilter", "load bleClientSetSignalStrengthFilter failed"},
    {"BleClientSetReceivedBroadcastCB", "load bleClientSetReceivedBroadcastCB failed"},
    {"BleClientSetStoppedWatchBroadcastCB", "load bleClientSetStoppedWatchBroadcastCB failed"},
    {"BleClientStartWatchBroadcast", "load BleClientStartWatchBroadcast failed"},
    {"BleClientStopWatchBroadcast", ""},
    {"BleServerAddManufacturerData", "load BleServerAddManufacturerData failed"},
    {"BleServerAddDataSection", "load bleServerAddDataSection failed"},
    {"BleServerSetStatusChangedCB", "load BleServerSetStatusChangedCB failed"},
    {"BleServerStartBroadcast", "load BleServerStartBroadcast failed"},
    {"BleServerStopBroadcast", "load BleServerStopBroadcast failed"},
};

TEST_F(LoadingTest, NeedsAll17Exports) {
  CreateOnOldWindows();
  int tried = 0;
  for (const auto& [name, line] : kFailureLines) {
    SCOPED_TRACE(name);
    const std::string folder = QVS_TEST_LIBRARIES "/without_" + name;
    pc_.SetExecutablePath(folder + "/host");
    EXPECT_EQ(Init(0), 3);
    const auto lines = Take(kLog | kWindows);
    Lines errors;
    std::copy_if(lines.begin(), lines.end(), std::back_inserter(errors),
                 [](const std::string& found) { return found.starts_with("3 "); });
    Lines expected = {"3 Init: load func failed."};
    if (!line.empty()) expected.insert(expected.begin(), "3 Init: " + line);
    EXPECT_EQ(errors, expected);
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                            [](auto& found) { return found.starts_with("win GetProcAddress("); }),
              ++tried);
    EXPECT_FALSE(SharedLibrary::IsLoaded(folder + "/plenar_ble_api.dll"));
  }
}

TEST_F(LoadingTest, ReportsALibraryThatDoesNotLoad) {
  CreateOnOldWindows();
  const std::pair<unsigned, int> cases[] = {{193, 6}, {4'000'000'000, 3}, {5, 2}};
  for (const auto& [error, level] : cases) {
    base::log::SetLogLevel(level);
    pc_.FailNext("LoadLibraryA", error);
    EXPECT_EQ(Init(0), 3);
    const auto lines = Take(kLog | kWindows);
    const bool is_written = level >= 3;
    EXPECT_THAT(
        lines,
        Contains("3 Init: load lib failed, error: " + std::to_string(error)).Times(is_written));
    // The code is asked for when the line is written only.
    EXPECT_THAT(lines, Contains("win GetLastError()").Times(is_written));
  }
  EXPECT_EQ(Init(0), 0);
}

TEST_F(LoadingTest, TakesDownALibraryThatDoesNotInitialise) {
  radio_->SetResult("BleInit", -5);
  service_ = CreateService();
  EXPECT_THAT(Take(kUsual | kWindows),
              Holds({"6 Init: start ble init...,retry_time = 0", "ble BleInit(*)",
                     "3 Init: ble init failed, ret: -5", "ble BleUnInit()", "win FreeLibrary(*)"}));
  EXPECT_EQ(LoadCount(), 0);
  EXPECT_EQ(Init(5), 3);
  EXPECT_EQ(UnInit(), 1);
  EXPECT_FALSE(looper_->NextDeadline().has_value());
}

TEST_F(LoadingTest, AServiceIsMadeAndDestroyedThoughTheLibraryThrows) {
  for (const char* function : {"BleInit", "BleCheckState"}) {
    radio_->ThrowFrom(function, 1);
    service_ = CreateService();
    EXPECT_EQ(CheckState(), 1) << function;
    EXPECT_EQ(Init(0), 0) << function;
    radio_->ThrowFrom("BleUnInit", 1);
    DestroyService(service_);
  }
}

TEST_F(LoadingTest, KeepsTheLibraryWhileTheAdapterIsNotUsable) {
  const struct {
    int error, retry_time, result;
  } cases[] = {{6, 0, 4}, {6, -1, 4}, {3, 0, 9}, {3, 5, 9}, {-1, 5, 9}, {102, 5, 9}};
  CreateOnOldWindows();
  int loads = 0;
  for (const auto& [error, retry_time, result] : cases) {
    radio_->SetResult("BleCheckState", error);
    EXPECT_EQ(Init(retry_time), result);
    EXPECT_THAT(
        Take(kLog),
        Reads({kPath, "6 Init: start ble init...,retry_time = " + std::to_string(retry_time),
               "3 Init: ble state is wrong, err: " + std::to_string(error)}));
    EXPECT_EQ(LoadCount(), ++loads);
    EXPECT_FALSE(looper_->NextDeadline().has_value()) << "nothing is retried";
    EXPECT_EQ(UnInit(), 1);
    Take();
  }
  // One `UnInit` frees one of the loads.
  radio_->SetResult("BleCheckState", 0);
  EXPECT_EQ(Init(0), 0);
  EXPECT_EQ(UnInit(), 0);
  EXPECT_EQ(LoadCount(), loads);
}

}  // namespace
}  // namespace qvs_test
