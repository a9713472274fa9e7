#include <plenar_base/json.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "util/utf8.h"

namespace base::json {
namespace {

constexpr std::string_view kSeparator = ",\n    ";
constexpr std::size_t kUsualMembers = 8;
constexpr std::size_t kUsualSize = 512;

/// Whether a byte stands for itself inside quotes, whatever follows.
constexpr auto kIsPlain = [] {
  std::array<bool, 256> plain{};
  for (std::size_t byte = 0x20; byte < 0x80; ++byte) plain[byte] = byte != '"' && byte != '\\';
  return plain;
}();

/// Takes the first character off `text`, which is not a plain one.
void AppendSpecial(std::string& out, std::string_view& text) {
  constexpr std::string_view kNamed = "\"\\\b\f\n\r\t";
  constexpr std::string_view kNames = "\"\\bfnrt";
  constexpr std::string_view kHexDigits = "0123456789abcdef";
  const std::string_view from = text;
  const char32_t c = util::stringhelp::TakeUtf8(text);
  if (c == util::stringhelp::kReplacement) {
    out += "\xEF\xBF\xBD";
  } else if (c >= 0x80) {
    out += from.substr(0, from.size() - text.size());
  } else if (const auto named = kNamed.find(from[0]); named != kNamed.npos) {
    (out += '\\') += kNames[named];
  } else {
    ((out += "\\u00") += kHexDigits[c >> 4]) += kHexDigits[c & 0xF];
  }
}

void AppendQuoted(std::string& out, std::string_view text) {
  out += '"';
  while (true) {
    const auto special = std::find_if_not(
        text.begin(), text.end(), [](char c) { return kIsPlain[static_cast<unsigned char>(c)]; });
    out.append(text.begin(), special);
    text.remove_prefix(static_cast<std::size_t>(special - text.begin()));
    if (text.empty()) break;
    AppendSpecial(out, text);
  }
  out += '"';
}

/// Appends lines one step further in. Every line end is one of the layout: those in texts are
/// escaped.
void AppendIndented(std::string& out, std::string_view lines) {
  constexpr std::string_view kLineStart = kSeparator.substr(1);
  for (auto end = lines.find('\n'); end != lines.npos; end = lines.find('\n')) {
    (out += lines.substr(0, end)) += kLineStart;
    lines.remove_prefix(end + 1);
  }
  out += lines;
}

}  // namespace

JsonValue::JsonValue() : JsonValue(JsonType::kObject) {}
JsonValue::JsonValue(JsonType type) : text_(type == JsonType::kArray ? "[]" : "{}") {}
JsonValue::JsonValue(const std::string& text) {
  text_.reserve(text.size() + 2);
  AppendQuoted(text_, text);
}
JsonValue::JsonValue(bool value) : text_(value ? "true" : "false") {}
JsonValue::JsonValue(int value) : text_(std::to_string(value)) {}

bool JsonValue::SetJsonObject(const std::string& key, const JsonValue& value) {
  if (!text_.starts_with('{')) return false;
  if (&value == this) return SetJsonObject(key, JsonValue(value));
  if (members_.size() == members_.capacity()) {
    members_.reserve(std::max(kUsualMembers, 2 * members_.size()));
    text_.reserve(kUsualSize);
  }
  std::size_t name_size = 0;
  const std::size_t at = AppendItem([&] {
    const std::size_t before = text_.size();
    AppendQuoted(text_, key);
    text_ += ": ";
    name_size = text_.size() - before;
    AppendIndented(text_, value.Written());
  });
  const auto name = std::string_view(text_).substr(at, name_size);
  const auto found = std::find_if(members_.begin(), members_.end(), [&](std::size_t member) {
    return std::mismatch(name.begin(), name.end(), text_.data() + member).first == name.end();
  });
  const bool is_new = found == members_.end();
  members_.push_back(at);
  if (!is_new) ReplaceByLast(found);
  return true;
}

bool JsonValue::AddaJsonObject(const JsonValue& value) {
  if (!text_.starts_with('[')) return false;
  if (&value == this) return AddaJsonObject(JsonValue(value));
  AppendItem([&] { AppendIndented(text_, value.Written()); });
  return true;
}

std::string JsonValue::ToStyledString(const JsonStyle*) const& {
  return std::string(Written());
}

std::string JsonValue::ToStyledString(const JsonStyle*) && {
  return text_.empty() ? "null" : std::exchange(text_, {});
}

std::string_view JsonValue::Written() const {
  return text_.empty() ? "null" : std::string_view(text_);
}

/// Writes an item behind the closing bracket first, so that nothing changes if that throws.
/// Returns where the item begins.
template <class Append>
std::size_t JsonValue::AppendItem(Append append) {
  const std::size_t size = text_.size();
  const bool is_first = size == 2;
  const std::size_t closing_size = is_first ? 1 : 2;  // a line end and the bracket
  const std::string_view separator = kSeparator.substr(is_first ? 1 : 0);
  const char bracket = text_.back();
  try {
    text_ += separator;
    append();
    (text_ += '\n') += bracket;
  } catch (...) {
    text_.resize(size);
    throw;
  }
  text_.erase(size - closing_size, closing_size);
  return size - closing_size + separator.size();
}

/// Moves the last member into the place of this one.
void JsonValue::ReplaceByLast(std::vector<std::size_t>::iterator member) {
  const auto text_at = [this](std::size_t at) {
    return text_.begin() + static_cast<std::ptrdiff_t>(at);
  };
  const std::size_t last = members_.back();
  const std::size_t old_size = member[1] - kSeparator.size() - *member;
  const std::size_t new_size = text_.size() - 2 - last;
  std::rotate(text_at(*member), text_at(last), text_.end() - 2);
  text_.erase(*member + new_size, old_size);
  text_.erase(text_.size() - 2 - kSeparator.size(), kSeparator.size());
  members_.pop_back();
  while (++member != members_.end()) *member += new_size - old_size;
}

}  // namespace base::json
