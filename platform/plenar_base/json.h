#pragma once

#include <cstdint>
#include <memory>
#include <string>

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
/// Members keep the order in which they were first set. Setting and appending copy: the value
/// that was passed in stays as it is. Not safe for concurrent use of one object.
class PLENAR_BASE_EXPORT JsonValue {
 public:
  JsonValue();  ///< An empty object.
  explicit JsonValue(JsonType type);
  explicit JsonValue(const std::string& text);
  explicit JsonValue(bool value);
  explicit JsonValue(int value);
  explicit JsonValue(const char* text) = delete;  // would quietly become a boolean
  JsonValue(const JsonValue& other);
  JsonValue(JsonValue&& other) noexcept;
  JsonValue& operator=(const JsonValue& other);
  JsonValue& operator=(JsonValue&& other) noexcept;
  ~JsonValue();

  /// Sets a member of an object, replacing one of that key in its place. False, and nothing is
  /// changed, if this is not an object.
  bool SetJsonObject(const std::string& key, const JsonValue& value);

  /// Appends to an array. False, and nothing is changed, if this is not an array.
  bool AddaJsonObject(const JsonValue& value);

  /// The value as indented text, always valid UTF-8: quotes and control characters are escaped
  /// (RFC 8259, section 7), an invalid sequence becomes U+FFFD. `style` is null.
  [[nodiscard]] std::string ToStyledString(const JsonStyle* style) const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace base::json
