#include "PartitionWalk.h"

#include <dirent.h>
#include <strings.h>

#include <algorithm>
#include <array>

namespace tangor::index {

namespace {

// The audio formats that TagLib reads, and the playlist formats we resolve.
constexpr std::array<const char*, 14> kAudioExtensions = {"mp3", "m4a", "m4b",  "aac", "flac",
                                                          "ogg", "oga", "opus", "wav", "aiff",
                                                          "wma", "ape", "wv",   "mpc"};
constexpr std::array<const char*, 3> kPlaylistExtensions = {"m3u", "m3u8", "pls"};

template <std::size_t N>
bool hasExtension(const char* extension, const std::array<const char*, N>& extensions) {
    return std::any_of(extensions.begin(), extensions.end(), [extension](const char* known) {
        return strcasecmp(extension, known) == 0;
    });
}

bool byName(const FolderEntry& a, const FolderEntry& b) {
    return comparePaths(a.name, b.name) < 0;
}

WalkEntry unreadable(const std::string& relative, const std::string& problem) {
    WalkEntry entry;
    entry.kind = WalkEntry::Kind::Unreadable;
    entry.relativePath = relative;
    entry.problem = problem;
    return entry;
}

}  // namespace

struct PartitionWalk::Folder {
    FileDescriptor fd;
    std::string relative;
    int depth = 0;
    std::vector<FolderEntry> entries;  // sorted by name
    std::size_t next = 0;
};

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

PartitionWalk::PartitionWalk(const MountPoint& mountPoint, const WalkLimits& limits)
    : mountPoint_(mountPoint), limits_(limits) {}

PartitionWalk::~PartitionWalk() = default;

bool PartitionWalk::enter(int parent, const char* name, const std::string& relative, int depth,
                          WalkEntry& problem) {
    auto folder = std::make_unique<Folder>();
    // The mount point may be named through a link; nothing below it is entered through one.
    folder->fd = openFolder(parent, name, depth == 0);
    if (!folder->fd.valid()) {
        problem = unreadable(relative, "folder cannot be opened: " + errorText(errno));
        return false;
    }
    bool full = false;
    int error = 0;
    if (!listFolder(folder->fd.get(), limits_.maxFolderEntries, folder->entries, full, error)) {
        // A partial listing would make the rest of the folder look deleted.
        problem = unreadable(relative, "folder cannot be read: " + errorText(error));
        return false;
    }
    truncated_ = truncated_ || full;
    std::sort(folder->entries.begin(), folder->entries.end(), byName);
    folder->relative = relative;
    folder->depth = depth;
    stack_.push_back(std::move(folder));
    return true;
}

bool PartitionWalk::next(WalkEntry& entry) {
    if (!started_) {
        started_ = true;
        if (!enter(AT_FDCWD, mountPoint_.path().c_str(), "", 0, entry)) {
            return true;
        }
    }
    // Each round consumes one folder entry or one finished folder; the walk is bounded by the
    // limits on files, entries and depth.
    while (!stack_.empty()) {
        Folder& folder = *stack_.back();
        if (folder.next == folder.entries.size()) {
            stack_.pop_back();
            continue;
        }
        const FolderEntry& item = folder.entries[folder.next++];
        if (visit(folder, item, entry)) {
            return true;
        }
    }
    return false;
}

// True when `entry` is to be returned.
bool PartitionWalk::visit(Folder& folder, const FolderEntry& item, WalkEntry& entry) {
    const FileKind kind = kindOfName(item.name);
    const bool maybeFolder = item.type == DT_DIR || item.type == DT_UNKNOWN || item.type == DT_LNK;
    if (kind == FileKind::Other && !maybeFolder) {
        return false;
    }
    const std::string relative = joinRelative(folder.relative, item.name);
    FileStatus status = fileStatus(folder.fd.get(), item.name.c_str(), false);
    if (status.type == FileStatus::Type::Directory) {
        if (folder.depth + 1 > limits_.maxDepth) {
            truncated_ = true;
            return false;
        }
        return !enter(folder.fd.get(), item.name.c_str(), relative, folder.depth + 1, entry);
    }
    if (status.type == FileStatus::Type::Link && kind != FileKind::Other) {
        status = fileStatus(folder.fd.get(), item.name.c_str(), true);
    }
    if (status.type == FileStatus::Type::Missing) {
        return false;  // gone since the listing, or a dangling link
    }
    if (status.type == FileStatus::Type::Unknown) {
        entry = unreadable(relative, "cannot be checked: " + errorText(status.error));
        return true;
    }
    if (status.type != FileStatus::Type::Regular || kind == FileKind::Other) {
        return false;
    }
    if (files_ >= limits_.maxFiles) {
        truncated_ = true;
        stack_.clear();
        return false;
    }
    ++files_;
    entry = WalkEntry{kind == FileKind::Audio ? WalkEntry::Kind::Audio : WalkEntry::Kind::Playlist,
                      relative,
                      status.lastModified,
                      {}};
    return true;
}

}  // namespace tangor::index
