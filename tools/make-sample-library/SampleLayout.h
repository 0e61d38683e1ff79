#pragma once

// The tree make-sample-library writes. Tests of indexers rely on it: keep every path, tag and
// playlist entry below as it is.
//
// make-sample-library DIR [--files N] writes N audio files (12 <= N <= 1,000,000, default 40) and
// 4 playlists below DIR, plus 2 hidden audio files and 1 text file that are not counted. Audio file
// i (0 <= i < N) is audioFile(i); its path does not depend on N, so a larger tree holds every file
// of a smaller one, byte for byte. Paths below are relative to DIR and use "/".
//
// clang-format off
// Files 0 to 6 are special:
//   0  你好/音乐/01 北京.mp3                          Chinese tags: title 北京, artist 你好, album 音乐
//   1  你好/音乐/02 矮.flac                           Chinese tags: title 矮, artist 你好, album 音乐
//      (every one of those texts is made of words of tests/phonetic/pinyin-words.txt)
//   2  東京バンド/東京ライブ/01 ﾊﾛｰ ワールド.m4a      Japanese tags: kanji, katakana, half-width katakana
//   3  Anna Reader/The Long Road/01 Departure.m4b    audiobook (MP4), genre "Audiobook"
//   4  Road Podcast/Season 1/01 First Episode.mp3    genre "Podcast"
//   5  Misc/untagged.mp3                             valid audio, no tag at all
//   6  Misc/broken.flac                              TagLib rejects it (FileRef is null)
// clang-format on
// Files 7 and up are ordinary tracks: j = i - 7, album j / 10, track number j % 10 + 1, artist
// album / 3, so 10 tracks per album and 3 albums per artist, at
// "<Artist>/<Album>/<NN> <Title>.<ext>". The formats by track number 1 to 10 are mp3, flac, m4a,
// opus, wav, mp3, mp3, flac, mp3, mp3. Every N has files 7 to 11:
//   7  Amber Rivers/Morning Roads/01 Silent Morning.mp3
//   8  Amber Rivers/Morning Roads/02 Golden Heart.flac
//   9  Amber Rivers/Morning Roads/03 Open Road.m4a
//   10 Amber Rivers/Morning Roads/04 Falling Sky.opus
//   11 Amber Rivers/Morning Roads/05 Neon Rain.wav
// Every tagged file has title, artist, album, genre, composer, track number, disc number 1 and a
// year. All files last just over one second.
//
// Not counted in N, and to be skipped by an indexer:
//   .hidden/01 Hidden Track.mp3   a tagged mp3 in a hidden folder
//   Misc/.hidden.mp3              a tagged, hidden mp3
//   Misc/notes.txt                not audio
//
// The 4 playlists; "->" gives the file an entry names, relative paths being relative to the
// playlist's folder:
//   Playlists/Favourites.m3u  extended M3U ("#EXTM3U", "#EXTINF:" lines), "/", LF line ends
//     ../你好/音乐/01 北京.mp3                               -> file 0
//     ../Amber Rivers/Morning Roads/01 Silent Morning.mp3    -> file 7
//     ../Amber Rivers/Morning Roads/00 Lost Track.mp3        -> no such file
//     ../Amber Rivers/Morning Roads/02 golden heart.flac     -> file 8, only when letter case is
//                                                               ignored (file name only)
//     ../東京バンド/東京ライブ/01 ﾊﾛｰ ワールド.m4a           -> file 2
//   Playlists/Windows.m3u  "#EXTM3U" then the entries, "\" separators, CRLF line ends
//     ..\Amber Rivers\Morning Roads\03 Open Road.m4a         -> file 9
//     ..\Anna Reader\The Long Road\01 Departure.m4b          -> file 3
//     ..\Road Podcast\Season 1\01 First Episode.mp3          -> file 4
//   Playlists/Mix.pls  "[playlist]", FileK=, TitleK=, LengthK=, NumberOfEntries=3, Version=2
//     File1=../Amber Rivers/Morning Roads/04 Falling Sky.opus -> file 10
//     File2=../Amber Rivers/Morning Roads/05 Neon Rain.wav    -> file 11
//     File3=../你好/音乐/02 矮.flac                           -> file 1
//   你好/音乐/音乐.m3u  plain M3U in the album's own folder, LF line ends
//     01 北京.mp3                                            -> file 0
//     02 矮.flac                                             -> file 1
// So 13 entries: 11 name a file exactly, 1 differs in letter case only, 1 names no file.
//
// With --legacy-tags, also (not counted in N) tags in legacy encodings as old taggers wrote them,
// in "Legacy/": legacyFiles() gives each file's path, where its texts are (ID3v2.4 text frames
// declared Latin-1; an ID3v1 tag alone, fields cut at 30 bytes), the bytes
// written and the text they stand for:
//   GBK ID3v2.mp3, GBK ID3v1.mp3 (its title cut in the middle of a character), Big5 ID3v2.mp3,
//   Big5 ID3v1.mp3, Shift-JIS ID3v2.mp3, Shift-JIS ID3v1.mp3, UTF-8 ID3v2.mp3 (UTF-8 bytes in
//   Latin-1 frames), Latin-1 ID3v2.mp3 and Latin-1 ID3v1.mp3 (true Latin-1 names: Björk,
//   Mötley Crüe, Für Elise, Sigur Rós)
// and two playlists in legacy encodings (legacyPlaylists()):
//   Legacy/GBK.m3u        (GBK)        ../你好/音乐/01 北京.mp3                   -> file 0
//                                      ../Amber Rivers/Morning Roads/01 Silent Morning.mp3 -> 7
//   Legacy/Shift-JIS.m3u  (Shift-JIS)  ../東京バンド/東京ライブ/01 ﾊﾛｰ ワールド.m4a -> file 2
//                                      ../Amber Rivers/Morning Roads/02 Golden Heart.flac -> 8

#include <string>
#include <utility>
#include <vector>

#include "TrackTags.h"

namespace tangor::sample {

inline constexpr int kDefaultFiles = 40;
inline constexpr int kMinimumFiles = 12;
inline constexpr int kMaximumFiles = 1000000;

inline constexpr const char* chineseTrack = "你好/音乐/01 北京.mp3";
inline constexpr const char* chineseSecondTrack = "你好/音乐/02 矮.flac";
inline constexpr const char* japaneseTrack = "東京バンド/東京ライブ/01 ﾊﾛｰ ワールド.m4a";
inline constexpr const char* audiobookTrack = "Anna Reader/The Long Road/01 Departure.m4b";
inline constexpr const char* podcastTrack = "Road Podcast/Season 1/01 First Episode.mp3";
inline constexpr const char* untaggedTrack = "Misc/untagged.mp3";
inline constexpr const char* brokenTrack = "Misc/broken.flac";
inline constexpr const char* hiddenFolderTrack = ".hidden/01 Hidden Track.mp3";
inline constexpr const char* hiddenTrack = "Misc/.hidden.mp3";
inline constexpr const char* notesFile = "Misc/notes.txt";

inline constexpr const char* favouritesPlaylist = "Playlists/Favourites.m3u";
inline constexpr const char* windowsPlaylist = "Playlists/Windows.m3u";
inline constexpr const char* mixPlaylist = "Playlists/Mix.pls";
inline constexpr const char* albumPlaylist = "你好/音乐/音乐.m3u";

inline constexpr int kSpecialFiles = 7;
inline constexpr int kTracksPerAlbum = 10;
inline constexpr int kAlbumsPerArtist = 3;

enum class Format { Mp3, Flac, M4a, M4b, Opus, Wav };

enum class Content { Tagged, Untagged, Broken };

using Tags = TrackTags;

struct AudioFile {
    std::string path;
    Format format;
    Content content;
    Tags tags;  // empty unless Tagged
};

enum class PlaylistStyle { ExtendedM3u, WindowsM3u, Pls, PlainM3u };

struct PlaylistEntry {
    std::string written;  // as the playlist holds it
    int file;             // the audio file it names, -1 for none
    bool otherCase;       // names that file with other letter case than its name on disk
    std::string display;  // "Artist - Title", for the lines that describe an entry
};

struct Playlist {
    std::string path;
    PlaylistStyle style;
    std::vector<PlaylistEntry> entries;
};

inline const char* extension(Format format) {
    switch (format) {
        case Format::Mp3:
            return ".mp3";
        case Format::Flac:
            return ".flac";
        case Format::M4a:
            return ".m4a";
        case Format::M4b:
            return ".m4b";
        case Format::Opus:
            return ".opus";
        case Format::Wav:
            return ".wav";
    }
    return "";
}

namespace detail {

// Word lists for the ordinary tracks. Any change, even an added word, renames files and tags.
inline constexpr const char* artistAdjectives[] = {
    "Amber", "Blue",  "Crimson",  "Silver",   "Golden", "Velvet",  "Electric",
    "Quiet", "Wild",  "Northern", "Hollow",   "Bright", "Distant", "Paper",
    "Iron",  "Lunar", "Coral",    "Midnight", "Static", "Little"};
inline constexpr const char* artistNouns[] = {
    "Rivers",   "Lights",  "Harbors", "Echoes", "Foxes",  "Engines", "Gardens",
    "Horses",   "Signals", "Towers",  "Waves",  "Pilots", "Ravens",  "Mirrors",
    "Lanterns", "Valleys", "Comets",  "Roads",  "Wolves", "Tides"};
inline constexpr const char* albumFirst[] = {"Morning", "Summer",  "Winter", "Open",   "Hidden",
                                             "Late",    "Endless", "Broken", "Second", "Far"};
inline constexpr const char* albumSecond[] = {"Roads", "Sessions", "Stories", "Skies",  "Songs",
                                              "Hours", "Letters",  "Fields",  "Dreams", "Nights"};
inline constexpr const char* titleFirst[] = {
    "Silent", "Golden", "Open",     "Falling", "Neon",   "Slow",    "Paper",    "Summer",
    "Hidden", "Broken", "Electric", "Gentle",  "Lonely", "Crystal", "Northern", "Painted"};
inline constexpr const char* titleSecond[] = {
    "Morning", "Heart", "Road",  "Sky",   "Rain",   "Dance", "Fire", "Dream",
    "Shadow",  "River", "Light", "Night", "Garden", "Storm", "Echo", "Song"};
// None of these is a genre an indexer takes for an audiobook or a podcast.
inline constexpr const char* genres[] = {"Rock",       "Pop",  "Jazz",    "Blues",  "Classical",
                                         "Electronic", "Folk", "Country", "Reggae", "Soul"};
inline constexpr const char* composerFirst[] = {"Alex",  "Maria", "John",  "Elena",
                                                "Peter", "Sofia", "David", "Laura"};
inline constexpr const char* composerLast[] = {"Morgan", "Keller", "Hansen", "Rossi",
                                               "Novak",  "Berg",   "Moreau", "Lindqvist"};
inline constexpr Format kTrackFormats[kTracksPerAlbum] = {
    Format::Mp3, Format::Flac, Format::M4a,  Format::Opus, Format::Wav,
    Format::Mp3, Format::Mp3,  Format::Flac, Format::Mp3,  Format::Mp3};

template <typename T, int Size>
constexpr int count(const T (&)[Size]) {
    return Size;
}

// Two words chosen so that the first Size * Size numbers give distinct pairs; later numbers repeat
// the pairs with a suffix.
template <int Size>
std::string pairName(const char* const (&first)[Size], const char* const (&second)[Size],
                     int number) {
    std::string name =
        std::string(first[number % Size]) + " " + second[(number / Size + number) % Size];
    const int round = number / (Size * Size);
    return round == 0 ? name : name + " " + std::to_string(round + 1);
}

inline std::string twoDigits(int number) {
    return std::string(1, static_cast<char>('0' + number / 10)) +
           static_cast<char>('0' + number % 10);
}

inline AudioFile tagged(const char* path, Format format, Tags tags) {
    return AudioFile{path, format, Content::Tagged, std::move(tags)};
}

inline AudioFile specialFile(int index) {
    switch (index) {
        case 0:
            return tagged(chineseTrack, Format::Mp3,
                          {"北京", "你好", "音乐", "Pop", "你好", 1, 1, 2008});
        case 1:
            return tagged(chineseSecondTrack, Format::Flac,
                          {"矮", "你好", "音乐", "Pop", "你好", 2, 1, 2008});
        case 2:
            return tagged(
                japaneseTrack, Format::M4a,
                {"ﾊﾛｰ ワールド", "東京バンド", "東京ライブ", "J-Pop", "山田太郎", 1, 1, 2015});
        case 3:
            return tagged(audiobookTrack, Format::M4b,
                          {"Departure", "Anna Reader", "The Long Road", "Audiobook", "Anna Reader",
                           1, 1, 2019});
        case 4:
            return tagged(podcastTrack, Format::Mp3,
                          {"First Episode", "Road Podcast", "Season 1", "Podcast", "Road Podcast",
                           1, 1, 2021});
        case 5:
            return AudioFile{untaggedTrack, Format::Mp3, Content::Untagged, {}};
        default:
            return AudioFile{brokenTrack, Format::Flac, Content::Broken, {}};
    }
}

}  // namespace detail

inline std::string artistName(int artist) {
    return detail::pairName(detail::artistAdjectives, detail::artistNouns, artist);
}

inline std::string albumName(int album) {
    return detail::pairName(detail::albumFirst, detail::albumSecond, album);
}

// Audio file `index`, 0 <= index < kMaximumFiles.
inline AudioFile audioFile(int index) {
    using namespace detail;
    if (index < kSpecialFiles) {
        return specialFile(index);
    }
    const int ordinary = index - kSpecialFiles;
    const int album = ordinary / kTracksPerAlbum;
    const int number = ordinary % kTracksPerAlbum + 1;
    Tags tags;
    tags.title =
        pairName(titleFirst, titleSecond, ordinary % (count(titleFirst) * count(titleSecond)));
    tags.artist = artistName(album / kAlbumsPerArtist);
    tags.album = albumName(album);
    tags.genre = genres[album % count(genres)];
    tags.composer =
        pairName(composerFirst, composerLast, album % (count(composerFirst) * count(composerLast)));
    tags.trackNumber = number;
    tags.discNumber = 1;
    tags.year = 1970 + album % 50;
    const Format format = kTrackFormats[number - 1];
    const std::string path = tags.artist + "/" + tags.album + "/" + twoDigits(number) + " " +
                             tags.title + extension(format);
    return AudioFile{path, format, Content::Tagged, std::move(tags)};
}

// The audio files in hidden places, written whatever N is and not counted in it.
inline std::vector<AudioFile> hiddenFiles() {
    return {
        detail::tagged(
            hiddenFolderTrack, Format::Mp3,
            {"Hidden Track", "Hidden Artist", "Hidden Album", "Rock", "Hidden Artist", 1, 1, 2000}),
        detail::tagged(
            hiddenTrack, Format::Mp3,
            {"Hidden File", "Hidden Artist", "Hidden Album", "Rock", "Hidden Artist", 2, 1, 2000}),
    };
}

inline std::vector<Playlist> playlists() {
    const auto entry = [](const std::string& written, int file) {
        const Tags tags = audioFile(file).tags;
        return PlaylistEntry{written, file, false, tags.artist + " - " + tags.title};
    };
    const std::string up = "../";
    const std::string album = "Amber Rivers/Morning Roads/";
    const std::string windowsAlbum = "..\\Amber Rivers\\Morning Roads\\";
    return {
        {favouritesPlaylist,
         PlaylistStyle::ExtendedM3u,
         {
             entry(up + chineseTrack, 0),
             entry(up + album + "01 Silent Morning.mp3", 7),
             {up + album + "00 Lost Track.mp3", -1, false, "Amber Rivers - Lost Track"},
             {up + album + "02 golden heart.flac", 8, true, "Amber Rivers - Golden Heart"},
             entry(up + japaneseTrack, 2),
         }},
        {windowsPlaylist,
         PlaylistStyle::WindowsM3u,
         {
             entry(windowsAlbum + "03 Open Road.m4a", 9),
             entry("..\\Anna Reader\\The Long Road\\01 Departure.m4b", 3),
             entry("..\\Road Podcast\\Season 1\\01 First Episode.mp3", 4),
         }},
        {mixPlaylist,
         PlaylistStyle::Pls,
         {
             entry(up + album + "04 Falling Sky.opus", 10),
             entry(up + album + "05 Neon Rain.wav", 11),
             entry(up + chineseSecondTrack, 1),
         }},
        {albumPlaylist,
         PlaylistStyle::PlainM3u,
         {
             entry("01 北京.mp3", 0),
             entry("02 矮.flac", 1),
         }},
    };
}

// Where a legacy file keeps its texts.
enum class LegacyTags { Id3v2Latin1, Id3v1Only };

struct LegacyTexts {
    std::string title;
    std::string artist;
    std::string album;
    std::string genre;     // empty in ID3v1 (a number there)
    std::string composer;  // empty where the tag has no composer
};

struct LegacyFile {
    std::string path;
    LegacyTags where;
    LegacyTexts bytes;  // as written
    LegacyTexts text;   // what they stand for, in UTF-8
};

inline std::vector<LegacyFile> legacyFiles() {
    return {
        {"Legacy/GBK ID3v2.mp3",
         LegacyTags::Id3v2Latin1,
         {"\xD4\xC2\xC1\xC1\xB4\xFA\xB1\xED\xCE\xD2\xB5\xC4\xD0\xC4", "\xB5\xCB\xC0\xF6\xBE\xFD",
          "\xB5\xAD\xB5\xAD\xD3\xC4\xC7\xE9", "\xC1\xF7\xD0\xD0", "\xCE\xCC\xC7\xE5\xCF\xAA"},
         {"月亮代表我的心", "邓丽君", "淡淡幽情", "流行", "翁清溪"}},
        {"Legacy/GBK ID3v1.mp3",
         LegacyTags::Id3v1Only,
         {"01 "
          "\xD4\xC2\xC1\xC1\xB4\xFA\xB1\xED\xCE\xD2\xB5\xC4\xD0\xC4\xD4\xC2\xC1\xC1\xB4\xFA\xB1\xED"
          "\xCE\xD2\xB5\xC4\xD0",
          "\xB5\xCB\xC0\xF6\xBE\xFD", "\xB5\xAD\xB5\xAD\xD3\xC4\xC7\xE9", "", ""},
         {"01 月亮代表我的心月亮代表我的", "邓丽君", "淡淡幽情", "", ""}},
        {"Legacy/Big5 ID3v2.mp3",
         LegacyTags::Id3v2Latin1,
         {"\xB4\xB8\xA4\xD1", "\xA9P\xAAN\xAD\xDB",
          "\xB8\xAD\xB4"
          "f\xAC\xFC",
          "\xACy\xA6\xE6", "\xA9P\xAAN\xAD\xDB"},
         {"晴天", "周杰倫", "葉惠美", "流行", "周杰倫"}},
        {"Legacy/Big5 ID3v1.mp3",
         LegacyTags::Id3v1Only,
         {"\xA4\xEB\xABG\xA5N\xAA\xED\xA7\xDA\xAA\xBA\xA4\xDF", "\xBEH\xC4R\xA7g",
          "\xB2H\xB2H\xAB\xD5\xB1\xA1", "", ""},
         {"月亮代表我的心", "鄧麗君", "淡淡幽情", "", ""}},
        {"Legacy/Shift-JIS ID3v2.mp3",
         LegacyTags::Id3v2Latin1,
         {"\x82\xB3\x82\xAD\x82\xE7", "\x90X\x8ER\x92\xBC\x91\xBE\x98N", "\x89\xC4\x95\x9E",
          "\x83|\x83"
          "b\x83v",
          "\x90X\x8ER\x92\xBC\x91\xBE\x98N"},
         {"さくら", "森山直太朗", "夏服", "ポップ", "森山直太朗"}},
        {"Legacy/Shift-JIS ID3v1.mp3",
         LegacyTags::Id3v1Only,
         {"\x83\x8D\x83r\x83\x93\x83\\\x83\x93",
          "\x83X\x83s\x83"
          "b\x83"
          "c",
          "\x83n\x83`\x83~\x83"
          "c",
          "", ""},
         {"ロビンソン", "スピッツ", "ハチミツ", "", ""}},
        {"Legacy/UTF-8 ID3v2.mp3",
         LegacyTags::Id3v2Latin1,
         {"\xE5\x8C\x97\xE4\xBA\xAC", "\xE4\xBD\xA0\xE5\xA5\xBD", "\xE9\x9F\xB3\xE4\xB9\x90", "Pop",
          "\xE4\xBD\xA0\xE5\xA5\xBD"},
         {"北京", "你好", "音乐", "Pop", "你好"}},
        {"Legacy/Latin-1 ID3v2.mp3",
         LegacyTags::Id3v2Latin1,
         {"J\xF3ga", "Bj\xF6rk", "Homogenic", "Pop", "Bj\xF6rk"},
         {"Jóga", "Björk", "Homogenic", "Pop", "Björk"}},
        {"Legacy/Latin-1 ID3v1.mp3",
         LegacyTags::Id3v1Only,
         {"F\xFCr Elise",
          "M\xF6tley Cr\xFC"
          "e",
          "Sigur R\xF3s", "", ""},
         {"Für Elise", "Mötley Crüe", "Sigur Rós", "", ""}},
    };
}

struct LegacyPlaylist {
    std::string path;
    std::string bytes;       // the whole file as written
    std::vector<int> files;  // the audio files its entries name, in order
};

inline std::vector<LegacyPlaylist> legacyPlaylists() {
    return {
        {"Legacy/GBK.m3u",
         "#EXTM3U\x0A#EXTINF:1,\xC4\xE3\xBA\xC3 - "
         "\xB1\xB1\xBE\xA9\x0A../\xC4\xE3\xBA\xC3/\xD2\xF4\xC0\xD6/01 "
         "\xB1\xB1\xBE\xA9.mp3\x0A../Amber Rivers/Morning Roads/01 Silent Morning.mp3\x0A",
         {0, 7}},
        {"Legacy/Shift-JIS.m3u",
         "../\x93\x8C\x8B\x9E\x83o\x83\x93\x83h/\x93\x8C\x8B\x9E\x83\x89\x83"
         "C\x83u/01 \xCA\xDB\xB0 \x83\x8F\x81[\x83\x8B\x83h.m4a\x0A../Amber Rivers/Morning "
         "Roads/02 Golden Heart.flac\x0A",
         {2, 8}},
    };
}

}  // namespace tangor::sample
