#include <plenar_base/json.h>

#include <utility>

#include <nlohmann/json.hpp>

namespace base::json {

class JsonValue::Impl {
 public:
  nlohmann::ordered_json json;
};

namespace {

nlohmann::ordered_json EmptyOf(JsonType type) {
  return type == JsonType::kArray ? nlohmann::ordered_json::array()
                                  : nlohmann::ordered_json::object();
}

}  // namespace

// A value that was moved from has no implementation and reads as null.

JsonValue::JsonValue() : JsonValue(JsonType::kObject) {}
JsonValue::JsonValue(JsonType type) : impl_(new Impl{EmptyOf(type)}) {}
JsonValue::JsonValue(const std::string& text) : impl_(new Impl{text}) {}
JsonValue::JsonValue(bool value) : impl_(new Impl{value}) {}
JsonValue::JsonValue(int value) : impl_(new Impl{value}) {}
JsonValue::JsonValue(const JsonValue& other)
    : impl_(other.impl_ ? std::make_unique<Impl>(*other.impl_) : nullptr) {}
JsonValue::JsonValue(JsonValue&& other) noexcept = default;
JsonValue& JsonValue::operator=(const JsonValue& other) {
  return *this = JsonValue(other);
}
JsonValue& JsonValue::operator=(JsonValue&& other) noexcept = default;
JsonValue::~JsonValue() = default;

bool JsonValue::SetJsonObject(const std::string& key, const JsonValue& value) {
  if (!impl_ || !impl_->json.is_object()) return false;
  JsonValue copy(value);  // made first: a value may be set into itself
  impl_->json[key] = copy.impl_ ? std::move(copy.impl_->json) : nullptr;
  return true;
}

bool JsonValue::AddaJsonObject(const JsonValue& value) {
  if (!impl_ || !impl_->json.is_array()) return false;
  JsonValue copy(value);
  impl_->json.push_back(copy.impl_ ? std::move(copy.impl_->json) : nullptr);
  return true;
}

std::string JsonValue::ToStyledString(const JsonStyle*) const {
  if (!impl_) return "null";
  constexpr int kIndent = 4;
  return impl_->json.dump(kIndent, ' ', /*ensure_ascii=*/false,
                          nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace base::json
