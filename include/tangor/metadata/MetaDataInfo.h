#pragma once

// Track records: what a row of the media tables needs, derived from a file's path, its partition's
// mount point and its raw tag texts. Texts are UTF-8 bytes, taken and hashed byte for byte.
//
// No failure paths and no log records; memory exhaustion propagates as std::bad_alloc and leaves
// no record behind.

#include <string>

#include <tangor/export.h>
#include <tangor/metadata/Md5.h>

namespace corvina {

// A run of characters inside someone else's text; valid only as long as that text. A value is
// missing when `text` is null or `length` is 0.
struct TANGOR_EXPORT StrippedValue {
    const char* text;
    unsigned length;
};

// The part of the `length` bytes at `text` left when spaces (0x20 only; tabs, line breaks and NUL
// bytes stay) are cut off both ends. Copies nothing and reads only those `length` bytes. A null
// `text` gives a null, empty value.
TANGOR_EXPORT StrippedValue trim(const char* text, unsigned length);

// Phonetic readings of a record's texts. Each text is null or allocated with malloc and released
// with free; the set itself is made with new and released with delete.
struct AsianFields {
    char* title = nullptr;
    char* artist = nullptr;
    char* album = nullptr;
    char* genre = nullptr;
    char* composer = nullptr;
};

// The plain fields of a track record, in declaration order: copied, moved and swapped by the
// compiler, so a field added here is never missed by one of them.
struct TANGOR_EXPORT TrackFields {
    std::string path;
    std::string directory;  // `path` up to its last "/"; all of it when it has none
    std::string name;       // `path` after its last "/"; all of it when it has none
    std::string title;
    std::string artist;
    std::string album;
    std::string genre;
    std::string composer;
    int trackIndex;
    int discNumber;
    long lastModified;
    Md5 objectId;     // Track, of `path`
    Md5 artistId;     // Artist, of `artist`
    Md5 albumId;      // Album, of `album`
    Md5 genreId;      // Genre, of `genre`
    Md5 composerId;   // Composer, of `composer`
    Md5 directoryId;  // Directory, of `directory`
    Md5 partitionId;  // Directory, of the mount point: the partition's PARTITION_ID
    int audioType;
    std::string prefix;
};

class TANGOR_EXPORT MetaDataInfo : public TrackFields {
public:
    // The values of `audioType`, single bits.
    enum AudioType { Music = 0x01, Audiobook = 0x10, Podcast = 0x20 };

    // A tag is missing when its first character is NUL; missing tags get placeholders ("Various
    // Artists" and its kin), a missing title the file name without its last extension.
    MetaDataInfo(const std::string& path, const std::string& mountPoint, const std::string& title,
                 const std::string& artist, const std::string& album, const std::string& genre,
                 const std::string& composer, int trackIndex, int discNumber, long lastModified);

    // As above, but the `path` field (and so `objectId`) is `prefix` followed by `path`;
    // `directory` and `name` still come from `path` alone.
    MetaDataInfo(const std::string& path, const std::string& mountPoint, const std::string& title,
                 const std::string& artist, const std::string& album, const std::string& genre,
                 const std::string& composer, int trackIndex, int discNumber, long lastModified,
                 const std::string& prefix);

    // Tags as views (see trim); a tag is missing when its view is.
    MetaDataInfo(const std::string& path, const std::string& mountPoint, const StrippedValue& title,
                 const StrippedValue& artist, const StrippedValue& album,
                 const StrippedValue& genre, const StrippedValue& composer, int trackIndex,
                 int discNumber, long lastModified);

    // The record owns the set `asianFields` points to: a copy gets its own duplicate of every
    // text, a move hands the set over (the source is left without one), and the record's end
    // releases it. The fields of TrackFields are copied and moved as they are.
    MetaDataInfo(const MetaDataInfo& other);
    MetaDataInfo(MetaDataInfo&& other) noexcept;
    MetaDataInfo& operator=(MetaDataInfo other) noexcept;
    ~MetaDataInfo();

    // Music, Audiobook or Podcast, from `name` and `genre`. A name ending in its first ".m4b" (in
    // any case) makes an audiobook whatever the tags say, and sets `genre` to "Audiobooks" and
    // `genreId` to match. Otherwise the genre, with ASCII letters lowered, decides: "podcast", or
    // one of a fixed table of audiobook keywords. Calling it again gives the same result.
    int getAudioType();

    // Replaces the record's reading set, from its final texts (placeholders included). On the
    // Chinese markets each reading is the transliteration of its text, or the text with ASCII
    // letters lowered where there is none (the engine must have been started with init_lib); on
    // the Japanese market it is what normalize_utf8 gives, null included; elsewhere the record is
    // left without a set. Asks the market on every call; not for two threads at once on the
    // Chinese markets, since the engine's work area is the process's one.
    void setAsianFields();

    AsianFields* asianFields;  // owned; null until readings are asked for

private:
    struct Input;
    explicit MetaDataInfo(const Input& input);
    static TrackFields fieldsOf(const Input& input);
};

}  // namespace corvina
