#pragma once

// A check made before TagLib opens a file: TagLib searches a file that holds no frame where one
// should be for one through all of its length (2 GiB of zero bytes: minutes of CPU, more on the
// target), so a file whose start cannot be audio is indexed from its name without it
// (FileReadStream::headIsAllZero).

#include <cstddef>

namespace tangor::index {

// The bytes of a file's start that are looked at. Every audio container the index knows starts
// with a magic or a frame within them; an MPEG stream may follow padding, but not this much.
inline constexpr std::size_t kAudioHeadBytes = 64 * 1024;

}  // namespace tangor::index
