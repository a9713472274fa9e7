#include "air/process_identity.h"

#include <fstream>
#include <sstream>
#include <string>

#include <unistd.h>

namespace plenar_ble {
namespace {

/// In clock ticks since the machine's start; 0 when the system does not tell.
std::uint64_t StartTime() {
  std::ifstream file("/proc/self/stat");
  std::string text;
  std::getline(file, text);
  // The program's name, in parentheses, may hold anything; the time is the 20th field after it.
  std::istringstream fields(text.substr(text.rfind(')') + 1));
  std::string skipped;
  for (int i = 0; i < 19; ++i) fields >> skipped;
  std::uint64_t time = 0;
  fields >> time;
  return time;
}

}  // namespace

std::uint64_t ProcessIdentity() {
  return StartTime() << 32 ^ static_cast<std::uint64_t>(getpid());
}

}  // namespace plenar_ble
