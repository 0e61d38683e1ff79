#pragma once

// A check made before TagLib opens a file: TagLib searches a file that holds no frame where one
// should be for one through all of its length (2 GiB of zero bytes: minutes of CPU, more on the
// target), so a file whose start cannot be audio is indexed from its name without it.

#include <cstddef>
#include <string>

namespace tangor::index {

// The bytes of a file's start that are looked at. Every audio container the index knows starts
// with a magic or a frame within them; an MPEG stream may follow padding, but not this much.
inline constexpr std::size_t kAudioHeadBytes = 64 * 1024;

// True when the file at `path` is not empty and its first kAudioHeadBytes bytes (all of it when it
// is shorter) are zero bytes. False too when it cannot be read: TagLib then tells what is wrong.
bool headIsAllZero(const std::string& path);

}  // namespace tangor::index
