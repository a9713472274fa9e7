#include <plenar_base/crypto.h>
#include <plenar_base/deviceinfo.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

TEST(SignatureTest, NamesWhoSignedAnIntactFileAndTellsWhetherToTrustIt) {
  const std::string file = FOLDER "/library.dll";
  const std::string signature = file + ".p7s";
  const std::tuple<std::vector<std::string>, std::string, std::string> table[] = {
      {{TRUSTED_IDENTITY}, "", TRUSTED_NAME},
      {{STRANGER_IDENTITY}, "", STRANGER_NAME},
      {{TRUSTED_IDENTITY, STRANGER_IDENTITY}, "", ""},
      {{}, "", ""},
      {{TRUSTED_IDENTITY}, file, ""},
      {{TRUSTED_IDENTITY}, signature, ""},
  };
  for (const auto& [identities, damaged, signer] : table) {
    SCOPED_TRACE(testing::PrintToString(identities) + damaged);
    std::ofstream(file) << std::string(100'000, 'x');
    std::filesystem::remove(signature);
    std::string sign = "openssl cms -sign -binary -outform DER -in " + file + " -out " + signature;
    for (const std::string& identity : identities) {
      sign += " -signer " + identity + "/signer.pem -inkey " + identity + "/signer.key";
    }
    ASSERT_TRUE(identities.empty() || std::system(sign.c_str()) == 0);
    if (!damaged.empty()) {
      std::fstream stream(damaged, std::ios::in | std::ios::out | std::ios::binary);
      const int last_byte = stream.seekg(-1, std::ios::end).get();
      stream.seekp(-1, std::ios::end).put(static_cast<char>(last_byte ^ 1));
    }
    EXPECT_EQ(util::crypto::VerifyFile({file.begin(), file.end()}) == 0, signer == TRUSTED_NAME);
    EXPECT_EQ(util::deviceinfo::GetFileSignature(file), signer);
  }
}
