// A file's signature stands beside it in <file>.p7s: a detached CMS signature in DER form, by
// exactly one signer. Whom the machine trusts is in plenar_trust.pem beside this library.

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <openssl/cms.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/objects.h>
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

/// Opens a file to be read in pieces; null if it is not a regular one of at most this size. No
/// other kind of file is waited for.
Bio OpenRegularFile(const std::string& path, off_t max_size) {
  const int file = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (file < 0) return nullptr;
  Bio bio(BIO_new_fd(file, BIO_CLOSE));
  if (!bio) close(file);
  struct stat status;
  if (!bio || fstat(file, &status) != 0) return nullptr;
  return S_ISREG(status.st_mode) && status.st_size <= max_size ? std::move(bio) : nullptr;
}

/// Whether nobody can make another content with the same digest: MD5 and SHA-1 are too short.
bool IsStrong(int digest) {
  constexpr int kMinimumBytes = 28;
  const EVP_MD* const type = EVP_get_digestbynid(digest);
  return type != nullptr && EVP_MD_get_size(type) >= kMinimumBytes;
}

bool HasStrongDigests(CMS_SignerInfo* signer) {
  X509_ALGOR* digest = nullptr;
  X509_ALGOR* signature = nullptr;
  CMS_SignerInfo_get0_algs(signer, nullptr, nullptr, &digest, &signature);
  if (!IsStrong(OBJ_obj2nid(digest->algorithm))) return false;
  int signed_digest = NID_undef;  // stays so where the algorithm names none of its own
  OBJ_find_sigid_algs(OBJ_obj2nid(signature->algorithm), &signed_digest, nullptr);
  return signed_digest == NID_undef || IsStrong(signed_digest);
}

/// The certificate of who signed the file, if the signature is intact over its bytes and, with a
/// store given, chains to it. Null otherwise.
Certificate SignerOf(std::string path, X509_STORE* trusted) {
  constexpr off_t kMaxSignature = 1 << 20;
  constexpr off_t kMaxContent = 64 << 20;
  std::replace(path.begin(), path.end(), '\\', '/');
  const Bio signature = OpenRegularFile(path + ".p7s", kMaxSignature);
  const Bio content = OpenRegularFile(path, kMaxContent);
  if (!signature || !content) return nullptr;

  const Cms cms(d2i_CMS_bio(signature.get(), nullptr));
  if (!cms) return nullptr;
  auto* const infos = CMS_get0_SignerInfos(cms.get());
  if (sk_CMS_SignerInfo_num(infos) != 1) return nullptr;
  if (!HasStrongDigests(sk_CMS_SignerInfo_value(infos, 0))) return nullptr;
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
