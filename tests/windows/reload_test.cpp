#include <windows.h>
// Needs what <windows.h> declares.
#include <dbt.h>
#include <psapi.h>

#include <gmock/gmock.h>

#include "tests/windows/windows_host_test.h"

namespace qvs_test {
namespace {

namespace method = quorvel_service::windows_ble::method;
namespace event = quorvel_service::windows_ble::event;
using base::variant::Variant;

constexpr char kUuid[] = "12345678-9ABC-DEF0-1234-56789ABCDEF0";
constexpr char kBleApiFile[] = "plenar_ble_api.dll";

class Reload : public WindowsHostTest {
 protected:
  /// One life of the module: loaded, used for everything that it does, and unloaded.
  void LoadUseAndUnload() {
    ASSERT_NO_FATAL_FAILURE(LoadModule());
    ASSERT_NO_FATAL_FAILURE(CreateService());
    Start(method::kStartWatchBroadcast);
    Start(method::kStartBroadcast);
    RunUntilEvent(event::kStatusInfo);
    EXPECT_EQ(SendDeviceChange(HiddenWindow(), DBT_DEVNODES_CHANGED), 0);
    const auto events = Take(kEvent);
    EXPECT_THAT(events, testing::Contains(testing::StartsWith("status_info ")));
    EXPECT_THAT(events, testing::Contains("state 0"));

    UnloadModule();
    EXPECT_EQ(GetModuleHandleA(kModuleFile), nullptr);
    EXPECT_EQ(GetModuleHandleA(kBleApiFile), nullptr);
  }

  void Start(std::uint64_t what) {
    const auto arguments = std::make_shared<Variant>();
    arguments->Set("start", Variant(true));
    arguments->Set("uuid", Variant(kUuid));
    EXPECT_EQ(Call(what, arguments), 0);
  }

  static DWORD HandleCount() {
    DWORD count = 0;
    EXPECT_TRUE(GetProcessHandleCount(GetCurrentProcess(), &count));
    return count;
  }
};

TEST_F(Reload, WorksAgainAndAgainAndLeavesNoHandle) {
  ASSERT_NO_FATAL_FAILURE(LoadUseAndUnload());  // the system keeps some of its own from then on
  const DWORD handles = HandleCount();
  for (int i = 0; i < 5; ++i) ASSERT_NO_FATAL_FAILURE(LoadUseAndUnload());
  EXPECT_LE(HandleCount(), handles);
}

TEST_F(Reload, AChangeReachesTheNewCodeWhereverItIsLoaded) {
  ASSERT_NO_FATAL_FAILURE(LoadModule());
  MODULEINFO first = {};
  ASSERT_TRUE(GetModuleInformation(GetCurrentProcess(), module_->Get(), &first, sizeof(first)));
  ASSERT_NO_FATAL_FAILURE(CreateService());
  UnloadModule();

  // What still pointed to the old code would now crash.
  void* const occupied =
      VirtualAlloc(first.lpBaseOfDll, first.SizeOfImage, MEM_RESERVE, PAGE_NOACCESS);
  ASSERT_EQ(occupied, first.lpBaseOfDll);

  ASSERT_NO_FATAL_FAILURE(LoadModule());
  EXPECT_NE(static_cast<void*>(module_->Get()), occupied);
  ASSERT_NO_FATAL_FAILURE(CreateService());
  Take();
  EXPECT_EQ(SendDeviceChange(HiddenWindow(), DBT_DEVNODES_CHANGED), 0);
  EXPECT_THAT(Take(kEvent), testing::Contains("state 0"));
  UnloadModule();
  VirtualFree(occupied, 0, MEM_RELEASE);
}

}  // namespace
}  // namespace qvs_test
