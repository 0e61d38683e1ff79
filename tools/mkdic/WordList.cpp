#include "WordList.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "iwnn/DictionaryFormat.h"

namespace tangor::mkdic {

namespace {

enum class LineEnd { Read, TooLong, EndOfFile };

// Reads up to the next '\n' (dropped), keeping at most kMaxLineBytes bytes of it.
LineEnd readLine(std::FILE* file, std::string& line) {
    line.clear();
    bool tooLong = false;
    int c = std::getc(file);
    if (c == EOF) {
        return LineEnd::EndOfFile;
    }
    // Ends at the file's end at the latest.
    for (; c != EOF && c != '\n'; c = std::getc(file)) {
        if (line.size() < kMaxLineBytes) {
            line.push_back(static_cast<char>(c));
        } else {
            tooLong = true;
        }
    }
    return tooLong ? LineEnd::TooLong : LineEnd::Read;
}

// How many continuation bytes follow `lead`; -1 for a byte that starts no sequence.
int continuationBytes(unsigned char lead) {
    if (lead < 0x80) {
        return 0;
    }
    if (lead >= 0xC0 && lead <= 0xDF) {
        return 1;
    }
    if (lead >= 0xE0 && lead <= 0xEF) {
        return 2;
    }
    return lead >= 0xF0 && lead <= 0xF7 ? 3 : -1;
}

// The smallest value a sequence with that many continuation bytes may encode: anything below is
// an overlong form.
constexpr std::uint32_t kSmallestValue[4] = {0, 0x80, 0x800, 0x10000};

void appendUnit(std::u16string& out, std::uint32_t unit) {
    out.push_back(static_cast<char16_t>(unit));
}

// Sorts by word, keeping the list's order among equal words, so that the first of each run of
// equal words is the one named in the others' reports.
void sortAndReportDuplicates(WordList& list) {
    auto byWord = [](const WordEntry& a, const WordEntry& b) { return a.word < b.word; };
    std::stable_sort(list.entries.begin(), list.entries.end(), byWord);
    std::size_t first = 0;
    for (std::size_t i = 1; i < list.entries.size(); ++i) {
        if (list.entries[i].word != list.entries[first].word) {
            first = i;
            continue;
        }
        list.errors.push_back({list.entries[i].line, "duplicate word, first on line " +
                                                         std::to_string(list.entries[first].line)});
    }
    std::stable_sort(list.errors.begin(), list.errors.end(),
                     [](const LineError& a, const LineError& b) { return a.line < b.line; });
}

// Readings of a weighted list are syllables separated by single spaces.
bool hasEmptySyllable(const std::u16string& reading) {
    return reading.front() == u' ' || reading.back() == u' ' ||
           reading.find(u"  ") != std::u16string::npos;
}

void reportBadSyllables(WordList& list) {
    for (const WordEntry& entry : list.entries) {
        if (hasEmptySyllable(entry.reading)) {
            list.errors.push_back({entry.line, "reading with an empty syllable"});
        }
    }
}

std::string checkText(std::string_view text, const char* what, std::size_t maxUnits,
                      std::u16string& out) {
    if (text.empty()) {
        return std::string("empty ") + what;
    }
    if (text.find('\0') != std::string_view::npos) {
        return std::string("NUL byte in the ") + what;
    }
    if (!decodeUtf8(text, out)) {
        return std::string("invalid UTF-8 in the ") + what;
    }
    if (out.size() > maxUnits) {
        return std::string(what) + " longer than " + std::to_string(maxUnits) + " UTF-16 units";
    }
    return {};
}

}  // namespace

bool decodeUtf8(std::string_view text, std::u16string& out) {
    std::size_t i = 0;
    while (i < text.size()) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const int extra = continuationBytes(lead);
        if (extra < 0 || static_cast<std::size_t>(extra) >= text.size() - i) {
            return false;
        }
        // The lead byte keeps 7, 5, 4 or 3 bits of the value.
        std::uint32_t value = lead & (0x7Fu >> (extra == 0 ? 0 : extra + 1));
        for (int k = 1; k <= extra; ++k) {
            const auto next = static_cast<unsigned char>(text[i + k]);
            if ((next & 0xC0) != 0x80) {
                return false;
            }
            value = (value << 6) | (next & 0x3Fu);
        }
        if (value < kSmallestValue[extra] || value > 0x10FFFF ||
            (value >= 0xD800 && value <= 0xDFFF)) {
            return false;
        }
        if (value >= 0x10000) {
            appendUnit(out, 0xD800 | ((value - 0x10000) >> 10));
            appendUnit(out, 0xDC00 | ((value - 0x10000) & 0x3FF));
        } else {
            appendUnit(out, value);
        }
        i += extra + 1;
    }
    return true;
}

namespace {

std::vector<std::string_view> splitFields(std::string_view line) {
    std::vector<std::string_view> fields;
    for (std::size_t start = 0;;) {
        const std::size_t tab = line.find('\t', start);
        fields.push_back(line.substr(start, tab == std::string_view::npos ? tab : tab - start));
        if (tab == std::string_view::npos || fields.size() > 4) {
            return fields;
        }
        start = tab + 1;
    }
}

bool parseWeight(std::string_view text, std::uint32_t& weight) {
    if (text.empty() || text.size() > 10) {
        return false;
    }
    std::uint64_t value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') {
            return false;
        }
        value = value * 10 + static_cast<unsigned>(c - '0');
    }
    weight = static_cast<std::uint32_t>(value);
    return value <= UINT32_MAX;
}

std::string parseExtras(const std::vector<std::string_view>& fields, WordEntry& entry) {
    if (fields.size() < 3) {
        return {};
    }
    if (!parseWeight(fields[2], entry.weight)) {
        return "weight not a decimal count up to 4294967295";
    }
    entry.weighted = true;
    if (fields.size() == 4) {
        if (fields[3] != "start") {
            return "fourth field not \"start\"";
        }
        if (entry.word.size() >= corvina::iwnn::kMaxWordUnits) {
            return "start word longer than " + std::to_string(corvina::iwnn::kMaxWordUnits - 1) +
                   " UTF-16 units";
        }
        entry.word.insert(entry.word.begin(), static_cast<char16_t>(corvina::iwnn::kStartUnit));
    }
    return {};
}

}  // namespace

std::string parseLine(std::string_view line, WordEntry& entry, bool& skipped) {
    skipped = line.empty() || line.front() == '#';
    if (skipped) {
        return {};
    }
    const std::vector<std::string_view> fields = splitFields(line);
    if (fields.size() < 2) {
        return "no tab between word and reading";
    }
    if (fields.size() > 4) {
        return "more than four fields";
    }
    entry.word.clear();
    entry.reading.clear();
    std::string reason = checkText(fields[0], "word", corvina::iwnn::kMaxWordUnits, entry.word);
    if (reason.empty()) {
        reason = checkText(fields[1], "reading", corvina::iwnn::kMaxReadingUnits, entry.reading);
    }
    if (reason.empty() &&
        entry.word.find(static_cast<char16_t>(corvina::iwnn::kStartUnit)) != std::u16string::npos) {
        reason = "U+0001 in the word";
    }
    return reason.empty() ? parseExtras(fields, entry) : reason;
}

bool readWordList(std::FILE* file, WordList& list, std::string& error) {
    std::string line;
    unsigned number = 0;
    errno = 0;
    for (LineEnd end; (end = readLine(file, line)) != LineEnd::EndOfFile;) {
        if (++number > kMaxLines) {
            list.errors.push_back({number, "more than " + std::to_string(kMaxLines) + " lines"});
            break;
        }
        if (end == LineEnd::TooLong) {
            list.errors.push_back(
                {number, "line longer than " + std::to_string(kMaxLineBytes) + " bytes"});
            continue;
        }
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        WordEntry entry;
        bool skipped = false;
        std::string reason = parseLine(line, entry, skipped);
        if (!reason.empty()) {
            list.errors.push_back({number, std::move(reason)});
        } else if (!skipped) {
            entry.line = number;
            list.entries.push_back(std::move(entry));
        }
    }
    if (std::ferror(file)) {
        error = errno != 0 ? std::strerror(errno) : "read error";
        return false;
    }
    list.weighted = std::any_of(list.entries.begin(), list.entries.end(),
                                [](const WordEntry& entry) { return entry.weighted; });
    if (list.weighted) {
        reportBadSyllables(list);
    }
    sortAndReportDuplicates(list);
    return true;
}

}  // namespace tangor::mkdic
