// The indexer's pieces that decide on text alone: playlist entries and the command line.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CommandLine.h"
#include "Playlist.h"
#include "support/TestSupport.h"

namespace tangor::test {

namespace {

using index::CommandLine;
using index::parseCommandLine;
using index::TrackResolver;

TEST(PlaylistEntries, ResolveAgainstThePlaylistFolderWithEitherSeparatorAndCaseAsFallback) {
    const std::vector<std::string> tracks = {"Music/A/song.mp3", "Music/A/SONG.mp3",
                                             "Music/B/other.flac", "top.mp3"};
    const TrackResolver resolver("/mnt/usb", tracks);
    struct Row {
        const char* folder;
        const char* entry;
        const char* expected;  // null: no track
    };
    const Row rows[] = {
        {"Music/A", "song.mp3", "Music/A/song.mp3"},
        {"Music/A", "SONG.mp3", "Music/A/SONG.mp3"},  // exact match wins over the folding
        {"Music/A", "Song.MP3", "Music/A/song.mp3"},  // first of the foldings
        {"Playlists", "..\\Music\\.\\B\\\\other.flac", "Music/B/other.flac"},
        {"Music/A", "E:\\top.mp3", "top.mp3"},       // drive letter: from the root
        {"Music/A", "/mnt/usb/top.mp3", "top.mp3"},  // absolute, below the mount point
        {"", "file:///Music/B/oth%65r.flac", "Music/B/other.flac"},
        {"Music", "../../top.mp3", nullptr},  // leaves the partition
        {"Music/A", "", nullptr},
    };
    for (const Row& row : rows) {
        const std::string* found = resolver.resolve(row.folder, row.entry);
        EXPECT_EQ(found ? *found : "<none>", row.expected ? row.expected : "<none>")
            << row.folder << " + " << row.entry;
    }
}

TEST(PlaylistEntries, M3uKeepsItsLinesAndPlsFollowsItsNumbers) {
    TempDir dir;
    const std::string m3u = dir.file("list.m3u");
    writeFile(m3u, "\xEF\xBB\xBF#EXTM3U\r\n#EXTINF:1,x\r\n  a.mp3  \r\n\r\nb\\c.mp3");
    const std::string pls = dir.file("list.pls");
    writeFile(pls, "[playlist]\nFile2=second.mp3\nTitle1=t\nfile1=first.mp3\nNumberOfEntries=2\n");
    std::vector<std::string> entries;
    ASSERT_TRUE(index::readPlaylistEntries(m3u, entries));
    EXPECT_EQ(entries, (std::vector<std::string>{"a.mp3", "b\\c.mp3"}));
    entries.clear();
    ASSERT_TRUE(index::readPlaylistEntries(pls, entries, {1 << 20, 1}));
    EXPECT_EQ(entries, (std::vector<std::string>{"first.mp3"}));  // cut to one entry
    EXPECT_FALSE(index::readPlaylistEntries(dir.file("none.m3u"), entries));
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
        {{"scan", "--device", "usb", "--quiet=1", "/mnt"}, "--quiet takes no value"},
        {{"status", "--device", "usb", "--json", "/mnt"}, "status does not take --json"},
        {{"list", "--device", "usb", "/mnt"}, "list takes no operands"},
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
        {"scan", "--country=6", "--device", "usb", "--quiet", "/a", "--", "--b"}, line, error))
        << error;
    EXPECT_EQ(line.device, "usb");
    EXPECT_EQ(line.country, 6);
    EXPECT_TRUE(line.quiet);
    EXPECT_EQ(line.operands, (std::vector<std::string>{"/a", "--b"}));
}

}  // namespace

}  // namespace tangor::test
