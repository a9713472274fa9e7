#include "host/output.h"

#include <iostream>

#include "host/host_error.h"

namespace qvs_host {

void PrintLine(std::string_view line) {
  std::cout << line << std::endl;
  if (!std::cout) throw HostError("cannot write to the standard output");
}

}  // namespace qvs_host
