// The built-in stand-in for the conversion engine: splits a text into the words of a dictionary of
// words and readings (docs/dictionary-format.md) and gives each word's reading, syllable by
// syllable where the reading has one per character. njx_init validates the images once; the other
// calls only check that the engine runs on the images it validated and that a record is one that
// mmx_split_word could have made, then trust the image.

#include "iwnn/IwnnEngine.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "iwnn/DictionaryFormat.h"
#include "iwnn/Segmenter.h"
#include "iwnn/WordTable.h"

using corvina::iwnn::Piece;
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
        WordTable(static_cast<const unsigned char*>(loaded.words), loaded.wordCount, loaded.version)
            .buildIndex(index);
    }
    work.engineBuffer = index;
    return index;
}

WordTable tableOf(const IwnnWork& work) {
    return WordTable(static_cast<const unsigned char*>(work.dicSet.loaded.words),
                     work.dicSet.loaded.wordCount, work.dicSet.loaded.version);
}

// A record mmx_split_word could have made: units without a reading, a run of Latin units, a whole
// entry, or one syllable of an entry (one character, of one or two units).
bool isValidRecord(const WordTable& table, const IwnnWord* word) {
    if (word == nullptr || word->text == nullptr || word->length < 1 ||
        word->length > corvina::iwnn::kMaxSplitUnits) {
        return false;
    }
    if (word->entry == IWNN_NO_READING) {
        return true;
    }
    if (word->entry == IWNN_LATIN_RUN) {
        return word->length <= corvina::iwnn::kMaxReadingUnits;
    }
    if (word->entry < 0 || static_cast<std::uint32_t>(word->entry) >= table.count()) {
        return false;
    }
    const auto entry = static_cast<std::uint32_t>(word->entry);
    if (word->part < 0) {
        const int startUnits = table.isStartWord(entry) ? 1 : 0;
        return word->length == table.wordLength(entry) - startUnits;
    }
    // Whether the entry has that syllable is mmx_get_yomi's to find out: it looks for it anyway.
    return word->length <= 2;
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
        loaded.version = corvina::iwnn::kFormatVersion;
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

namespace {

// How many records a piece takes: one per syllable where its reading has one per character.
int recordsOf(const WordTable& table, const Piece& piece, const unsigned char* text) {
    if (piece.entry < 0) {
        return 1;
    }
    const auto entry = static_cast<std::uint32_t>(piece.entry);
    const int syllables = corvina::iwnn::syllableCount(table, entry);
    const int characters = corvina::iwnn::characterCount(text + 2 * piece.start, piece.length);
    return syllables == characters && syllables > 1 ? syllables : 1;
}

// Writes the records of `piece`, at most `room`; returns how many and the units they cover.
int writeRecords(const Piece& piece, int records, const unsigned char* text, bool latinReads,
                 IwnnWord* out, int room, int& units) {
    const unsigned char* at = text + 2 * piece.start;
    if (records == 1) {
        const std::int32_t entry =
            piece.entry == IWNN_LATIN_RUN && !latinReads ? IWNN_NO_READING : piece.entry;
        out[0] = IwnnWord{at, static_cast<std::uint16_t>(piece.length), -1, entry};
        units = piece.length;
        return 1;
    }
    int written = 0;
    units = 0;
    while (written < records && written < room) {
        // A surrogate pair is one character.
        const int length =
            piece.length - units >= 2 && corvina::iwnn::characterCount(at + 2 * units, 2) == 1 ? 2
                                                                                               : 1;
        out[written] = IwnnWord{at + 2 * units, static_cast<std::uint16_t>(length),
                                static_cast<std::int16_t>(written), piece.entry};
        ++written;
        units += length;
    }
    return written;
}

}  // namespace

extern "C" int mmx_split_word(IwnnWork* work, const unsigned char* text, std::uint8_t* consumed,
                              IwnnWord* words) {
    if (!isRunning(work) || text == nullptr || consumed == nullptr || words == nullptr) {
        return kFailed;
    }
    const corvina::iwnn::Dictionary dictionary{
        tableOf(*work), static_cast<const std::uint32_t*>(work->dicSet.loaded.wordIndex),
        work->dicSet.loaded.longestWord};
    int units = 0;
    while (units < corvina::iwnn::kMaxSplitUnits && readU16(text + 2 * units) != 0) {
        ++units;
    }
    Piece pieces[corvina::iwnn::kMaxSplitUnits];
    const int pieceCount = corvina::iwnn::segment(dictionary, text, units, pieces);
    // Latin words read only beside words of the dictionary: a text of Latin script alone has no
    // reading of its own.
    const bool latinReads = std::any_of(pieces, pieces + pieceCount,
                                        [](const Piece& piece) { return piece.entry >= 0; });

    // Pieces go whole into the records, as many as fit; only a first piece that does not fit
    // alone is cut, so that every split moves on.
    int count = 0;
    int covered = 0;
    for (int i = 0; i < pieceCount && count < IWNN_MAX_WORDS; ++i) {
        const int records = recordsOf(dictionary.table, pieces[i], text);
        if (count > 0 && count + records > IWNN_MAX_WORDS) {
            break;
        }
        int pieceUnits = 0;
        count += writeRecords(pieces[i], records, text, latinReads, words + count,
                              IWNN_MAX_WORDS - count, pieceUnits);
        covered += pieceUnits;
    }
    *consumed = static_cast<std::uint8_t>(covered);
    return count;
}

namespace {

// The reading of a record that has one: its units and their number.
bool readingOf(const WordTable& table, const IwnnWord* word, const unsigned char** at, int* units) {
    const auto entry = static_cast<std::uint32_t>(word->entry);
    if (word->part >= 0) {
        return corvina::iwnn::syllableOf(table, entry, word->part, at, units);
    }
    *at = table.reading(entry);
    *units = table.readingLength(entry);
    return true;
}

// A Latin run's reading: its ASCII letters and digits in lower case.
int latinReading(const IwnnWord* word, unsigned char* buffer, int size) {
    const int units = std::min<int>(word->length, size / 2 - 1);
    for (int i = 0; i < units; ++i) {
        buffer[2 * i] = 0;
        buffer[2 * i + 1] = static_cast<unsigned char>(
            corvina::iwnn::latinLower(readU16(word->text + 2 * static_cast<std::size_t>(i))));
    }
    buffer[2 * units] = 0;
    buffer[2 * units + 1] = 0;
    return units;
}

}  // namespace

extern "C" int mmx_get_yomi(IwnnWork* work, const IwnnWord* word, unsigned char* buffer, int size,
                            std::uint8_t* /*flag*/) {
    if (!isRunning(work) || buffer == nullptr) {
        return kFailed;
    }
    const WordTable table = tableOf(*work);
    if (!isValidRecord(table, word)) {
        return kFailed;
    }
    if (word->entry == IWNN_NO_READING || size < 2) {
        return 0;
    }
    if (word->entry == IWNN_LATIN_RUN) {
        return latinReading(word, buffer, size);
    }
    const unsigned char* reading = nullptr;
    int readingUnits = 0;
    if (!readingOf(table, word, &reading, &readingUnits)) {
        return kFailed;  // a syllable the entry does not have
    }
    if (readingUnits == 0) {
        return 0;
    }
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
    // The words as the text has them: a start word's start unit is not part of the text.
    return copyUnits(buffer, word->text, units);
}
