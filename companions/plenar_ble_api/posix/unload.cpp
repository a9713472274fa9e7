#include "radio/radio.h"

namespace plenar_ble {
namespace {

/// Runs when the library is unloaded, with none of its threads alive, or at the end of the process
/// before the statics of whatever was there when the library was loaded: the threads end here and
/// call into nothing that is destroyed later.
struct AtUnload {
  ~AtUnload() { ActiveRadio().Clear(); }
};

const AtUnload at_unload;

}  // namespace
}  // namespace plenar_ble
