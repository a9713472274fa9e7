#pragma once

#include <cstdint>
#include <string>

namespace qvs_host {

/// A result code of the service's methods in words.
[[nodiscard]] std::string ResultText(std::int32_t code);

/// A state, which shares the result codes' numbers, in words.
[[nodiscard]] std::string StateText(std::int32_t state);

}  // namespace qvs_host
