// tangor-index: the reference indexer. It keeps one device's media database up to date with what
// the device's mounted partitions hold, and shows what the database holds.

#include <cstdio>
#include <string>
#include <vector>

#include "CommandLine.h"
#include "Commands.h"

#ifndef TANGOR_VERSION
#define TANGOR_VERSION "unknown"
#endif

int main(int argc, char** argv) {
    using namespace tangor::index;
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    CommandLine commandLine;
    std::string error;
    if (!parseCommandLine(arguments, commandLine, error)) {
        std::fprintf(stderr, "tangor-index: %s\n%s", error.c_str(), kUsage);
        return 2;
    }
    if (commandLine.command == "scan") {
        return runScan(commandLine);
    }
    if (commandLine.command == "list") {
        return runList(commandLine);
    }
    if (commandLine.command == "status") {
        return runStatus(commandLine);
    }
    if (commandLine.command == "files") {
        return runFiles();
    }
    if (commandLine.command == "version") {
        std::printf("tangor-index %s\n", TANGOR_VERSION);
        return 0;
    }
    std::printf("%s%s", kUsage, kHelp);
    return 0;
}
