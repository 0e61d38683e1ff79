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
    WordTable(const unsigned char* image, std::uint32_t count);

    std::uint32_t count() const { return count_; }
    std::uint32_t offset(std::uint32_t entry) const;  // units into the pool
    std::uint16_t wordLength(std::uint32_t entry) const;
    std::uint16_t readingLength(std::uint32_t entry) const;
    // The entry's first unit, in the pool; its reading follows its last unit.
    const unsigned char* word(std::uint32_t entry) const;
    const unsigned char* reading(std::uint32_t entry) const;

    // The longest entry that `text` begins with, at most `maxUnits` units and never past a zero
    // unit of `text`; -1 when none. Its length is the entry's word length. Only entries in
    // [lo, hi) are looked at: they must hold every entry that begins with the text's first unit.
    std::int32_t longestMatch(const unsigned char* text, int maxUnits, std::uint32_t lo,
                              std::uint32_t hi) const;

    // The first-unit index: for each group of 16 first units (unit >> 4), the first entry whose
    // first unit is in that group or a later one, then the count; kIndexSize values in all. It
    // narrows the first step of a lookup to a few dozen entries at most.
    static constexpr std::uint32_t kIndexSize = (0x10000 >> 4) + 1;
    void buildIndex(std::uint32_t* index) const;
    // The entries that may begin with `unit`, per an index built by buildIndex.
    static void rangeOf(const std::uint32_t* index, std::uint16_t unit, std::uint32_t& lo,
                        std::uint32_t& hi) {
        lo = index[unit >> 4];
        hi = index[(unit >> 4) + 1];
    }

private:
    // Unit `position` of the entry's word; the entry must be longer than `position`.
    std::uint16_t unitOf(std::uint32_t entry, int position) const;
    // The first entry in [lo, hi) whose unit at `position` is above `unit` (`orEqual`: not below).
    std::uint32_t boundary(std::uint32_t lo, std::uint32_t hi, int position, std::uint16_t unit,
                           bool orEqual) const;

    const unsigned char* entries_;
    const unsigned char* pool_;
    std::uint32_t count_;
};

}  // namespace corvina::iwnn
