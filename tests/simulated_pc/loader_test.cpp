#include <gtest/gtest.h>
#include <simulated_pc/simulated_pc.h>
#include <windows.h>

#include <string>

namespace {

using simulated_pc::SimulatedPc;

constexpr char kSample[] = "sample_library.dll";

class LoaderTest : public testing::Test {
 protected:
  void SetUp() override {
    SimulatedPc::Get().Reset();
    SimulatedPc::Get().SetExecutablePath(LIBRARY_FOLDER "/host");
    SetLastError(0);
  }

  static int LoadCount() { return SimulatedPc::Get().LibraryLoadCount(kSample); }
};

TEST_F(LoaderTest, LoadsFromTheExecutablesFolderAndCounts) {
  const HMODULE first = LoadLibraryA(kSample);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(LoadLibraryA("sample_library"), first) << "the extension is added";
  EXPECT_EQ(LoadLibraryA(LIBRARY_FOLDER "\\sample_library.dll"), first);
  EXPECT_EQ(GetModuleHandleA(kSample), first);
  EXPECT_EQ(LoadCount(), 3) << "the last call does not load";

  for (int left = 2; left >= 0; --left) {
    EXPECT_TRUE(FreeLibrary(first));
    EXPECT_EQ(LoadCount(), left);
  }
  EXPECT_FALSE(FreeLibrary(first));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_MOD_NOT_FOUND});
  EXPECT_EQ(GetModuleHandleA(kSample), nullptr);
  EXPECT_EQ(GetProcAddress(first, "SampleAnswer"), nullptr);
}

TEST_F(LoaderTest, SearchesTheSystemAfterTheFolder) {
  const HMODULE module = LoadLibraryA("libc.so.6");
  ASSERT_NE(module, nullptr);
  EXPECT_NE(GetProcAddress(module, "strlen"), nullptr);
  EXPECT_TRUE(FreeLibrary(module));

  SimulatedPc::Get().SetExecutablePath("/nowhere/host");
  EXPECT_EQ(LoadLibraryA(kSample), nullptr);
}

TEST_F(LoaderTest, NamesTheReasonWhenNothingIsLoaded) {
  const struct {
    const char* file_name;
    DWORD error;
  } kCases[] = {
      {"nothing.dll", ERROR_MOD_NOT_FOUND},
      {"/nowhere/nothing.dll", ERROR_MOD_NOT_FOUND},
      {"no_library.dll", ERROR_BAD_EXE_FORMAT},
      {LIBRARY_FOLDER, ERROR_MOD_NOT_FOUND},
      {"needy_library.dll", ERROR_MOD_NOT_FOUND},
      {"", ERROR_MOD_NOT_FOUND},
      {nullptr, ERROR_MOD_NOT_FOUND},
  };
  for (const auto& test : kCases) {
    SCOPED_TRACE(test.file_name != nullptr ? test.file_name : "null");
    SetLastError(0);
    EXPECT_EQ(LoadLibraryA(test.file_name), nullptr);
    EXPECT_EQ(GetLastError(), test.error);
  }
}

TEST_F(LoaderTest, FindsTheModulesOwnExportsOnly) {
  const HMODULE module = LoadLibraryA(kSample);
  const FARPROC answer = GetProcAddress(module, "SampleAnswer");
  ASSERT_NE(answer, nullptr);
  EXPECT_EQ(reinterpret_cast<int (*)()>(reinterpret_cast<void*>(answer))(), 42);

  const LPCSTR kOrdinal = reinterpret_cast<LPCSTR>(1);
  for (const LPCSTR name : {"Missing", "strlen", "", kOrdinal, LPCSTR{nullptr}}) {
    SetLastError(0);
    EXPECT_EQ(GetProcAddress(module, name), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PROC_NOT_FOUND});
  }
  FreeLibrary(module);
}

TEST_F(LoaderTest, TheExecutableIsAModuleThatIsNeverUnloaded) {
  const HMODULE executable = GetModuleHandleA(nullptr);
  ASSERT_NE(executable, nullptr);
  EXPECT_TRUE(FreeLibrary(executable));
  EXPECT_EQ(GetModuleHandleA(nullptr), executable);
  EXPECT_FALSE(FreeLibrary(nullptr));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}

}  // namespace
