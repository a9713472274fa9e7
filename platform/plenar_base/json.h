#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <plenar_base/plenar_base_export.h>

namespace base::json {

enum class JsonType : std::int32_t {
  kObject = 0,
  kArray = 1,
};

/// Reserved for layout settings; callers pass null.
struct JsonStyle;

/// A JSON value to be built member by member and written as text.
///
/// Members keep the order in which they were first set; keys that are written alike are one.
/// Setting and appending copy: the value that was passed in stays as it is. A value that was moved
/// from is written as null. Not safe for concurrent use of one object.
class PLENAR_BASE_EXPORT JsonValue {
 public:
  JsonValue();  ///< An empty object.
  explicit JsonValue(JsonType type);
  explicit JsonValue(const std::string& text);
  explicit JsonValue(bool value);
  explicit JsonValue(int value);
  explicit JsonValue(const char* text) = delete;  // would quietly become a boolean

  /// Sets a member of an object, replacing one of that key in its place. False, and nothing is
  /// changed, if this is not an object.
  bool SetJsonObject(const std::string& key, const JsonValue& value);

  /// Appends to an array. False, and nothing is changed, if this is not an array.
  bool AddaJsonObject(const JsonValue& value);

  /// The value as indented text, always valid UTF-8: quotes and control characters are escaped
  /// (RFC 8259, section 7), an invalid sequence becomes U+FFFD. `style` is null. A value that is
  /// moved from gives its text without a copy.
  [[nodiscard]] std::string ToStyledString(const JsonStyle* style) const&;
  [[nodiscard]] std::string ToStyledString(const JsonStyle* style) &&;

 private:
  [[nodiscard]] std::string_view Written() const;
  template <class Append>
  std::size_t AppendItem(Append append);
  void ReplaceByLast(std::vector<std::size_t>::iterator member);

  std::string text_;                  // as it is written; empty once it was moved from
  std::vector<std::size_t> members_;  // where in the text those of an object begin
};

}  // namespace base::json
