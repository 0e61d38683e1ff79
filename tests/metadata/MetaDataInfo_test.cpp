#include <tangor/metadata/MetaDataInfo.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>
#include <tuple>
#include <utility>

namespace {

using corvina::AsianFields;
using corvina::Md5;
using corvina::MetaDataInfo;
using corvina::StrippedValue;

const std::string mountPoint = "/media/usb1";

MetaDataInfo withoutTags(const std::string& path) {
    return MetaDataInfo(path, mountPoint, "", "", "", "", "", 0, 0, 0);
}

// Every identifier names its field's final text; `where` names the case in a failure.
void expectIdentifiersOfFields(const MetaDataInfo& info, const std::string& where) {
    EXPECT_EQ(info.objectId.value, Md5(Md5::Track, info.path).value) << where;
    EXPECT_EQ(info.artistId.value, Md5(Md5::Artist, info.artist).value) << where;
    EXPECT_EQ(info.albumId.value, Md5(Md5::Album, info.album).value) << where;
    EXPECT_EQ(info.genreId.value, Md5(Md5::Genre, info.genre).value) << where;
    EXPECT_EQ(info.composerId.value, Md5(Md5::Composer, info.composer).value) << where;
    EXPECT_EQ(info.directoryId.value, Md5(Md5::Directory, info.directory).value) << where;
    EXPECT_EQ(info.partitionId.value, Md5(Md5::Directory, mountPoint).value) << where;
}

TEST(MetaDataInfo, KeepsNumbersUnchangedAndStartsWithoutReadings) {
    const MetaDataInfo info("Music/Jazz/Track01.mp3", mountPoint, "", "", "", "", "", -1, INT_MAX,
                            LONG_MIN);
    EXPECT_EQ(info.trackIndex, -1);
    EXPECT_EQ(info.discNumber, INT_MAX);
    EXPECT_EQ(info.lastModified, LONG_MIN);
    EXPECT_EQ(info.artistId.value, "art:0486c50bd56daeda83983319d4a2e770");
    EXPECT_EQ(info.audioType, MetaDataInfo::Music);
    EXPECT_EQ(info.prefix, "");
    EXPECT_EQ(info.asianFields, nullptr);
}

TEST(MetaDataInfo, PathSplitsAtItsLastSlashAndTitleDropsTheLastExtension) {
    struct Case {
        const char* path;
        const char* directory;
        const char* name;
        const char* title;
    };
    const Case cases[] = {
        {"Music/Jazz/Track01.mp3", "Music/Jazz", "Track01.mp3", "Track01"},
        {"song.mp3", "song.mp3", "song.mp3", "song"},
        {"a/b/", "a/b", "", ""},
        {"d/archive.tar.gz", "d", "archive.tar.gz", "archive.tar"},
        {"d/.mp3", "d", ".mp3", ""},
        {"/x.mp3", "", "x.mp3", "x"},
        {"v1.2/README", "v1.2", "README", "README"},
        {"", "", "", ""},
    };
    for (const Case& c : cases) {
        const MetaDataInfo info = withoutTags(c.path);
        EXPECT_EQ(info.directory, c.directory) << c.path;
        EXPECT_EQ(info.name, c.name) << c.path;
        EXPECT_EQ(info.title, c.title) << c.path;
        expectIdentifiersOfFields(info, c.path);
    }
}

// The same tag is given for all five; `expected` is null where the tag counts as missing.
void expectTags(const MetaDataInfo& info, const char* expected, const std::string& where) {
    const std::string tag = expected ? expected : "";
    EXPECT_EQ(info.title, expected ? tag : "f") << where;
    EXPECT_EQ(info.artist, expected ? tag : "Various Artists") << where;
    EXPECT_EQ(info.album, expected ? tag : "Various Albums") << where;
    EXPECT_EQ(info.genre, expected ? tag : "Various Genres") << where;
    EXPECT_EQ(info.composer, expected ? tag : "Various Composers") << where;
    expectIdentifiersOfFields(info, where);
}

TEST(MetaDataInfo, TextTagIsMissingWhenItsFirstCharacterIsNul) {
    const std::pair<std::string, const char*> cases[] = {
        {"", nullptr},
        {std::string("\0x", 2), nullptr},
        {" ", " "},
        {"\tJazz ", "\tJazz "},
    };
    for (const auto& [tag, expected] : cases) {
        const MetaDataInfo info("d/f.mp3", mountPoint, tag, tag, tag, tag, tag, 0, 0, 0);
        expectTags(info, expected, "tag of size " + std::to_string(tag.size()));
    }
}

TEST(MetaDataInfo, StrippedTagIsMissingWhenNullOrEmpty) {
    const std::pair<StrippedValue, const char*> cases[] = {
        {{nullptr, 0}, nullptr}, {{nullptr, 3}, nullptr}, {{"abc", 0}, nullptr},
        {{"abc", 2}, "ab"},      {{" a ", 3}, " a "},
    };
    int row = 0;
    for (const auto& [tag, expected] : cases) {
        const MetaDataInfo info("d/f.mp3", mountPoint, tag, tag, tag, tag, tag, 0, 0, 0);
        expectTags(info, expected, "row " + std::to_string(row++));
    }
}

TEST(MetaDataInfo, PrefixGoesIntoPathAndObjectIdButNotIntoTheSplit) {
    const MetaDataInfo info("d/f.mp3", mountPoint, "", "", "", "", "", 0, 0, 0, "X");
    EXPECT_EQ(info.path, "Xd/f.mp3");
    EXPECT_EQ(info.objectId.value, Md5(Md5::Track, "Xd/f.mp3").value);
    EXPECT_EQ(info.directory, "d");
    EXPECT_EQ(info.name, "f.mp3");
    EXPECT_EQ(info.prefix, "X");

    const MetaDataInfo noSlash("f.mp3", mountPoint, "", "", "", "", "", 0, 0, 0, "/mnt/");
    EXPECT_EQ(noSlash.directory, "f.mp3");
    EXPECT_EQ(noSlash.name, "f.mp3");
    expectIdentifiersOfFields(noSlash, "prefix with a slash");
}

TEST(MetaDataInfo, TrimCutsSpacesOnlyAndReadsOnlyTheGivenLength) {
    struct Case {
        const char* text;
        unsigned length;
        unsigned offset;
        unsigned kept;
    };
    const Case cases[] = {
        {"  Rock  ", 8, 2, 4}, {"    ", 4, 4, 0},  {"", 0, 0, 0},         {"\tRock", 5, 0, 5},
        {" a b ", 5, 1, 3},    {"  \0 ", 4, 2, 1}, {"  ab  cd", 4, 2, 2}, {"x  ", 1, 0, 1},
    };
    for (const Case& c : cases) {
        const StrippedValue kept = corvina::trim(c.text, c.length);
        EXPECT_EQ(kept.text, c.text + c.offset) << '"' << c.text << "\" " << c.length;
        EXPECT_EQ(kept.length, c.kept) << '"' << c.text << "\" " << c.length;
    }
    const StrippedValue none = corvina::trim(nullptr, 3);
    EXPECT_EQ(none.text, nullptr);
    EXPECT_EQ(none.length, 0u);
}

// Every field but the readings, for comparing whole records.
auto fieldsOf(const MetaDataInfo& i) {
    return std::tie(i.path, i.directory, i.name, i.title, i.artist, i.album, i.genre, i.composer,
                    i.trackIndex, i.discNumber, i.lastModified, i.objectId.value, i.artistId.value,
                    i.albumId.value, i.genreId.value, i.composerId.value, i.directoryId.value,
                    i.partitionId.value, i.audioType, i.prefix);
}

// Sanitizer and valgrind runs of these tests report a set released twice or never.
AsianFields* readings(const char* title) {
    auto* set = new AsianFields;
    set->title = strdup(title);
    set->composer = strdup("c");
    return set;
}

TEST(MetaDataInfo, CopyDuplicatesTheReadingsAndMoveHandsThemOver) {
    MetaDataInfo original("d/f.m4b", mountPoint, "T", "A", "B", "G", "C", 3, 2, 1, "/p/");
    original.asianFields = readings("t");
    const MetaDataInfo plain = withoutTags("d/f.m4b");

    MetaDataInfo copy(original);
    ASSERT_NE(copy.asianFields, nullptr);
    EXPECT_NE(copy.asianFields, original.asianFields);
    EXPECT_NE(copy.asianFields->title, original.asianFields->title);
    EXPECT_STREQ(copy.asianFields->title, "t");
    EXPECT_EQ(copy.asianFields->artist, nullptr);
    EXPECT_STREQ(copy.asianFields->composer, "c");
    EXPECT_TRUE(fieldsOf(copy) == fieldsOf(original));
    EXPECT_FALSE(fieldsOf(copy) == fieldsOf(plain));

    AsianFields* const set = original.asianFields;
    MetaDataInfo moved(std::move(original));
    EXPECT_EQ(moved.asianFields, set);
    EXPECT_EQ(original.asianFields, nullptr);
    EXPECT_TRUE(fieldsOf(moved) == fieldsOf(copy));
}

TEST(MetaDataInfo, AssignmentReleasesTheTargetsOwnReadings) {
    MetaDataInfo source = withoutTags("a/one.mp3");
    source.asianFields = readings("one");
    MetaDataInfo target = withoutTags("b/two.mp3");
    target.asianFields = readings("two");

    target = source;
    EXPECT_STREQ(target.asianFields->title, "one");
    EXPECT_NE(target.asianFields, source.asianFields);
    EXPECT_TRUE(fieldsOf(target) == fieldsOf(source));

    MetaDataInfo other = withoutTags("c/three.mp3");
    other.asianFields = readings("three");
    target = std::move(other);
    EXPECT_STREQ(target.asianFields->title, "three");
    EXPECT_EQ(target.directory, "c");

    const MetaDataInfo& self = target;
    target = self;
    EXPECT_STREQ(target.asianFields->title, "three");

    target = withoutTags("d/none.mp3");
    EXPECT_EQ(target.asianFields, nullptr);
}

}  // namespace
