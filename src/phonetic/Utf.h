#pragma once

#include <cstddef>

namespace corvina {

// Converts as utf16be_to_utf8 does, but ends before the first character whose bytes would take
// the text past `maxBytes` (the NUL not counted): `dst` needs maxBytes + 1 bytes at most.
int utf16beToUtf8Within(const unsigned char* src, char* dst, int maxUnits, std::size_t maxBytes);

}  // namespace corvina
