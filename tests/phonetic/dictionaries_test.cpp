// The dictionary pairs the build made from open data: known polyphones in context, names that
// begin with a surname read otherwise, both scripts on both markets, and the size the loader can
// hold.
#include <tangor/phonetic/phonetic.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "support/InstalledDictionaries.h"
#include "support/TestSupport.h"

namespace tangor::test {
namespace {

namespace fs = std::filesystem;

// The engine holds a words image in a buffer twice its size.
constexpr std::uintmax_t kMaxWordsBytes = 4 * 1024 * 1024;

std::string builtPair(int countryCode, bool words) {
    const bool cn = countryCode == 6;
    return std::string(TANGOR_DICTIONARIES_DIR) +
           (!words ? (cn ? "/CN/njcon.a" : "/TW/njcon.a")
                   : (cn ? "/CN/pinyin/njtan.a" : "/TW/bopomofo/njtan.a"));
}

class Dictionaries : public FixedPathsTest {
protected:
    void SetUp() override {
        FixedPathsTest::SetUp();
        for (const int code : {6, 9}) {
            fs::create_directories(fs::path(dictionaryPath(code, true)).parent_path());
            for (const bool words : {false, true}) {
                fs::copy_file(builtPair(code, words), dictionaryPath(code, words),
                              fs::copy_options::overwrite_existing);
            }
        }
    }
    void TearDown() override {
        free_dic(iWnn);
        FixedPathsTest::TearDown();
    }
};

TEST_F(Dictionaries, ReadPolyphonesInContextNamesAndBothScripts) {
    expectReadings({
        {6, "长大", "ZhangDa"},
        {6, "长城", "ChangCheng"},
        {6, "重要", "ZhongYao"},
        {6, "重庆", "ChongQing"},
        {6, "银行", "YinHang"},
        {6, "行走", "XingZou"},
        {6, "音乐", "YinYue"},
        {6, "快乐", "KuaiLe"},
        {6, "女儿", "NvEr"},  // ü is written v
        {6, "曾经", "CengJing"},
        {6, "曾志伟", "ZengZhiWei"},
        {6, "单身", "DanShen"},
        {6, "解决", "JieJue"},
        {6, "尉迟玲", "YuChiLing"},
        {6, "長城", "ChangCheng"},  // traditional characters on the mainland market
        {6, "Beyond 海阔天空", "BeyondHaiKuoTianKong"},
        {9, "長城", "ㄔㄤˊ ㄔㄥˊ"},
        {9, "長大", "ㄓㄤˇ ㄉㄚˋ"},
        {9, "长大", "ㄓㄤˇ ㄉㄚˋ"},  // simplified characters on the Taiwanese market
        {9, "我的", "ㄨㄛˇ ˙ㄉㄜ"},  // the light tone before its syllable
        {9, "曾經", "ㄘㄥˊ ㄐㄧㄥ"},
    });
}

TEST_F(Dictionaries, WordsFitTheLoadersBuffer) {
    for (const int code : {6, 9}) {
        EXPECT_LE(fs::file_size(builtPair(code, true)), kMaxWordsBytes) << code;
    }
}

}  // namespace
}  // namespace tangor::test
