#include "CommandLine.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace tangor::index {

const char* const kUsage =
    "usage: tangor-index scan --device ID [--country N] [--search-reading N] [--jobs N] "
    "[--quiet] [--verbose] MOUNTPOINT...\n"
    "       tangor-index list --device ID [--json]\n"
    "       tangor-index status --device ID MOUNTPOINT\n"
    "       tangor-index files\n"
    "       tangor-index --help | --version\n";

const char* const kHelp =
    "\n"
    "Keeps a device's media database up to date with its partitions' audio files and playlists.\n"
    "\n"
    "commands:\n"
    "  scan     index the mount points (the first is the device's first partition)\n"
    "  list     print the indexed tracks\n"
    "  status   print a mount point's status\n"
    "  files    list the database files\n"
    "\n"
    "options:\n"
    "  --device ID          the device whose database is meant\n"
    "  --country N          market country code, 0 to 255 (5 Japan, 6 China, 9 Taiwan)\n"
    "  --search-reading N   search-reading setting, 0 to 255\n"
    "  --jobs N             threads reading tags, 1 to 64 (default: the cores online)\n"
    "  --quiet              no progress line\n"
    "  --verbose            the library's info records too\n"
    "  --json               list as JSON\n"
    "  --help               this text\n"
    "  --version            the version\n"
    "\n"
    "exit status: 0 done, 1 failed (a message says why), 2 usage error\n";

namespace {

constexpr unsigned kMaxJobs = 64;

struct CommandRule {
    const char* name;
    const char* options;  // the options it takes, each between spaces
    std::size_t minOperands;
    std::size_t maxOperands;
};

constexpr std::array<CommandRule, 6> kCommands = {{
    {"scan", " --device --country --search-reading --jobs --quiet --verbose ", 1, 64},
    {"list", " --device --json --country --search-reading ", 0, 0},
    {"status", " --device ", 1, 1},
    {"files", " ", 0, 0},
    {"help", " ", 0, 0},
    {"version", " ", 0, 0},
}};

bool parseNumber(const std::string& text, unsigned max, unsigned& value) {
    if (text.empty() || text.size() > 3 ||
        text.find_first_not_of("0123456789") != std::string::npos) {
        return false;
    }
    value = static_cast<unsigned>(std::atoi(text.c_str()));
    return value <= max;
}

using Apply = bool (*)(const std::string& value, CommandLine& line, std::string& error);

struct Option {
    const char* name;
    bool takesValue;
    Apply apply;
};

bool applyDevice(const std::string& value, CommandLine& line, std::string& error) {
    if (value.empty() || value.find('/') != std::string::npos) {
        error = "a device identifier must be a non-empty name without \"/\": \"" + value + "\"";
        return false;
    }
    line.device = value;
    return true;
}

bool applyCode(const char* option, const std::string& value, std::optional<int>& code,
               std::string& error) {
    unsigned number = 0;
    if (!parseNumber(value, 255, number)) {
        error = std::string(option) + " takes a number from 0 to 255: \"" + value + "\"";
        return false;
    }
    code = static_cast<int>(number);
    return true;
}

constexpr std::array<Option, 7> kOptions = {{
    {"--device", true, applyDevice},
    {"--country", true,
     [](const std::string& value, CommandLine& line, std::string& error) {
         return applyCode("--country", value, line.country, error);
     }},
    {"--search-reading", true,
     [](const std::string& value, CommandLine& line, std::string& error) {
         return applyCode("--search-reading", value, line.searchReading, error);
     }},
    {"--jobs", true,
     [](const std::string& value, CommandLine& line, std::string& error) {
         unsigned jobs = 0;
         if (!parseNumber(value, kMaxJobs, jobs) || jobs == 0) {
             error = "--jobs takes a number from 1 to 64: \"" + value + "\"";
             return false;
         }
         line.jobs = jobs;
         return true;
     }},
    {"--quiet", false,
     [](const std::string&, CommandLine& line, std::string&) { return line.quiet = true; }},
    {"--verbose", false,
     [](const std::string&, CommandLine& line, std::string&) { return line.verbose = true; }},
    {"--json", false,
     [](const std::string&, CommandLine& line, std::string&) { return line.json = true; }},
}};

template <typename Table>
auto findByName(const Table& table, const std::string& name) -> decltype(&table[0]) {
    const auto found = std::find_if(table.begin(), table.end(),
                                    [&name](const auto& entry) { return name == entry.name; });
    return found == table.end() ? nullptr : &*found;
}

std::string commandOf(const std::string& first) {
    if (first == "--help" || first == "-h") {
        return "help";
    }
    return first == "--version" ? "version" : first;
}

bool checkOperands(const CommandRule& rule, const CommandLine& line, std::string& error) {
    if (line.operands.size() < rule.minOperands) {
        error = line.command + " needs a mount point";
        return false;
    }
    if (line.operands.size() > rule.maxOperands) {
        error = line.command + " takes " +
                (rule.maxOperands == 0
                     ? std::string("no operands")
                     : "at most " + std::to_string(rule.maxOperands) + " mount points");
        return false;
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
    line.command = commandOf(arguments[0]);
    const CommandRule* rule = findByName(kCommands, line.command);
    if (!rule) {
        error = "unknown command \"" + arguments[0] + "\"";
        return false;
    }
    const std::string accepted = rule->options;
    bool operandsOnly = false;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        std::string name = arguments[i];
        if (operandsOnly || name.size() < 2 || name.compare(0, 2, "--") != 0) {
            line.operands.push_back(name);
            continue;
        }
        if (name == "--") {
            operandsOnly = true;
            continue;
        }
        std::string value;
        const std::size_t equals = name.find('=');
        const bool inlineValue = equals != std::string::npos;
        if (inlineValue) {
            value = name.substr(equals + 1);
            name.resize(equals);
        }
        const Option* option = findByName(kOptions, name);
        if (!option || accepted.find(" " + name + " ") == std::string::npos) {
            error = line.command + " does not take " + name;
            return false;
        }
        if (option->takesValue && !inlineValue) {
            if (++i == arguments.size()) {
                error = name + " needs a value";
                return false;
            }
            value = arguments[i];
        } else if (!option->takesValue && inlineValue) {
            error = name + " takes no value";
            return false;
        }
        if (!option->apply(value, line, error)) {
            return false;
        }
    }
    if (accepted.find(" --device ") != std::string::npos && line.device.empty()) {
        error = line.command + " needs --device ID";
        return false;
    }
    return checkOperands(*rule, line, error);
}

}  // namespace tangor::index
