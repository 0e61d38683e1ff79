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

// The fields are built in declaration order, each identifier from its field's text; the audio type
// comes last because it may replace the genre and its identifier.
MetaDataInfo::MetaDataInfo(const Input& input)
    : path(joined(input.prefix, input.path)),
      directory(directoryOf(input.path)),
      name(nameOf(input.path, directory)),
      title(titleOf(input.title, name)),
      artist(tagOr(input.artist, "Various Artists")),
      album(tagOr(input.album, "Various Albums")),
      genre(tagOr(input.genre, "Various Genres")),
      composer(tagOr(input.composer, "Various Composers")),
      trackIndex(input.trackIndex),
      discNumber(input.discNumber),
      lastModified(input.lastModified),
      objectId(Md5::Track, path),
      artistId(Md5::Artist, artist),
      albumId(Md5::Album, album),
      genreId(Md5::Genre, genre),
      composerId(Md5::Composer, composer),
      directoryId(Md5::Directory, directory),
      partitionId(Md5::Directory, input.mountPoint),
      audioType(Music),
      prefix(input.prefix),
      asianFields(nullptr) {
    audioType = getAudioType();
}

MetaDataInfo::MetaDataInfo(const MetaDataInfo& other)
    : path(other.path),
      directory(other.directory),
      name(other.name),
      title(other.title),
      artist(other.artist),
      album(other.album),
      genre(other.genre),
      composer(other.composer),
      trackIndex(other.trackIndex),
      discNumber(other.discNumber),
      lastModified(other.lastModified),
      objectId(other.objectId),
      artistId(other.artistId),
      albumId(other.albumId),
      genreId(other.genreId),
      composerId(other.composerId),
      directoryId(other.directoryId),
      partitionId(other.partitionId),
      audioType(other.audioType),
      prefix(other.prefix),
      asianFields(duplicate(other.asianFields)) {}

MetaDataInfo::MetaDataInfo(MetaDataInfo&& other) noexcept
    : path(std::move(other.path)),
      directory(std::move(other.directory)),
      name(std::move(other.name)),
      title(std::move(other.title)),
      artist(std::move(other.artist)),
      album(std::move(other.album)),
      genre(std::move(other.genre)),
      composer(std::move(other.composer)),
      trackIndex(other.trackIndex),
      discNumber(other.discNumber),
      lastModified(other.lastModified),
      objectId(std::move(other.objectId)),
      artistId(std::move(other.artistId)),
      albumId(std::move(other.albumId)),
      genreId(std::move(other.genreId)),
      composerId(std::move(other.composerId)),
      directoryId(std::move(other.directoryId)),
      partitionId(std::move(other.partitionId)),
      audioType(other.audioType),
      prefix(std::move(other.prefix)),
      asianFields(std::exchange(other.asianFields, nullptr)) {}

// Copy and move assignment both: `other` is a fresh copy or the moved-from record, and takes this
// record's old set with it to its end.
MetaDataInfo& MetaDataInfo::operator=(MetaDataInfo other) noexcept {
    swap(other);
    return *this;
}

MetaDataInfo::~MetaDataInfo() {
    release(asianFields);
}

void MetaDataInfo::swap(MetaDataInfo& other) noexcept {
    using std::swap;
    swap(path, other.path);
    swap(directory, other.directory);
    swap(name, other.name);
    swap(title, other.title);
    swap(artist, other.artist);
    swap(album, other.album);
    swap(genre, other.genre);
    swap(composer, other.composer);
    swap(trackIndex, other.trackIndex);
    swap(discNumber, other.discNumber);
    swap(lastModified, other.lastModified);
    swap(objectId, other.objectId);
    swap(artistId, other.artistId);
    swap(albumId, other.albumId);
    swap(genreId, other.genreId);
    swap(composerId, other.composerId);
    swap(directoryId, other.directoryId);
    swap(partitionId, other.partitionId);
    swap(audioType, other.audioType);
    swap(prefix, other.prefix);
    swap(asianFields, other.asianFields);
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
