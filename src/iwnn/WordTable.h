#pragma once

// The built-in engine's view of its dictionary: validation of the two images (done once, by
// njx_init) and the lookups the later calls make on an image that passed it.

#include <tangor/platform/IwnnWork.h>

#include <cstdint>

namespace corvina::iwnn {

// Checks the words image ("njtan.a", `wordsSize` bytes) and the settings image ("njcon.a",
// `settingsSize` bytes) against every rule of the format, reading nothing outside those counts.
// On success fills `loaded` and returns true; otherwise leaves `loaded` alone.
bool validateDictionary(const unsigned char* words, std::uint32_t wordsSize,
                        const unsigned char* settings, std::uint32_t settingsSize,
                        IwnnLoadedDictionary& loaded);

// The entries of a words image. Nothing here checks the image: it must have passed
// validateDictionary (or at least its header must give `count` entries that lie inside it).
class WordTable {
public:
    WordTable(const unsigned char* image, std::uint32_t count, std::uint16_t version);

    std::uint32_t count() const { return count_; }
    bool isWeighted() const { return weighted_; }
    std::uint32_t offset(std::uint32_t entry) const;  // units into the pool
    std::uint16_t wordLength(std::uint32_t entry) const;
    std::uint16_t readingLength(std::uint32_t entry) const;
    // The entry's cost; 0 in a version 1 image.
    std::uint16_t cost(std::uint32_t entry) const;
    // The entry's first unit, in the pool; its reading follows its last unit.
    const unsigned char* word(std::uint32_t entry) const;
    const unsigned char* reading(std::uint32_t entry) const;
    // A version 2 word that holds only at a text's start: it begins with kStartUnit.
    bool isStartWord(std::uint32_t entry) const;

    // Calls `visit(entry)` for every entry that `text` begins with, shortest first, each at most
    // `maxUnits` units and never past a zero unit of `text`. Only entries in [lo, hi) are looked
    // at: they must hold every entry that begins with the text's first unit.
    template <typename Visit>
    void forEachMatch(const unsigned char* text, int maxUnits, std::uint32_t lo, std::uint32_t hi,
                      Visit visit) const;
    // The longest of those entries; -1 when none.
    std::int32_t longestMatch(const unsigned char* text, int maxUnits, std::uint32_t lo,
                              std::uint32_t hi) const;

    // The first-unit index: for each first unit, the first entry whose first unit is that one or
    // a later one, then the count; kIndexSize values (256 KiB) in all. A lookup starts from the
    // entries of exactly its first character, not from a group of them: with a few hundred words
    // to each common character, that is most of a reading's binary searches saved.
    static constexpr std::uint32_t kIndexSize = 0x10000 + 1;
    void buildIndex(std::uint32_t* index) const;
    // The entries that begin with `unit`, per an index built by buildIndex.
    static void rangeOf(const std::uint32_t* index, std::uint16_t unit, std::uint32_t& lo,
                        std::uint32_t& hi) {
        lo = index[unit];
        hi = index[unit + 1];
    }

private:
    // Unit `position` of the entry's word; the entry must be longer than `position`.
    std::uint16_t unitOf(std::uint32_t entry, int position) const;
    // Narrows [lo, hi), the entries that begin with the text's first `position` units, to those
    // that also have `unit` at `position`.
    void narrow(std::uint32_t& lo, std::uint32_t& hi, int position, std::uint16_t unit) const;
    const unsigned char* entryAt(std::uint32_t entry) const {
        return entries_ + std::size_t{entrySize_} * entry;
    }

    const unsigned char* entries_;
    const unsigned char* pool_;
    std::uint32_t count_;
    std::uint32_t entrySize_;
    bool weighted_;
};

template <typename Visit>
void WordTable::forEachMatch(const unsigned char* text, int maxUnits, std::uint32_t lo,
                             std::uint32_t hi, Visit visit) const {
    for (int position = 0; position < maxUnits && lo < hi; ++position) {
        const auto unit =
            static_cast<std::uint16_t>((text[2 * position] << 8) | text[2 * position + 1]);
        if (unit == 0) {
            break;
        }
        narrow(lo, hi, position, unit);
        // Entries are sorted by word: one exactly position + 1 units long comes first.
        if (lo < hi && wordLength(lo) == position + 1) {
            visit(lo);
        }
    }
}

}  // namespace corvina::iwnn
