#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <simulated_pc/simulated_pc.h>
#include <windows.h>

#include <string>
#include <vector>

#include "tests/windows_calls/last_error.h"

inline simulated_pc::SimulatedPc& Pc() {
  return simulated_pc::SimulatedPc::Get();
}

constexpr GUID kRadioClass = {
    0x0850302A, 0xB344, 0x4FDA, {0x9B, 0xE9, 0x90, 0x57, 0x6B, 0x8D, 0x46, 0xF0}};

/// A PC in its initial state, which is to be left without open handles.
struct PcTest : testing::Test {
  PcTest() { Pc().Reset(); }
  ~PcTest() override { EXPECT_EQ(Pc().OpenHandleCount(), 0u); }
};
