#pragma once

namespace qvs_test {

/// Allocations made while one exists may stay for the life of the process. Loading the module makes
/// one on purpose: its service factory is never destroyed, and nothing refers to it any more
/// after the module was unloaded.
class LeaksAllowed {
 public:
  LeaksAllowed();
  ~LeaksAllowed();
  LeaksAllowed(const LeaksAllowed&) = delete;
  LeaksAllowed& operator=(const LeaksAllowed&) = delete;
};

}  // namespace qvs_test
