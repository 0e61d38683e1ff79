// tangor-readings-report: whole-text accuracy of the phonetic readings on the evaluation lists
// (bench/readings/data), per category, for a pair of dictionaries and optionally a baseline pair.
//
// Usage: tangor-readings-report --cn NJCON NJTAN --tw NJCON NJTAN [--baseline-cn NJCON NJTAN]
//            [--baseline-tw NJCON NJTAN] [--data DIR] [--failures N]
// Each pair is copied to the fixed paths init_lib reads (below the bench's TANGOR_SYSROOT), then
// every row's text is read and compared whole with its expected reading. Exit status 0 with the
// table printed; 2 on wrong arguments or unreadable files.
#include <tangor/phonetic/phonetic.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMaxRows = 100000;
constexpr int kMainland = 6;
constexpr int kTaiwan = 9;

struct Pair {
    std::string njcon;
    std::string njtan;
};

struct Options {
    std::optional<Pair> cn, tw, baselineCn, baselineTw;
    std::string data = BENCH_READINGS_DATA;
    std::size_t failures = 0;
};

struct Row {
    std::string text;
    std::string expected;
};

struct Category {
    const char* name;
    const char* file;
    int market;
};

const Category kCategories[] = {
    {"Common words", "cn-common.tsv", kMainland},
    {"Polyphones in context", "cn-polyphones.tsv", kMainland},
    {"Title-like phrases", "cn-titles.tsv", kMainland},
    {"Names with a surname reading", "cn-names.tsv", kMainland},
    {"Words starting like those names", "cn-name-controls.tsv", kMainland},
    {"Taiwan words", "tw-words.tsv", kTaiwan},
};

struct Failure {
    const Row* row;
    std::string got;
};

struct Score {
    std::size_t exact = 0;
    std::size_t toneless = 0;
    std::vector<Failure> failures;
};

// Removes the zhuyin tone marks ˊ ˇ ˋ ˙ (U+02CA, U+02C7, U+02CB, U+02D9).
std::string withoutTones(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool mark = i + 1 < text.size() && static_cast<unsigned char>(text[i]) == 0xCB &&
                          (text[i + 1] == '\x8A' || text[i + 1] == '\x87' ||
                           text[i + 1] == '\x8B' || text[i + 1] == '\x99');
        if (mark) {
            ++i;
        } else {
            result += text[i];
        }
    }
    return result;
}

bool readRows(const std::string& path, std::vector<Row>& rows) {
    std::ifstream in(path);
    if (!in) {
        std::fprintf(stderr, "tangor-readings-report: cannot read %s\n", path.c_str());
        return false;
    }
    std::string line;
    while (rows.size() < kMaxRows && std::getline(in, line)) {
        const std::size_t tab = line.find('\t');
        if (line.empty() || tab == std::string::npos) {
            continue;
        }
        rows.push_back({line.substr(0, tab), line.substr(tab + 1)});
    }
    return true;
}

struct Freer {
    void operator()(char* text) const noexcept { std::free(text); }
};

// The reading of `text` as transf_to_pinyin gives it; "" for none.
std::string readingOf(const std::string& text) {
    std::vector<char> copy(text.begin(), text.end());
    copy.push_back('\0');
    char* result = transf_to_pinyin(copy.data());
    if (result == nullptr || *result == '\0') {
        // Null or the library's empty constant, which is not to be released.
        return "";
    }
    std::unique_ptr<char, Freer> owned(result);
    return owned.get();
}

Score scoreRows(const std::vector<Row>& rows, std::size_t keepFailures) {
    Score score;
    for (const Row& row : rows) {
        std::string got = readingOf(row.text);
        score.exact += got == row.expected;
        score.toneless += withoutTones(got) == withoutTones(row.expected);
        if (got != row.expected && score.failures.size() < keepFailures) {
            score.failures.push_back({&row, std::move(got)});
        }
    }
    return score;
}

bool copyFile(const std::string& from, const std::string& to) {
    std::error_code error;
    fs::create_directories(fs::path(to).parent_path(), error);
    if (!error && fs::exists(to) && fs::equivalent(from, to, error)) {
        return true;
    }
    if (!error) {
        fs::copy_file(from, to, fs::copy_options::overwrite_existing, error);
    }
    if (error) {
        std::fprintf(stderr, "tangor-readings-report: cannot copy %s to %s: %s\n", from.c_str(),
                     to.c_str(), error.message().c_str());
        return false;
    }
    return true;
}

// Puts `pair` where init_lib looks for the market's dictionaries.
bool installPair(const Pair& pair, int market) {
    const std::string root = std::string(TANGOR_SYSROOT) + "/opt/hmi/data/ro/FEP/dic/utf16be/ZH/";
    const std::string folder = root + (market == kMainland ? "CN" : "TW");
    const std::string words = folder + (market == kMainland ? "/pinyin" : "/bopomofo") + "/njtan.a";
    return copyFile(pair.njcon, folder + "/njcon.a") && copyFile(pair.njtan, words);
}

// Scores every category of `market` with `pair` loaded; false when the pair cannot be placed.
bool scoreMarket(const Pair& pair, int market, const std::vector<std::vector<Row>>& rows,
                 std::size_t keepFailures, std::vector<std::optional<Score>>& scores) {
    if (!installPair(pair, market)) {
        return false;
    }
    init_lib(&iWnn, market);
    if (iWnn.state == 0) {
        std::fprintf(stderr, "tangor-readings-report: the engine refused %s, %s\n",
                     pair.njcon.c_str(), pair.njtan.c_str());
    }
    for (std::size_t i = 0; i < std::size(kCategories); ++i) {
        if (kCategories[i].market == market) {
            scores[i] = scoreRows(rows[i], keepFailures);
        }
    }
    free_dic(&iWnn);
    return true;
}

std::string percent(std::size_t part, std::size_t whole) {
    char text[16];
    std::snprintf(text, sizeof(text), "%.1f%%", whole == 0 ? 0.0 : 100.0 * part / whole);
    return text;
}

void printLine(const std::string& name, std::size_t rows, std::size_t ours,
               const std::optional<std::size_t>& baseline) {
    std::printf("| %s | %zu | %s | %s |\n", name.c_str(), rows, percent(ours, rows).c_str(),
                baseline ? percent(*baseline, rows).c_str() : "-");
}

void printTable(const std::vector<std::vector<Row>>& rows,
                const std::vector<std::optional<Score>>& ours,
                const std::vector<std::optional<Score>>& baseline) {
    std::printf("| Category | Rows | Dictionaries | Baseline |\n|---|---:|---:|---:|\n");
    for (std::size_t i = 0; i < std::size(kCategories); ++i) {
        const auto& base = baseline[i];
        const std::string name = kCategories[i].name;
        if (kCategories[i].market == kMainland) {
            printLine(name, rows[i].size(), ours[i]->exact,
                      base ? std::optional(base->exact) : std::nullopt);
            continue;
        }
        printLine(name + ", with tones", rows[i].size(), ours[i]->exact,
                  base ? std::optional(base->exact) : std::nullopt);
        printLine(name + ", without tones", rows[i].size(), ours[i]->toneless,
                  base ? std::optional(base->toneless) : std::nullopt);
    }
}

void printFailures(const std::vector<std::optional<Score>>& ours) {
    for (std::size_t i = 0; i < std::size(kCategories); ++i) {
        if (ours[i]->failures.empty()) {
            continue;
        }
        std::printf("\n%s, first failures:\n\n| Text | Expected | Got |\n|---|---|---|\n",
                    kCategories[i].name);
        for (const Failure& failure : ours[i]->failures) {
            std::printf("| %s | %s | %s |\n", failure.row->text.c_str(),
                        failure.row->expected.c_str(), failure.got.c_str());
        }
    }
}

int usage() {
    std::fputs(
        "usage: tangor-readings-report --cn NJCON NJTAN --tw NJCON NJTAN\n"
        "           [--baseline-cn NJCON NJTAN] [--baseline-tw NJCON NJTAN]\n"
        "           [--data DIR] [--failures N]\n",
        stderr);
    return 2;
}

bool parseCount(const char* text, std::size_t& count) {
    char* end = nullptr;
    const unsigned long value = std::strtoul(text, &end, 10);
    if (end == text || *end != '\0' || text[0] == '-') {
        return false;
    }
    count = value;
    return true;
}

bool parseOptions(int argc, char** argv, Options& options) {
    for (int i = 1; i < argc; ++i) {
        const std::string name = argv[i];
        const int left = argc - i - 1;
        std::optional<Pair>* pair = name == "--cn"            ? &options.cn
                                    : name == "--tw"          ? &options.tw
                                    : name == "--baseline-cn" ? &options.baselineCn
                                    : name == "--baseline-tw" ? &options.baselineTw
                                                              : nullptr;
        if (pair != nullptr && left >= 2) {
            *pair = Pair{argv[i + 1], argv[i + 2]};
            i += 2;
        } else if (name == "--data" && left >= 1) {
            options.data = argv[++i];
        } else if (name == "--failures" && left >= 1) {
            if (!parseCount(argv[++i], options.failures)) {
                return false;
            }
        } else {
            return false;
        }
    }
    return options.cn && options.tw;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    if (!parseOptions(argc, argv, options)) {
        return usage();
    }
    std::vector<std::vector<Row>> rows(std::size(kCategories));
    for (std::size_t i = 0; i < std::size(kCategories); ++i) {
        if (!readRows(options.data + "/" + kCategories[i].file, rows[i])) {
            return 2;
        }
    }
    const std::size_t keep = options.failures;
    std::vector<std::optional<Score>> ours(std::size(kCategories));
    std::vector<std::optional<Score>> baseline(std::size(kCategories));
    const bool placed =
        scoreMarket(*options.cn, kMainland, rows, keep, ours) &&
        scoreMarket(*options.tw, kTaiwan, rows, keep, ours) &&
        (!options.baselineCn || scoreMarket(*options.baselineCn, kMainland, rows, 0, baseline)) &&
        (!options.baselineTw || scoreMarket(*options.baselineTw, kTaiwan, rows, 0, baseline));
    if (!placed) {
        return 2;
    }
    printTable(rows, ours, baseline);
    printFailures(ours);
    return 0;
}
