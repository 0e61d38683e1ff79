#include "database/Schema.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "support/TestSupport.h"

namespace {

using Rows = std::vector<std::string>;
using tangor::test::execSql;

std::string song(const std::string& partition, const std::string& id,
                 const std::string& composer = "co") {
    return "INSERT INTO SONGS(PARTITION_ID,PATH,OBJECTID,DIRECTORYID,NAME,TITLE,ARTISTID,ALBUMID,"
           "GENREID,COMPOSERID,AUDIOTYPE,BOOKMARK,LASTMODIFIED,TRACKIND,DISCNUM) VALUES ('" +
           partition + "','/" + id + "','" + id + "','d','n','t','ar','al','ge','" + composer +
           "',1,0,0,1,1);";
}

std::string playlistEntry(const std::string& partition, const std::string& playPath,
                          const std::string& track) {
    return "INSERT INTO PLAYLISTS(PARTITION_ID,PLAYPATH,PLAYID,PLAYNAME,TRACKPATH,TRACKID,"
           "LASTMODIFIED) VALUES ('" +
           partition + "','" + playPath + "','pl" + playPath + "','n','/t','" + track + "',0);";
}

const std::string kLookups =
    "INSERT INTO ARTISTS VALUES ('ar','Artist',NULL); INSERT INTO ALBUMS VALUES ('al','Album',"
    "NULL); INSERT INTO GENRES VALUES ('ge','Genre',NULL); INSERT INTO COMPOSERS VALUES ('co',"
    "'Comp',NULL);";

class SchemaTest : public ::testing::Test {
protected:
    void SetUp() override { execSql(path, corvina::schemaScript); }
    Rows rows(const std::string& sql) { return tangor::test::queryRows(path, sql); }

    tangor::test::TempDir dir;
    const std::string path = dir.file("media.tangor");
};

TEST_F(SchemaTest, SecondRunChangesNothingAndKeepsData) {
    execSql(path, kLookups + song("P1", "s1"));
    const std::string master = "SELECT type, name, tbl_name, rootpage, sql FROM sqlite_master";
    const Rows before = rows(master);
    execSql(path, corvina::schemaScript);
    EXPECT_EQ(rows(master), before);
    EXPECT_EQ(rows("SELECT OBJECTID, ARTIST FROM SONGS, ARTISTS"), Rows{"s1|Artist"});
}

// s3 has no composer row; s4 and the playlist /b lie on the absent partition P2.
TEST_F(SchemaTest, ViewsShowCompleteSongsOfPresentPartitionsInPlaylistOrder) {
    execSql(path, kLookups + song("P1", "s1") + song("P1", "s2") + song("P1", "s3", "none") +
                      song("P2", "s4") + playlistEntry("P1", "/a", "s2") +
                      playlistEntry("P1", "/a", "s3") + playlistEntry("P1", "/a", "s1") +
                      playlistEntry("P2", "/b", "s1"));
    const char* const counts =
        "SELECT (SELECT count(*) FROM VIEW_SONGS), (SELECT count(*) FROM VIEW_PLAYLISTSONGS), "
        "(SELECT count(*) FROM VIEW_PLAYLISTNAMES)";
    EXPECT_EQ(rows(counts), Rows{"0|0|0"});
    execSql(path, "INSERT INTO PARTITION_PRESENCE VALUES ('P1');");
    EXPECT_EQ(rows("SELECT OBJECTID, ARTIST, ALBUM, GENRE, COMPOSER FROM VIEW_SONGS ORDER BY ID"),
              (Rows{"s1|Artist|Album|Genre|Comp", "s2|Artist|Album|Genre|Comp"}));
    EXPECT_EQ(rows("SELECT OBJECTID, PLAYLISTID FROM VIEW_PLAYLISTSONGS"),
              (Rows{"s2|pl/a", "s1|pl/a"}));
    EXPECT_EQ(rows("SELECT PLAYPATH FROM VIEW_PLAYLISTNAMES"), Rows{"/a"});
    execSql(path, corvina::presenceResetScript);
    EXPECT_EQ(rows(counts), Rows{"0|0|0"});
}

TEST_F(SchemaTest, RemovalKeepsRowsOfPresentPartitionsAndAllLookups) {
    execSql(path, kLookups + "INSERT INTO PARTITION_PRESENCE VALUES ('P1');");
    for (const std::string p : {"P1", "P2"}) {
        execSql(path, song(p, "s" + p) + playlistEntry(p, "/" + p, "s" + p) +
                          "INSERT INTO STATUS VALUES ('/m/" + p + "','" + p + "','ok');" +
                          "INSERT INTO DIRECTORIES VALUES (NULL,'" + p + "','/','r','d" + p +
                          "','');");
    }
    execSql(path, corvina::removalScript);
    EXPECT_EQ(rows("SELECT 'SONGS', PARTITION_ID FROM SONGS UNION ALL SELECT 'PLAYLISTS', "
                   "PARTITION_ID FROM PLAYLISTS UNION ALL SELECT 'STATUS', PARTITION_ID FROM "
                   "STATUS UNION ALL SELECT 'DIRECTORIES', PARTITION_ID FROM DIRECTORIES"),
              (Rows{"SONGS|P1", "PLAYLISTS|P1", "STATUS|P1", "DIRECTORIES|P1"}));
    EXPECT_EQ(rows("SELECT (SELECT count(*) FROM ARTISTS), (SELECT count(*) FROM ALBUMS), "
                   "(SELECT count(*) FROM GENRES), (SELECT count(*) FROM COMPOSERS)"),
              Rows{"1|1|1|1"});
}

// Two keys differing only in case: the binary keys take both, the case-blind ones refuse the
// second.
TEST_F(SchemaTest, KeysCompareCaseAsTheirCollationSays) {
    const std::vector<std::tuple<std::string, std::string, std::string, std::string>> cases = {
        {"STATUS", "('/mnt/a','P1','x')", "('/MNT/A','P1','y')", "2"},
        {"PARTITION_PRESENCE", "('usb-a')", "('USB-A')", "2"},
        {"DIRECTORIES", "(NULL,'P','/','r','obj','')", "(NULL,'P','/x','x','OBJ','')", "1"},
        {"ARTISTS", "('abc','a',NULL)", "('ABC','b',NULL)", "1"},
    };
    for (const auto& [table, first, second, count] : cases) {
        const std::string insert = "INSERT OR IGNORE INTO " + table + " VALUES ";
        execSql(path, insert + first + ";" + insert + second + ";");
        EXPECT_EQ(rows("SELECT count(*) FROM " + table), Rows{count}) << table;
    }
}

}  // namespace
