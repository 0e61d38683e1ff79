#include "PartitionWalk.h"

#include <dirent.h>
#include <limits.h>
#include <strings.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>

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

WalkEntry problemEntry(WalkEntry::Kind kind, const std::string& relative,
                       const std::string& problem) {
    WalkEntry entry;
    entry.kind = kind;
    entry.relativePath = relative;
    entry.problem = problem;
    return entry;
}

WalkEntry unreadable(const std::string& relative, const std::string& problem) {
    return problemEntry(WalkEntry::Kind::Unreadable, relative, problem);
}

WalkEntry skipped(const std::string& relative, const std::string& problem) {
    return problemEntry(WalkEntry::Kind::Skipped, relative, problem);
}

// `path` is `folder` or lies below it; both resolved, absolute.
bool isBelow(const std::string& path, const std::string& folder) {
    if (folder == "/") {
        return true;
    }
    return path.compare(0, folder.size(), folder) == 0 &&
           (path.size() == folder.size() || path[folder.size()] == '/');
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
    : mountPoint_(mountPoint), limits_(limits) {
    int ignored = 0;
    // Left empty when it cannot be resolved: the walk then cannot open it either.
    resolvedPath(mountPoint_.path(), resolvedRoot_, ignored);
}

PartitionWalk::~PartitionWalk() = default;

// True when `entry` is to be returned: the folder cannot be read (it is then not entered), or it
// holds more entries than the limit (it is entered, cut short).
bool PartitionWalk::enter(int parent, const char* name, const std::string& relative, int depth,
                          WalkEntry& entry) {
    auto folder = std::make_unique<Folder>();
    // The mount point may be named through a link; nothing below it is entered through one.
    folder->fd = openFolder(parent, name, depth == 0);
    if (!folder->fd.valid()) {
        if (depth > 0 && errno == ENOENT) {
            return false;  // gone since its folder was listed
        }
        entry = unreadable(relative, "folder cannot be opened: " + errorText(errno));
        return true;
    }
    bool full = false;
    int error = 0;
    if (!listFolder(folder->fd.get(), limits_.maxFolderEntries, folder->entries, full, error)) {
        // A partial listing would make the rest of the folder look deleted.
        entry = unreadable(relative, "folder cannot be read: " + errorText(error));
        return true;
    }
    std::sort(folder->entries.begin(), folder->entries.end(), byName);
    folder->relative = relative;
    folder->depth = depth;
    stack_.push_back(std::move(folder));
    if (full) {
        entry =
            skipped(relative, "folder has more than " + std::to_string(limits_.maxFolderEntries) +
                                  " entries; the rest are skipped");
    }
    return full;
}

bool PartitionWalk::next(WalkEntry& entry) {
    if (!started_) {
        started_ = true;
        if (enter(AT_FDCWD, mountPoint_.path().c_str(), "", 0, entry)) {
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
    // A folder the listing names as such is no link (those are DT_LNK): it is opened without a
    // statx, one system call less for each folder of a rescan.
    FileStatus status;
    status.type = FileStatus::Type::Directory;
    if (item.type != DT_DIR) {
        status = fileStatus(folder.fd.get(), item.name.c_str(), false);
    }
    const bool link = status.type == FileStatus::Type::Link;
    if (link) {
        status = fileStatus(folder.fd.get(), item.name.c_str(), true);
    }
    if (status.type == FileStatus::Type::Missing) {
        return false;  // gone since the listing, or a dangling link
    }
    if (status.type == FileStatus::Type::Unknown) {
        entry = unreadable(relative, "cannot be checked: " + errorText(status.error));
        return true;
    }
    const bool isFolder = status.type == FileStatus::Type::Directory;
    if (!isFolder && (status.type != FileStatus::Type::Regular || kind == FileKind::Other)) {
        return false;
    }
    if (!fitsPathMax(relative)) {
        entry = skipped(relative,
                        "path longer than " + std::to_string(PATH_MAX - 1) + " bytes; skipped");
        return true;
    }
    std::string problem;
    if (link && !liesInside(relative, problem)) {
        entry = problem.empty() ? skipped(relative, "link leaves the partition; not followed")
                                : unreadable(relative, problem);
        return true;
    }
    if (isFolder) {
        if (link) {
            return false;  // what it holds is walked where it lies
        }
        if (folder.depth + 1 > limits_.maxDepth) {
            entry = skipped(relative, "folder more than " + std::to_string(limits_.maxDepth) +
                                          " levels below the mount point; skipped");
            return true;
        }
        return enter(folder.fd.get(), item.name.c_str(), relative, folder.depth + 1, entry);
    }
    if (files_ >= limits_.maxFiles) {
        stack_.clear();
        entry = skipped(relative, "more than " + std::to_string(limits_.maxFiles) +
                                      " audio files and playlists; this one and the rest of the "
                                      "partition are skipped");
        return true;
    }
    ++files_;
    entry = WalkEntry{kind == FileKind::Audio ? WalkEntry::Kind::Audio : WalkEntry::Kind::Playlist,
                      relative,
                      status.lastModified,
                      {},
                      link};
    return true;
}

// The absolute path, with its ending NUL, fits in PATH_MAX: it can be opened and stored.
bool PartitionWalk::fitsPathMax(const std::string& relative) const {
    const std::size_t separator = mountPoint_.path() == "/" ? 0 : 1;
    return mountPoint_.path().size() + separator + relative.size() < PATH_MAX;
}

// The link at `relative` resolves to a place below the mount point. False with `problem` empty
// when it leaves the partition, or with `problem` set when it cannot be resolved.
bool PartitionWalk::liesInside(const std::string& relative, std::string& problem) const {
    std::string resolved;
    int error = 0;
    if (!resolvedPath(mountPoint_.absolute(relative), resolved, error)) {
        problem = "link cannot be resolved: " + errorText(error);
        return false;
    }
    return !resolvedRoot_.empty() && isBelow(resolved, resolvedRoot_);
}

}  // namespace tangor::index
