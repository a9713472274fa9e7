// What comes before the BLE API library is used: Windows version, authenticity gate, loading,
// binding, initialising.
#include <algorithm>
#include <filesystem>
#include <fstream>

#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

namespace fs = std::filesystem;

constexpr char kPath[] = "6 CheckSignature: full path: *plenar_ble_api.dll, dir:*\\";

class LoadingTest : public ModuleTest {
 protected:
  void SetUp() override { LoadModule(); }

  /// Makes a service whose own `Init` goes as set, and forgets how.
  void CreateServiceWithoutALook() {
    service_ = CreateService();
    Take();
  }

  [[nodiscard]] int LoadCount() const { return pc_.LibraryLoadCount("plenar_ble_api.dll"); }
};

TEST_F(LoadingTest, NeedsWindows10) {
  pc_.SetWindowsVersion(6, 3, 9600);
  service_ = CreateService();
  EXPECT_THAT(Take(), Reads({"6 InitService: init Service",
                             "3 Init: current windows version is not win10 or later"}));
  EXPECT_EQ(Init(5), 2);
  const auto lines = Take(kLog | kWindows);
  EXPECT_THAT(lines, Holds({"3 Init: current windows version is not win10 or later"}));
  for (const char* call : {"win GetModuleFileNameW(*", "win LoadLibraryA(*"}) {
    EXPECT_THAT(lines, testing::Not(Holds({call})));
  }
  EXPECT_EQ(CheckState(), 1);
}

/// A host's folder with a library that passes the gate, or does not.
class GateTest : public LoadingTest {
 protected:
  void SetUp() override {
    LoadingTest::SetUp();
    folder_ = fs::path(testing::TempDir()) /
              (std::string("qvs_") + testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(folder_);
    fs::create_directories(folder_);
    pc_.SetExecutablePath((folder_ / "host").string());
  }
  void TearDown() override { fs::remove_all(folder_); }

  void PutLibrary(const fs::path& library, const fs::path& signature) {
    fs::copy_file(library, folder_ / "plenar_ble_api.dll");
    if (!signature.empty()) fs::copy_file(signature, folder_ / "plenar_ble_api.dll.p7s");
  }

  void ExpectRefused(const std::string& signer) {
    service_ = CreateService();
    EXPECT_THAT(
        Take(kLog),
        Reads({"6 InitService: init Service", kPath, "6 CheckSignature: sign str: " + signer,
               "6 CheckSignature: is_valid: 0", "3 Init: dll signature is illegal"}));
    EXPECT_EQ(Init(0), 3);
    EXPECT_EQ(LoadCount(), 0);
  }

  fs::path folder_;
};

constexpr char kMinimal[] = QVS_TEST_LIBRARIES "/complete/plenar_ble_api.dll";

TEST_F(GateTest, TakesAnUntrustedLibraryWithAnAcceptedSigner) {
  const std::pair<const char*, std::string> cases[] = {
      {"accepted_1", QVS_PUBLISHER_NAME_1},
      {"accepted_2", QVS_PUBLISHER_NAME_2},
  };
  for (const auto& [signature, name] : cases) {
    fs::remove_all(folder_);
    fs::create_directories(folder_);
    PutLibrary(kMinimal, std::string(QVS_TEST_LIBRARIES "/") + signature + ".p7s");
    service_ = CreateService();
    EXPECT_THAT(Take(kLog),
                Reads({"6 InitService: init Service", kPath, "6 CheckSignature: sign str: " + name,
                       "6 CheckSignature: is_valid: 1", "6 Init: start ble init...,retry_time = 0",
                       "6 Init: ble init success"}));
    EXPECT_EQ(LoadCount(), 1);
    DestroyService(service_);
    EXPECT_EQ(LoadCount(), 0);
    Take();
  }
}

TEST_F(GateTest, RefusesAnotherSigner) {
  PutLibrary(kMinimal, QVS_TEST_LIBRARIES "/other.p7s");
  ExpectRefused(QVS_TEST_OTHER_NAME);
}

TEST_F(GateTest, RefusesAnUnsignedLibraryAndAMissingOne) {
  ExpectRefused("");
  PutLibrary(kMinimal, "");
  EXPECT_EQ(Init(0), 3);
}

TEST_F(GateTest, RefusesALibraryDamagedByOneByte) {
  PutLibrary(kBleApi, kBleApi + ".p7s");
  std::fstream file(folder_ / "plenar_ble_api.dll",
                    std::ios::in | std::ios::out | std::ios::binary);
  file.seekg(0, std::ios::end);
  const auto middle = file.tellg() / 2;
  file.seekg(middle);
  const auto byte = static_cast<char>(file.get() ^ 1);
  file.seekp(middle);
  file.put(byte);
  file.close();
  ExpectRefused("");
}

/// The lines of each export that is missing, in the order of binding.
const std::pair<const char*, const char*> kFailureLines[] = {
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
    {"BleClientStopWatchBroadcast", nullptr},
    {"BleServerAddManufacturerData", "load BleServerAddManufacturerData failed"},
    {"BleServerAddDataSection", "load bleServerAddDataSection failed"},
    {"BleServerSetStatusChangedCB", "load BleServerSetStatusChangedCB failed"},
    {"BleServerStartBroadcast", "load BleServerStartBroadcast failed"},
    {"BleServerStopBroadcast", "load BleServerStopBroadcast failed"},
};

TEST_F(LoadingTest, NeedsAll17Exports) {
  pc_.SetWindowsVersion(6, 3, 9600);
  CreateServiceWithoutALook();
  pc_.SetWindowsVersion(10, 0, 19045);
  std::size_t tried = 0;
  for (const auto& [name, line] : kFailureLines) {
    ++tried;
    const std::string folder = std::string(QVS_TEST_LIBRARIES "/without_") + name;
    pc_.SetExecutablePath(folder + "/host");
    EXPECT_EQ(Init(0), 3) << name;
    const auto lines = Take(kLog | kWindows);
    Lines errors;
    for (const auto& found : lines) {
      if (found.starts_with("3 ")) errors.push_back(found);
    }
    if (line == nullptr) {
      EXPECT_THAT(errors, Reads({"3 Init: load func failed."}));
    } else {
      EXPECT_THAT(errors, Reads({std::string("3 Init: ") + line, "3 Init: load func failed."}));
    }
    EXPECT_THAT(lines, Holds({"win LoadLibraryA(*plenar_ble_api.dll*)", "3 Init: load func failed.",
                              "win FreeLibrary(*)"}));
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                            [](auto& found) { return found.starts_with("win GetProcAddress("); }),
              static_cast<std::ptrdiff_t>(tried))
        << name;
    EXPECT_FALSE(SharedLibrary::IsLoaded(folder + "/plenar_ble_api.dll")) << name;
  }
  EXPECT_EQ(tried, 17u);
}

TEST_F(LoadingTest, ReportsALibraryThatDoesNotLoad) {
  pc_.FailNext("LoadLibraryA", 193);
  service_ = CreateService();
  EXPECT_THAT(Take(),
              Reads({"6 InitService: init Service", kPath, "3 Init: load lib failed, error: 193"}));
  pc_.FailNext("LoadLibraryA", 4'000'000'000);
  EXPECT_EQ(Init(0), 3);
  EXPECT_THAT(Take(kLog), Reads({kPath, "3 Init: load lib failed, error: 4000000000"}));
  EXPECT_EQ(Init(0), 0);
}

TEST_F(LoadingTest, ErrorCodesAreReadForLinesThatAreWrittenOnly) {
  pc_.SetWindowsVersion(6, 3, 9600);
  CreateServiceWithoutALook();
  pc_.SetWindowsVersion(10, 0, 19045);
  for (const auto& [level, queries] : {std::pair(2, 0), std::pair(3, 1)}) {
    base::log::SetLogLevel(level);
    pc_.FailNext("LoadLibraryA", 5);
    Take();
    Init(0);
    const auto lines = Take(kWindows);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "win GetLastError()"), queries);
  }
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
  radio_->SetResult("BleInit", 0);
  EXPECT_EQ(Init(0), 0);
}

TEST_F(LoadingTest, AServiceIsMadeThoughTheLibraryThrows) {
  for (const char* function : {"BleInit", "BleCheckState"}) {
    radio_->ThrowFrom(function, 1);
    service_ = CreateService();
    ASSERT_NE(service_, nullptr) << function;
    EXPECT_EQ(CheckState(), 1) << function;
    EXPECT_EQ(Init(0), 0) << function;
    radio_->ThrowFrom("BleUnInit", 1);
    DestroyService(service_);
  }
}

TEST_F(LoadingTest, KeepsTheLibraryWhileTheAdapterIsNotUsable) {
  const struct {
    int error;
    int retry_time;
    int result;
  } cases[] = {{6, 0, 4}, {6, -1, 4}, {3, 0, 9}, {3, 5, 9}, {-1, 5, 9}, {102, 5, 9}};
  CreateServiceWithoutALook();
  UnInit();
  Take();
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
    EXPECT_EQ(CheckState(), 1);
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
