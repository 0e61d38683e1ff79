#include <tangor/metadata/MetaDataInfo.h>
#include <tangor/phonetic/phonetic.h>
#include <tangor/platform/CCodeDataManager.h>
#include <tangor/platform/normalize.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "phonetic/InstalledDictionaries.h"
#include "support/TestSupport.h"

namespace corvina {
namespace {

// The market is fixed for the life of a process, so each market runs in a child of its own; a
// failed expectation there makes the child exit with 1. A leak found at the child's end (by the
// sanitizers) fails it too.
void onMarket(int countryCode, int searchReading, const std::function<void()>& body) {
    EXPECT_EXIT(
        {
            CCodeDataManager::GetInstance().SetCountryCode(countryCode);
            CCodeDataManager::GetInstance().SetSearchReading(searchReading);
            init_lib(&iWnn, countryCode);
            body();
            free_dic(&iWnn);
            std::exit(::testing::Test::HasFailure() ? 1 : 0);
        },
        ::testing::ExitedWithCode(0), "");
}

// No artist tag: the reading is that of the placeholder.
MetaDataInfo record(const std::string& title, const std::string& album, const std::string& genre,
                    const std::string& composer) {
    return MetaDataInfo("/media/usb1/a/t.mp3", "/media/usb1", title, "", album, genre, composer, 1,
                        1, 0);
}

std::vector<std::string> readingsOf(const MetaDataInfo& info) {
    const AsianFields* set = info.asianFields;
    std::vector<std::string> readings;
    for (const char* text : {set->title, set->artist, set->album, set->genre, set->composer}) {
        readings.push_back(text == nullptr ? "<null>" : text);
    }
    return readings;
}

class AsianFieldsTest : public tangor::test::FixedPathsTest {
protected:
    void SetUp() override {
        FixedPathsTest::SetUp();
        tangor::test::installDictionary(6, tangor::test::phoneticTestList("pinyin-words.txt"));
        tangor::test::installDictionary(9, tangor::test::phoneticTestList("bopomofo-words.txt"));
    }
};

TEST_F(AsianFieldsTest, ChineseMarketsTransliterateOrFallBackToTheLoweredText) {
    const std::vector<std::string> mainland = {"BeiJing", "various artists", "hello world",
                                               "Ünïcode pop", "BeiJing"};
    const std::vector<std::string> taiwan = {"ㄅㄟˇ ㄐㄧㄥ", "various artists", "hello world",
                                             "Ünïcode pop", "ㄅㄟˇ ㄐㄧㄥ"};
    for (const auto& [countryCode, readings] : {std::make_pair(6, mainland), {9, taiwan}}) {
        SCOPED_TRACE("market " + std::to_string(countryCode));
        onMarket(countryCode, 1, [&readings = readings] {
            // Only the copy handed to the engine loses the composer's line ending.
            MetaDataInfo info = record("北京", "Hello World", "Ünïcode Pop", "北京\r\n");
            info.setAsianFields();
            EXPECT_EQ(readingsOf(info), readings);
            EXPECT_EQ(info.title, "北京");
            EXPECT_EQ(info.composer, "北京\r\n");
        });
    }
}

TEST_F(AsianFieldsTest, JapaneseMarketKeepsWhatTheNormalisationGives) {
    onMarket(5, 0, [] {
        MetaDataInfo info = record("ｶﾀｶﾅ", "ＡＢＣ", std::string("\xff", 1), "かな");
        info.setAsianFields();
        std::vector<std::string> expected;
        for (const std::string* text :
             {&info.title, &info.artist, &info.album, &info.genre, &info.composer}) {
            char* normalised = normalize_utf8(text->c_str(), text->size(), nullptr);
            expected.push_back(normalised == nullptr ? "<null>" : normalised);
            std::free(normalised);
        }
        EXPECT_EQ(readingsOf(info), expected);
        EXPECT_EQ(expected[0], "かたかな");
        EXPECT_EQ(expected[3], "<null>");
    });
}

TEST_F(AsianFieldsTest, EachCallReleasesThePreviousSet) {
    const std::pair<int, int> markets[] = {{6, 0}, {5, 0}, {0, 0}};
    for (const auto& [countryCode, searchReading] : markets) {
        SCOPED_TRACE("market " + std::to_string(countryCode));
        onMarket(countryCode, searchReading, [countryCode = countryCode] {
            MetaDataInfo info = record("北京", "a", "b", "c");
            info.asianFields = new AsianFields{strdup("x"), nullptr, strdup("y"), nullptr, nullptr};
            info.setAsianFields();
            const bool hasSet = countryCode == 6 || countryCode == 5;
            EXPECT_EQ(info.asianFields != nullptr, hasSet);
            info.setAsianFields();
            EXPECT_EQ(info.asianFields != nullptr, hasSet);
        });
    }
}

}  // namespace
}  // namespace corvina
