#pragma once

#include <stdexcept>

namespace qvs_host {

/// Something that keeps the program from doing what it was asked to do, told in words.
class HostError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// What the process ends with.
enum ExitStatus : int { kExitOk = 0, kExitFailed = 1, kExitBadArguments = 2 };

}  // namespace qvs_host
