#include <tangor/metadata/MetaDataInfo.h>

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace corvina {

constexpr int M = MetaDataInfo::Music, A = MetaDataInfo::Audiobook, P = MetaDataInfo::Podcast;

// The type, the final genre and its identifier, then a second call deciding the same.
static void expectType(const std::string& path, const std::string& genre, int type,
                       const std::string& finalGenre) {
    SCOPED_TRACE(path + " " + genre);
    MetaDataInfo i(path, "/m", "", "", "", genre, "", 0, 0, 0);
    EXPECT_EQ(std::tie(i.audioType, i.genre, i.genreId.value),
              std::make_tuple(type, finalGenre, Md5(Md5::Genre, finalGenre).value));
    EXPECT_EQ(i.getAudioType(), type);
    EXPECT_EQ(i.genre, finalGenre);
}

TEST(AudioType, NameEndingInItsFirstM4bInAnyCaseIsAnAudiobookWithTheAudiobooksGenre) {
    const std::tuple<const char*, const char*, int, const char*> cases[] = {
        {"d/Chapter1.M4B", "Rock", A, "Audiobooks"},
        {"d/book.m4b", "podcast", A, "Audiobooks"},
        {"d/.m4b", "", A, "Audiobooks"},
        {"d/a.m4b.mp3", "Rock", M, "Rock"},
        {"d/x.m4b.m4b", "Rock", M, "Rock"},
        {"d/x.m4b.m4b", "Audiobook", A, "Audiobook"},
        {"d/x.m4bx", "", M, "Various Genres"},
        {"d/xm4b", "Rock", M, "Rock"},
        {"d.m4b/x.m4b", "Rock", A, "Audiobooks"},
    };
    for (const auto& [path, genre, type, finalGenre] : cases) {
        expectType(path, genre, type, finalGenre);
    }
}

// Keywords: first, last, shortest and longest entries, odd spellings and non-ASCII ones.
TEST(AudioType, OtherwiseTheGenreWithAsciiLettersLoweredDecidesAsAWhole) {
    expectType("a.mp3", "PODCAST", P, "PODCAST");
    for (const char* genre :
         {"Audiobook", "BOOKS ,N BPOKEN", "InformationWestern", "Hörbücher", "Krimi",
          "Düstere PHANTASTIK", "SF & Fantasy", "SCIENCE FICTION LOVE STORY", "KURZGESCHICHTEN"}) {
        expectType("a.mp3", genre, A, genre);
    }
    for (const char* genre :
         {"Podcasts", "podcast ", "Western", "HÖRBUCH", "science fiction love story!"}) {
        expectType("a.mp3", genre, M, genre);
    }
}

}  // namespace corvina
