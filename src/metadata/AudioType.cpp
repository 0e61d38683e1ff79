#include <tangor/metadata/MetaDataInfo.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <iterator>
#include <string_view>

namespace corvina {

namespace {

// Lower-case genres that mark an audiobook, each matched as a whole text. Entries that look odd,
// such as "books ,n bpoken" or "informationwestern", stay as written: a change would classify
// newly indexed tracks differently from the same tracks indexed before.
constexpr std::string_view kAudiobookGenres[] = {
    "audiobook",
    "audio book",
    "spoken",
    "hörbuch",
    "hoerbuch",
    "audio libro",
    "livre audio",
    "hoerbuecher",
    "hörbücher",
    "gesprochene inhalte",
    "books",
    "books & spoken",
    "books ,n bpoken",
    "books and spoken",
    "audiobooks",
    "audio books",
    "audiolibro",
    "hörbuchedition",
    "hoerbuchedition",
    "lesung",
    "audiobuch",
    "audio buch",
    "audible",
    "hörspiel",
    "audiomagazine",
    "magazine",
    "abenteuer",
    "action",
    "belletristik",
    "comedy",
    "dark fantasy",
    "dokumentation",
    "literatur & sprache",
    "düstere phantastik",
    "lyrik",
    "erzählungen",
    "mystery",
    "fantasy",
    "mystery-thriller",
    "fantasy-satire",
    "märchen",
    "filmhörspiel",
    "ratgeber",
    "gothic novelle",
    "satire",
    "historische phantastik",
    "science fiction",
    "historische romane",
    "science fiction love story",
    "historisches hörbuch",
    "historisches hörspiel",
    "science fiction satire",
    "horror",
    "sf & fantasy",
    "horror-fantasy",
    "thriller",
    "horror-sitcom",
    "weihnachtsgeschichte",
    "informationwestern",
    "jugendhörspiel",
    "wissen & information",
    "kabarett",
    "kinderhörbuch",
    "kinderhörspiel",
    "krimi",
    "kultur",
    "kurzgeschichten",
};
static_assert(std::size(kAudiobookGenres) == 67);

constexpr std::string_view kPodcastGenre = "podcast";

constexpr std::size_t longestGenre() {
    std::size_t longest = kPodcastGenre.size();
    for (const std::string_view keyword : kAudiobookGenres) {
        longest = std::max(longest, keyword.size());
    }
    return longest;
}

constexpr std::size_t shortestGenre() {
    std::size_t shortest = kPodcastGenre.size();
    for (const std::string_view keyword : kAudiobookGenres) {
        shortest = std::min(shortest, keyword.size());
    }
    return shortest;
}

// ".m4b" at `at`, ignoring the case of its letters.
bool isAudiobookExtensionAt(const char* text, std::size_t at) {
    return text[at] == '.' && (text[at + 1] | 0x20) == 'm' && text[at + 2] == '4' &&
           (text[at + 3] | 0x20) == 'b';
}

// The first ".m4b" in the name, in any case, must end it, so "x.m4b.m4b" does not count. The name
// is read as a C string, up to its first NUL. An earlier ".m4b" cannot overlap the last four
// characters, since that would put a "." among "m4b".
bool hasAudiobookExtension(const std::string& name) {
    const char* text = name.c_str();
    const std::size_t length = std::strlen(text);
    if (length < 4 || !isAudiobookExtensionAt(text, length - 4)) {
        return false;
    }
    for (std::size_t at = 0; at < length - 4; ++at) {
        if (isAudiobookExtensionAt(text, at)) {
            return false;
        }
    }
    return true;
}

int audioTypeOfGenre(const std::string& genre) {
    // A genre shorter or longer than every keyword matches none; the bound also keeps the lowered
    // copy on the stack.
    constexpr std::size_t capacity = longestGenre();
    if (genre.size() < shortestGenre() || genre.size() > capacity) {
        return MetaDataInfo::Music;
    }
    char buffer[capacity];
    for (std::size_t i = 0; i < genre.size(); ++i) {
        buffer[i] = static_cast<char>(std::tolower(static_cast<unsigned char>(genre[i])));
    }
    const std::string_view lowered(buffer, genre.size());
    if (lowered == kPodcastGenre) {
        return MetaDataInfo::Podcast;
    }
    for (const std::string_view keyword : kAudiobookGenres) {
        if (lowered == keyword) {
            return MetaDataInfo::Audiobook;
        }
    }
    return MetaDataInfo::Music;
}

}  // namespace

// All ".m4b" files share one genre, so they share one GENRES row.
int MetaDataInfo::getAudioType() {
    if (hasAudiobookExtension(name)) {
        genre.assign("Audiobooks");
        genreId.assign(Md5::Genre, genre);
        return Audiobook;
    }
    return audioTypeOfGenre(genre);
}

}  // namespace corvina
