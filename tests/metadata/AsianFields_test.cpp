#include <tangor/metadata/MetaDataInfo.h>
#include <tangor/phonetic/phonetic.h>
#include <tangor/platform/CCodeDataManager.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <tuple>

#include "support/InstalledDictionaries.h"
#include "support/TestSupport.h"

namespace tangor::test {
namespace {

using corvina::AsianFields;
using corvina::MetaDataInfo;
using AsianFieldsTest = FixedPathsTest;

// The market is fixed for the life of a process, so each market runs in a child of its own; a
// failed expectation there makes the child exit with 1. A leak found at the child's end (by the
// sanitizers or valgrind) fails it too: the set each call replaces must be released.
TEST_F(AsianFieldsTest, EachMarketReadsTheFieldsItsWayOrNotAtAll) {
    tangor::test::installDictionary(6, tangor::test::phoneticTestList("pinyin-words.txt"));
    tangor::test::installDictionary(9, tangor::test::phoneticTestList("bopomofo-words.txt"));
    // Rows: the market, its search reading and the readings of title, artist (missing: its
    // placeholder is read), album, genre and composer, each ended by "|"; nothing without a set.
    const std::tuple<int, int, std::string> markets[] = {
        {6, 0, "BeiJing|various artists|hello ＡＢＣ|\xFF|BeiJing|"},
        {9, 1, "ㄅㄟˇ ㄐㄧㄥ|various artists|hello ＡＢＣ|\xFF|ㄅㄟˇ ㄐㄧㄥ|"},
        {9, 0, ""},
        {5, 0, "北京|various artists|hello abc|<null>|北京\r\n|"},
        {0, 0, ""},
    };
    for (const auto& [countryCode, searchReading, expected] : markets) {
        SCOPED_TRACE(std::to_string(countryCode) + "/" + std::to_string(searchReading));
        const auto child = [countryCode = countryCode, searchReading = searchReading,
                            &expected = expected] {
            CCodeDataManager::GetInstance().SetCountryCode(countryCode);
            CCodeDataManager::GetInstance().SetSearchReading(searchReading);
            init_lib(&iWnn, countryCode);
            // Only the copy handed to the engine loses the composer's line ending.
            MetaDataInfo info("/media/usb1/a/t.mp3", "/media/usb1", "北京", "", "Hello ＡＢＣ",
                              "\xFF", "北京\r\n", 1, 1, 0);
            info.asianFields = new AsianFields{strdup("x"), nullptr, strdup("y"), nullptr, nullptr};
            info.setAsianFields();
            info.setAsianFields();
            std::string readings;
            if (const AsianFields* set = info.asianFields) {
                for (const char* text :
                     {set->title, set->artist, set->album, set->genre, set->composer}) {
                    readings += (text == nullptr ? "<null>" : text) + std::string("|");
                }
            }
            EXPECT_EQ(readings, expected);
            EXPECT_EQ(info.composer, "北京\r\n");
            free_dic(&iWnn);
            std::exit(::testing::Test::HasFailure() ? 1 : 0);
        };
        EXPECT_EXIT(child(), ::testing::ExitedWithCode(0), "");
    }
}

}  // namespace
}  // namespace tangor::test
