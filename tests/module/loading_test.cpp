// What comes before the BLE API library is used: Windows version, authenticity gate, loading,
// binding, initialising.
#include <filesystem>
#include <fstream>

#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

namespace fs = std::filesystem;

class LoadingTest : public ModuleTest {
 protected:
  /// Makes a service that has not looked at the library yet.
  void SetUp() override {
    LoadModule();
    pc_.SetWindowsVersion(6, 3, 9600);
    service_ = CreateService();
    EXPECT_THAT(Take(kLog | kWindows),
                ElementsAre("6 InitService: init Service", "win RtlGetVersion(*)",
                            "3 Init: current windows version is not win10 or later"));
    EXPECT_EQ(Init(5), 2);
    EXPECT_EQ(CheckState(), 1);
    pc_.SetWindowsVersion(10, 0, 19045);
    Take();
  }

  /// What was logged, without the line about the library's path.
  Lines TakeLog() {
    auto lines = Take(kLog);
    EXPECT_THAT(lines.at(0), HasSubstr("full path: "));
    lines.erase(lines.begin());
    return lines;
  }
};

TEST_F(LoadingTest, TheGateDecidesWhatIsLoaded) {
  const auto signed_by = [](const std::string& identity) {
    return QVS_TEST_SIGNATURES "/" + identity + "/plenar_ble_api.dll.p7s";
  };
  const struct {
    const char* description;
    bool there, damaged;
    std::string signature, signer;
    bool loaded;
  } cases[] = {
      {"first name", true, false, signed_by("accepted_1"), QVS_PUBLISHER_NAME_1, true},
      {"second name", true, false, signed_by("accepted_2"), QVS_PUBLISHER_NAME_2, true},
      {"other name", true, false, signed_by("other"), QVS_TEST_OTHER_NAME, false},
      {"one byte changed", true, true, kBleApi + ".p7s", "", false},
      {"unsigned", true, false, "", "", false},
      {"missing", false, false, kBleApi + ".p7s", "", false},
  };
  const auto folder = fs::path(testing::TempDir()) / "qvs_gate_test";
  const auto file = folder / "plenar_ble_api.dll";
  pc_.SetExecutablePath((folder / "host").string());
  for (const auto& [description, there, damaged, signature, signer, loaded] : cases) {
    SCOPED_TRACE(description);
    fs::remove_all(folder);
    fs::create_directories(folder);
    if (there) fs::copy_file(kBleApi, file);
    if (!signature.empty()) fs::copy_file(signature, file.string() + ".p7s");
    if (damaged) std::fstream(file, std::ios::in | std::ios::out).seekp(100).put('x');
    EXPECT_EQ(Init(0), loaded ? 0 : 3);
    Lines expected = {"6 CheckSignature: sign str: " + signer,
                      "6 CheckSignature: is_valid: " + std::to_string(loaded)};
    if (loaded) {
      expected.insert(expected.end(),
                      {"6 Init: start ble init...,retry_time = 0", "6 Init: ble init success"});
    } else {
      expected.push_back("3 Init: dll signature is illegal");
    }
    EXPECT_EQ(TakeLog(), expected);
    EXPECT_EQ(LoadCount(), loaded);
    EXPECT_EQ(UnInit(), !loaded);
    EXPECT_EQ(LoadCount(), 0);
    Take();
  }
  fs::remove_all(folder);
}

TEST_F(LoadingTest, NeedsAll17Exports) {
  const std::pair<const char*, const char*> exports[] = {
      {"BleInit", "3 Init: load BleInit failed, error: 127"},
      {"BleUnInit", "3 Init: load bleUnInit failed, error: 127"},
      {"BleSetLogFunc", "3 Init: load bleSetLogFunc failed, error: 127"},
      {"BleCheckState", "3 Init: load bleCheckState failed, error: 127"},
      {"BleClientSetScanMode", "3 Init: load BleClientSetScanMode failed"},
      {"BleClientSetServiceUuidFilter", "3 Init: load bleClientSetServiceUuidFilter failed"},
      {"BleClientSetManufacturerDataFilter",
       "3 Init: load bleClientSetManufacturerDataFilter failed"},
      {"BleClientSetSignalStrengthFilter", "3 Init: load bleClientSetSignalStrengthFilter failed"},
      {"BleClientSetReceivedBroadcastCB", "3 Init: load bleClientSetReceivedBroadcastCB failed"},
      {"BleClientSetStoppedWatchBroadcastCB",
       "3 Init: load bleClientSetStoppedWatchBroadcastCB failed"},
      {"BleClientStartWatchBroadcast", "3 Init: load BleClientStartWatchBroadcast failed"},
      {"BleClientStopWatchBroadcast", nullptr},
      {"BleServerAddManufacturerData", "3 Init: load BleServerAddManufacturerData failed"},
      {"BleServerAddDataSection", "3 Init: load bleServerAddDataSection failed"},
      {"BleServerSetStatusChangedCB", "3 Init: load BleServerSetStatusChangedCB failed"},
      {"BleServerStartBroadcast", "3 Init: load BleServerStartBroadcast failed"},
      {"BleServerStopBroadcast", "3 Init: load BleServerStopBroadcast failed"},
  };
  Lines expected = {"win LoadLibraryA(\"plenar_ble_api.dll\")"};
  for (const auto& [name, line] : exports) {
    const auto number = static_cast<int>(expected.size()) - 1;
    pc_.FailNext("GetProcAddress", 127, 1, number);
    expected.push_back("win GetProcAddress(*, \"" + std::string(name) + "\")");
    EXPECT_EQ(Init(0), 3);
    auto lines = Take(kLog | kWindows);
    std::erase_if(lines, [](const std::string& text) {
      return !text.starts_with("3 ") && !text.starts_with("win L") && !text.starts_with("win GetP");
    });
    auto all = expected;
    if (line != nullptr) all.push_back(line);
    all.push_back("3 Init: load func failed.");
    EXPECT_EQ(lines, all);
    EXPECT_EQ(LoadCount(), 0);
  }
}

TEST_F(LoadingTest, ReportsALibraryThatDoesNotLoad) {
  const std::pair<unsigned, int> cases[] = {{193, 6}, {4'000'000'000, 3}, {5, 2}};
  for (const auto& [error, level] : cases) {
    base::log::SetLogLevel(level);
    pc_.FailNext("LoadLibraryA", error);
    EXPECT_EQ(Init(0), 3);
    const auto lines = Take(kLog | kWindows);
    // The code is asked for when the line is written only.
    const auto written = static_cast<std::size_t>(level >= 3);
    EXPECT_THAT(lines, Contains("win GetLastError()").Times(written));
    EXPECT_THAT(
        lines, Contains("3 Init: load lib failed, error: " + std::to_string(error)).Times(written));
  }
}

TEST_F(LoadingTest, TakesDownALibraryThatDoesNotInitialise) {
  radio_->SetResult("BleInit", -5);
  EXPECT_EQ(Init(5), 3);
  const auto lines = Take(kUsual | kWindows);
  EXPECT_EQ(Lines(lines.end() - 5, lines.end()),
            (Lines{"ble BleInit(reserved=0)", "3 Init: ble init failed, ret: -5", "ble BleUnInit()",
                   "win FreeLibrary(*)", "ret 3"}));
  EXPECT_EQ(LoadCount(), 0);
  EXPECT_EQ(UnInit(), 1);
  EXPECT_EQ(UntilTick(), 0u) << "nothing is retried";
}

TEST_F(LoadingTest, KeepsTheLibraryWhileTheAdapterIsNotUsable) {
  const struct {
    int error, retry_time, result;
  } cases[] = {{6, 0, 4}, {6, -1, 4}, {3, 0, 9}, {3, 5, 9}, {-1, 5, 9}};
  int loads = 0;
  for (const auto& [error, retry_time, result] : cases) {
    SetAdapter(error);
    EXPECT_EQ(Init(retry_time), result);
    EXPECT_THAT(TakeLog(),
                ElementsAre("6 Init: start ble init...,retry_time = " + std::to_string(retry_time),
                            "3 Init: ble state is wrong, err: " + std::to_string(error)));
    EXPECT_EQ(LoadCount(), ++loads);
    EXPECT_EQ(UntilTick(), 0u) << "nothing is retried";
    EXPECT_EQ(UnInit(), 1);
    Take();
  }
  // One `UnInit` frees one of the loads.
  SetAdapter(0);
  EXPECT_EQ(Init(0), 0);
  EXPECT_EQ(UnInit(), 0);
  EXPECT_EQ(LoadCount(), loads);
}

}  // namespace
}  // namespace qvs_test
