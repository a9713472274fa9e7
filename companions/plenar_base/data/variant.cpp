#include <plenar_base/variant.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <type_traits>
#include <utility>

#include "immortal.h"

namespace base::variant {
namespace {

constexpr std::size_t kUsualMembers = 4;  // of a call's arguments

template <class Target, class Source>
Target Saturate(Source value) noexcept {
  using Limits = std::numeric_limits<Target>;
  if (std::in_range<Target>(value)) return static_cast<Target>(value);
  return std::cmp_less(value, 0) ? Limits::min() : Limits::max();
}

/// The held boolean or integer as another integer type; 0 for anything else.
template <class Target, class Value>
Target ToInteger(const Value& value) noexcept {
  return std::visit(
      [](const auto& held) -> Target {
        using Held = std::decay_t<decltype(held)>;
        if constexpr (std::is_same_v<Held, bool>) {
          return held ? 1 : 0;
        } else if constexpr (std::is_integral_v<Held>) {
          return Saturate<Target>(held);
        } else {
          return 0;
        }
      },
      value);
}

/// The value of that key among the members; null if there is none, or no members at all.
template <class Members>
auto* Find(Members* members, std::string_view key) noexcept {
  const auto is_it = [key](const auto& member) { return member.key == key; };
  if (members != nullptr) {
    const auto found = std::find_if(members->begin(), members->end(), is_it);
    if (found != members->end()) return &found->value;
  }
  return decltype(&members->front().value){};
}

}  // namespace

Variant::Variant() noexcept = default;
Variant::Variant(bool value) noexcept : value_(value) {}
Variant::Variant(std::string value) noexcept : value_(std::move(value)) {}
Variant::Variant(const char* value) : Variant(std::string(value != nullptr ? value : "")) {}

Variant::Variant(const Variant& other) = default;
Variant::Variant(Variant&& other) noexcept
    : value_(std::exchange(other.value_, std::monostate())) {}

Variant& Variant::operator=(const Variant& other) {
  return *this = Variant(other);
}

Variant& Variant::operator=(Variant&& other) noexcept {
  // By way of a temporary, since the other one may be a member of this one.
  auto value = std::exchange(other.value_, std::monostate());
  value_.swap(value);
  return *this;
}

Variant::~Variant() = default;

void Variant::Set(std::string_view key, Variant value) {
  auto* members = std::get_if<Members>(&value_);
  if (Variant* const found = Find(members, key)) {
    *found = std::move(value);
    return;
  }
  if (members == nullptr) {
    members = &value_.emplace<Members>();
    members->reserve(kUsualMembers);
  }
  members->emplace_back(key, std::move(value));
}

const Variant& Variant::Get(std::string_view key) const noexcept {
  const Variant* const found = Find(std::get_if<Members>(&value_), key);
  return found != nullptr ? *found : Immortal<const Variant>();
}

Variant::Type Variant::GetType() const noexcept {
  return static_cast<Type>(value_.index());
}

std::vector<std::string> Variant::Keys() const {
  std::vector<std::string> keys;
  if (const auto* const members = std::get_if<Members>(&value_)) {
    for (const Member& member : *members) keys.push_back(member.key);
  }
  std::sort(keys.begin(), keys.end());
  return keys;
}

bool Variant::AsBoolean() const noexcept {
  return AsUint64() != 0 || AsInt64() != 0;
}
std::int32_t Variant::AsInt32() const noexcept {
  return ToInteger<std::int32_t>(value_);
}
std::uint32_t Variant::AsUint32() const noexcept {
  return ToInteger<std::uint32_t>(value_);
}
std::int64_t Variant::AsInt64() const noexcept {
  return ToInteger<std::int64_t>(value_);
}
std::uint64_t Variant::AsUint64() const noexcept {
  return ToInteger<std::uint64_t>(value_);
}

const std::string& Variant::AsStr() const noexcept {
  const auto* const text = std::get_if<std::string>(&value_);
  return text != nullptr ? *text : Immortal<const std::string>();
}

}  // namespace base::variant
