#include "tests/support/leak_checks.h"

namespace qvs_test {

LeaksAllowed::LeaksAllowed() = default;
LeaksAllowed::~LeaksAllowed() = default;

}  // namespace qvs_test
