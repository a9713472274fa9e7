#include <plenar_base/crypto.h>
#include <plenar_base/deviceinfo.h>
#include <plenar_base/stringhelp.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <unistd.h>

#include <gtest/gtest.h>
#include <openssl/err.h>

namespace fs = std::filesystem;

namespace {

/// A file that stands alone in a folder of its own.
class SignatureTest : public testing::Test {
 protected:
  SignatureTest() {
    fs::create_directories(folder_);
    Write(file_, std::string(100'000, 'x'));
  }
  ~SignatureTest() override { fs::remove_all(folder_); }

  void Sign(const std::string& identity) {
    const std::string script = SIGN_COMMAND;
    const auto at = script.find(" -P ");
    const std::string command = script.substr(0, at) + " -D FOLDER=" + identity +
                                " -D FILE=" + file_.string() + script.substr(at);
    ASSERT_EQ(std::system(command.c_str()), 0);
  }

  static std::string Read(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  static void Write(const fs::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
  }

  /// Whether the file verifies, and its signer.
  struct Found {
    bool trusted;
    std::string signer;
    bool operator==(const Found&) const = default;
  };
  [[nodiscard]] Found Look() const {
    const std::string path = file_.string();
    const Found found{util::crypto::VerifyFile(util::stringhelp::StringToWString(path)) == 0,
                      util::deviceinfo::GetFileSignature(path)};
    EXPECT_EQ(ERR_peek_error(), 0u);
    return found;
  }

  const Found nobody_{false, ""};
  const fs::path folder_ =
      fs::temp_directory_path() / ("plenar_base_signature_" + std::to_string(getpid()));
  const fs::path file_ = folder_ / "library.dll";
  const fs::path signature_ = folder_ / "library.dll.p7s";
};

}  // namespace

TEST_F(SignatureTest, IntactAndTrusted) {
  Sign(TRUSTED_IDENTITY);
  EXPECT_EQ(Look(), (Found{true, TRUSTED_NAME}));
  std::string path = file_.string();
  path[path.rfind('/')] = '\\';
  EXPECT_EQ(util::deviceinfo::GetFileSignature(path), TRUSTED_NAME);
}

TEST_F(SignatureTest, IntactButOfAStranger) {
  Sign(STRANGER_IDENTITY);
  EXPECT_EQ(Look(), (Found{false, STRANGER_NAME}));
}

TEST_F(SignatureTest, ASignerWithoutAName) {
  Sign(NAMELESS_IDENTITY);
  EXPECT_EQ(Look(), nobody_);
}

TEST_F(SignatureTest, MoreThanOneSigner) {
  std::string command = "openssl cms -sign -binary -md sha256 -outform DER -in " + file_.string() +
                        " -out " + signature_.string();
  for (const std::string identity : {TRUSTED_IDENTITY, STRANGER_IDENTITY}) {
    command += " -signer " + identity + "/signer.pem -inkey " + identity + "/signer.key";
  }
  ASSERT_EQ(std::system(command.c_str()), 0);
  EXPECT_EQ(Look(), nobody_);
}

TEST_F(SignatureTest, NoFileAndNoSignature) {
  EXPECT_EQ(Look(), nobody_);
  Sign(TRUSTED_IDENTITY);
  fs::remove(file_);
  EXPECT_EQ(Look(), nobody_);
}

TEST_F(SignatureTest, EmptyOrShortenedSignature) {
  Sign(TRUSTED_IDENTITY);
  const std::string whole = Read(signature_);
  for (const std::size_t length :
       {std::size_t{0}, std::size_t{1}, whole.size() / 2, whole.size() - 1}) {
    Write(signature_, whole.substr(0, length));
    EXPECT_EQ(Look(), nobody_) << length;
  }
}

TEST_F(SignatureTest, OneDamagedByteOfTheFile) {
  Sign(TRUSTED_IDENTITY);
  const std::string whole = Read(file_);
  for (const std::size_t at : {std::size_t{0}, whole.size() / 2, whole.size() - 1}) {
    std::string damaged = whole;
    damaged[at] ^= 1;
    Write(file_, damaged);
    EXPECT_EQ(Look(), nobody_) << at;
  }
  Write(file_, whole + 'x');
  EXPECT_EQ(Look(), nobody_);
}

TEST_F(SignatureTest, DamagedBytesOfTheSignatureNeverMakeATrustedStranger) {
  Sign(TRUSTED_IDENTITY);
  const std::string whole = Read(signature_);
  for (std::size_t at = 0; at < whole.size(); at += 7) {
    std::string damaged = whole;
    damaged[at] ^= 0x55;
    Write(signature_, damaged);
    const Found found = Look();
    // What no signature covers (the certificate's own, for one) may differ: then nobody is trusted.
    EXPECT_FALSE(found.trusted && found.signer != TRUSTED_NAME) << at;
  }
  // The signature value ends the file.
  std::string damaged = whole;
  damaged.back() ^= 1;
  Write(signature_, damaged);
  EXPECT_EQ(Look(), nobody_);
}

TEST_F(SignatureTest, ASignatureOfAnotherFile) {
  Sign(TRUSTED_IDENTITY);
  Write(file_, std::string(100'000, 'y'));
  EXPECT_EQ(Look(), nobody_);
}
