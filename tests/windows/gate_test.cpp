// The host program beside differently signed BLE API libraries.

#include <windows.h>
// Needs what <windows.h> declares.
#include <wincrypt.h>

#include <filesystem>
#include <fstream>
#include <string>

#include <gmock/gmock.h>

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

constexpr wchar_t kBleApi[] = L"plenar_ble_api.dll";

fs::path ProgramFolder() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  return fs::path(path).parent_path();
}

fs::path Signed(const std::string& variant) {
  return ProgramFolder() / "gate_files" / variant / kBleApi;
}

std::string Read(const fs::path& file) {
  std::ifstream in(file);
  return {std::istreambuf_iterator<char>(in), {}};
}

/// Changes one letter of the sentence that old systems would print: the library still loads.
void ChangeOneByte(const fs::path& library) {
  std::fstream file(library, std::ios::binary | std::ios::in | std::ios::out);
  file.seekp(0x50);
  const int old = file.peek();
  file.seekp(0x50);
  file.put(static_cast<char>(old ^ 1));
  EXPECT_TRUE(file.flush());
}

/// Makes this machine trust the authority behind a variant.
void Trust(const std::string& variant) {
  const std::string text = Read(Signed(variant).replace_filename("authority.pem"));
  std::string bytes(text.size(), '\0');
  auto size = static_cast<DWORD>(bytes.size());
  auto* const data = reinterpret_cast<BYTE*>(bytes.data());
  ASSERT_TRUE(CryptStringToBinaryA(text.data(), size, CRYPT_STRING_BASE64HEADER, data, &size,
                                   nullptr, nullptr));
  const HCERTSTORE roots =
      CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, CERT_SYSTEM_STORE_LOCAL_MACHINE, L"ROOT");
  ASSERT_NE(roots, nullptr);
  EXPECT_TRUE(CertAddEncodedCertificateToStore(roots, X509_ASN_ENCODING, data, size,
                                               CERT_STORE_ADD_USE_EXISTING, nullptr));
  CertCloseStore(roots, 0);
}

/// A folder with a host program in it, removed at the end.
class HostFolder {
 public:
  explicit HostFolder(const fs::path& name) : folder_(ProgramFolder() / "gate_runs" / name) {
    fs::remove_all(folder_);
    fs::create_directories(folder_);
    for (const wchar_t* const file :
         {L"qvs_host.exe", L"qvs_windows_ble.dll", L"plenar_base.dll", L"bthprops.cpl"}) {
      fs::copy_file(ProgramFolder() / file, folder_ / file);
    }
  }
  ~HostFolder() {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }
  HostFolder(const HostFolder&) = delete;
  HostFolder& operator=(const HostFolder&) = delete;

  [[nodiscard]] const fs::path& Path() const { return folder_; }

  /// Runs the host program; its exit code. `log` gets everything that it logs.
  DWORD Run(std::string& log) const {
    const fs::path program = folder_ / "qvs_host.exe";
    const fs::path log_file = folder_ / "log.txt";
    fs::remove(log_file);
    std::wstring command =
        L"qvs_host --log-level 6 --log-file \"" + log_file.wstring() + L"\" state";
    STARTUPINFOW start = {};
    start.cb = sizeof(start);
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(program.c_str(), command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                        nullptr, &start, &process)) {
      ADD_FAILURE() << "cannot start it, error " << GetLastError();
      return MAXDWORD;
    }
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = MAXDWORD;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    log = Read(log_file);
    return code;
  }

 private:
  fs::path folder_;
};

TEST(Gate, LoadsWhatIsTrustedOrSignedByThePublisherAndIntact) {
  const struct {
    const char* description;
    std::string variant;
    bool changed;
    /// What "sign str: " shows; null if the signer is not asked for.
    const char* signer;
    bool loads;
  } cases[] = {
      {"trusted", "trusted_any_name", false, nullptr, true},
      {"trusted, changed", "trusted_any_name", true, "", false},
      {"publisher", "accepted_name_1", false, QVS_PUBLISHER_NAME_1, true},
      {"publisher, changed", "accepted_name_1", true, "", false},
      {"publisher in the other form", "accepted_name_2", false, QVS_PUBLISHER_NAME_2, true},
      {"publisher in other case", "other_case", false, QVS_PUBLISHER_NAME_LOWER, false},
      {"publisher and more", "longer_name", false, QVS_PUBLISHER_NAME_1 " Ltd.", false},
      {"somebody else", "other_name", false, "Any Other Publisher", false},
      {"unsigned", "unsigned", false, "", false},
  };
  ASSERT_NO_FATAL_FAILURE(Trust("trusted_any_name"));
  const HostFolder folder("variants");
  for (const auto& [description, variant, changed, signer, loads] : cases) {
    SCOPED_TRACE(description);
    fs::remove(folder.Path() / kBleApi);
    fs::copy_file(Signed(variant), folder.Path() / kBleApi);
    if (changed) ChangeOneByte(folder.Path() / kBleApi);
    std::string log;
    EXPECT_EQ(folder.Run(log), loads ? 0u : 1u);
    EXPECT_THAT(log, HasSubstr(loads ? "ble init success" : "dll signature is illegal"));
    if (signer != nullptr) {
      EXPECT_THAT(log, HasSubstr("sign str: " + std::string(signer) + "\n"));
    } else {
      EXPECT_THAT(log, testing::Not(HasSubstr("sign str: ")));
    }
  }
}

TEST(Gate, FindsTheLibraryInAFolderWithSpacesAndLettersOfAnyScript) {
  const HostFolder folder(L"Gr\u00fc\u00dfe aus \u6771\u4eac \u0414\u0430");
  fs::copy_file(ProgramFolder() / kBleApi, folder.Path() / kBleApi);
  std::string log;
  EXPECT_EQ(folder.Run(log), 0u) << log;
  EXPECT_THAT(
      log, HasSubstr("\\Gr\u00fc\u00dfe aus \u6771\u4eac \u0414\u0430\\plenar_ble_api.dll, dir:"));
}

}  // namespace
