#include <tangor/metadata/Md5.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using corvina::Md5;

struct IdentifierCase {
    Md5::Kind kind;
    std::string text;
    const char* expected;
};

TEST(Md5, IdentifierIsPrefixAndLowercaseDigestOfTheWholeText) {
    const IdentifierCase cases[] = {
        {Md5::Track, "", "trk:d41d8cd98f00b204e9800998ecf8427e"},
        {Md5::Artist, "Various Artists", "art:0486c50bd56daeda83983319d4a2e770"},
        {Md5::Album, "Various Artists", "alb:0486c50bd56daeda83983319d4a2e770"},
        {Md5::Directory, "abc", "dir:900150983cd24fb0d6963f7d28e17f72"},
        {Md5::Genre, "abc", "gen:900150983cd24fb0d6963f7d28e17f72"},
        {Md5::Composer, "abc", "com:900150983cd24fb0d6963f7d28e17f72"},
        {Md5::Playlist, "abc", "pla:900150983cd24fb0d6963f7d28e17f72"},
        // A NUL byte is hashed like any other: "a\0b" is not "a".
        {Md5::Track, std::string("a\0b", 3), "trk:70350f6027bce3713f6b76473084309b"},
        {Md5::Track, "a", "trk:0cc175b9c0f1b6a831c399e269772661"},
    };
    for (const IdentifierCase& c : cases) {
        const Md5 id(c.kind, c.text);
        EXPECT_EQ(id.value, c.expected) << "kind " << c.kind << ", text size " << c.text.size();
        EXPECT_EQ(id.kind, c.kind);
    }
}

TEST(Md5, CaseAndSurroundingSpacesChangeTheIdentifier) {
    const std::string base = Md5(Md5::Artist, "Abba").value;
    for (const char* variant : {"abba", "ABBA", " Abba", "Abba "}) {
        EXPECT_NE(Md5(Md5::Artist, variant).value, base) << variant;
    }
}

TEST(Md5, AssignReplacesBothFieldsAndAcceptsItsOwnValue) {
    Md5 id(Md5::Genre, "Rock");
    id.assign(Md5::Track, "");
    EXPECT_EQ(id.value, "trk:d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(id.kind, Md5::Track);

    const std::string before = id.value;
    id.assign(Md5::Directory, id.value);
    EXPECT_EQ(id.value, Md5(Md5::Directory, before).value);
    EXPECT_EQ(id.value.size(), 36u);
}

}  // namespace
