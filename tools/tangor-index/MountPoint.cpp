#include "MountPoint.h"

#include <tangor/metadata/Md5.h>

namespace tangor::index {

namespace {

unsigned rank(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte == '/' ? 0 : byte + 1u;
}

}  // namespace

MountPoint::MountPoint(const std::string& path) {
    const std::size_t end = path.find_last_not_of('/');
    path_ = end == std::string::npos ? path.substr(0, 1) : path.substr(0, end + 1);
    prefix_ = path_ == "/" ? path_ : path_ + "/";
    partitionId_ = corvina::Md5(corvina::Md5::Directory, path_).value;
}

std::string MountPoint::absolute(const std::string& relative) const {
    return relative.empty() ? path_ : prefix_ + relative;
}

bool MountPoint::relative(const std::string& absolute, std::string& relative) const {
    if (absolute == path_) {
        relative.clear();
        return true;
    }
    if (absolute.compare(0, prefix_.size(), prefix_) != 0) {
        return false;
    }
    relative = absolute.substr(prefix_.size());
    return true;
}

std::string joinRelative(const std::string& folder, const std::string& name) {
    return folder.empty() ? name : folder + "/" + name;
}

std::string parentOf(const std::string& relative) {
    const std::size_t slash = relative.rfind('/');
    return slash == std::string::npos ? "" : relative.substr(0, slash);
}

std::string lastComponent(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos || path.size() == 1 ? path : path.substr(slash + 1);
}

int comparePaths(const char* a, std::size_t aSize, const char* b, std::size_t bSize) {
    const std::size_t common = aSize < bSize ? aSize : bSize;
    for (std::size_t i = 0; i < common; ++i) {
        if (a[i] != b[i]) {
            return rank(a[i]) < rank(b[i]) ? -1 : 1;
        }
    }
    return aSize == bSize ? 0 : (aSize < bSize ? -1 : 1);
}

bool isWithin(const std::string& path, const std::string& folder) {
    if (folder.empty()) {
        return true;
    }
    return path.compare(0, folder.size(), folder) == 0 &&
           (path.size() == folder.size() || path[folder.size()] == '/');
}

}  // namespace tangor::index
