// A file's signature stands beside it in <file>.p7s: a detached CMS signature in DER form, by
// exactly one signer. Whom the machine trusts is in plenar_trust.pem beside this library.

#include <algorithm>
#include <filesystem>
#include <memory>

#include <dlfcn.h>
#include <openssl/cms.h>
#include <openssl/err.h>
#include <openssl/x509v3.h>

#include <plenar_base/crypto.h>
#include <plenar_base/deviceinfo.h>
#include <plenar_base/stringhelp.h>

namespace util {
namespace {

template <auto kFree>
struct Free {
  void operator()(auto* object) const { kFree(object); }
};
using Bio = std::unique_ptr<BIO, Free<BIO_free>>;
using Cms = std::unique_ptr<CMS_ContentInfo, Free<CMS_ContentInfo_free>>;
using Store = std::unique_ptr<X509_STORE, Free<X509_STORE_free>>;
using Certificate = std::unique_ptr<X509, Free<X509_free>>;

/// Keeps what fails meanwhile out of the thread's error queue, which is the host's.
class ErrorsDropped {
 public:
  ErrorsDropped() { ERR_set_mark(); }
  ~ErrorsDropped() { ERR_pop_to_mark(); }
  ErrorsDropped(const ErrorsDropped&) = delete;
  ErrorsDropped& operator=(const ErrorsDropped&) = delete;
};

/// Null when there is nobody to trust.
Store TrustStore() {
  static const char kInThisLibrary = 0;
  Dl_info library;
  if (dladdr(&kInThisLibrary, &library) == 0) return nullptr;
  const auto file = std::filesystem::path(library.dli_fname).parent_path() / "plenar_trust.pem";

  Store store(X509_STORE_new());
  if (!store || X509_STORE_load_file(store.get(), file.c_str()) != 1) return nullptr;
  // The purpose that the verification would ask for otherwise is mail.
  X509_STORE_set_purpose(store.get(), X509_PURPOSE_ANY);
  return store;
}

/// The certificate of who signed the file, if the signature is intact over its bytes and, with a
/// store given, chains to it. Null otherwise.
Certificate SignerOf(std::string path, X509_STORE* trusted) {
  std::replace(path.begin(), path.end(), '\\', '/');
  const Bio signature(BIO_new_file((path + ".p7s").c_str(), "rb"));
  const Bio content(BIO_new_file(path.c_str(), "rb"));
  if (!signature || !content) return nullptr;

  const Cms cms(d2i_CMS_bio(signature.get(), nullptr));
  if (!cms || sk_CMS_SignerInfo_num(CMS_get0_SignerInfos(cms.get())) != 1) return nullptr;
  const unsigned flags = CMS_BINARY | (trusted == nullptr ? CMS_NO_SIGNER_CERT_VERIFY : 0u);
  if (CMS_verify(cms.get(), nullptr, trusted, content.get(), nullptr, flags) != 1) return nullptr;

  using Borrowed =
      std::unique_ptr<STACK_OF(X509), Free<[](STACK_OF(X509) * s) { sk_X509_free(s); }>>;
  const Borrowed signers(CMS_get0_signers(cms.get()));
  X509* const signer = sk_X509_value(signers.get(), 0);
  if (signer == nullptr || X509_up_ref(signer) != 1) return nullptr;
  return Certificate(signer);
}

/// The subject's common name in UTF-8; empty unless there is exactly one.
std::string CommonName(const X509& certificate) {
  const X509_NAME* const subject = X509_get_subject_name(&certificate);
  const int at = X509_NAME_get_index_by_NID(subject, NID_commonName, -1);
  if (at < 0 || X509_NAME_get_index_by_NID(subject, NID_commonName, at) >= 0) return {};

  unsigned char* text = nullptr;
  const int length =
      ASN1_STRING_to_UTF8(&text, X509_NAME_ENTRY_get_data(X509_NAME_get_entry(subject, at)));
  if (length < 0) return {};
  std::string name(reinterpret_cast<const char*>(text), static_cast<std::size_t>(length));
  OPENSSL_free(text);
  return name;
}

}  // namespace

namespace crypto {

int VerifyFile(const std::wstring& path) {
  constexpr int kNotTrusted = 1;
  const ErrorsDropped errors;
  const Store trusted = TrustStore();
  if (!trusted) return kNotTrusted;
  const Certificate signer = SignerOf(stringhelp::UnicodeToUtf8(path), trusted.get());
  const bool may_sign_code =
      signer && (X509_get_extended_key_usage(signer.get()) & XKU_CODE_SIGN) != 0;
  return may_sign_code ? 0 : kNotTrusted;
}

}  // namespace crypto

namespace deviceinfo {

std::string GetFileSignature(const std::string& path) {
  const ErrorsDropped errors;
  const Certificate signer = SignerOf(path, nullptr);
  return signer ? CommonName(*signer) : std::string();
}

}  // namespace deviceinfo
}  // namespace util
