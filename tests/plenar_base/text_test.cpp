#include <filesystem>
#include <string>

#include <gtest/gtest.h>
#include <plenar_base/crypto.h>
#include <plenar_base/file.h>
#include <plenar_base/stringhelp.h>

using util::stringhelp::StringToWString;
using util::stringhelp::UnicodeToUtf8;

TEST(Base64Test, VectorsOfTheRfc) {
  const struct {
    std::string bytes, text;
  } table[] = {{"", ""},
               {"f", "Zg=="},
               {"fo", "Zm8="},
               {"foo", "Zm9v"},
               {"foob", "Zm9vYg=="},
               {"fooba", "Zm9vYmE="},
               {"foobar", "Zm9vYmFy"},
               {std::string("\0\xFF\xFE\xFB", 4), "AP/++w=="}};
  for (const auto& row : table) {
    EXPECT_EQ(util::crypto::Encode64(row.bytes.data(), row.bytes.size()), row.text);
  }
  EXPECT_EQ(util::crypto::Encode64(nullptr, 0), "");
}

TEST(FilePathTest, HasExactlyOneSeparator) {
  const std::string separator(1, static_cast<char>(std::filesystem::path::preferred_separator));
  EXPECT_EQ(util::file::MakeFilePath("C:\\dir\\", "name"), "C:\\dir\\name");
  EXPECT_EQ(util::file::MakeFilePath("/dir/", "name"), "/dir/name");
  EXPECT_EQ(util::file::MakeFilePath("dir", "name"), "dir" + separator + "name");
  EXPECT_EQ(util::file::MakeFilePath("", "name"), "name");
}

TEST(UnicodeTest, WellFormedTextGoesThereAndBack) {
  const struct {
    std::string utf8;
    std::wstring wide;
  } table[] = {
      {"", L""},
      {"plain", L"plain"},
      {std::string("a\0b", 3), std::wstring(L"a\0b", 3)},
      {"\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF", L"\x80\x7FF\x800\xFFFF"},
      {"\xED\x9F\xBF\xEE\x80\x80", L"\xD7FF\xE000"},
      {"\xF0\x90\x80\x80\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF", L"\U00010000\U0001F600\U0010FFFF"},
  };
  for (const auto& row : table) {
    EXPECT_EQ(UnicodeToUtf8(row.wide), row.utf8);
    EXPECT_EQ(StringToWString(row.utf8), row.wide);
  }
}

TEST(UnicodeTest, IllFormedTextIsReplaced) {
  const struct {
    std::string utf8;
    std::wstring wide;
  } from_utf8[] = {
      {"a\x80z", L"a\xFFFDz"},
      {"\xC0\xAF", L"\xFFFD\xFFFD"},
      {"\xC3", L"\xFFFD"},
      {"\xE2\x82z", L"\xFFFDz"},
      {"\xED\xA0\x80", L"\xFFFD\xFFFD\xFFFD"},
      {"\xE0\x9F\x80", L"\xFFFD\xFFFD\xFFFD"},
      {"\xF0\x9F\x98", L"\xFFFD"},
      {"\xF4\x90\x80\x80", L"\xFFFD\xFFFD\xFFFD\xFFFD"},
      {"\xFF\xFE", L"\xFFFD\xFFFD"},
  };
  for (const auto& row : from_utf8) EXPECT_EQ(StringToWString(row.utf8), row.wide);

  const std::string replacement = "\xEF\xBF\xBD";
  for (const wchar_t unit : {L'\xD800', L'\xDBFF', L'\xDC00', L'\xDFFF'}) {
    EXPECT_EQ(UnicodeToUtf8({L'a', unit, L'z'}), "a" + replacement + "z");
    EXPECT_EQ(UnicodeToUtf8({unit}), replacement);
  }
  EXPECT_EQ(UnicodeToUtf8({L'\xDC00', L'\xD800'}), replacement + replacement);
}
