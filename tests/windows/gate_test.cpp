// The host program beside differently signed BLE API libraries.

#include <windows.h>
// Needs what <windows.h> declares.
#include <wincrypt.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr wchar_t kBleApi[] = L"plenar_ble_api.dll";

fs::path ProgramFolder() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  return fs::path(path).parent_path();
}

fs::path SignedFiles(const std::string& variant) {
  return ProgramFolder() / "gate_files" / variant;
}

std::vector<char> Read(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

/// Changes one letter of the sentence that old systems would print: the library still loads.
void ChangeOneByte(const fs::path& library) {
  std::fstream file(library, std::ios::binary | std::ios::in | std::ios::out);
  file.seekp(0x50);
  const int old = file.peek();
  file.seekp(0x50);
  file.put(static_cast<char>(old ^ 1));
  ASSERT_TRUE(file.flush());
}

/// Makes this machine trust an authority.
void Trust(const fs::path& certificate) {
  const std::vector<char> text = Read(certificate);
  std::vector<BYTE> bytes(text.size());
  auto size = static_cast<DWORD>(bytes.size());
  ASSERT_TRUE(CryptStringToBinaryA(text.data(), static_cast<DWORD>(text.size()),
                                   CRYPT_STRING_BASE64HEADER, bytes.data(), &size, nullptr,
                                   nullptr));
  const HCERTSTORE roots =
      CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, CERT_SYSTEM_STORE_LOCAL_MACHINE, L"ROOT");
  ASSERT_NE(roots, nullptr);
  EXPECT_TRUE(CertAddEncodedCertificateToStore(roots, X509_ASN_ENCODING, bytes.data(), size,
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

  fs::path operator/(const fs::path& file) const { return folder_ / file; }

  /// Runs the host program with these arguments and everything that it logs; its exit code.
  DWORD Run(const std::wstring& arguments) {
    const fs::path log_file = folder_ / "log.txt";
    std::wstring command = L"\"" + (folder_ / "qvs_host.exe").wstring() +
                           L"\" --log-level 6 --log-file \"" + log_file.wstring() + L"\" " +
                           arguments;
    STARTUPINFOW start = {};
    start.cb = sizeof(start);
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &start, &process)) {
      ADD_FAILURE() << "cannot start it, error " << GetLastError();
      return MAXDWORD;
    }
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = MAXDWORD;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    std::ifstream log(log_file);
    log_.assign(std::istreambuf_iterator<char>(log), {});
    return code;
  }
  [[nodiscard]] const std::string& Log() const { return log_; }

 private:
  fs::path folder_;
  std::string log_;
};

enum class Bytes { kAsSigned, kOneChanged };

struct Case {
  std::string name;
  std::string variant;
  Bytes bytes;
  /// What "sign str: " shows; null if the signer is not asked for.
  const char* signer;
  bool loads;
};
void PrintTo(const Case& tried, std::ostream* out) {
  *out << tried.name;
}

class Gate : public testing::TestWithParam<Case> {};

TEST_P(Gate, LoadsWhatIsTrustedOrSignedByThePublisherAndIntact) {
  const Case& tried = GetParam();
  ASSERT_NO_FATAL_FAILURE(Trust(SignedFiles("trusted_any_name") / "authority.pem"));
  HostFolder folder(tried.name);
  fs::copy_file(SignedFiles(tried.variant) / kBleApi, folder / kBleApi);
  if (tried.bytes == Bytes::kOneChanged) {
    ASSERT_NO_FATAL_FAILURE(ChangeOneByte(folder / kBleApi));
  }

  EXPECT_EQ(folder.Run(L"state"), tried.loads ? 0u : 1u);

  if (tried.signer != nullptr) {
    EXPECT_THAT(folder.Log(), AllOf(HasSubstr("sign str: " + std::string(tried.signer) + "\n"),
                                    HasSubstr(tried.loads ? "is_valid: 1\n" : "is_valid: 0\n")));
  } else {
    EXPECT_THAT(folder.Log(), Not(HasSubstr("sign str: ")));
  }
  EXPECT_THAT(folder.Log(),
              HasSubstr(tried.loads ? "ble init success" : "dll signature is illegal"));
}

INSTANTIATE_TEST_SUITE_P(
    All, Gate,
    testing::Values(
        Case{"Trusted", "trusted_any_name", Bytes::kAsSigned, nullptr, true},
        Case{"TrustedChanged", "trusted_any_name", Bytes::kOneChanged, "", false},
        Case{"Publisher", "accepted_name_1", Bytes::kAsSigned, QVS_PUBLISHER_NAME_1, true},
        Case{"PublisherChanged", "accepted_name_1", Bytes::kOneChanged, "", false},
        Case{"PublisherOtherForm", "accepted_name_2", Bytes::kAsSigned, QVS_PUBLISHER_NAME_2, true},
        Case{"PublisherInOtherCase", "other_case", Bytes::kAsSigned, QVS_PUBLISHER_NAME_LOWER,
             false},
        Case{"PublisherAndMore", "longer_name", Bytes::kAsSigned, QVS_PUBLISHER_NAME_1 " Ltd.",
             false},
        Case{"SomebodyElse", "other_name", Bytes::kAsSigned, "Any Other Publisher", false},
        Case{"Unsigned", "unsigned", Bytes::kAsSigned, "", false}),
    [](const auto& tried) { return tried.param.name; });

TEST(HostFolderName, MayHaveSpacesAndLettersOfAnyScript) {
  const std::wstring name = L"Gr\u00fc\u00dfe aus \u6771\u4eac \u0414\u0430";
  HostFolder folder(name);
  fs::copy_file(ProgramFolder() / kBleApi, folder / kBleApi);

  EXPECT_EQ(folder.Run(L"state"), 0u) << folder.Log();
  EXPECT_THAT(
      folder.Log(),
      HasSubstr("\\Gr\u00fc\u00dfe aus \u6771\u4eac \u0414\u0430\\plenar_ble_api.dll, dir:"));
}

}  // namespace
