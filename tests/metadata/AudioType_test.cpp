#include <tangor/metadata/MetaDataInfo.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

using corvina::Md5;
using corvina::MetaDataInfo;

MetaDataInfo track(const std::string& path, const std::string& genre) {
    return MetaDataInfo(path, "/media/usb1", "", "", "", genre, "", 0, 0, 0);
}

struct Case {
    const char* path;
    const char* genre;
    int type;
    const char* finalGenre;
};

void expectCase(const Case& c) {
    MetaDataInfo info = track(c.path, c.genre);
    const std::string where = std::string(c.path) + " / " + c.genre;
    EXPECT_EQ(info.audioType, c.type) << where;
    EXPECT_EQ(info.genre, c.finalGenre) << where;
    EXPECT_EQ(info.genreId.value, Md5(Md5::Genre, c.finalGenre).value) << where;
    // A second call sees the record as the first left it and decides the same.
    EXPECT_EQ(info.getAudioType(), c.type) << where;
    EXPECT_EQ(info.genre, c.finalGenre) << where;
}

TEST(AudioType, NameEndingInItsFirstM4bIsAnAudiobookWithTheAudiobooksGenre) {
    const Case cases[] = {
        {"d/Chapter1.M4B", "Rock", MetaDataInfo::Audiobook, "Audiobooks"},
        {"d/book.m4b", "podcast", MetaDataInfo::Audiobook, "Audiobooks"},
        {"d/.m4b", "", MetaDataInfo::Audiobook, "Audiobooks"},
        {"d/a.m4b.mp3", "Rock", MetaDataInfo::Music, "Rock"},
        {"d/x.m4b.m4b", "Rock", MetaDataInfo::Music, "Rock"},
        {"d/x.m4b.m4b", "Audiobook", MetaDataInfo::Audiobook, "Audiobook"},
        {"d/x.m4bx", "", MetaDataInfo::Music, "Various Genres"},
        {"d/xm4b", "Rock", MetaDataInfo::Music, "Rock"},
        {"d.m4b/track.mp3", "Rock", MetaDataInfo::Music, "Rock"},
    };
    for (const Case& c : cases) {
        expectCase(c);
    }
}

TEST(AudioType, GenreDecidesAfterLoweringAsciiLettersOnly) {
    const Case cases[] = {
        {"d/a.mp3", "Podcast", MetaDataInfo::Podcast, "Podcast"},
        {"d/a.mp3", "PODCAST", MetaDataInfo::Podcast, "PODCAST"},
        {"d/a.mp3", "Podcasts", MetaDataInfo::Music, "Podcasts"},
        {"d/a.mp3", "podcast ", MetaDataInfo::Music, "podcast "},
        {"d/a.mp3", "Hörbuch", MetaDataInfo::Audiobook, "Hörbuch"},
        {"d/a.mp3", "HÖRBUCH", MetaDataInfo::Music, "HÖRBUCH"},
        {"d/a.mp3", "Audiobooks", MetaDataInfo::Audiobook, "Audiobooks"},
        {"d/a.mp3", " audiobook", MetaDataInfo::Music, " audiobook"},
        {"d/a.mp3", "Western", MetaDataInfo::Music, "Western"},
        {"d/a.mp3", "SCIENCE FICTION LOVE STORY", MetaDataInfo::Audiobook,
         "SCIENCE FICTION LOVE STORY"},
        {"d/a.mp3", "science fiction love story!", MetaDataInfo::Music,
         "science fiction love story!"},
    };
    for (const Case& c : cases) {
        expectCase(c);
    }
}

TEST(AudioType, EveryKeywordMarksAnAudiobookInAnyAsciiCase) {
    // The keywords in table order, separated by "|".
    const std::string table =
        "audiobook|audio book|spoken|hörbuch|hoerbuch|audio libro|livre audio|hoerbuecher|"
        "hörbücher|gesprochene inhalte|books|books & spoken|books ,n bpoken|books and spoken|"
        "audiobooks|audio books|audiolibro|hörbuchedition|hoerbuchedition|lesung|audiobuch|"
        "audio buch|audible|hörspiel|audiomagazine|magazine|abenteuer|action|belletristik|comedy|"
        "dark fantasy|dokumentation|literatur & sprache|düstere phantastik|lyrik|erzählungen|"
        "mystery|fantasy|mystery-thriller|fantasy-satire|märchen|filmhörspiel|ratgeber|"
        "gothic novelle|satire|historische phantastik|science fiction|historische romane|"
        "science fiction love story|historisches hörbuch|historisches hörspiel|"
        "science fiction satire|horror|sf & fantasy|horror-fantasy|thriller|horror-sitcom|"
        "weihnachtsgeschichte|informationwestern|jugendhörspiel|wissen & information|kabarett|"
        "kinderhörbuch|kinderhörspiel|krimi|kultur|kurzgeschichten";
    std::size_t begin = 0;
    for (int row = 0; row < 67; ++row) {
        const std::size_t end = std::min(table.find('|', begin), table.size());
        const std::string keyword = table.substr(begin, end - begin);
        begin = end + 1;
        std::string upper = keyword;
        for (char& c : upper) {
            c = (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
        }
        expectCase({"d/a.mp3", keyword.c_str(), MetaDataInfo::Audiobook, keyword.c_str()});
        expectCase({"d/a.mp3", upper.c_str(), MetaDataInfo::Audiobook, upper.c_str()});
    }
    EXPECT_EQ(begin, table.size() + 1) << "the list above must hold exactly 67 keywords";
}

}  // namespace
