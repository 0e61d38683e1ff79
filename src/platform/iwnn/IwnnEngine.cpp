// The built-in stand-in for the conversion engine: longest-match splitting on a dictionary of
// words and readings (docs/dictionary-format.md). njx_init validates the images once; the other
// calls only check that the engine runs on the images it validated and that a record is one that
// mmx_split_word could have made, then trust the image.

#include "platform/iwnn/IwnnEngine.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "platform/iwnn/DictionaryFormat.h"
#include "platform/iwnn/WordTable.h"

using corvina::iwnn::readU16;
using corvina::iwnn::WordTable;

namespace {

// Any non-zero value would do; a distinct one makes a stray non-zero leading word unlikely to pass.
constexpr std::uint32_t kStarted = 0x54474E31u;
constexpr int kFailed = -1;

const void* settingsBuffer(const IwnnWork& work) {
    return work.dicSet.buffers[IWNN_SETTINGS_BUFFER];
}

// Started, and still on the images njx_init validated and the index it built (the loader may have
// freed or replaced them).
bool isRunning(const IwnnWork* work) {
    return work != nullptr && work->state == kStarted &&
           work->dicSet.loaded.words == work->dicSet.table[0].image &&
           work->dicSet.loaded.settings == settingsBuffer(*work) &&
           work->dicSet.loaded.wordIndex == work->engineBuffer;
}

// The first-unit index of the validated words, in the engine buffer, which replaces the one an
// earlier start left there. Null for an empty dictionary or when memory runs out.
std::uint32_t* buildWordIndex(IwnnWork& work, const IwnnLoadedDictionary& loaded) {
    std::free(work.engineBuffer);
    work.engineBuffer = nullptr;
    if (loaded.words == nullptr) {
        return nullptr;
    }
    auto* index =
        static_cast<std::uint32_t*>(std::malloc(WordTable::kIndexSize * sizeof(std::uint32_t)));
    if (index != nullptr) {
        WordTable(static_cast<const unsigned char*>(loaded.words), loaded.wordCount)
            .buildIndex(index);
    }
    work.engineBuffer = index;
    return index;
}

WordTable tableOf(const IwnnWork& work) {
    return WordTable(static_cast<const unsigned char*>(work.dicSet.loaded.words),
                     work.dicSet.loaded.wordCount);
}

// A record mmx_split_word could have made: an entry with its word's length, or one unknown unit.
bool isValidRecord(const WordTable& table, const IwnnWord* word) {
    if (word == nullptr || word->text == nullptr) {
        return false;
    }
    if (word->entry == -1) {
        return word->length == 1;
    }
    return word->entry >= 0 && static_cast<std::uint32_t>(word->entry) < table.count() &&
           word->length == table.wordLength(static_cast<std::uint32_t>(word->entry));
}

bool isHighSurrogate(std::uint16_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

// `buffer` must hold count + 1 units.
int copyUnits(unsigned char* buffer, const unsigned char* units, int count) {
    std::memcpy(buffer, units, 2 * static_cast<std::size_t>(count));
    buffer[2 * count] = 0;
    buffer[2 * count + 1] = 0;
    return count;
}

}  // namespace

extern "C" int njx_init(IwnnWork* work, const void* /*options*/) {
    if (work == nullptr) {
        return kFailed;
    }
    work->state = 0;
    work->dicSet.loaded = IwnnLoadedDictionary{};
    const auto* words = static_cast<const unsigned char*>(work->dicSet.table[0].image);
    const auto* settings = static_cast<const unsigned char*>(settingsBuffer(*work));
    IwnnLoadedDictionary loaded{};
    if (words == nullptr && settings == nullptr) {
        // No dictionary: every unit is a word of its own, without a reading.
        loaded.candidateLimit = corvina::iwnn::kMaxCandidateLimit;
    } else if (!corvina::iwnn::validateDictionary(words, work->dicSet.table[0].imageSize, settings,
                                                  work->dicSet.bufferSizes[IWNN_SETTINGS_BUFFER],
                                                  loaded)) {
        return kFailed;
    }
    loaded.wordIndex = buildWordIndex(*work, loaded);
    if (loaded.words != nullptr && loaded.wordIndex == nullptr) {
        return kFailed;
    }
    work->dicSet.loaded = loaded;
    work->state = kStarted;
    return 0;
}

extern "C" int nj_strlen(const unsigned char* text) {
    if (text == nullptr) {
        return 0;
    }
    // The result's range bounds the scan.
    int units = 0;
    while (units < INT_MAX && readU16(text + 2 * static_cast<std::size_t>(units)) != 0) {
        ++units;
    }
    return units;
}

extern "C" int mmx_split_word(IwnnWork* work, const unsigned char* text, std::uint8_t* consumed,
                              IwnnWord* words) {
    if (!isRunning(work) || text == nullptr || consumed == nullptr || words == nullptr) {
        return kFailed;
    }
    const WordTable table = tableOf(*work);
    const int longest = work->dicSet.loaded.longestWord;
    const auto* index = static_cast<const std::uint32_t*>(work->dicSet.loaded.wordIndex);
    int position = 0;
    int count = 0;
    while (count < IWNN_MAX_WORDS && readU16(text + 2 * position) != 0) {
        const unsigned char* at = text + 2 * position;
        std::uint32_t lo = 0;
        std::uint32_t hi = 0;
        if (index != nullptr) {
            WordTable::rangeOf(index, readU16(at), lo, hi);
        }
        const std::int32_t entry = table.longestMatch(at, longest, lo, hi);
        const int length = entry < 0 ? 1 : table.wordLength(static_cast<std::uint32_t>(entry));
        // The count is 8 bits: a word that would pass it is left whole for the next split.
        if (position + length > UINT8_MAX) {
            break;
        }
        words[count++] = IwnnWord{at, static_cast<std::uint16_t>(length), entry};
        position += length;
    }
    *consumed = static_cast<std::uint8_t>(position);
    return count;
}

extern "C" int mmx_get_yomi(IwnnWork* work, const IwnnWord* word, unsigned char* buffer, int size,
                            std::uint8_t* /*flag*/) {
    if (!isRunning(work) || buffer == nullptr) {
        return kFailed;
    }
    const WordTable table = tableOf(*work);
    if (!isValidRecord(table, word)) {
        return kFailed;
    }
    if (word->entry < 0 || size < 2) {
        return 0;
    }
    const auto entry = static_cast<std::uint32_t>(word->entry);
    const unsigned char* reading = table.reading(entry);
    const int readingUnits = table.readingLength(entry);
    int units = std::min(readingUnits, size / 2 - 1);
    // A cut reading ends on a whole character.
    if (units > 0 && units < readingUnits && isHighSurrogate(readU16(reading + 2 * (units - 1)))) {
        --units;
    }
    return copyUnits(buffer, reading, units);
}

extern "C" int njx_get_candidate(IwnnWork* work, const IwnnWord* word, unsigned char* buffer,
                                 int size) {
    if (!isRunning(work) || buffer == nullptr) {
        return kFailed;
    }
    const WordTable table = tableOf(*work);
    if (!isValidRecord(table, word)) {
        return kFailed;
    }
    const int units = word->length;
    if (units > work->dicSet.loaded.candidateLimit || size < 2 * (units + 1)) {
        return kFailed;
    }
    const unsigned char* candidate =
        word->entry < 0 ? word->text : table.word(static_cast<std::uint32_t>(word->entry));
    return copyUnits(buffer, candidate, units);
}
