#pragma once

// The tags of one audio file as the tools see them: make-sample-library writes them, tangor-index
// reads them back.

#include <string>

namespace tangor {

struct TrackTags {
    std::string title;
    std::string artist;
    std::string album;
    std::string genre;
    std::string composer;
    int trackNumber = 0;  // 0 when missing
    int discNumber = 0;   // 0 when missing
    int year = 0;         // written by make-sample-library; the index does not read it
};

}  // namespace tangor
