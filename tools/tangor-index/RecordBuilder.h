#pragma once

// The record stage: a track record with its readings, from a file's path, tags and time. Runs on
// the writing thread only: the phonetic engine has one work area for the whole process.

#include <tangor/metadata/MetaDataInfo.h>

#include <cstdint>
#include <string>

#include "MountPoint.h"
#include "TagReader.h"

namespace tangor::index {

class RecordBuilder {
public:
    // Starts the phonetic engine where the market's readings need it (the library's answer), and
    // stops it at the end.
    RecordBuilder();
    ~RecordBuilder();
    RecordBuilder(const RecordBuilder&) = delete;
    RecordBuilder& operator=(const RecordBuilder&) = delete;

    // The record of the file at `relativePath`, its tags trimmed of spaces, with readings on the
    // markets that have them. The record keeps `lastModified` as a long, which on a 32-bit target
    // cannot hold every time; the row takes it from the file instead.
    corvina::MetaDataInfo build(const MountPoint& mountPoint, const std::string& relativePath,
                                const Tags& tags, std::int64_t lastModified) const;

private:
    bool engine_;
    bool readings_;
};

}  // namespace tangor::index
