#include "tests/plenar_ble_api/process.h"

#include <unistd.h>

std::FILE* StartProcess(const std::string& command) {
  return popen(command.c_str(), "w");
}

int FinishProcess(std::FILE* input) {
  return pclose(input);
}

int ProcessId() {
  return getpid();
}
