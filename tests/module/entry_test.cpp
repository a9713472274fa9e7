// The module's two functions, its registration, and what is left of it when it has gone.
#include <plenar_base/thread_local.h>

#include "tests/support/module_test.h"

namespace qvs_test {
namespace {

using EntryTest = ModuleTest;

TEST_F(EntryTest, KnowsOneNameOnly) {
  for (const char* name : {"", "service.windows_ble.windows_ble ",
                           "Service.windows_ble.windows_ble", "service.windows_ble.windows_bl"}) {
    EXPECT_EQ(create_(name), nullptr) << name;
  }
  EXPECT_EQ(create_(nullptr), nullptr);
  destroy_(nullptr);
  EXPECT_THAT(Take(kUsual | kWindows), IsEmpty());
}

TEST_F(EntryTest, CreatingBringsBleUpAndDestroyingTakesItDown) {
  service_ = CreateService();
  auto lines = Take(kLog | kBle | kPlace);
  EXPECT_EQ(lines.at(0), "at windows_ble_service_impl.cpp:11");
  std::erase_if(lines, [](const std::string& line) { return line.starts_with("at "); });
  std::string folder = kBleApi.substr(0, kBleApi.rfind('/') + 1);
  std::replace(folder.begin(), folder.end(), '/', '\\');
  EXPECT_THAT(
      lines,
      ElementsAre("6 InitService: init Service",
                  "6 CheckSignature: full path: " + folder + "plenar_ble_api.dll, dir:" + folder,
                  "ble BleSetLogFunc(callable=set)", "6 Init: start ble init...,retry_time = 0",
                  "ble BleInit(reserved=0)", "ble BleCheckState()",
                  "ble BleClientSetReceivedBroadcastCB(callable=set)",
                  "ble BleClientSetStoppedWatchBroadcastCB(callable=set)",
                  "ble BleServerSetStatusChangedCB(callable=set)", "6 Init: ble init success"));
  DestroyService(service_);
  EXPECT_THAT(Take(), ElementsAre("6 UnInit: start ble uninit...", "ble BleUnInit()",
                                  "6 UnInit: ble uninit success"));
}

TEST_F(EntryTest, LoadsAndUnloadsForRealAgainAndAgain) {
  for (const int adapter : {0, 6, 0}) {
    SetAdapter(adapter);
    service_ = CreateService();
    Init(3);
    CheckState();
    EXPECT_THAT(Take(kLog),
                Contains(adapter == 0 ? "6 CheckBleState: ble state change from: 1, to: 0"
                                      : "3 CheckBleState: ble is not inited"))
        << "nothing is left of the round before";
    Scan(kUuid, 2, true);
    StopScan();
    UnloadModule();
    EXPECT_FALSE(SharedLibrary::IsLoaded(kModule));
    EXPECT_FALSE(looper_->NextDeadline().has_value()) << "its timers have gone with it";
    EXPECT_EQ(base::threading::ThreadLocal::GetValue("base.log.stream"), nullptr);
    EXPECT_FALSE(pc_.HasWindowClass("PlenarBLEStateClass"));
    // A library that others keep loaded has nobody to call any more.
    radio_->ReportLog("radio.cpp", 1, "Beam", 3, "nobody listens");
    ReportStatus(4);
    EXPECT_THAT(Take(kUsual | kLibraryLog), Not(Contains(HasSubstr("nobody listens"))));
    LoadModule();
  }
}

}  // namespace
}  // namespace qvs_test
