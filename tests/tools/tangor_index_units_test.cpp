// The indexer's pieces that decide on text alone: paths and their order, playlist entries, JSON
// text and the command line.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CommandLine.h"
#include "JsonText.h"
#include "MountPoint.h"
#include "Playlist.h"
#include "support/TestSupport.h"

namespace tangor::test {

namespace {

using index::CommandLine;
using index::comparePaths;
using index::parseCommandLine;

TEST(PlaylistEntries, M3uKeepsItsLinesAndPlsFollowsItsNumbers) {
    TempDir dir;
    const std::string m3u = dir.file("list.m3u");
    writeFile(m3u, "\xEF\xBB\xBF#EXTM3U\r\n#EXTINF:1,x\r\n  a.mp3  \r\n\r\nb\\c.mp3");
    const std::string pls = dir.file("list.pls");
    writeFile(pls, "[playlist]\nFile2=second.mp3\nTitle1=t\nfile1=first.mp3\nNumberOfEntries=2\n");
    using Cut = index::PlaylistCut;
    struct Row {
        const char* what;
        std::string path;
        index::PlaylistLimits limits;
        std::vector<std::string> expected;
        Cut cut;
    };
    const Row rows[] = {
        {"m3u", m3u, {}, {"a.mp3", "b\\c.mp3"}, Cut::None},
        {"pls", pls, {}, {"first.mp3", "second.mp3"}, Cut::None},
        {"one entry", pls, {1 << 20, 1}, {"first.mp3"}, Cut::Entries},
        // The line cut in half at the limit is left out.
        {"fewer bytes than the file", m3u, {40, 10}, {"a.mp3"}, Cut::Bytes},
        {"as many bytes as the file", m3u, {45, 10}, {"a.mp3", "b\\c.mp3"}, Cut::None},
    };
    ASSERT_EQ(readFile(m3u).size(), 45u);
    for (const Row& row : rows) {
        std::vector<std::string> entries;
        Cut cut = Cut::None;
        ASSERT_TRUE(index::readPlaylistEntries(row.path, entries, cut, row.limits)) << row.what;
        EXPECT_EQ(entries, row.expected) << row.what;
        EXPECT_EQ(cut, row.cut) << row.what;
    }
    std::vector<std::string> entries;
    Cut cut = Cut::None;
    EXPECT_FALSE(index::readPlaylistEntries(dir.file("none.m3u"), entries, cut));
    // Entries joined with the playlist's folder are resolved against the stored tracks at the
    // playlist stage; what names a folder is only seen here.
    std::string joined;
    EXPECT_TRUE(index::joinEntry("Music/A", "..", joined));
    EXPECT_EQ(joined, "Music");
}

TEST(PathOrder, EverythingBelowAFolderFollowsItAtOnce) {
    // Sorted by comparePaths; plain byte order would put "a-b" and "a.mp3" between "a" and "a/b".
    const std::vector<std::string> sorted = {"",      "A",   "B.mp3", "a",     "a/b",
                                             "a/b/c", "a/c", "a-b",   "a.mp3", "ab"};
    for (std::size_t i = 0; i < sorted.size(); ++i) {
        for (std::size_t k = 0; k < sorted.size(); ++k) {
            const int order = comparePaths(sorted[i], sorted[k]);
            EXPECT_EQ(order < 0, i < k) << sorted[i] << " / " << sorted[k];
            EXPECT_EQ(order == 0, i == k) << sorted[i] << " / " << sorted[k];
        }
    }
    EXPECT_TRUE(index::isWithin("a/b/c", "a/b"));
    EXPECT_TRUE(index::isWithin("a/b", "a/b"));
    EXPECT_TRUE(index::isWithin("a", ""));
    EXPECT_FALSE(index::isWithin("a/bc", "a/b"));
    EXPECT_FALSE(index::isWithin("a", "a/b"));
}

TEST(MountPointPaths, JoinAndSplitInOnePlace) {
    struct Row {
        const char* given;
        const char* path;
        const char* relative;
        const char* absolute;
    };
    const Row rows[] = {
        {"/mnt/usb//", "/mnt/usb", "a/b.mp3", "/mnt/usb/a/b.mp3"},
        {"/mnt/usb", "/mnt/usb", "", "/mnt/usb"},
        {"/", "/", "a.mp3", "/a.mp3"},
        {"///", "/", "", "/"},
    };
    for (const Row& row : rows) {
        const index::MountPoint mountPoint(row.given);
        EXPECT_EQ(mountPoint.path(), row.path) << row.given;
        EXPECT_EQ(mountPoint.absolute(row.relative), row.absolute) << row.given;
        std::string relative = "<unset>";
        EXPECT_TRUE(mountPoint.relative(row.absolute, relative)) << row.absolute;
        EXPECT_EQ(relative, row.relative) << row.absolute;
    }
    std::string relative;
    EXPECT_FALSE(index::MountPoint("/mnt/usb").relative("/mnt/usb2/a.mp3", relative));
    EXPECT_EQ(index::MountPoint("/mnt/usb/").partitionId(),
              index::MountPoint("/mnt/usb").partitionId());
}

TEST(JsonText, EscapesAndReplacesWhatIsNotUtf8) {
    const std::pair<std::string, std::string> rows[] = {
        {"plain", "\"plain\""},
        {"a\"b\\c", "\"a\\\"b\\\\c\""},
        {std::string("tab\tnul\0", 8), "\"tab\\u0009nul\\u0000\""},
        {"北京 ﾊﾛｰ", "\"北京 ﾊﾛｰ\""},
        {"\xF0\x9F\x8E\xB5", "\"\xF0\x9F\x8E\xB5\""},  // U+1F3B5, four bytes
        {"a\xFF"
         "b",
         "\"a\xEF\xBF\xBD"
         "b\""},                                                       // never valid
        {"\xC0\xAF", "\"\xEF\xBF\xBD\xEF\xBF\xBD\""},                  // overlong "/"
        {"\xED\xA0\x80", "\"\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\""},  // a surrogate
        {"\xE5\x8C", "\"\xEF\xBF\xBD\xEF\xBF\xBD\""},                  // cut short
    };
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(index::jsonString(text), expected) << text;
    }
}

TEST(CommandLineParsing, UsageErrorsAreNamed) {
    struct Row {
        std::vector<std::string> arguments;
        const char* error;
    };
    const Row rows[] = {
        {{}, "no command given"},
        {{"rescan"}, "unknown command \"rescan\""},
        {{"scan", "/mnt"}, "scan needs --device ID"},
        {{"scan", "--device"}, "--device needs a value"},
        {{"scan", "--device", "usb", "--country", "256", "/mnt"},
         "--country takes a number from 0 to 255: \"256\""},
        {{"scan", "--device", "usb", "--jobs", "0", "/mnt"},
         "--jobs takes a number from 1 to 64: \"0\""},
        {{"scan", "--device", "usb", "--jobs=65", "/mnt"},
         "--jobs takes a number from 1 to 64: \"65\""},
        {{"scan", "--device", "usb", "--quiet=1", "/mnt"}, "--quiet takes no value"},
        {{"scan", "--device", "usb", "--colour", "/mnt"}, "scan does not take --colour"},
        {{"status", "--device", "usb", "--json", "/mnt"}, "status does not take --json"},
        {{"list", "--device", "usb", "/mnt"}, "list takes no operands"},
        {{"--version", "x"}, "version takes no operands"},
    };
    for (const Row& row : rows) {
        CommandLine line;
        std::string error;
        EXPECT_FALSE(parseCommandLine(row.arguments, line, error));
        EXPECT_EQ(error, row.error);
    }
    CommandLine line;
    std::string error;
    ASSERT_TRUE(parseCommandLine(
        {"scan", "--country=6", "--device", "usb", "--jobs", "3", "--quiet", "/a", "--", "--b"},
        line, error))
        << error;
    EXPECT_EQ(line.device, "usb");
    EXPECT_EQ(line.country, 6);
    EXPECT_EQ(line.jobs, 3u);
    EXPECT_TRUE(line.quiet);
    EXPECT_EQ(line.operands, (std::vector<std::string>{"/a", "--b"}));
    for (const char* help : {"--help", "-h"}) {
        CommandLine helpLine;
        ASSERT_TRUE(parseCommandLine({help}, helpLine, error)) << error;
        EXPECT_EQ(helpLine.command, "help");
    }
}

}  // namespace

}  // namespace tangor::test
