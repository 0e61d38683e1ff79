#pragma once

// What the comparison stage hands on for one path, in walk order, and what the tag stage adds.

#include <cstdint>
#include <string>

#include "TagReader.h"

namespace tangor::index {

struct ScanItem {
    enum class Action {
        Keep,      // a stored track whose file is unchanged, or cannot be checked now
        Read,      // a new or changed file: its tags are read and its rows written
        Delete,    // a stored track whose file is gone
        Playlist,  // a playlist file, resolved once the tracks are written
    };
    Action action = Action::Keep;
    std::string relativePath;
    std::int64_t lastModified = 0;  // of the file; Read and Playlist
    std::int64_t storedId = 0;      // the stored row's ID; 0 when there is none

    // Filled by the tag stage (Read only).
    Tags tags;
    TagResult tagResult = TagResult::Unreadable;

    // Read: the walk reached the file through a link. Any other file is opened without following
    // one, so that a link put in its place after the walk's check leads nowhere.
    bool link = false;
};

}  // namespace tangor::index
