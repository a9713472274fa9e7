#include <limits>

#include <gtest/gtest.h>
#include <plenar_base/json.h>
#include <plenar_base/variant.h>

using base::json::JsonType;
using base::json::JsonValue;
using base::variant::Variant;

TEST(VariantTest, ConvertsByTable) {
  constexpr auto kInt64Min = std::numeric_limits<std::int64_t>::min();
  constexpr auto kInt64Max = std::numeric_limits<std::int64_t>::max();
  constexpr auto kInt32Min = std::numeric_limits<std::int32_t>::min();
  constexpr auto kInt32Max = std::numeric_limits<std::int32_t>::max();
  constexpr auto kUint32Max = std::numeric_limits<std::uint32_t>::max();
  constexpr auto kUint64Max = std::numeric_limits<std::uint64_t>::max();
  Variant object;
  object.Set("key", Variant(1));
  const struct {
    Variant value;
    Variant::Type type;
    bool boolean;
    std::int32_t int32;
    std::uint32_t uint32;
    std::int64_t int64;
    std::uint64_t uint64;
    const char* text;
  } table[] = {
      {Variant(), Variant::Type::kEmpty, false, 0, 0, 0, 0, ""},
      {Variant(true), Variant::Type::kBoolean, true, 1, 1, 1, 1, ""},
      {Variant(false), Variant::Type::kBoolean, false, 0, 0, 0, 0, ""},
      {Variant(42), Variant::Type::kSigned, true, 42, 42, 42, 42, ""},
      {Variant(-1), Variant::Type::kSigned, true, -1, 0, -1, 0, ""},
      {Variant(7u), Variant::Type::kUnsigned, true, 7, 7, 7, 7, ""},
      {Variant(kUint32Max), Variant::Type::kUnsigned, true, kInt32Max, kUint32Max, kUint32Max,
       kUint32Max, ""},
      {Variant(kInt64Min), Variant::Type::kSigned, true, kInt32Min, 0, kInt64Min, 0, ""},
      {Variant(kUint64Max), Variant::Type::kUnsigned, true, kInt32Max, kUint32Max, kInt64Max,
       kUint64Max, ""},
      {Variant("12"), Variant::Type::kString, false, 0, 0, 0, 0, "12"},
      {Variant(static_cast<const char*>(nullptr)), Variant::Type::kString, false, 0, 0, 0, 0, ""},
      {object, Variant::Type::kObject, false, 0, 0, 0, 0, ""},
  };
  for (const auto& row : table) {
    SCOPED_TRACE(&row - table);
    EXPECT_EQ(row.value.GetType(), row.type);
    EXPECT_EQ(row.value.AsBoolean(), row.boolean);
    EXPECT_EQ(row.value.AsInt32(), row.int32);
    EXPECT_EQ(row.value.AsUint32(), row.uint32);
    EXPECT_EQ(row.value.AsInt64(), row.int64);
    EXPECT_EQ(row.value.AsUint64(), row.uint64);
    EXPECT_EQ(row.value.AsStr(), row.text);
  }
}

TEST(VariantTest, AbsentMembersReadAsEmptyAndAreNotAdded) {
  const auto value = base::variant::MakeVariant();
  EXPECT_EQ(value->Get("none").GetType(), Variant::Type::kEmpty);
  EXPECT_EQ(value->GetType(), Variant::Type::kEmpty);
  value->Set("b", Variant("text"));
  value->Set("a", Variant(1));
  value->Set("b", Variant(2));
  EXPECT_FALSE(value->Has("none"));
  EXPECT_EQ(&value->Get("none"), &Variant("text").Get("any"));
  EXPECT_EQ(value->Keys(), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(value->Get("b").AsInt32(), 2);
}

TEST(VariantTest, CopiesAreDeepAndMovesLeaveEmpty) {
  Variant inner;
  inner.Set("x", Variant(1));
  Variant outer;
  outer.Set("inner", inner);
  Variant copy = outer;
  outer.Set("self", outer);
  EXPECT_EQ(outer.Get("self").Get("inner").Get("x").AsInt32(), 1);
  EXPECT_FALSE(copy.Has("self"));

  Variant moved = std::move(copy);
  EXPECT_EQ(copy.GetType(), Variant::Type::kEmpty);
  EXPECT_EQ(copy.Get("inner").AsInt32(), 0);
  moved = moved.Get("inner");
  EXPECT_EQ(moved.Get("x").AsInt32(), 1);
  moved = *&moved;
  EXPECT_EQ(moved.Get("x").AsInt32(), 1);
}

TEST(JsonTest, IsIndentedAndKeepsTheOrderOfMembers) {
  JsonValue array(JsonType::kArray);
  EXPECT_TRUE(array.AddaJsonObject(JsonValue(-3)));
  JsonValue object;
  EXPECT_TRUE(object.SetJsonObject("z", JsonValue(std::string("text"))));
  EXPECT_TRUE(object.SetJsonObject("list", array));
  EXPECT_TRUE(object.SetJsonObject("a", JsonValue(true)));
  EXPECT_TRUE(object.SetJsonObject("z", JsonValue(1)));
  EXPECT_TRUE(array.AddaJsonObject(object));
  EXPECT_EQ(object.ToStyledString(nullptr),
            "{\n    \"z\": 1,\n    \"list\": [\n        -3\n    ],\n    \"a\": true\n}");
  EXPECT_EQ(JsonValue().ToStyledString(nullptr), "{}");
  EXPECT_EQ(JsonValue(JsonType::kArray).ToStyledString(nullptr), "[]");
}

TEST(JsonTest, IsAlwaysValidText) {
  const struct {
    std::string text, written;
  } table[] = {
      {"a\"b\\c\n\x01\x7F", "\"a\\\"b\\\\c\\n\\u0001\x7F\""},
      {std::string("\0x", 2), "\"\\u0000x\""},
      {"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", "\"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\""},
      {"\xFFok\xC3", "\"\xEF\xBF\xBDok\xEF\xBF\xBD\""},
      {"\xED\xA0\x80", "\"\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\""},
  };
  for (const auto& row : table) {
    EXPECT_EQ(JsonValue(row.text).ToStyledString(nullptr), row.written);
    JsonValue object;
    object.SetJsonObject(row.text, JsonValue(0));
    EXPECT_EQ(object.ToStyledString(nullptr), "{\n    " + row.written + ": 0\n}");
  }
}

TEST(JsonTest, RefusesWhatDoesNotFitAndStaysAsItIs) {
  JsonValue text(std::string("text"));
  EXPECT_FALSE(text.SetJsonObject("key", JsonValue(1)));
  EXPECT_FALSE(text.AddaJsonObject(JsonValue(1)));
  EXPECT_FALSE(JsonValue().AddaJsonObject(JsonValue(1)));
  const JsonValue moved = std::move(text);
  EXPECT_EQ(text.ToStyledString(nullptr), "null");
  JsonValue array(JsonType::kArray);
  array.AddaJsonObject(array);
  array.AddaJsonObject(text);
  EXPECT_EQ(array.ToStyledString(nullptr), "[\n    [],\n    null\n]");
}
