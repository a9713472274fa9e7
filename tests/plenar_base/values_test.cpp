#include <cstdint>
#include <filesystem>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>
#include <plenar_base/crypto.h>
#include <plenar_base/file.h>
#include <plenar_base/json.h>
#include <plenar_base/stringhelp.h>
#include <plenar_base/variant.h>

using base::json::JsonValue;
using base::variant::Variant;

TEST(VariantTest, ConvertsByTable) {
  using Type = Variant::Type;
  using Read =
      std::tuple<Type, bool, std::int32_t, std::uint32_t, std::int64_t, std::uint64_t, std::string>;
  Variant object;
  object.Set("key", Variant(1));
  const std::pair<Variant, Read> table[] = {
      {Variant(), {Type::kEmpty, false, 0, 0, 0, 0, ""}},
      {Variant(true), {Type::kBoolean, true, 1, 1, 1, 1, ""}},
      {Variant(-1), {Type::kSigned, true, -1, 0, -1, 0, ""}},
      {Variant(INT64_MIN), {Type::kSigned, true, INT32_MIN, 0, INT64_MIN, 0, ""}},
      {Variant(UINT64_MAX),
       {Type::kUnsigned, true, INT32_MAX, UINT32_MAX, INT64_MAX, UINT64_MAX, ""}},
      {Variant("12"), {Type::kString, false, 0, 0, 0, 0, "12"}},
      {object, {Type::kObject, false, 0, 0, 0, 0, ""}},
  };
  for (const auto& [value, read] : table) {
    EXPECT_EQ(Read(value.GetType(), value.AsBoolean(), value.AsInt32(), value.AsUint32(),
                   value.AsInt64(), value.AsUint64(), value.AsStr()),
              read);
  }
}

TEST(VariantTest, CopiesAreDeepAndWhatIsAbsentIsEmpty) {
  Variant outer;
  outer.Set("b", Variant(1));
  const Variant copy = outer;
  outer.Set("a", outer);
  EXPECT_EQ(outer.Keys(), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(copy.Keys(), std::vector<std::string>{"b"});
  EXPECT_EQ(copy.Get("none").Get("none").GetType(), Variant::Type::kEmpty);
  outer = outer.Get("a");
  EXPECT_EQ(outer.Get("b").AsInt32(), 1);
}

TEST(JsonTest, IsIndentedInOrderAndCopiesWhatItIsGiven) {
  JsonValue array(base::json::JsonType::kArray);
  JsonValue object;
  EXPECT_TRUE(array.AddaJsonObject(JsonValue(-3)));
  EXPECT_TRUE(object.SetJsonObject("z", JsonValue(true)));
  EXPECT_TRUE(object.SetJsonObject("a", array));
  EXPECT_TRUE(object.SetJsonObject("z", object));
  EXPECT_TRUE(object.SetJsonObject("a", JsonValue()));
  EXPECT_TRUE(object.SetJsonObject("a", array));
  EXPECT_FALSE(object.AddaJsonObject(array));
  EXPECT_FALSE(array.SetJsonObject("key", array));
  EXPECT_EQ(object.ToStyledString(nullptr),
            "{\n    \"z\": {\n        \"z\": true,\n        \"a\": [\n            -3\n        ]\n"
            "    },\n    \"a\": [\n        -3\n    ]\n}");
  EXPECT_EQ(std::move(array).ToStyledString(nullptr), "[\n    -3\n]");
  EXPECT_EQ(std::move(array).ToStyledString(nullptr), "null");  // NOLINT(bugprone-use-after-move)
}

TEST(JsonTest, IsAlwaysValidText) {
  const std::pair<std::string, std::string> table[] = {
      {{"a\"b\\c\n\x01\x7F\0", 9}, "\"a\\\"b\\\\c\\n\\u0001\x7F\\u0000\""},
      {"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", "\"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\""},
      {"\xFFok\xED\xA0\xC3", "\"\xEF\xBF\xBDok\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\""},
  };
  for (const auto& [text, written] : table) {
    JsonValue object;
    object.SetJsonObject(text, JsonValue(text));
    EXPECT_EQ(object.ToStyledString(nullptr), "{\n    " + written + ": " + written + "\n}");
  }
}

TEST(TextTest, Base64VectorsOfTheRfc) {
  const char* const table[] = {"", "Zg==", "Zm8=", "Zm9v", "Zm9vYg==", "Zm9vYmE=", "Zm9vYmFy"};
  std::size_t size = 0;
  for (const char* text : table) EXPECT_EQ(util::crypto::Encode64("foobar", size++), text);
  EXPECT_EQ(util::crypto::Encode64("\0\xFF\xFE\xFB", 4), "AP/++w==");
}

TEST(TextTest, FilePathHasOneSeparator) {
  const std::string separator(1, static_cast<char>(std::filesystem::path::preferred_separator));
  for (const std::string dir : {"C:\\dir\\", "/dir/", "dir", ""}) {
    const std::string joined = dir + (dir == "dir" ? separator : "") + "name";
    EXPECT_EQ(util::file::MakeFilePath(dir, "name"), joined);
  }
}

TEST(TextTest, UnicodeThereAndBackWithWhatIsIllFormedReplaced) {
  using namespace util::stringhelp;
  const std::pair<std::string, std::wstring> table[] = {
      {{"a\0b", 3}, {L"a\0b", 3}},
      {"\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF",
       L"\x80\x7FF\x800\xD7FF\xE000\xFFFF"},
      {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", L"\U00010000\U0010FFFF"},
      {"\x80z\xC3", L"\xFFFDz\xFFFD"},
      {"\xC0\xAF", L"\xFFFD\xFFFD"},
      {"\xE2\x82z\xF0\x9F\x98", L"\xFFFDz\xFFFD"},
      {"\xED\xA0\x80z\xE0\x9F\x80", L"\xFFFD\xFFFD\xFFFDz\xFFFD\xFFFD\xFFFD"},
      {"\xF4\x90\x80\x80", L"\xFFFD\xFFFD\xFFFD\xFFFD"},
  };
  for (const auto& [utf8, wide] : table) {
    EXPECT_EQ(StringToWString(utf8), wide);
    EXPECT_EQ(StringToWString(UnicodeToUtf8(wide)), wide);
  }
  for (const wchar_t unit : {L'\xD800', L'\xDBFF', L'\xDC00', L'\xDFFF'}) {
    EXPECT_EQ(UnicodeToUtf8({unit, L'z', unit}), "\xEF\xBF\xBDz\xEF\xBF\xBD");
  }
}
