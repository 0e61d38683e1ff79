// Whole scans of generated sample trees: the tables and views they fill, the readings of each
// market, rescans, and the input that must not stop a scan.

#include <utime.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "Scanner.h"
#include "support/IndexerTest.h"
#include "support/InstalledDictionaries.h"

namespace tangor::test {

namespace {

namespace fs = std::filesystem;

constexpr int kFiles = sample::kMinimumFiles;

using TangorIndexTest = IndexerTest;

std::string quoted(const std::string& text) {
    return "'" + text + "'";
}

TEST_F(TangorIndexTest, FullScanFillsTheTablesAndTheViews) {
    // A link back up the tree would make a walk that follows links go round for ever.
    fs::create_directory_symlink("..", path("Misc/loop"));
    const ProgramResult result = scan({mount});
    ASSERT_EQ(result.status, 0) << result.standardError;
    EXPECT_NE(result.standardOutput.find("12 files indexed (12 read), 0 skipped, 1 warning"),
              std::string::npos)
        << result.standardOutput;

    const std::pair<const char*, const char*> counts[] = {
        {"SELECT COUNT(*) FROM SONGS", "12"},
        {"SELECT COUNT(*) FROM VIEW_SONGS", "12"},
        {"SELECT COUNT(*) FROM DIRECTORIES", "13"},  // 12 folders with audio or a playlist, root
        {"SELECT COUNT(*) FROM PLAYLISTS", "12"},    // 13 entries, one naming no file
        {"SELECT COUNT(*) FROM VIEW_PLAYLISTSONGS", "12"},
        {"SELECT COUNT(*) FROM VIEW_PLAYLISTNAMES", "4"},
    };
    for (const auto& [sql, expected] : counts) {
        EXPECT_EQ(value(sql), expected) << sql;
    }
    EXPECT_EQ(value("SELECT AUDIOTYPE FROM VIEW_SONGS WHERE PATH = " +
                    quoted(path(sample::audiobookTrack))),
              "16");
    // Composer and disc number from every tag format; the placeholder and 0 for the others.
    for (int file = 0; file < kFiles; ++file) {
        const sample::AudioFile audio = sample::audioFile(file);
        EXPECT_EQ(value("SELECT COMPOSER, DISCNUM FROM SONGS JOIN COMPOSERS USING (COMPOSERID) "
                        "WHERE PATH = " +
                        quoted(path(file))),
                  audio.content == sample::Content::Tagged
                      ? audio.tags.composer + "|" + std::to_string(audio.tags.discNumber)
                      : "Various Composers|0")
            << audio.path;
    }
    // In entry order, the case-insensitive and the "\"-separated entries resolved.
    const std::string playlistTracks =
        "SELECT group_concat(TRACKPATH, '|') FROM PLAYLISTS WHERE PLAYNAME = ";
    EXPECT_EQ(value(playlistTracks + "'Favourites'"),
              path(0) + "|" + path(7) + "|" + path(8) + "|" + path(2));
    EXPECT_EQ(value(playlistTracks + "'Windows'"), path(9) + "|" + path(3) + "|" + path(4));

    // A heading, then one line per track.
    const ProgramResult listing = runProgram({TANGOR_INDEX, "list", "--device", "usb"});
    EXPECT_EQ(listing.status, 0);
    EXPECT_NE(listing.standardOutput.find("Anna Reader\tThe Long Road\tDeparture\taudiobook"),
              std::string::npos)
        << listing.standardOutput;
    EXPECT_EQ(std::count(listing.standardOutput.begin(), listing.standardOutput.end(), '\n'),
              kFiles + 1)
        << listing.standardOutput;
    const ProgramResult status = runProgram({TANGOR_INDEX, "status", "--device", "usb", mount});
    EXPECT_EQ(status.standardOutput, "DONE\n");
}

// Tags that old taggers wrote in GBK, Big5 or Shift-JIS read right on their markets, and on the
// others where the bytes leave no doubt; UTF-8 and true Latin-1 texts are kept on every market.
// The titles' readings follow the market.
TEST_F(TangorIndexTest, EachMarketReadsLegacyEncodedTextsAndItsOwnReadings) {
    installDictionary(6, phoneticTestList("pinyin-words.txt"));
    makeLibrary(mount, kFiles, {"--legacy-tags"});
    const std::pair<const char*, std::vector<std::pair<int, const char*>>> markets[] = {
        {"0", {{0, "<null>"}}},
        {"5", {{2, "はろー わーるど"}}},
        {"6", {{0, "BeiJing"}, {7, "silent morning"}}},  // no Chinese: the title, lowered
        {"9", {}},
    };
    for (const auto& [country, titleReadings] : markets) {
        SCOPED_TRACE(std::string("market ") + country);
        const std::string device = std::string("market") + country;
        const ProgramResult result = scan({"--country", country, mount}, device);
        ASSERT_EQ(result.status, 0) << result.standardError;
        for (const auto& [file, reading] : titleReadings) {
            EXPECT_EQ(value("SELECT IFNULL(CAST(ASIANTITLE AS TEXT), '<null>') FROM SONGS WHERE "
                            "PATH = " +
                                quoted(path(file)),
                            database(device)),
                      reading);
        }
        for (const sample::LegacyFile& file : sample::legacyFiles()) {
            const auto& text = file.text;
            const bool composer = !text.composer.empty();
            EXPECT_EQ(
                value(std::string("SELECT TITLE, ARTIST, ALBUM") + (composer ? ", COMPOSER" : "") +
                          " FROM VIEW_SONGS WHERE PATH = " + quoted(path(file.path)),
                      database(device)),
                text.title + "|" + text.artist + "|" + text.album +
                    (composer ? "|" + text.composer : ""))
                << file.path;
        }
        for (const sample::LegacyPlaylist& playlist : sample::legacyPlaylists()) {
            std::string expected;
            for (const int file : playlist.files) {
                expected += (expected.empty() ? "" : "|") + path(file);
            }
            EXPECT_EQ(value("SELECT group_concat(TRACKPATH, '|') FROM PLAYLISTS WHERE PLAYNAME = " +
                                quoted(fs::path(playlist.path).stem().string()),
                            database(device)),
                      expected)
                << playlist.path;
        }
    }
}

TEST_F(TangorIndexTest, RescanWritesOnlyWhatChanged) {
    // That a rescan finding nothing changed writes nothing is checked with the other reliability
    // cases, through SQLite's file layer.
    ASSERT_EQ(scan({mount}).status, 0);
    const std::string idOf = "SELECT ID FROM SONGS WHERE PATH = ";
    const std::string keptId = value(idOf + quoted(path(7)));
    const std::string added = path("Amber Rivers/Morning Roads/99 Copy.mp3");
    fs::copy_file(path(7), added);
    fs::copy_file(path(1), path(8), fs::copy_options::overwrite_existing);  // other tags
    const utimbuf later{1700000000, 1700000000};
    ASSERT_EQ(utime(path(8).c_str(), &later), 0);
    fs::remove(path(10));  // an entry of Mix.pls

    const ProgramResult result = scan({mount});
    ASSERT_EQ(result.status, 0) << result.standardError;
    EXPECT_NE(result.standardOutput.find("12 files indexed (2 read)"), std::string::npos)
        << result.standardOutput;
    EXPECT_EQ(value(idOf + quoted(path(7))), keptId);
    EXPECT_EQ(value("SELECT TITLE FROM SONGS WHERE PATH = " + quoted(path(8))), "矮");
    EXPECT_EQ(value("SELECT COUNT(*) FROM SONGS WHERE PATH IN (" + quoted(added) + ", " +
                    quoted(path(10)) + ")"),
              "1");
    EXPECT_EQ(value("SELECT group_concat(TRACKPATH, '|') FROM PLAYLISTS WHERE PLAYNAME = 'Mix'"),
              path(11) + "|" + path(1));
}

TEST_F(TangorIndexTest, UnreadableDatabaseIsMadeAnew) {
    fs::create_directories(databaseDirectory());
    writeFile(database(), std::string(4096, 'x'));
    const ProgramResult result = scan({mount});
    ASSERT_EQ(result.status, 0) << result.standardError;
    EXPECT_NE(result.standardError.find("the database of device usb cannot be validated (COULD "
                                        "NOT GET DB VERSION): deleting it and making it anew"),
              std::string::npos)
        << result.standardError;
    EXPECT_EQ(value("SELECT COUNT(*) FROM VIEW_SONGS"), "12");
}

// Deletes one file just before the scan reads it, or ends the scan after some files as a kill
// would.
class Interference : public index::ScanObserver {
public:
    std::string vanishing;
    int filesBeforeKill = -1;

    void fileStarting(const std::string& path) override {
        if (path == vanishing) {
            fs::remove(path);
        }
    }
    void fileDone() override {
        if (filesBeforeKill >= 0 && filesBeforeKill-- == 0) {
            throw std::runtime_error("killed");
        }
    }
};

TEST_F(TangorIndexTest, FileThatVanishesDuringTheScanIsSkipped) {
    Interference interference;
    interference.vanishing = path(7);
    const index::ScanTotals totals = index::scanDevice("usb", {mount}, interference);
    EXPECT_EQ(totals.indexed, 11u);
    EXPECT_EQ(totals.skipped, 1u);
    EXPECT_EQ(value("SELECT COUNT(*) FROM SONGS WHERE PATH = " + quoted(path(7))), "0");
}

TEST_F(TangorIndexTest, ScanCutShortIsCompletedByTheNext) {
    index::ScanOptions options;
    options.filesPerTransaction = 2;
    Interference interference;
    interference.filesBeforeKill = 5;
    EXPECT_THROW(index::scanDevice("usb", {mount}, interference, options), std::runtime_error);
    // The sixth file's rows were written, not committed: two transactions went through.
    EXPECT_EQ(value("SELECT COUNT(*) FROM SONGS"), "4");
    EXPECT_EQ(value("SELECT VALUE FROM STATUS"), "SCANNING");

    index::ScanObserver quiet;
    const index::ScanTotals totals = index::scanDevice("usb", {mount}, quiet, options);
    EXPECT_EQ(totals.written, 8u);
    EXPECT_EQ(value("SELECT COUNT(*) FROM VIEW_PLAYLISTSONGS"), "12");
    EXPECT_EQ(value("SELECT VALUE FROM STATUS"), "DONE");
}

TEST_F(TangorIndexTest, AnyNumberOfReadingThreadsWritesTheSameDatabase) {
    const std::string big = tree.file("big");
    makeLibrary(big, 300);
    const std::pair<const char*, std::vector<std::string>> runs[] = {
        {"one", {"--jobs", "1", big}}, {"default", {big}}, {"four", {"--jobs", "4", big}}};
    // Every row of every table the scan writes, in row order.
    std::vector<std::string> dumps[std::size(runs)];
    for (std::size_t run = 0; run < std::size(runs); ++run) {
        const ProgramResult result = scan(runs[run].second, runs[run].first);
        EXPECT_EQ(result.status, 0) << result.standardError;
        for (const char* table : {"SONGS", "ARTISTS", "ALBUMS", "GENRES", "COMPOSERS",
                                  "DIRECTORIES", "PLAYLISTS", "STATUS", "PARTITION_PRESENCE"}) {
            for (std::string& row : queryRows(
                     database(runs[run].first),
                     std::string("SELECT '") + table + "', * FROM " + table + " ORDER BY rowid")) {
                dumps[run].push_back(std::move(row));
            }
        }
    }
    ASSERT_GT(dumps[0].size(), 300u);
    EXPECT_TRUE(dumps[0] == dumps[1]);
    EXPECT_TRUE(dumps[0] == dumps[2]);
}

TEST_F(TangorIndexTest, ErrorsEndWithAMessageAndAStatus) {
    const std::pair<std::vector<std::string>, int> runs[] = {
        {{"list", "--device", "none"}, 1},
        {{"status", "--device", "none", "/mnt"}, 1},
        {{"scan", "--device", "usb", "/no/such/folder"}, 1},
        {{"scan", "/mnt"}, 2},
    };
    for (const auto& [arguments, status] : runs) {
        std::vector<std::string> command = {TANGOR_INDEX};
        command.insert(command.end(), arguments.begin(), arguments.end());
        const ProgramResult result = runProgram(command);
        EXPECT_EQ(result.status, status) << arguments.front();
        EXPECT_EQ(result.standardError.rfind("tangor-index: ", 0), 0u) << result.standardError;
    }
}

}  // namespace

}  // namespace tangor::test
