#pragma once

// Writes the tree SampleLayout.h describes.

#include <stdexcept>
#include <string>

namespace tangor::sample {

// A file or folder that could not be written; the message names it.
class WriteError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct TreeCounts {
    int audioFiles;
    int playlists;
};

// Writes the first `files` audio files, the hidden and non-audio files and the playlists below
// `root`, making every folder they need, and with `legacyTags` the legacy samples; existing files
// are overwritten. Throws WriteError.
TreeCounts writeTree(const std::string& root, int files, bool legacyTags = false);

}  // namespace tangor::sample
