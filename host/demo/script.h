#pragma once

#include <vector>

#include "host/demo/expectation_table.h"
#include "host/demo/stage.h"

namespace qvs_host {

/// One step of the demo.
struct Step {
  const char* title;
  void (*act)(Stage& stage);
  std::vector<Expectation> expected;
  /// What is expected as well where the PC's settings are the demo's.
  std::vector<Expectation> expected_of_pc = {};
  bool changes_pc = false;
};

/// The steps, in order.
[[nodiscard]] const std::vector<Step>& Script();

}  // namespace qvs_host
