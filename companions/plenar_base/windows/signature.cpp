// A file's signature is the one that is embedded in it, as the system verifies it.

#include <windows.h>
// Needs what <windows.h> declares.
#include <softpub.h>
#include <wintrust.h>

#include <algorithm>
#include <iterator>

#include <plenar_base/crypto.h>
#include <plenar_base/deviceinfo.h>
#include <plenar_base/stringhelp.h>

namespace util {
namespace {

/// A file that nobody changes meanwhile; invalid if it is not a regular one of bounded size.
class RegularFile {
 public:
  explicit RegularFile(const std::wstring& path)
      : handle_(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                            FILE_ATTRIBUTE_NORMAL, nullptr)) {}
  ~RegularFile() {
    if (handle_ != INVALID_HANDLE_VALUE) CloseHandle(handle_);
  }
  RegularFile(const RegularFile&) = delete;
  RegularFile& operator=(const RegularFile&) = delete;

  [[nodiscard]] HANDLE Handle() const { return handle_; }
  [[nodiscard]] bool IsValid() const {
    constexpr LONGLONG kMaxSize = 64 << 20;
    LARGE_INTEGER size;
    return GetFileType(handle_) == FILE_TYPE_DISK && GetFileSizeEx(handle_, &size) &&
           size.QuadPart <= kMaxSize;
  }

 private:
  HANDLE handle_;
};

/// The system's verification of a file, without asking the user or the network. What it found can
/// be read while this object exists.
class Verification {
 public:
  explicit Verification(const std::wstring& path) : opened_(path) {
    if (!opened_.IsValid()) return;
    file_.cbStruct = sizeof(file_);
    file_.pcwszFilePath = path.c_str();
    file_.hFile = opened_.Handle();
    data_.cbStruct = sizeof(data_);
    data_.dwUIChoice = WTD_UI_NONE;
    data_.fdwRevocationChecks = WTD_REVOKE_NONE;
    data_.dwUnionChoice = WTD_CHOICE_FILE;
    data_.pFile = &file_;
    data_.dwStateAction = WTD_STATEACTION_VERIFY;
    data_.dwProvFlags = WTD_REVOCATION_CHECK_NONE | WTD_CACHE_ONLY_URL_RETRIEVAL;
    result_ = Call();
  }
  ~Verification() {
    if (data_.cbStruct == 0) return;
    data_.dwStateAction = WTD_STATEACTION_CLOSE;
    Call();
  }
  Verification(const Verification&) = delete;
  Verification& operator=(const Verification&) = delete;

  /// 0 or an error code of the system.
  [[nodiscard]] LONG Result() const { return result_; }

  /// The certificate of the one who signed; null if there is none, or more than one.
  [[nodiscard]] PCCERT_CONTEXT Signer() const {
    if (data_.hWVTStateData == nullptr) return nullptr;
    CRYPT_PROVIDER_DATA* const found = WTHelperProvDataFromStateData(data_.hWVTStateData);
    if (found == nullptr || found->csSigners != 1) return nullptr;
    CRYPT_PROVIDER_SGNR* const signer = WTHelperGetProvSignerFromChain(found, 0, FALSE, 0);
    if (signer == nullptr) return nullptr;
    const CRYPT_PROVIDER_CERT* const certificate = WTHelperGetProvCertFromChain(signer, 0);
    return certificate != nullptr ? certificate->pCert : nullptr;
  }

 private:
  LONG Call() {
    GUID action = WINTRUST_ACTION_GENERIC_VERIFY_V2;
    return WinVerifyTrust(static_cast<HWND>(INVALID_HANDLE_VALUE), &action, &data_);
  }

  const RegularFile opened_;
  WINTRUST_FILE_INFO file_{};
  WINTRUST_DATA data_{};
  LONG result_ = TRUST_E_NOSIGNATURE;
};

/// The results that speak about who signed only: the signature itself was found intact before.
bool IsIntact(LONG result) {
  constexpr LONG kSignerOnly[] = {ERROR_SUCCESS, CERT_E_UNTRUSTEDROOT, CERT_E_CHAINING,
                                  CERT_E_EXPIRED, CERT_E_UNTRUSTEDTESTROOT};
  return std::find(std::begin(kSignerOnly), std::end(kSignerOnly), result) != std::end(kSignerOnly);
}

std::wstring SimpleDisplayName(PCCERT_CONTEXT certificate) {
  const auto get = [certificate](wchar_t* text, DWORD size) {
    return CertGetNameStringW(certificate, CERT_NAME_SIMPLE_DISPLAY_TYPE, 0, nullptr, text, size);
  };
  std::wstring name(get(nullptr, 0), L'\0');
  name.resize(get(name.data(), static_cast<DWORD>(name.size())) - 1);  // without the ending NUL
  return name;
}

}  // namespace

namespace crypto {

int VerifyFile(const std::wstring& path) {
  return Verification(path).Result();
}

}  // namespace crypto

namespace deviceinfo {

std::string GetFileSignature(const std::string& path) {
  const std::wstring wide_path = stringhelp::StringToWString(path);
  const Verification verification(wide_path);
  const PCCERT_CONTEXT signer = verification.Signer();
  if (signer == nullptr || !IsIntact(verification.Result())) return {};
  return stringhelp::UnicodeToUtf8(SimpleDisplayName(signer));
}

}  // namespace deviceinfo
}  // namespace util
