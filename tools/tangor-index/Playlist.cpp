#include "Playlist.h"

#include "LegacyTagHandlers.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>

#include "FileSystem.h"

namespace tangor::index {

namespace {

std::string trimmed(const std::string& text) {
    const char* spaces = " \t\r\n";
    const std::size_t first = text.find_first_not_of(spaces);
    if (first == std::string::npos) {
        return "";
    }
    return text.substr(first, text.find_last_not_of(spaces) - first + 1);
}

bool startsWith(const std::string& text, const char* prefix) {
    return text.compare(0, std::strlen(prefix), prefix) == 0;
}

int hexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

// "file:///music/a%20b.mp3" -> "/music/a b.mp3"; anything else unchanged.
std::string withoutFileUrl(const std::string& entry) {
    if (!startsWith(entry, "file://")) {
        return entry;
    }
    std::string decoded;
    for (std::size_t i = 7; i < entry.size(); ++i) {
        if (entry[i] == '%' && i + 2 < entry.size() && hexValue(entry[i + 1]) >= 0 &&
            hexValue(entry[i + 2]) >= 0) {
            decoded += static_cast<char>(hexValue(entry[i + 1]) * 16 + hexValue(entry[i + 2]));
            i += 2;
        } else {
            decoded += entry[i];
        }
    }
    return decoded;
}

// A .pls entry is "FileN=path"; entries play in the order of N.
void collectPlsEntries(const std::vector<std::string>& lines, std::vector<std::string>& entries) {
    std::vector<std::pair<long, std::string>> numbered;
    for (const std::string& line : lines) {
        if (line.size() < 6 || strncasecmp(line.c_str(), "File", 4) != 0) {
            continue;
        }
        char* end = nullptr;
        const long number = std::strtol(line.c_str() + 4, &end, 10);
        if (end == line.c_str() + 4 || *end != '=') {
            continue;
        }
        numbered.emplace_back(number, trimmed(end + 1));
    }
    std::stable_sort(numbered.begin(), numbered.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    for (auto& [number, entry] : numbered) {
        entries.push_back(std::move(entry));
    }
}

bool isPls(const std::string& path) {
    return path.size() >= 4 && strcasecmp(path.c_str() + path.size() - 4, ".pls") == 0;
}

}  // namespace

bool readPlaylistEntries(const std::string& path, std::vector<std::string>& entries,
                         PlaylistCut& cut, const PlaylistLimits& limits) {
    cut = PlaylistCut::None;
    std::string content;
    bool whole = true;
    int error = 0;
    if (!readFileStart(path, limits.maxBytes, content, whole, error)) {
        return false;
    }
    if (!whole) {
        cut = PlaylistCut::Bytes;
        // The last line read is cut in half: it names nothing.
        const std::size_t lastLineEnd = content.rfind('\n');
        content.resize(lastLineEnd == std::string::npos ? 0 : lastLineEnd);
    }
    if (startsWith(content, "\xEF\xBB\xBF")) {
        content.erase(0, 3);
    }
    content = legacy::playlistText(content, path);  // legacy encodings: LegacyTagHandlers.h
    std::vector<std::string> lines;
    std::size_t start = 0;
    // A .pls file has up to three lines per entry (file, title, length).
    const std::size_t maxLines = limits.maxEntries * 3 + 16;
    while (start < content.size() && lines.size() < maxLines) {
        std::size_t end = content.find('\n', start);
        if (end == std::string::npos) {
            end = content.size();
        }
        std::string line = trimmed(content.substr(start, end - start));
        if (!line.empty() && line[0] != '#') {
            lines.push_back(std::move(line));
        }
        start = end + 1;
    }
    const bool linesLeft = start < content.size();  // beyond the lines a .pls may have
    if (isPls(path)) {
        collectPlsEntries(lines, entries);
    } else {
        entries = std::move(lines);
    }
    if (entries.size() > limits.maxEntries || linesLeft) {
        cut = PlaylistCut::Entries;
    }
    if (entries.size() > limits.maxEntries) {
        entries.resize(limits.maxEntries);
    }
    return true;
}

bool joinEntry(const std::string& folder, const std::string& entry, std::string& relative) {
    std::string text = withoutFileUrl(entry);
    std::replace(text.begin(), text.end(), '\\', '/');
    const bool hasDrive =
        text.size() >= 2 && text[1] == ':' && std::isalpha(static_cast<unsigned char>(text[0]));
    if (hasDrive) {
        text.erase(0, 2);
    }
    const bool fromRoot = hasDrive || (!text.empty() && text[0] == '/');
    std::vector<std::string> parts;
    auto append = [&parts](const std::string& path) {
        std::size_t start = 0;
        while (start <= path.size()) {
            std::size_t end = path.find('/', start);
            if (end == std::string::npos) {
                end = path.size();
            }
            const std::string part = path.substr(start, end - start);
            if (part == "..") {
                if (parts.empty()) {
                    return false;
                }
                parts.pop_back();
            } else if (!part.empty() && part != ".") {
                parts.push_back(part);
            }
            start = end + 1;
        }
        return true;
    };
    if ((!fromRoot && !append(folder)) || !append(text) || parts.empty()) {
        return false;
    }
    relative.clear();
    for (const std::string& part : parts) {
        relative += relative.empty() ? part : "/" + part;
    }
    return true;
}

}  // namespace tangor::index
