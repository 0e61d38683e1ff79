#pragma once

// The command line of tangor-index: one command, its options and its operands.

#include <optional>
#include <string>
#include <vector>

namespace tangor::index {

struct CommandLine {
    std::string command;  // "scan", "list", "status", "files", "help" or "version"
    std::string device;
    std::optional<int> country;
    std::optional<int> searchReading;
    std::optional<unsigned> jobs;
    bool quiet = false;
    bool verbose = false;
    bool json = false;
    std::vector<std::string> operands;
};

// Parses `arguments` (the program name left out). False with `error` set for a usage error.
bool parseCommandLine(const std::vector<std::string>& arguments, CommandLine& commandLine,
                      std::string& error);

extern const char* const kUsage;
// What --help prints after the usage: the commands, the options and the exit status.
extern const char* const kHelp;

}  // namespace tangor::index
