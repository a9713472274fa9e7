#include <plenar_base/crypto.h>
#include <plenar_base/deviceinfo.h>

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

using Identities = std::vector<std::string>;

static void Sign(const std::string& file, const std::string& signature, const std::string& digest,
                 const Identities& identities) {
  std::string sign = "openssl cms -sign -binary -outform DER -md " + digest + " -in " + file +
                     " -out " + signature;
  for (const std::string& identity : identities) {
    sign += " -signer " + identity + "/signer.pem -inkey " + identity + "/signer.key";
  }
  ASSERT_EQ(std::system(sign.c_str()), 0);
}

TEST(SignatureTest, NamesWhoSignedAnIntactFileAndTellsWhetherToTrustIt) {
  const std::string file = FOLDER "/library.dll";
  const std::string signature = file + ".p7s";
  const std::tuple<Identities, std::string, std::string, std::string> table[] = {
      {{TRUSTED_IDENTITY}, "sha256", "", TRUSTED_NAME},
      {{TRUSTED_IDENTITY}, "sha3-512", "", TRUSTED_NAME},
      {{STRANGER_IDENTITY}, "sha384", "", STRANGER_NAME},
      {{TRUSTED_IDENTITY, STRANGER_IDENTITY}, "sha256", "", ""},
      {{}, "", "", ""},
      {{TRUSTED_IDENTITY}, "sha256", file, ""},
      {{TRUSTED_IDENTITY}, "sha256", signature, ""},
      {{TRUSTED_IDENTITY}, "sha1", "", ""},
      {{TRUSTED_IDENTITY}, "md5", "", ""},
  };
  for (const auto& [identities, digest, damaged, signer] : table) {
    SCOPED_TRACE(testing::PrintToString(identities) + digest + damaged);
    std::ofstream(file) << std::string(100'000, 'x');
    std::filesystem::remove(signature);
    if (!identities.empty()) Sign(file, signature, digest, identities);
    if (!damaged.empty()) {
      std::fstream stream(damaged, std::ios::in | std::ios::out | std::ios::binary);
      const int last_byte = stream.seekg(-1, std::ios::end).get();
      stream.seekp(-1, std::ios::end).put(static_cast<char>(last_byte ^ 1));
    }
    EXPECT_EQ(util::crypto::VerifyFile({file.begin(), file.end()}) == 0, signer == TRUSTED_NAME);
    EXPECT_EQ(util::deviceinfo::GetFileSignature(file), signer);
  }
}

TEST(SignatureTest, NoFileMakesItWaitOrReadWithoutBound) {
  const std::string folder = FOLDER "/unusual/";
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder + "folder");
  ASSERT_EQ(mkfifo((folder + "fifo").c_str(), 0600), 0);
  std::filesystem::create_symlink("/dev/zero", folder + "device");
  std::ofstream(folder + "huge").close();
  std::filesystem::resize_file(folder + "huge", 5'000'000'000'000);
  std::ofstream(folder + "file").close();
  Sign(folder + "file", folder + "signature", "sha256", {TRUSTED_IDENTITY});
  const auto is_refused = [&](const std::string& content, const std::string& signature) {
    std::filesystem::remove(folder + content + ".p7s");
    std::filesystem::create_symlink(signature, folder + content + ".p7s");
    return util::deviceinfo::GetFileSignature(folder + content).empty();
  };
  EXPECT_FALSE(is_refused("file", "signature"));
  for (const char* const kind : {"fifo", "device", "huge", "folder"}) {
    EXPECT_TRUE(is_refused(kind, "signature")) << kind;
    EXPECT_TRUE(is_refused("file", kind)) << kind;
  }
}
