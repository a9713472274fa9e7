#include "framework/process_end.h"

namespace quorvel_service {

// At exit other threads go on while static destructors run, which is the same as at an unload.
bool IsProcessEnding() noexcept {
  return false;
}

}  // namespace quorvel_service
