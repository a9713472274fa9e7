// What tests and the demo rely on of the simulated PC itself.

#include <dlfcn.h>
#include <simulated_pc/simulated_pc.h>
#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>

namespace {

simulated_pc::SimulatedPc& Pc() {
  return simulated_pc::SimulatedPc::Get();
}

TEST(SimulatedPc, ShowsEachCallAndFailsTheOnesAskedForUntilItIsReset) {
  std::vector<std::string> seen;
  Pc().SetCallObserver([&](std::string_view name, const std::string& arguments) {
    seen.push_back(std::string(name) + '(' + arguments + ')');
    if (name == "CloseHandle")
      FreeLibrary(nullptr);  // The observed program must not see its error.
  });
  Pc().FailNext("CloseHandle", 4711, /*times=*/2, /*skip=*/1);
  for (const DWORD error : {6u, 4711u, 4711u, 6u}) {
    seen.clear();
    EXPECT_FALSE(CloseHandle(nullptr));
    EXPECT_EQ(GetLastError(), error);
    EXPECT_THAT(seen, testing::Contains("CloseHandle(null)").Times(1));
  }
  Pc().FailNext("CloseHandle", 4711);
  Pc().Reset();
  seen.clear();
  EXPECT_FALSE(CloseHandle(nullptr));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_THAT(seen, testing::IsEmpty());
}

TEST(SimulatedPc, LoadsFromTheFolderThatTheProgramClaimsToBeIn) {
  constexpr char kLibrary[] = "plenar_ble_api.dll";
  Pc().SetExecutablePath("/nowhere/b\xC3\xA4/host");
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  EXPECT_STREQ(path, L"\\nowhere\\b\u00E4\\host");
  EXPECT_EQ(LoadLibraryA(kLibrary), nullptr);
  Pc().Reset();
  const HMODULE library = LoadLibraryA(kLibrary);
  EXPECT_EQ(Pc().LibraryLoadCount(kLibrary), 1);

  // Somebody else may load it past these calls, and keep it.
  Dl_info info;
  ASSERT_NE(dladdr(reinterpret_cast<void*>(GetProcAddress(library, "BleInit")), &info), 0);
  void* const kept = dlopen(info.dli_fname, RTLD_NOW);
  EXPECT_TRUE(FreeLibrary(library));
  EXPECT_EQ(Pc().LibraryLoadCount(kLibrary), 0);
  EXPECT_EQ(GetModuleHandleA(kLibrary), library);
  dlclose(kept);
  EXPECT_EQ(GetModuleHandleA(kLibrary), nullptr);
}

}  // namespace
