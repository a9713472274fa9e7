#include "host/play/pc.h"

namespace qvs_host {

const Pc* OurPc() {
  return nullptr;
}

}  // namespace qvs_host
