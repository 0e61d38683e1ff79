#include "LegacyTagHandlers.h"

#include <strings.h>
#include <taglib/id3v1tag.h>
#include <taglib/id3v2tag.h>
#include <taglib/infotag.h>
#include <taglib/tbytevector.h>
#include <taglib/tstring.h>
#include <tangor/coding/CodingManager.h>

#include <vector>

#include "LegacyText.h"

namespace tangor::index::legacy {

namespace {

// A tag with more legacy texts than this is decided on its first ones.
constexpr std::size_t kMaxTexts = 64;

struct FileTexts {
    bool reading = false;
    std::vector<std::string> bytes;  // each legacy text as found in the file
    std::vector<std::string> shown;  // and as TagLib hands it on: its Latin-1 reading in UTF-8
};

thread_local FileTexts current;

unsigned market() {
    return static_cast<unsigned>(corvina::CodingManager::getCountryCode());
}

// TagLib's 8-bit texts end at their first zero byte.
std::string_view untilZero(const TagLib::ByteVector& data) {
    const std::string_view bytes(data.data(), data.size());
    return bytes.substr(0, bytes.find('\0'));
}

void keep(const TagLib::String& latin1) {
    if (!current.reading || current.bytes.size() >= kMaxTexts) {
        return;
    }
    current.bytes.push_back(latin1.to8Bit(false));  // Latin-1 gives back each byte as it was
    current.shown.push_back(latin1.to8Bit(true));
}

// `strip` as TagLib's ID3v1 reading does; the text kept is the one TagLib hands on.
TagLib::String read8Bit(const TagLib::ByteVector& data, bool strip) {
    const std::string_view bytes = untilZero(data);
    if (isAscii(bytes)) {
        const TagLib::String text(std::string(bytes), TagLib::String::Latin1);
        return strip ? text.stripWhiteSpace() : text;
    }
    if (isUtf8(bytes)) {
        const TagLib::String text(std::string(bytes), TagLib::String::UTF8);
        return strip ? text.stripWhiteSpace() : text;
    }
    TagLib::String text(std::string(bytes), TagLib::String::Latin1);
    if (strip) {
        text = text.stripWhiteSpace();
    }
    keep(text);
    return text;
}

class Id3v2Handler : public TagLib::ID3v2::Latin1StringHandler {
public:
    TagLib::String parse(const TagLib::ByteVector& data) const override {
        return read8Bit(data, false);
    }
};

class Id3v1Handler : public TagLib::ID3v1::StringHandler {
public:
    TagLib::String parse(const TagLib::ByteVector& data) const override {
        return read8Bit(data, true);
    }
};

class RiffInfoHandler : public TagLib::RIFF::Info::StringHandler {
public:
    TagLib::String parse(const TagLib::ByteVector& data) const override {
        return read8Bit(data, false);
    }
};

void installHandlers() {
    static const bool installed = [] {
        static const Id3v2Handler id3v2;
        static const Id3v1Handler id3v1;
        static const RiffInfoHandler riffInfo;
        TagLib::ID3v2::Tag::setLatin1StringHandler(&id3v2);
        TagLib::ID3v1::Tag::setStringHandler(&id3v1);
        TagLib::RIFF::Info::Tag::setStringHandler(&riffInfo);
        return true;
    }();
    static_cast<void>(installed);
}

bool endsWith(const std::string& text, const char* suffix) {
    const std::size_t length = std::char_traits<char>::length(suffix);
    return text.size() >= length && strcasecmp(text.c_str() + text.size() - length, suffix) == 0;
}

}  // namespace

void beginFile() {
    installHandlers();
    current.reading = true;
    current.bytes.clear();
    current.shown.clear();
}

void endFile(std::initializer_list<std::string*> fields) {
    current.reading = false;
    if (current.bytes.empty()) {
        return;
    }
    const std::vector<std::string> decoded = decodeTexts(current.bytes, market());
    for (std::string* field : fields) {
        for (std::size_t i = 0; i < current.shown.size() && !isAscii(*field); ++i) {
            if (*field == current.shown[i]) {
                *field = decoded[i];
                break;
            }
        }
    }
    current.bytes.clear();
    current.shown.clear();
}

std::string playlistText(std::string_view content, const std::string& path) {
    return decodePlaylist(content, endsWith(path, ".m3u8"), market());
}

}  // namespace tangor::index::legacy
