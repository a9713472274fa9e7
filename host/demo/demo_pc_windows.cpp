#include "host/demo/demo_pc.h"

namespace qvs_host {

// A real machine's settings are its user's.
std::unique_ptr<DemoPc> MakeDemoPc() {
  return nullptr;
}

}  // namespace qvs_host
