#pragma once

// The commands of tangor-index. Each returns the program's exit status: 0 done, 1 failed (a clear
// one-line message has been printed on standard error).

#include "CommandLine.h"

namespace tangor::index {

int runScan(const CommandLine& commandLine);
int runList(const CommandLine& commandLine);
int runStatus(const CommandLine& commandLine);
int runFiles();

}  // namespace tangor::index
