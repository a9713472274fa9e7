#pragma once

#include <cstdio>
#include <string>

/// Starts a command that reads what is written to the result.
std::FILE* StartProcess(const std::string& command);
/// Ends its input and waits for its end; 0 if it ended with that.
int FinishProcess(std::FILE* input);

int ProcessId();
