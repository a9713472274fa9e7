#include "tests/plenar_ble_api/process.h"

#include <cstdio>

#include <process.h>

std::FILE* StartProcess(const std::string& command) {
  return _popen(command.c_str(), "w");
}

int FinishProcess(std::FILE* input) {
  return _pclose(input);
}

int ProcessId() {
  return _getpid();
}
