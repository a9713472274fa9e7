#pragma once

/// A double of the system's finder of Bluetooth radios, under the system's file name: a machine
/// without a radio can have one found or not. It stands beside the test programs only, where the
/// system's loader looks first. Its own exports, by name:
namespace qvs_test::radio_finder {

inline constexpr char kFile[] = "bthprops.cpl";

/// Whether a radio is found from now on; initially so.
using SetRadioOnFunction = void(bool on);
inline constexpr char kSetRadioOn[] = "SetRadioOn";

/// Whether a search or a radio's handle was given out that has not been closed.
using IsAnythingOpenFunction = bool();
inline constexpr char kIsAnythingOpen[] = "IsAnythingOpen";

}  // namespace qvs_test::radio_finder
