#pragma once

#include <array>
#include <string_view>

namespace qvs_host {

/// What kind of thing happened in the demo.
enum class Kind { kCall, kResult, kEvent, kDevice, kRadio, kPc, kLog };

[[nodiscard]] constexpr std::string_view KindName(Kind kind) {
  constexpr std::array<std::string_view, 7> kNames = {"call",  "result", "event", "device",
                                                      "radio", "pc",     "log"};
  return kNames[static_cast<std::size_t>(kind)];
}

}  // namespace qvs_host
