#include <windows.h>
// Needs what <windows.h> declares.
#include <shlwapi.h>

#include <string>

#include <gtest/gtest.h>

#include "tests/windows_calls/last_error.h"

namespace {

TEST(Loader, LoadsFromTheProgramsFolderAndCounts) {
  constexpr char kLibrary[] = "plenar_ble_api.dll";
  EXPECT_EQ(ErrorOf(LoadLibraryA("no_such_library.dll")), ERROR_MOD_NOT_FOUND);
  const HMODULE library = LoadLibraryA(kLibrary);
  ASSERT_NE(library, nullptr);
  EXPECT_EQ(LoadLibraryA("plenar_ble_api"), library);
  EXPECT_NE(GetProcAddress(library, "BleInit"), nullptr);
  EXPECT_EQ(ErrorOf(GetProcAddress(library, "bleinit")), ERROR_PROC_NOT_FOUND);
  EXPECT_EQ(ErrorOf(GetProcAddress(library, "malloc")), ERROR_PROC_NOT_FOUND);
  for (int load = 0; load < 2; ++load) {
    EXPECT_EQ(GetModuleHandleA(kLibrary), library);
    EXPECT_TRUE(FreeLibrary(library));
  }
  EXPECT_EQ(ErrorOf(GetModuleHandleA(kLibrary)), ERROR_MOD_NOT_FOUND);
  EXPECT_FALSE(FreeLibrary(library));
}

TEST(Loader, TheProgramIsAModuleWhosePathIsCutAtTheBuffersEnd) {
  wchar_t path[MAX_PATH] = {};
  const DWORD length = GetModuleFileNameW(GetModuleHandleA(nullptr), path, MAX_PATH);
  const std::wstring text(path, length);
  EXPECT_EQ(text.find(L'/'), std::wstring::npos);
  EXPECT_NE(text.find(L"\\windows_calls_test"), std::wstring::npos);

  path[3] = L'?';
  EXPECT_EQ(GetModuleFileNameW(nullptr, path, 3), 3u);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
  EXPECT_EQ(path[3], L'?');
}

TEST(Paths, LoseTheirLastNameButNoRoot) {
  const struct {
    const wchar_t* path;
    const wchar_t* left;
  } kCases[] = {
      {L"C:\\a\\b.exe", L"C:\\a"},
      {L"C:\\b.exe", L"C:\\"},
      {L"C:\\", L"C:\\"},
      {L"b.exe", L""},
      {L"a\\b", L"a"},
      {L"a\\", L"a"},
      {L"\\b", L"\\"},
      {L"", L""},
  };
  for (const auto& [path, left] : kCases) {
    std::wstring cut = path;
    EXPECT_EQ(PathRemoveFileSpecW(cut.data()) != FALSE, path != std::wstring(left));
    EXPECT_STREQ(cut.c_str(), left);
  }
}

}  // namespace
