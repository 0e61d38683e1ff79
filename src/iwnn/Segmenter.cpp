#include "iwnn/Segmenter.h"

#include <algorithm>
#include <limits>

#include "iwnn/DictionaryFormat.h"

namespace corvina::iwnn {

namespace {

// Above every entry's cost, so that any dictionary word is taken before a unit it does not know;
// a whole split of such units still fits 32 bits.
constexpr std::uint32_t kUnknownCost = 2u * (kMaxCost + 1u);
// Added to every word of a split: the counts behind the costs count a character also where it
// stands inside longer words, which makes runs of single characters look cheaper than they are.
constexpr std::uint32_t kWordCost = 4 * static_cast<std::uint32_t>(kCostPerNat);
constexpr std::uint32_t kUnreached = std::numeric_limits<std::uint32_t>::max();

bool isLowSurrogate(std::uint16_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

std::uint16_t unitAt(const unsigned char* text, int position) {
    return readU16(text + 2 * position);
}

// The end of the run of Latin units from `start`, at most kMaxReadingUnits long: a run is one
// word, and its reading must fit where a reading goes.
int latinRunEnd(const unsigned char* text, int start, int units) {
    int end = start;
    while (end < units && end - start < kMaxReadingUnits && isLatin(unitAt(text, end))) {
        ++end;
    }
    return end;
}

void rangeAt(const Dictionary& dictionary, std::uint16_t unit, std::uint32_t& lo,
             std::uint32_t& hi) {
    lo = hi = 0;
    if (dictionary.index != nullptr) {
        WordTable::rangeOf(dictionary.index, unit, lo, hi);
    }
}

// The best way found so far to reach each place of the text: its total cost and its last piece.
class Lattice {
public:
    explicit Lattice(int units) : units_(units) {
        std::fill(cost_, cost_ + units + 1, kUnreached);
        cost_[0] = 0;
    }

    bool isReached(int position) const { return cost_[position] != kUnreached; }

    void offer(int start, int length, std::int32_t entry, std::uint32_t cost) {
        const int end = start + length;
        const std::uint32_t total = cost_[start] + cost;
        if (end <= units_ && total < cost_[end]) {
            cost_[end] = total;
            last_[end] = Piece{start, length, entry};
        }
    }

    // The pieces of the cheapest way to the end, in order.
    int pieces(Piece* out) const {
        int count = 0;
        for (int end = units_; end > 0; end = last_[end].start) {
            out[count++] = last_[end];
        }
        std::reverse(out, out + count);
        return count;
    }

private:
    int units_;
    std::uint32_t cost_[kMaxSplitUnits + 1];
    Piece last_[kMaxSplitUnits + 1];
};

// The longest start word the text begins with (looked up as the start unit followed by the
// text), or -1.
std::int32_t longestStartWord(const Dictionary& dictionary, const unsigned char* text, int units) {
    unsigned char started[2 * (kMaxWordUnits + 1)];
    const int copied = std::min(units, static_cast<int>(kMaxWordUnits) - 1);
    writeU16(started, kStartUnit);
    std::copy(text, text + 2 * copied, started + 2);
    writeU16(started + 2 * (copied + 1), 0);
    std::uint32_t lo = 0;
    std::uint32_t hi = 0;
    rangeAt(dictionary, kStartUnit, lo, hi);
    return dictionary.table.longestMatch(started, copied + 1, lo, hi);
}

bool isSingleCharacter(const Piece& piece, const unsigned char* text) {
    return piece.entry >= 0 && characterCount(text + 2 * piece.start, piece.length) == 1;
}

// A text shaped like a personal name, a start word and one or two more characters that read as
// single characters (no word of the dictionary among them), takes the start word's reading: 曾志伟
// is Zeng Zhiwei, while 曾经 stays a word. Returns the new piece count.
int applyStartWord(const Dictionary& dictionary, const unsigned char* text, int units,
                   Piece* pieces, int count) {
    constexpr int kMaxGivenName = 2;
    if (!std::all_of(pieces, pieces + count,
                     [&](const Piece& piece) { return isSingleCharacter(piece, text); })) {
        return count;
    }
    const std::int32_t entry = longestStartWord(dictionary, text, units);
    if (entry < 0) {
        return count;
    }
    const int surnameUnits = dictionary.table.wordLength(static_cast<std::uint32_t>(entry)) - 1;
    int surnamePieces = 0;
    int covered = 0;
    while (covered < surnameUnits && surnamePieces < count) {
        covered += pieces[surnamePieces++].length;
    }
    const int given = count - surnamePieces;
    if (covered != surnameUnits || given < 1 || given > kMaxGivenName) {
        return count;
    }
    pieces[0] = Piece{0, surnameUnits, entry};
    std::copy(pieces + surnamePieces, pieces + count, pieces + 1);
    return given + 1;
}

void offerWordsAt(const Dictionary& dictionary, const unsigned char* text, int position, int units,
                  Lattice& lattice) {
    const unsigned char* at = text + 2 * position;
    std::uint32_t lo = 0;
    std::uint32_t hi = 0;
    rangeAt(dictionary, unitAt(text, position), lo, hi);
    const int room = std::min(dictionary.longestWord, units - position);
    dictionary.table.forEachMatch(at, room, lo, hi, [&](std::uint32_t entry) {
        lattice.offer(position, dictionary.table.wordLength(entry),
                      static_cast<std::int32_t>(entry), dictionary.table.cost(entry) + kWordCost);
    });
    if (isLatin(unitAt(text, position))) {
        const int end = latinRunEnd(text, position, units);
        lattice.offer(position, end - position, IWNN_LATIN_RUN, kUnknownCost);
    } else {
        lattice.offer(position, 1, IWNN_NO_READING, kUnknownCost);
    }
}

int cheapestSplit(const Dictionary& dictionary, const unsigned char* text, int units,
                  Piece* pieces) {
    Lattice lattice(units);
    for (int position = 0; position < units; ++position) {
        if (lattice.isReached(position)) {
            offerWordsAt(dictionary, text, position, units, lattice);
        }
    }
    const int count = lattice.pieces(pieces);
    return applyStartWord(dictionary, text, units, pieces, count);
}

int longestFirstSplit(const Dictionary& dictionary, const unsigned char* text, int units,
                      Piece* pieces) {
    int count = 0;
    for (int position = 0; position < units; position += pieces[count++].length) {
        std::uint32_t lo = 0;
        std::uint32_t hi = 0;
        rangeAt(dictionary, unitAt(text, position), lo, hi);
        const int room = std::min(dictionary.longestWord, units - position);
        const std::int32_t entry = dictionary.table.longestMatch(text + 2 * position, room, lo, hi);
        if (entry >= 0) {
            pieces[count] = Piece{position, dictionary.table.wordLength(entry), entry};
        } else if (isLatin(unitAt(text, position))) {
            pieces[count] =
                Piece{position, latinRunEnd(text, position, units) - position, IWNN_LATIN_RUN};
        } else {
            pieces[count] = Piece{position, 1, IWNN_NO_READING};
        }
    }
    return count;
}

}  // namespace

bool isLatin(std::uint16_t unit) {
    const auto ascii = [](std::uint16_t u) {
        return (u >= '0' && u <= '9') || (u >= 'A' && u <= 'Z') || (u >= 'a' && u <= 'z');
    };
    return ascii(unit) || (unit >= 0xFF10 && unit <= 0xFF5A && ascii(unit - 0xFEE0));
}

char latinLower(std::uint16_t unit) {
    const auto ascii = static_cast<char>(unit >= 0xFF10 ? unit - 0xFEE0 : unit);
    return ascii >= 'A' && ascii <= 'Z' ? static_cast<char>(ascii - 'A' + 'a') : ascii;
}

int segment(const Dictionary& dictionary, const unsigned char* text, int units, Piece* pieces) {
    units = std::min(units, kMaxSplitUnits);
    if (units <= 0) {
        return 0;
    }
    return dictionary.table.isWeighted() ? cheapestSplit(dictionary, text, units, pieces)
                                         : longestFirstSplit(dictionary, text, units, pieces);
}

int syllableCount(const WordTable& table, std::uint32_t entry) {
    const unsigned char* reading = table.reading(entry);
    int count = 1;
    for (int i = 0; i < table.readingLength(entry); ++i) {
        count += unitAt(reading, i) == kSyllableSeparator ? 1 : 0;
    }
    return count;
}

bool syllableOf(const WordTable& table, std::uint32_t entry, int part, const unsigned char** at,
                int* units) {
    const unsigned char* reading = table.reading(entry);
    const int length = table.readingLength(entry);
    int start = 0;
    for (int i = 0; i <= length; ++i) {
        if (i < length && unitAt(reading, i) != kSyllableSeparator) {
            continue;
        }
        if (part-- == 0) {
            *at = reading + 2 * start;
            *units = i - start;
            return true;
        }
        start = i + 1;
    }
    return false;
}

int characterCount(const unsigned char* text, int units) {
    int count = 0;
    for (int i = 0; i < units; ++i) {
        count += isLowSurrogate(unitAt(text, i)) && i > 0 ? 0 : 1;
    }
    return count;
}

}  // namespace corvina::iwnn
