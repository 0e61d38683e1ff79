#include <tangor/metadata/MetaDataInfo.h>

#include <tangor/coding/CodingManager.h>
#include <tangor/phonetic/phonetic.h>
#include <tangor/platform/normalize.h>

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>
#include <type_traits>
#include <utility>

namespace corvina {

// What the three public constructors have in common: the path argument and the prefix apart, and
// each tag as a view that is empty when the tag is missing.
struct MetaDataInfo::Input {
    std::string_view path;
    std::string_view prefix;
    const std::string& mountPoint;
    std::string_view title;
    std::string_view artist;
    std::string_view album;
    std::string_view genre;
    std::string_view composer;
    int trackIndex;
    int discNumber;
    long lastModified;
};

namespace {

// Also true for the empty text, whose first character is its terminator.
std::string_view tagOf(const std::string& tag) {
    return tag[0] == '\0' ? std::string_view() : std::string_view(tag);
}

// Empty, and so missing, for a null text as for a length of 0.
std::string_view tagOf(const StrippedValue& tag) {
    return tag.text == nullptr ? std::string_view() : std::string_view(tag.text, tag.length);
}

std::string joined(std::string_view prefix, std::string_view path) {
    if (prefix.empty()) {
        return std::string(path);
    }
    std::string text;
    text.reserve(prefix.size() + path.size());
    text.append(prefix).append(path);
    return text;
}

std::string_view directoryOf(std::string_view path) {
    return path.substr(0, path.rfind('/'));
}

// What follows `directory`, a prefix of `path` that is all of it when it holds no "/".
std::string_view nameOf(std::string_view path, const std::string& directory) {
    return directory.size() < path.size() ? path.substr(directory.size() + 1) : path;
}

// The name without its last extension; there is no placeholder, so ".mp3" gives "".
std::string_view titleOf(std::string_view tag, std::string_view name) {
    return tag.empty() ? name.substr(0, name.rfind('.')) : tag;
}

std::string_view tagOr(std::string_view tag, std::string_view placeholder) {
    return tag.empty() ? placeholder : tag;
}

// The texts were made by the system allocator and the set by new, so each goes back its own way.
void release(AsianFields* set) noexcept {
    if (set == nullptr) {
        return;
    }
    std::free(set->title);
    std::free(set->artist);
    std::free(set->album);
    std::free(set->genre);
    std::free(set->composer);
    delete set;
}

struct AsianFieldsRelease {
    void operator()(AsianFields* set) const noexcept { release(set); }
};

char* duplicate(const char* text) {
    if (text == nullptr) {
        return nullptr;
    }
    char* copy = strdup(text);
    if (copy == nullptr) {
        throw std::bad_alloc();
    }
    return copy;
}

AsianFields* duplicate(const AsianFields* set) {
    if (set == nullptr) {
        return nullptr;
    }
    // Held until complete, so a failing copy releases the texts already duplicated.
    std::unique_ptr<AsianFields, AsianFieldsRelease> copy(new AsianFields);
    copy->title = duplicate(set->title);
    copy->artist = duplicate(set->artist);
    copy->album = duplicate(set->album);
    copy->genre = duplicate(set->genre);
    copy->composer = duplicate(set->composer);
    return copy.release();
}

}  // namespace

MetaDataInfo::MetaDataInfo(const std::string& path, const std::string& mountPoint,
                           const std::string& title, const std::string& artist,
                           const std::string& album, const std::string& genre,
                           const std::string& composer, int trackIndex, int discNumber,
                           long lastModified)
    // Without a prefix, the prefixed form gives exactly this record.
    : MetaDataInfo(path, mountPoint, title, artist, album, genre, composer, trackIndex, discNumber,
                   lastModified, std::string()) {}

MetaDataInfo::MetaDataInfo(const std::string& path, const std::string& mountPoint,
                           const std::string& title, const std::string& artist,
                           const std::string& album, const std::string& genre,
                           const std::string& composer, int trackIndex, int discNumber,
                           long lastModified, const std::string& prefix)
    : MetaDataInfo(Input{path, prefix, mountPoint, tagOf(title), tagOf(artist), tagOf(album),
                         tagOf(genre), tagOf(composer), trackIndex, discNumber, lastModified}) {}

MetaDataInfo::MetaDataInfo(const std::string& path, const std::string& mountPoint,
                           const StrippedValue& title, const StrippedValue& artist,
                           const StrippedValue& album, const StrippedValue& genre,
                           const StrippedValue& composer, int trackIndex, int discNumber,
                           long lastModified)
    : MetaDataInfo(Input{path,
                         {},
                         mountPoint,
                         tagOf(title),
                         tagOf(artist),
                         tagOf(album),
                         tagOf(genre),
                         tagOf(composer),
                         trackIndex,
                         discNumber,
                         lastModified}) {}

// Each text before the identifier made from it; everything is moved into the record at the end.
TrackFields MetaDataInfo::fieldsOf(const Input& input) {
    std::string path = joined(input.prefix, input.path);
    std::string directory(directoryOf(input.path));
    std::string name(nameOf(input.path, directory));
    std::string title(titleOf(input.title, name));
    std::string artist(tagOr(input.artist, "Various Artists"));
    std::string album(tagOr(input.album, "Various Albums"));
    std::string genre(tagOr(input.genre, "Various Genres"));
    std::string composer(tagOr(input.composer, "Various Composers"));
    Md5 objectId(Md5::Track, path);
    Md5 artistId(Md5::Artist, artist);
    Md5 albumId(Md5::Album, album);
    Md5 genreId(Md5::Genre, genre);
    Md5 composerId(Md5::Composer, composer);
    Md5 directoryId(Md5::Directory, directory);
    Md5 partitionId(Md5::Directory, input.mountPoint);
    return TrackFields{std::move(path),
                       std::move(directory),
                       std::move(name),
                       std::move(title),
                       std::move(artist),
                       std::move(album),
                       std::move(genre),
                       std::move(composer),
                       input.trackIndex,
                       input.discNumber,
                       input.lastModified,
                       std::move(objectId),
                       std::move(artistId),
                       std::move(albumId),
                       std::move(genreId),
                       std::move(composerId),
                       std::move(directoryId),
                       std::move(partitionId),
                       Music,
                       std::string(input.prefix)};
}

// The audio type comes last because it may replace the genre and its identifier.
MetaDataInfo::MetaDataInfo(const Input& input)
    : TrackFields(fieldsOf(input)), asianFields(nullptr) {
    audioType = getAudioType();
}

static_assert(std::is_nothrow_move_constructible_v<TrackFields> &&
                  std::is_nothrow_move_assignable_v<TrackFields>,
              "moving a record must not throw");

MetaDataInfo::MetaDataInfo(const MetaDataInfo& other)
    : TrackFields(other), asianFields(duplicate(other.asianFields)) {}

MetaDataInfo::MetaDataInfo(MetaDataInfo&& other) noexcept
    : TrackFields(std::move(other)), asianFields(std::exchange(other.asianFields, nullptr)) {}

// Copy and move assignment both: `other` is a fresh copy or the moved-from record, and takes this
// record's old set with it to its end.
MetaDataInfo& MetaDataInfo::operator=(MetaDataInfo other) noexcept {
    TrackFields::operator=(std::move(other));
    std::swap(asianFields, other.asianFields);
    return *this;
}

MetaDataInfo::~MetaDataInfo() {
    release(asianFields);
}

namespace {

// `source` up to its first NUL with ASCII letters lowered, for a text the engine cannot read.
char* loweredCopy(const std::string& source) {
    char* copy = strdup(source.c_str());
    if (copy != nullptr) {
        for (char* byte = copy; *byte != 0; ++byte) {
            *byte = static_cast<char>(std::tolower(static_cast<unsigned char>(*byte)));
        }
    }
    return copy;
}

// The transliteration may cut a line ending off its argument, so it reads a copy; texts of usual
// length are copied on the stack.
char* transliterationOf(const std::string& source) {
    char local[256];
    const std::size_t length = std::strlen(source.c_str());
    if (length < sizeof(local)) {
        std::memcpy(local, source.c_str(), length + 1);
        return transf_to_pinyin(local);
    }
    std::string copy(source.c_str(), length);
    return transf_to_pinyin(copy.data());
}

// An empty transliteration is the engine's constant: it is dropped, never released.
char* asianReadingOf(const std::string& source) {
    char* reading = transliterationOf(source);
    if (reading != nullptr && reading[0] != 0) {
        return reading;
    }
    return loweredCopy(source);
}

char* japaneseReadingOf(const std::string& source) {
    return normalize_utf8(source.c_str(), static_cast<unsigned>(source.size()), nullptr);
}

}  // namespace

void MetaDataInfo::setAsianFields() {
    release(asianFields);
    asianFields = nullptr;
    char* (*readingOf)(const std::string&) = nullptr;
    if (CodingManager::isAsianCoding()) {
        readingOf = asianReadingOf;
    } else if (CodingManager::isJapaneseCoding()) {
        readingOf = japaneseReadingOf;
    } else {
        return;
    }
    asianFields = new AsianFields;
    asianFields->title = readingOf(title);
    asianFields->artist = readingOf(artist);
    asianFields->album = readingOf(album);
    asianFields->genre = readingOf(genre);
    asianFields->composer = readingOf(composer);
}

StrippedValue trim(const char* text, unsigned length) {
    if (text == nullptr) {
        return {nullptr, 0};
    }
    unsigned begin = 0;
    while (begin < length && text[begin] == ' ') {
        ++begin;
    }
    unsigned end = length;
    while (end > begin && text[end - 1] == ' ') {
        --end;
    }
    return {text + begin, end - begin};
}

}  // namespace corvina
