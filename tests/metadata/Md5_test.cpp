#include <tangor/metadata/Md5.h>

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace corvina {

TEST(Md5, IdentifierIsKindPrefixAndLowercaseDigestOfEveryByte) {
    const std::tuple<Md5::Kind, std::string, const char*> cases[] = {
        {Md5::Track, "", "trk:d41d8cd98f00b204e9800998ecf8427e"},
        {Md5::Directory, "abc", "dir:900150983cd24fb0d6963f7d28e17f72"},
        {Md5::Artist, "Various Artists", "art:0486c50bd56daeda83983319d4a2e770"},
        {Md5::Album, "abc", "alb:900150983cd24fb0d6963f7d28e17f72"},
        {Md5::Genre, "abc", "gen:900150983cd24fb0d6963f7d28e17f72"},
        {Md5::Composer, "abc", "com:900150983cd24fb0d6963f7d28e17f72"},
        {Md5::Playlist, "abc", "pla:900150983cd24fb0d6963f7d28e17f72"},
        // A NUL byte is hashed like any other ("a" alone gives 0cc175b9...).
        {Md5::Track, std::string("a\0b", 3), "trk:70350f6027bce3713f6b76473084309b"},
    };
    for (const auto& [kind, text, expected] : cases) {
        const Md5 id(kind, text);
        EXPECT_EQ(std::tie(id.value, id.kind), std::make_tuple(expected, kind));
    }
}

TEST(Md5, AssignReplacesBothFieldsEvenFromItsOwnValue) {
    Md5 id(Md5::Genre, "abc");
    id.assign(Md5::Track, id.value);
    EXPECT_EQ(id.value, "trk:9445a6808093591a27c4dd836b8f4a6c");
    EXPECT_EQ(id.kind, Md5::Track);
}

}  // namespace corvina
