#include "iwnn/WordTable.h"

#include <algorithm>
#include <cstring>

#include "iwnn/DictionaryFormat.h"

namespace corvina::iwnn {

namespace {

bool hasMagic(const unsigned char* image, const unsigned char (&magic)[4]) {
    return std::memcmp(image, magic, sizeof magic) == 0;
}

// Unit by unit, a prefix before the longer word. Big-endian units compare like their bytes.
bool isBefore(const unsigned char* a, unsigned aUnits, const unsigned char* b, unsigned bUnits) {
    const int order = std::memcmp(a, b, 2 * std::min(aUnits, bUnits));
    return order < 0 || (order == 0 && aUnits < bUnits);
}

bool isValidLength(unsigned units, unsigned limit) {
    return units >= 1 && units <= limit;
}

bool isKnownVersion(std::uint16_t version) {
    return version == kFormatVersion || version == kWeightedFormatVersion;
}

// No zero unit in the word nor in the reading that follows it in the pool. In version 2, the start
// unit only as the first of a word that has more, and the reading's syllables separated by single
// spaces. One pass: every words file is checked whole at every start.
bool hasValidUnits(const unsigned char* word, unsigned wordUnits, unsigned readingUnits,
                   bool weighted) {
    for (unsigned i = 0; i < wordUnits; ++i) {
        const std::uint16_t unit = readU16(word + 2 * i);
        if (unit == 0 || (weighted && unit == kStartUnit && (i > 0 || wordUnits < 2))) {
            return false;
        }
    }
    const unsigned char* reading = word + 2 * wordUnits;
    bool afterSeparator = true;
    for (unsigned i = 0; i < readingUnits; ++i) {
        const std::uint16_t unit = readU16(reading + 2 * i);
        const bool separator = unit == kSyllableSeparator;
        if (unit == 0 || (weighted && separator && afterSeparator)) {
            return false;
        }
        afterSeparator = separator;
    }
    return !(weighted && afterSeparator);
}

// Every entry lies inside the pool, holds a word and a reading of allowed lengths without a zero
// unit, and follows the one before it. Sets `longest` to the longest word.
bool hasValidEntries(const WordTable& table, std::uint32_t poolUnits, std::uint16_t& longest) {
    longest = 0;
    for (std::uint32_t entry = 0; entry < table.count(); ++entry) {
        const std::uint16_t wordUnits = table.wordLength(entry);
        const std::uint16_t readingUnits = table.readingLength(entry);
        if (!isValidLength(wordUnits, kMaxWordUnits) ||
            !isValidLength(readingUnits, kMaxReadingUnits) ||
            std::uint64_t{table.offset(entry)} + wordUnits + readingUnits > poolUnits) {
            return false;
        }
        if (!hasValidUnits(table.word(entry), wordUnits, readingUnits, table.isWeighted())) {
            return false;
        }
        if (entry > 0 && !isBefore(table.word(entry - 1), table.wordLength(entry - 1),
                                   table.word(entry), wordUnits)) {
            return false;
        }
        longest = std::max(longest, wordUnits);
    }
    return true;
}

bool hasValidWords(const unsigned char* words, std::uint32_t size, std::uint32_t& count,
                   std::uint16_t& longest, std::uint16_t& version) {
    if (size < kWordsHeaderSize || !hasMagic(words, kWordsMagic) ||
        !isKnownVersion(readU16(words + kWordsVersionAt)) ||
        readU16(words + kWordsReservedAt) != 0) {
        return false;
    }
    version = readU16(words + kWordsVersionAt);
    count = readU32(words + kWordsCountAt);
    const std::uint32_t poolUnits = readU32(words + kWordsPoolUnitsAt);
    return wordsFileSize(version, count, poolUnits) == size &&
           hasValidEntries(WordTable(words, count, version), poolUnits, longest);
}

// The settings describe exactly the words image beside them.
bool hasValidSettings(const unsigned char* settings, std::uint32_t size, const unsigned char* words,
                      std::uint32_t wordsSize, std::uint32_t count, std::uint16_t longest,
                      std::uint16_t version) {
    if (size != kSettingsSize) {
        return false;
    }
    const std::uint16_t candidateLimit = readU16(settings + kSettingsCandidateLimitAt);
    return hasMagic(settings, kSettingsMagic) &&
           readU16(settings + kSettingsVersionAt) == version &&
           readU16(settings + kSettingsHeaderSizeAt) == kSettingsSize &&
           readU32(settings + kSettingsWordsSizeAt) == wordsSize &&
           readU32(settings + kSettingsWordsChecksumAt) ==
               wordsChecksum(version, words, wordsSize) &&
           readU16(settings + kSettingsLongestWordAt) == longest &&
           isValidLength(candidateLimit, kMaxCandidateLimit) &&
           readU32(settings + kSettingsWordCountAt) == count;
}

// The first index in [lo, hi) for which `below` is false; `below` must be true before it only.
template <typename Below>
std::uint32_t partitionPoint(std::uint32_t lo, std::uint32_t hi, Below below) {
    while (lo < hi) {
        const std::uint32_t middle = lo + (hi - lo) / 2;
        if (below(middle)) {
            lo = middle + 1;
        } else {
            hi = middle;
        }
    }
    return lo;
}

// The same, for a point expected near `lo`: steps away from it with doubling strides, then halves
// the last stride.
template <typename Below>
std::uint32_t partitionPointNear(std::uint32_t lo, std::uint32_t hi, Below below) {
    std::uint32_t step = 1;
    while (lo < hi && below(lo)) {
        const std::uint32_t next = hi - lo > step ? lo + step : hi;
        if (next == hi || !below(next)) {
            return partitionPoint(lo + 1, next, below);
        }
        lo = next + 1;
        step *= 2;
    }
    return lo;
}

}  // namespace

bool validateDictionary(const unsigned char* words, std::uint32_t wordsSize,
                        const unsigned char* settings, std::uint32_t settingsSize,
                        IwnnLoadedDictionary& loaded) {
    std::uint32_t count = 0;
    std::uint16_t longest = 0;
    std::uint16_t version = 0;
    if (words == nullptr || settings == nullptr ||
        !hasValidWords(words, wordsSize, count, longest, version) ||
        !hasValidSettings(settings, settingsSize, words, wordsSize, count, longest, version)) {
        return false;
    }
    loaded.words = words;
    loaded.settings = settings;
    loaded.wordCount = count;
    loaded.longestWord = longest;
    loaded.candidateLimit = readU16(settings + kSettingsCandidateLimitAt);
    loaded.version = version;
    return true;
}

WordTable::WordTable(const unsigned char* image, std::uint32_t count, std::uint16_t version)
    : entries_(image ? image + kWordsHeaderSize : nullptr),
      pool_(image ? entries_ + std::size_t{entrySize(version)} * count : nullptr),
      count_(image ? count : 0),
      entrySize_(entrySize(version)),
      weighted_(version == kWeightedFormatVersion) {}

std::uint32_t WordTable::offset(std::uint32_t entry) const {
    return readU32(entryAt(entry) + kEntryOffsetAt);
}

std::uint16_t WordTable::wordLength(std::uint32_t entry) const {
    return readU16(entryAt(entry) + kEntryWordLengthAt);
}

std::uint16_t WordTable::readingLength(std::uint32_t entry) const {
    return readU16(entryAt(entry) + kEntryReadingLengthAt);
}

std::uint16_t WordTable::cost(std::uint32_t entry) const {
    return weighted_ ? readU16(entryAt(entry) + kEntryCostAt) : 0;
}

const unsigned char* WordTable::word(std::uint32_t entry) const {
    return pool_ + 2 * std::size_t{offset(entry)};
}

const unsigned char* WordTable::reading(std::uint32_t entry) const {
    return word(entry) + 2 * std::size_t{wordLength(entry)};
}

bool WordTable::isStartWord(std::uint32_t entry) const {
    return weighted_ && readU16(word(entry)) == kStartUnit;
}

std::uint16_t WordTable::unitOf(std::uint32_t entry, int position) const {
    return readU16(word(entry) + 2 * position);
}

// Entries are sorted by word, so the entries that begin with the text's first d units form one
// range; each further unit narrows it with two binary searches.
void WordTable::narrow(std::uint32_t& lo, std::uint32_t& hi, int position,
                       std::uint16_t unit) const {
    // A word of exactly `position` units sorts first in the range and cannot grow further.
    if (lo < hi && wordLength(lo) == position) {
        ++lo;
    }
    // The range is sorted: when its first and last entries have `unit` there, all do (always so
    // for the first unit, whose range the index gives exactly).
    if (lo < hi && unitOf(lo, position) == unit && unitOf(hi - 1, position) == unit) {
        return;
    }
    lo = partitionPoint(lo, hi, [&](std::uint32_t e) { return unitOf(e, position) < unit; });
    // Few entries share a unit: the range's end is near its start.
    hi = partitionPointNear(lo, hi, [&](std::uint32_t e) { return unitOf(e, position) <= unit; });
}

std::int32_t WordTable::longestMatch(const unsigned char* text, int maxUnits, std::uint32_t lo,
                                     std::uint32_t hi) const {
    std::int32_t found = -1;
    forEachMatch(text, maxUnits, lo, hi,
                 [&](std::uint32_t entry) { found = static_cast<std::int32_t>(entry); });
    return found;
}

void WordTable::buildIndex(std::uint32_t* index) const {
    std::uint32_t entry = 0;
    for (std::uint32_t unit = 0; unit < kIndexSize; ++unit) {
        while (entry < count_ && unitOf(entry, 0) < unit) {
            ++entry;
        }
        index[unit] = entry;
    }
}

}  // namespace corvina::iwnn
