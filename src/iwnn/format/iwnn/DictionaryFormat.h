#pragma once

// The layout of the two dictionary files of the built-in engine (docs/dictionary-format.md),
// shared by the engine that reads them and tangor-mkdic that writes them. Every integer is
// big-endian, every text UTF-16BE; the helpers below read and write them byte by byte, so neither
// alignment nor host byte order matters.

#include <cstddef>
#include <cstdint>

namespace corvina::iwnn {

// Version 1: words and readings. Version 2 adds a cost to every entry, readings made of
// syllables separated by spaces, and words that hold only at the start of a text.
constexpr std::uint16_t kFormatVersion = 1;
constexpr std::uint16_t kWeightedFormatVersion = 2;
constexpr std::uint16_t kMaxWordUnits = 55;
constexpr std::uint16_t kMaxReadingUnits = 55;
constexpr std::uint16_t kMaxCandidateLimit = 55;

// "njcon.a": the settings, a fixed 24-byte header.
constexpr unsigned char kSettingsMagic[4] = {'T', 'G', 'C', 'N'};
constexpr std::uint32_t kSettingsSize = 24;
constexpr std::size_t kSettingsVersionAt = 4;          // u16
constexpr std::size_t kSettingsHeaderSizeAt = 6;       // u16, kSettingsSize
constexpr std::size_t kSettingsWordsSizeAt = 8;        // u32, bytes of "njtan.a"
constexpr std::size_t kSettingsWordsChecksumAt = 12;   // u32, wordsChecksum of "njtan.a"
constexpr std::size_t kSettingsLongestWordAt = 16;     // u16, units
constexpr std::size_t kSettingsCandidateLimitAt = 18;  // u16, units
constexpr std::size_t kSettingsWordCountAt = 20;       // u32

// "njtan.a": a 16-byte header, the entry table, then the pool of units.
constexpr unsigned char kWordsMagic[4] = {'T', 'G', 'T', 'N'};
constexpr std::uint32_t kWordsHeaderSize = 16;
constexpr std::size_t kWordsVersionAt = 4;     // u16
constexpr std::size_t kWordsReservedAt = 6;    // u16, 0
constexpr std::size_t kWordsCountAt = 8;       // u32, entries
constexpr std::size_t kWordsPoolUnitsAt = 12;  // u32, units in the pool

// One entry: the word's units stand at `offset` in the pool, its reading's units right after.
constexpr std::size_t kEntryOffsetAt = 0;         // u32, units into the pool
constexpr std::size_t kEntryWordLengthAt = 4;     // u16, units
constexpr std::size_t kEntryReadingLengthAt = 6;  // u16, units
constexpr std::size_t kEntryCostAt = 8;           // u16, version 2 only

constexpr std::uint32_t entrySize(std::uint16_t version) {
    return version == kWeightedFormatVersion ? 10 : 8;
}

// Version 2: a word whose first unit is this one holds only where a text starts (a surname that
// reads otherwise inside a text); the unit itself stands for the start and matches nothing.
constexpr std::uint16_t kStartUnit = 0x0001;
// Version 2: the syllables of a reading are separated by one space each.
constexpr std::uint16_t kSyllableSeparator = 0x0020;
// Version 2: an entry's cost is -ln(its share of all the weights) in thousandths, capped.
constexpr double kCostPerNat = 1000.0;
constexpr std::uint16_t kMaxCost = 0xFFFF;

// The byte count of a words file with `count` entries and `poolUnits` units, in 64 bits: hostile
// counts must not wrap around on a 32-bit target.
constexpr std::uint64_t wordsFileSize(std::uint16_t version, std::uint64_t count,
                                      std::uint64_t poolUnits) {
    return kWordsHeaderSize + entrySize(version) * count + 2 * poolUnits;
}

inline std::uint16_t readU16(const unsigned char* at) {
    return static_cast<std::uint16_t>((at[0] << 8) | at[1]);
}

inline std::uint32_t readU32(const unsigned char* at) {
    return (std::uint32_t{at[0]} << 24) | (std::uint32_t{at[1]} << 16) |
           (std::uint32_t{at[2]} << 8) | at[3];
}

inline void writeU16(unsigned char* at, std::uint16_t value) {
    at[0] = static_cast<unsigned char>(value >> 8);
    at[1] = static_cast<unsigned char>(value);
}

inline void writeU32(unsigned char* at, std::uint32_t value) {
    writeU16(at, static_cast<std::uint16_t>(value >> 16));
    writeU16(at + 2, static_cast<std::uint16_t>(value));
}

constexpr std::uint32_t kFnvOffset = 2166136261u;
constexpr std::uint32_t kFnvPrime = 16777619u;

// FNV-1a, 32 bits, over `size` bytes.
inline std::uint32_t fnv1a32(const unsigned char* data, std::size_t size) {
    std::uint32_t hash = kFnvOffset;
    for (std::size_t i = 0; i < size; ++i) {
        hash = (hash ^ data[i]) * kFnvPrime;
    }
    return hash;
}

// FNV-1a, 32 bits, taken over the big-endian 32-bit words of `size` bytes (the last one padded
// with zero bytes) instead of single bytes: a quarter of the steps, which a 4 MiB words file on a
// slow core needs.
inline std::uint32_t fnv1a32Words(const unsigned char* data, std::size_t size) {
    std::uint32_t hash = kFnvOffset;
    const std::size_t whole = size - size % 4;
    for (std::size_t i = 0; i < whole; i += 4) {
        hash = (hash ^ readU32(data + i)) * kFnvPrime;
    }
    if (whole < size) {
        unsigned char tail[4] = {0, 0, 0, 0};
        for (std::size_t i = whole; i < size; ++i) {
            tail[i - whole] = data[i];
        }
        hash = (hash ^ readU32(tail)) * kFnvPrime;
    }
    return hash;
}

// The checksum the settings hold of a words file of that version.
inline std::uint32_t wordsChecksum(std::uint16_t version, const unsigned char* data,
                                   std::size_t size) {
    return version == kWeightedFormatVersion ? fnv1a32Words(data, size) : fnv1a32(data, size);
}

}  // namespace corvina::iwnn
