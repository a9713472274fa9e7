#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <plenar_base/plenar_base_export.h>

namespace base::variant {

/// A dynamically typed value with named members; carries method arguments, results and events.
///
/// Reading never throws and never fails: an absent member reads as a shared empty value, and a
/// conversion that the held type does not have gives false, 0 or "". Integers and booleans
/// convert into each other; an integer outside the target's range saturates to the nearest bound.
/// An object is searched from end to end: it is made for the few members of a call. A value that
/// was moved from is empty. Not safe for concurrent change of one object.
class PLENAR_BASE_EXPORT Variant {
 public:
  enum class Type { kEmpty, kBoolean, kSigned, kUnsigned, kString, kObject };

  Variant() noexcept;
  explicit Variant(bool value) noexcept;
  template <std::signed_integral Integer>
  explicit Variant(Integer value) noexcept;
  template <std::unsigned_integral Integer>
  explicit Variant(Integer value) noexcept;
  explicit Variant(std::string value) noexcept;
  explicit Variant(const char* value);  ///< Null counts as an empty text.
  Variant(const Variant& other);
  Variant(Variant&& other) noexcept;
  Variant& operator=(const Variant& other);
  Variant& operator=(Variant&& other) noexcept;
  ~Variant();

  /// Sets a member, replacing one of that key. A value that is not an object becomes one first.
  void Set(std::string_view key, Variant value);

  /// The member of that key; a shared empty value if there is none. The reference holds until
  /// this object is changed.
  [[nodiscard]] const Variant& Get(std::string_view key) const noexcept;

  [[nodiscard]] Type GetType() const noexcept;
  [[nodiscard]] std::vector<std::string> Keys() const;  ///< In byte order.

  [[nodiscard]] bool AsBoolean() const noexcept;
  [[nodiscard]] std::int32_t AsInt32() const noexcept;
  [[nodiscard]] std::uint32_t AsUint32() const noexcept;
  [[nodiscard]] std::int64_t AsInt64() const noexcept;
  [[nodiscard]] std::uint64_t AsUint64() const noexcept;
  [[nodiscard]] const std::string& AsStr() const noexcept;

 private:
  struct Member;
  using Members = std::vector<Member>;  // in the order in which they were first set

  std::variant<std::monostate, bool, std::int64_t, std::uint64_t, std::string, Members> value_;
};

struct Variant::Member {
  Member(std::string_view a_key, Variant&& a_value) : key(a_key), value(std::move(a_value)) {}

  std::string key;
  Variant value;
};

template <std::signed_integral Integer>
Variant::Variant(Integer value) noexcept : value_(std::int64_t{value}) {}

template <std::unsigned_integral Integer>
Variant::Variant(Integer value) noexcept : value_(std::uint64_t{value}) {}

}  // namespace base::variant
