#include "host/output.h"

#include <cerrno>
#include <cstdio>
#include <string>

namespace qvs_host {

void Write(std::string_view text) {
  errno = 0;
  const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  if (written && std::fflush(stdout) == 0) return;
  if (errno == EPIPE) throw OutputClosed();
  throw HostError("cannot write to the standard output");
}

void PrintLine(std::string_view line) {
  Write(std::string(line) + '\n');
}

}  // namespace qvs_host
