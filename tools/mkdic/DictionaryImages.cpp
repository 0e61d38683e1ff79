#include "DictionaryImages.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "iwnn/DictionaryFormat.h"

namespace tangor::mkdic {

using namespace corvina::iwnn;

namespace {

void appendUnits(std::vector<unsigned char>& out, const std::u16string& units) {
    for (const char16_t unit : units) {
        out.push_back(static_cast<unsigned char>(unit >> 8));
        out.push_back(static_cast<unsigned char>(unit));
    }
}

double totalWeight(const std::vector<WordEntry>& entries) {
    double total = 0;
    for (const WordEntry& entry : entries) {
        total += std::max<std::uint32_t>(entry.weight, 1);
    }
    return total;
}

std::vector<unsigned char> buildWords(const std::vector<WordEntry>& entries,
                                      std::uint16_t version) {
    const auto count = static_cast<std::uint32_t>(entries.size());
    const std::size_t entryBytes = entrySize(version);
    const double total = totalWeight(entries);
    std::vector<unsigned char> words(kWordsHeaderSize + entryBytes * count);
    std::copy(std::begin(kWordsMagic), std::end(kWordsMagic), words.begin());
    writeU16(&words[kWordsVersionAt], version);
    writeU32(&words[kWordsCountAt], count);
    std::uint32_t poolUnits = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        const WordEntry& entry = entries[i];
        unsigned char* at = &words[kWordsHeaderSize + entryBytes * i];
        writeU32(at + kEntryOffsetAt, poolUnits);
        writeU16(at + kEntryWordLengthAt, static_cast<std::uint16_t>(entry.word.size()));
        writeU16(at + kEntryReadingLengthAt, static_cast<std::uint16_t>(entry.reading.size()));
        if (version == kWeightedFormatVersion) {
            writeU16(at + kEntryCostAt, costOf(entry.weight, total));
        }
        poolUnits += static_cast<std::uint32_t>(entry.word.size() + entry.reading.size());
    }
    writeU32(&words[kWordsPoolUnitsAt], poolUnits);
    words.reserve(wordsFileSize(version, count, poolUnits));
    for (const WordEntry& entry : entries) {
        appendUnits(words, entry.word);
        appendUnits(words, entry.reading);
    }
    return words;
}

std::vector<unsigned char> buildSettings(const std::vector<WordEntry>& entries,
                                         const std::vector<unsigned char>& words,
                                         std::uint16_t version) {
    std::size_t longest = 0;
    for (const WordEntry& entry : entries) {
        longest = std::max(longest, entry.word.size());
    }
    std::vector<unsigned char> settings(kSettingsSize);
    std::copy(std::begin(kSettingsMagic), std::end(kSettingsMagic), settings.begin());
    writeU16(&settings[kSettingsVersionAt], version);
    writeU16(&settings[kSettingsHeaderSizeAt], kSettingsSize);
    writeU32(&settings[kSettingsWordsSizeAt], static_cast<std::uint32_t>(words.size()));
    writeU32(&settings[kSettingsWordsChecksumAt],
             wordsChecksum(version, words.data(), words.size()));
    writeU16(&settings[kSettingsLongestWordAt], static_cast<std::uint16_t>(longest));
    writeU16(&settings[kSettingsCandidateLimitAt], kMaxCandidateLimit);
    writeU32(&settings[kSettingsWordCountAt], static_cast<std::uint32_t>(entries.size()));
    return settings;
}

}  // namespace

std::uint16_t costOf(std::uint32_t weight, double total) {
    // A weight of 0 counts as 1: every word stays cheaper than a unit the dictionary lacks.
    const double share = std::max<std::uint32_t>(weight, 1) / std::max(total, 1.0);
    const double cost = std::round(-std::log(std::min(share, 1.0)) * kCostPerNat);
    return static_cast<std::uint16_t>(std::min(cost, double{kMaxCost}));
}

DictionaryImages buildImages(const std::vector<WordEntry>& entries, bool weighted) {
    const std::uint16_t version = weighted ? kWeightedFormatVersion : kFormatVersion;
    DictionaryImages images;
    images.words = buildWords(entries, version);
    images.settings = buildSettings(entries, images.words, version);
    return images;
}

}  // namespace tangor::mkdic
