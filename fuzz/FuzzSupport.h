#pragma once

// What several fuzzers share: files below TANGOR_SYSROOT, and dictionary pairs packed into one
// input. A packed pair is: one flags byte, the size of "njcon.a" (2 bytes, big-endian), "njcon.a",
// then "njtan.a" (the rest). Flag bit 0 asks for the size and checksum of "njtan.a" to be written
// into "njcon.a" first, so that mutations reach the engine's parser past its checksum test.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tangor::fuzz {

inline constexpr unsigned char kFixChecksum = 0x01;
inline constexpr std::size_t kPackedHeaderSize = 3;

// Well-formed UTF-8 (utf8proc's decoder); unlike the indexer's legacy::isUtf8, a NUL byte counts
// as text.
bool wellFormed(std::string_view text);

// Writes `size` bytes at `data` to `path`, making its folders; false when it cannot.
bool writeFile(const std::string& path, const std::uint8_t* data, std::size_t size);

// Unpacks `data` into the mainland pair's two files below TANGOR_SYSROOT. False when the input is
// too short to hold the header or names more bytes of "njcon.a" than it has.
bool writePackedPair(const std::uint8_t* data, std::size_t size);

// Loads the packed pair kept in the file `path` (a seed of the dictionary fuzzer) with init_lib on
// the mainland market; the process exits when it cannot.
void loadPackedPairFile(const std::string& path);

}  // namespace tangor::fuzz
