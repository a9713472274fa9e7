#include <gtest/gtest.h>
#include <shlwapi.h>
#include <simulated_pc/simulated_pc.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>

namespace {

using simulated_pc::SimulatedPc;

TEST(PathRemoveFileSpec, CutsTheLastNameButNoRoot) {
  const struct {
    std::wstring path;
    std::wstring rest;
  } kCases[] = {
      {LR"(C:\a\b.txt)", LR"(C:\a)"},
      {LR"(C:\a)", LR"(C:\)"},
      {LR"(C:\)", LR"(C:\)"},
      {L"C:", L"C:"},
      {L"C:a", L"C:"},
      {LR"(\a)", LR"(\)"},
      {LR"(\)", LR"(\)"},
      {LR"(\\s)", LR"(\\)"},
      {LR"(\\s\sh)", LR"(\\s)"},
      {LR"(\\s\sh\f)", LR"(\\s\sh)"},
      {LR"(\\\a)", LR"(\\)"},
      {LR"(C:\a\\b)", LR"(C:\a\)"},
      {L"a", L""},
      {L"", L""},
      {LR"(a\)", L"a"},
      {LR"(a\b)", L"a"},
      {L"a/b", L""},
      {L"C:/a/b", L"C:"},
      {LR"(a:b:c\d)", L"a:b:c"},
      {LR"(C:\\a)", LR"(C:\)"},
  };
  for (const auto& test : kCases) {
    SCOPED_TRACE(std::string(test.path.begin(), test.path.end()));
    std::wstring path = test.path;
    EXPECT_EQ(PathRemoveFileSpecW(path.data()), test.path != test.rest);
    EXPECT_EQ(std::wstring(path.c_str()), test.rest);
  }
  EXPECT_EQ(PathRemoveFileSpecW(nullptr), FALSE);
}

TEST(Concatenate, AppendsOrEmptiesTheDestination) {
  const struct {
    std::wstring destination;  ///< With its terminator, unless that is what is missing.
    rsize_t capacity;
    const wchar_t* source;
    errno_t error;
    std::wstring result;
  } kCases[] = {
      {{L'a', L'b', 0, L'x'}, 4, L"c", 0, L"abc"},
      {{L'a', L'b', 0, L'x'}, 4, L"", 0, L"ab"},
      {{L'a', L'b', 0, L'x'}, 4, L"cd", ERANGE, L""},
      {{L'a', L'b', 0}, 3, L"c", ERANGE, L""},
      {{L'a', L'b'}, 2, L"", EINVAL, L""},
      {{L'a', 0}, 2, nullptr, EINVAL, L""},
      {{L'a', 0}, 0, L"b", EINVAL, L"a"},
  };
  for (const auto& test : kCases) {
    std::wstring destination = test.destination;
    EXPECT_EQ(wcscat_s(destination.data(), test.capacity, test.source), test.error);
    EXPECT_EQ(std::wstring(destination.c_str()), test.result);
  }
  EXPECT_EQ(wcscat_s(nullptr, 4, L"a"), EINVAL);
}

class ModuleFileNameTest : public testing::Test {
 protected:
  void SetUp() override { SimulatedPc::Get().Reset(); }

  static std::wstring Get(HMODULE module = nullptr) {
    wchar_t buffer[1024];
    const DWORD length = GetModuleFileNameW(module, buffer, 1024);
    return {buffer, length};
  }
};

TEST_F(ModuleFileNameTest, IsTheRealExecutableUnlessAnotherIsSet) {
  std::wstring real = std::filesystem::read_symlink("/proc/self/exe").wstring();
  std::ranges::replace(real, L'/', L'\\');
  EXPECT_EQ(Get(), real);
  EXPECT_EQ(Get(GetModuleHandleA(nullptr)), real);

  SimulatedPc::Get().SetExecutablePath("/work/\xC3\xA4\xF0\x9F\x98\x80/host");
  EXPECT_EQ(Get(), L"\\work\\\u00E4\U0001F600\\host");
}

TEST_F(ModuleFileNameTest, IsCutAtTheBuffersEnd) {
  SimulatedPc::Get().SetExecutablePath("/bin/host");  // 9 characters
  const struct {
    DWORD size;
    DWORD result;
    DWORD error;
    std::wstring text;
  } kCases[] = {
      {10, 9, 0, LR"(\bin\host)"},
      {9, 9, ERROR_INSUFFICIENT_BUFFER, LR"(\bin\hos)"},
      {1, 1, ERROR_INSUFFICIENT_BUFFER, L""},
      {0, 0, ERROR_INSUFFICIENT_BUFFER, L"untouched"},
  };
  for (const auto& test : kCases) {
    SCOPED_TRACE(test.size);
    wchar_t buffer[11] = L"untouched";
    SetLastError(0);
    EXPECT_EQ(GetModuleFileNameW(nullptr, buffer, test.size), test.result);
    EXPECT_EQ(GetLastError(), test.error);
    EXPECT_EQ(std::wstring(buffer), test.text);
  }
}

TEST_F(ModuleFileNameTest, FailsForWhatIsNoModuleOrNoText) {
  EXPECT_EQ(Get(reinterpret_cast<HMODULE>(0x1000)), L"");
  EXPECT_EQ(GetLastError(), DWORD{ERROR_MOD_NOT_FOUND});
  SimulatedPc::Get().SetExecutablePath("/bin/\xFF");
  EXPECT_EQ(Get(), L"");
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_UNICODE_TRANSLATION});
}

}  // namespace
