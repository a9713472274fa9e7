#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

#include "radio/callable_slot.h"

namespace plenar_ble {

/// What the library's functions are told to do in place of their work, and who is told of their
/// calls. [any thread]
class CallScript {
 public:
  CallableSlot<std::string_view, const std::string&> observer;

  /// Unknown names throw `std::invalid_argument`.
  void SetResult(std::string_view function, std::int32_t result);
  void ThrowFrom(std::string_view function, int times);
  void Reset();

  /// Begins a call: tells the observer, throws `ScriptedFailure` if so told, and returns what the
  /// function is to return in place of its work if that is not 0.
  std::int32_t Begin(std::string_view function, const std::string& arguments = {});

 private:
  struct Step {
    std::int32_t result = 0;
    int throws = 0;
  };

  std::mutex mutex_;
  std::map<std::string_view, Step> steps_;  // Of the functions that were told something.
};

}  // namespace plenar_ble
