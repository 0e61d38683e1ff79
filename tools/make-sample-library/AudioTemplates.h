#pragma once

// Byte images of short silent audio streams without tags, built once and then tagged per file.
// Each lasts just over one second, so a reader that keeps whole seconds sees a length of 1, and
// stays a few kilobytes long. All fields are written byte by byte in the container's own order.

#include <cstdint>
#include <vector>

namespace tangor::sample {

using Bytes = std::vector<std::uint8_t>;

// MPEG-1 Layer III, 32 kbit/s, 44.1 kHz, mono: 39 frames of 104 bytes with no CRC.
Bytes mp3Silence();
// FLAC, 44.1 kHz, 16 bits, stereo: STREAMINFO and 11 frames of 4096 samples with constant
// subframes.
Bytes flacSilence();
// ISO-BMFF with one AAC-LC track (44.1 kHz, mono, 44 frames of 1024 samples), the movie box ahead
// of the media data. `audiobook` gives the brand of an ".m4b" file.
Bytes mp4Silence(bool audiobook);
// Ogg Opus, mono: OpusHead, OpusTags and 51 packets of 20 ms.
Bytes opusSilence();
// RIFF WAVE, 8-bit mono PCM at 8 kHz, one second.
Bytes wavSilence();
// A ".flac" whose first metadata block is a Vorbis comment running past the end of the file, not
// the STREAMINFO block FLAC requires first: TagLib rejects it. (TagLib still accepts an ".mp3" of
// garbage, with empty tags and no length, so that would not do.)
Bytes brokenFlac();

}  // namespace tangor::sample
