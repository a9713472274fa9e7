// What the built files offer and need.

#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace {

using Names = std::vector<std::string>;

std::filesystem::path ProgramFolder() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  return std::filesystem::path(path).parent_path();
}

/// A program or library, laid out in memory as if it were to run.
class Image {
 public:
  explicit Image(const std::string& file)
      : module_(LoadLibraryExW((ProgramFolder() / file).c_str(), nullptr,
                               DONT_RESOLVE_DLL_REFERENCES)) {}
  ~Image() { FreeLibrary(module_); }
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;

  [[nodiscard]] bool IsValid() const { return module_ != nullptr; }

  [[nodiscard]] Names Exports() const {
    const auto* const exports = At<IMAGE_EXPORT_DIRECTORY>(Directory(IMAGE_DIRECTORY_ENTRY_EXPORT));
    const auto* const names = At<DWORD>(exports->AddressOfNames);
    Names found;
    for (DWORD i = 0; i < exports->NumberOfNames; ++i) found.emplace_back(At<char>(names[i]));
    return found;
  }

  [[nodiscard]] Names Imports() const {
    Names found;
    const auto* entry = At<IMAGE_IMPORT_DESCRIPTOR>(Directory(IMAGE_DIRECTORY_ENTRY_IMPORT));
    for (; entry->Name != 0; ++entry) found.emplace_back(At<char>(entry->Name));
    return found;
  }

 private:
  template <class T>
  [[nodiscard]] const T* At(std::size_t offset) const {
    return reinterpret_cast<const T*>(reinterpret_cast<const char*>(module_) + offset);
  }
  [[nodiscard]] std::size_t Directory(int which) const {
    const auto offset = static_cast<std::size_t>(At<IMAGE_DOS_HEADER>(0)->e_lfanew);
    return At<IMAGE_NT_HEADERS64>(offset)->OptionalHeader.DataDirectory[which].VirtualAddress;
  }

  HMODULE module_;
};

TEST(Images, TheModuleExportsItsTwoFunctionsAndNothingElse) {
  const Image module("qvs_windows_ble.dll");
  ASSERT_TRUE(module.IsValid());
  EXPECT_THAT(module.Exports(), testing::ElementsAre("QVCreateService", "QVDestroyService"));
}

class ShippedImage : public testing::TestWithParam<const char*> {};

TEST_P(ShippedImage, NeedsWindowsAndTheBaseLibraryOnly) {
  wchar_t system_folder[MAX_PATH] = {};
  ASSERT_NE(GetSystemDirectoryW(system_folder, MAX_PATH), 0u);
  const Image image(GetParam());
  ASSERT_TRUE(image.IsValid());
  const Names imports = image.Imports();
  EXPECT_THAT(imports, testing::Not(testing::IsEmpty()));
  for (const std::string& name : imports) {
    if (name == "plenar_base.dll") continue;
    EXPECT_TRUE(exists(std::filesystem::path(system_folder) / name)) << name;
  }
}

INSTANTIATE_TEST_SUITE_P(All, ShippedImage,
                         testing::Values("qvs_windows_ble.dll", "plenar_base.dll",
                                         "plenar_ble_api.dll", "qvs_host.exe"),
                         [](const auto& file) {
                           std::string name = file.param;
                           std::replace(name.begin(), name.end(), '.', '_');
                           return name;
                         });

}  // namespace
