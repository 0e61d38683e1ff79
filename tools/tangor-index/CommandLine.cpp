#include "CommandLine.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace tangor::index {

const char* const kUsage =
    "usage: tangor-index scan --device ID [--country N] [--search-reading N] [--quiet] "
    "[--verbose] MOUNTPOINT...\n"
    "       tangor-index list --device ID [--json]\n"
    "       tangor-index status --device ID MOUNTPOINT\n"
    "       tangor-index files\n";

namespace {

struct CommandRule {
    const char* name;
    const char* options;  // the options it takes, each between spaces
    std::size_t minOperands;
    std::size_t maxOperands;
};

constexpr std::array<CommandRule, 5> kCommands = {{
    {"scan", " --device --country --search-reading --quiet --verbose ", 1, 64},
    {"list", " --device --json --country --search-reading ", 0, 0},
    {"status", " --device ", 1, 1},
    {"files", " ", 0, 0},
    {"help", " ", 0, 0},
}};

const CommandRule* findCommand(const std::string& name) {
    const auto rule = std::find_if(kCommands.begin(), kCommands.end(),
                                   [&name](const CommandRule& r) { return name == r.name; });
    return rule == kCommands.end() ? nullptr : &*rule;
}

bool parseCode(const std::string& text, int& value) {
    if (text.empty() || text.size() > 3 ||
        text.find_first_not_of("0123456789") != std::string::npos) {
        return false;
    }
    value = std::atoi(text.c_str());
    return value <= 255;
}

bool takesValue(const std::string& option) {
    return option == "--device" || option == "--country" || option == "--search-reading";
}

bool applyOption(const std::string& option, const std::string& value, CommandLine& line,
                 std::string& error) {
    int code = 0;
    if (option == "--device") {
        if (value.empty() || value.find('/') != std::string::npos) {
            error = "a device identifier must be a non-empty name without \"/\": \"" + value + "\"";
            return false;
        }
        line.device = value;
    } else if (option == "--country" || option == "--search-reading") {
        if (!parseCode(value, code)) {
            error = option + " takes a number from 0 to 255: \"" + value + "\"";
            return false;
        }
        (option == "--country" ? line.country : line.searchReading) = code;
    } else if (option == "--quiet") {
        line.quiet = true;
    } else if (option == "--verbose") {
        line.verbose = true;
    } else if (option == "--json") {
        line.json = true;
    }
    return true;
}

}  // namespace

bool parseCommandLine(const std::vector<std::string>& arguments, CommandLine& line,
                      std::string& error) {
    if (arguments.empty()) {
        error = "no command given";
        return false;
    }
    line.command = arguments[0] == "--help" || arguments[0] == "-h" ? "help" : arguments[0];
    const CommandRule* rule = findCommand(line.command);
    if (!rule) {
        error = "unknown command \"" + arguments[0] + "\"";
        return false;
    }
    bool operandsOnly = false;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        std::string option = arguments[i];
        if (operandsOnly || option.size() < 2 || option.compare(0, 2, "--") != 0) {
            line.operands.push_back(option);
            continue;
        }
        if (option == "--") {
            operandsOnly = true;
            continue;
        }
        std::string value;
        const std::size_t equals = option.find('=');
        const bool inlineValue = equals != std::string::npos;
        if (inlineValue) {
            value = option.substr(equals + 1);
            option.resize(equals);
        }
        if (std::string(rule->options).find(" " + option + " ") == std::string::npos) {
            error = line.command + " does not take " + option;
            return false;
        }
        if (takesValue(option) && !inlineValue) {
            if (++i == arguments.size()) {
                error = option + " needs a value";
                return false;
            }
            value = arguments[i];
        } else if (!takesValue(option) && inlineValue) {
            error = option + " takes no value";
            return false;
        }
        if (!applyOption(option, value, line, error)) {
            return false;
        }
    }
    if (std::string(rule->options).find(" --device ") != std::string::npos && line.device.empty()) {
        error = line.command + " needs --device ID";
        return false;
    }
    if (line.operands.size() < rule->minOperands || line.operands.size() > rule->maxOperands) {
        error = line.operands.size() < rule->minOperands
                    ? line.command + " needs a mount point"
                    : line.command + " takes " +
                          (rule->maxOperands == 0
                               ? std::string("no operands")
                               : "at most " + std::to_string(rule->maxOperands) + " mount points");
        return false;
    }
    return true;
}

}  // namespace tangor::index
