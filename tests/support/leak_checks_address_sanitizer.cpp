#include <sanitizer/lsan_interface.h>

#include "tests/support/leak_checks.h"

namespace qvs_test {

LeaksAllowed::LeaksAllowed() {
  __lsan_disable();
}

LeaksAllowed::~LeaksAllowed() {
  __lsan_enable();
}

}  // namespace qvs_test
