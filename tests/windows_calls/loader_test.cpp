#include <windows.h>

#include <shlwapi.h>

#include <string>

#include <gtest/gtest.h>

#include "last_error.h"

namespace windows_calls {
namespace {

constexpr char kLibrary[] = "plenar_ble_api.dll";

TEST(Loader, LoadsFromTheProgramsFolderAndCounts) {
  const HMODULE library = LoadLibraryA(kLibrary);
  ASSERT_NE(library, nullptr);
  EXPECT_EQ(LoadLibraryA("plenar_ble_api"), library);
  EXPECT_EQ(GetModuleHandleA(kLibrary), library);

  EXPECT_TRUE(FreeLibrary(library));
  EXPECT_EQ(GetModuleHandleA(kLibrary), library);
  EXPECT_TRUE(FreeLibrary(library));
  EXPECT_EQ(GetModuleHandleA(kLibrary), nullptr);
  EXPECT_FALSE(FreeLibrary(library));
}

TEST(Loader, NamesTheReasonWhenNothingIsLoaded) {
  EXPECT_EQ(LoadLibraryA("no_such_library.dll"), nullptr);
  EXPECT_EQ(ErrorOf([] { return LoadLibraryA("no_such_library.dll"); }), ERROR_MOD_NOT_FOUND);
  EXPECT_EQ(ErrorOf([] { return GetModuleHandleA("no_such_library.dll"); }), ERROR_MOD_NOT_FOUND);
}

TEST(Loader, FindsTheLibrarysExports) {
  const HMODULE library = LoadLibraryA(kLibrary);
  EXPECT_NE(GetProcAddress(library, "BleInit"), nullptr);
  EXPECT_EQ(GetProcAddress(library, "bleinit"), nullptr);
  EXPECT_EQ(ErrorOf([&] { return GetProcAddress(library, "malloc"); }), ERROR_PROC_NOT_FOUND);
  FreeLibrary(library);
}

TEST(Loader, TheProgramIsAModule) {
  wchar_t path[MAX_PATH] = {};
  const DWORD length = GetModuleFileNameW(nullptr, path, MAX_PATH);
  const std::wstring text(path, length);
  EXPECT_EQ(text.find(L'/'), std::wstring::npos);
  EXPECT_NE(text.find(L"\\windows_calls_test"), std::wstring::npos);

  wchar_t same[MAX_PATH] = {};
  EXPECT_EQ(GetModuleFileNameW(GetModuleHandleA(nullptr), same, MAX_PATH), length);
  EXPECT_EQ(text, same);
}

TEST(Loader, APathIsCutAtTheBuffersEnd) {
  wchar_t cut[4] = {L'?', L'?', L'?', L'?'};
  EXPECT_EQ(GetModuleFileNameW(nullptr, cut, 3), 3u);
  EXPECT_EQ(cut[3], L'?');
  EXPECT_EQ(ErrorOf([&] { return GetModuleFileNameW(nullptr, cut, 3); }),
            ERROR_INSUFFICIENT_BUFFER);
}

TEST(Paths, LoseTheirLastNameButNoRoot) {
  const struct {
    const wchar_t* path;
    const wchar_t* left;
    BOOL cut;
  } kCases[] = {
      {L"C:\\a\\b.exe", L"C:\\a", TRUE},
      {L"C:\\b.exe", L"C:\\", TRUE},
      {L"C:\\", L"C:\\", FALSE},
      {L"b.exe", L"", TRUE},
      {L"a\\b", L"a", TRUE},
      {L"a\\", L"a", TRUE},
      {L"\\b", L"\\", TRUE},
      {L"", L"", FALSE},
  };
  for (const auto& tried : kCases) {
    wchar_t path[MAX_PATH] = {};
    std::wstring(tried.path).copy(path, MAX_PATH - 1);
    EXPECT_EQ(PathRemoveFileSpecW(path), tried.cut) << testing::PrintToString(tried.path);
    EXPECT_STREQ(path, tried.left);
  }
}

}  // namespace
}  // namespace windows_calls
