#include "PartitionWalker.h"

#include <dirent.h>
#include <strings.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <memory>

namespace tangor::index {

namespace {

// The audio formats that TagLib reads, and the playlist formats we resolve.
constexpr std::array<const char*, 14> kAudioExtensions = {"mp3", "m4a", "m4b",  "aac", "flac",
                                                          "ogg", "oga", "opus", "wav", "aiff",
                                                          "wma", "ape", "wv",   "mpc"};
constexpr std::array<const char*, 3> kPlaylistExtensions = {"m3u", "m3u8", "pls"};

struct DirCloser {
    void operator()(DIR* dir) const noexcept { closedir(dir); }
};

struct Entry {
    std::string name;
    unsigned char type;
};

std::vector<Entry> readEntries(DIR* dir, std::size_t limit) {
    std::vector<Entry> entries;
    while (const dirent* entry = readdir(dir)) {
        if (entry->d_name[0] == '.') {
            continue;  // hidden, "." and ".."
        }
        entries.push_back({entry->d_name, entry->d_type});
        if (entries.size() >= limit) {
            break;
        }
    }
    std::sort(entries.begin(), entries.end(),
              [](const Entry& a, const Entry& b) { return a.name < b.name; });
    return entries;
}

class Walker {
public:
    Walker(const std::string& mountPoint, const WalkLimits& limits)
        : mountPoint_(mountPoint), limits_(limits) {}

    PartitionListing run() {
        walk("", 0);
        return std::move(listing_);
    }

private:
    std::string absolute(const std::string& relative) const {
        if (relative.empty()) {
            return mountPoint_;
        }
        return mountPoint_ == "/" ? "/" + relative : mountPoint_ + "/" + relative;
    }

    bool full() const {
        return listing_.audioFiles.size() + listing_.playlists.size() >= limits_.maxFiles;
    }

    void walk(const std::string& relative, int depth) {
        const std::unique_ptr<DIR, DirCloser> dir(opendir(absolute(relative).c_str()));
        if (!dir) {
            listing_.unreadableDirectories.push_back(relative);
            return;
        }
        // More entries than files allowed cannot all be listed anyway.
        const std::vector<Entry> entries = readEntries(dir.get(), limits_.maxFiles + 1);
        for (const Entry& entry : entries) {
            if (full()) {
                listing_.truncated = true;
                return;
            }
            visit(relative.empty() ? entry.name : relative + "/" + entry.name, entry, depth);
        }
    }

    void visit(const std::string& relative, const Entry& entry, int depth) {
        const FileKind kind = kindOfName(entry.name);
        const bool maybeDirectory =
            entry.type == DT_DIR || entry.type == DT_UNKNOWN || entry.type == DT_LNK;
        if (kind == FileKind::Other && !maybeDirectory) {
            return;
        }
        // lstat, so that a link to a directory is seen as a link and left alone; a link to a
        // file is indexed as the file it names.
        struct stat status {};
        if (lstat(absolute(relative).c_str(), &status) != 0) {
            return;  // gone since the listing
        }
        if (S_ISDIR(status.st_mode)) {
            if (depth + 1 > limits_.maxDepth) {
                listing_.truncated = true;
                return;
            }
            walk(relative, depth + 1);
            return;
        }
        if (S_ISLNK(status.st_mode) && stat(absolute(relative).c_str(), &status) != 0) {
            return;  // dangling
        }
        if (!S_ISREG(status.st_mode) || kind == FileKind::Other) {
            return;
        }
        FoundFile found{relative, static_cast<std::int64_t>(status.st_mtime)};
        (kind == FileKind::Audio ? listing_.audioFiles : listing_.playlists)
            .push_back(std::move(found));
    }

    const std::string& mountPoint_;
    const WalkLimits& limits_;
    PartitionListing listing_;
};

template <std::size_t N>
bool hasExtension(const char* extension, const std::array<const char*, N>& extensions) {
    return std::any_of(extensions.begin(), extensions.end(), [extension](const char* known) {
        return strcasecmp(extension, known) == 0;
    });
}

}  // namespace

FileKind kindOfName(const std::string& name) {
    const std::size_t dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0) {
        return FileKind::Other;
    }
    const char* extension = name.c_str() + dot + 1;
    if (hasExtension(extension, kAudioExtensions)) {
        return FileKind::Audio;
    }
    return hasExtension(extension, kPlaylistExtensions) ? FileKind::Playlist : FileKind::Other;
}

PartitionListing walkPartition(const std::string& mountPoint, const WalkLimits& limits) {
    return Walker(mountPoint, limits).run();
}

}  // namespace tangor::index
