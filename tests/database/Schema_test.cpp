#include "database/Schema.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/TestSupport.h"

namespace tangor::test {

namespace {

using Rows = std::vector<std::string>;

std::string song(const std::string& partition, const std::string& id,
                 const std::string& composer = "co") {
    return "INSERT INTO SONGS VALUES (NULL,'" + partition + "','/" + id + "','" + id +
           "','d','n','t','ar','al','ge','" + composer + "',1,0,0,1,1,NULL);";
}

std::string playlistEntry(const std::string& partition, const std::string& playPath,
                          const std::string& track) {
    return "INSERT INTO PLAYLISTS VALUES (NULL,'" + partition + "','" + playPath + "','pl" +
           playPath + "','n','/t','" + track + "',1,0);";
}

// The schema, with one artist, album, genre and composer.
class SchemaTest : public ::testing::Test {
protected:
    void SetUp() override {
        execSql(path, std::string(corvina::kSchemaScript) +
                          "INSERT INTO ARTISTS VALUES ('ar','Artist',NULL); INSERT INTO ALBUMS "
                          "VALUES ('al','Album',NULL); INSERT INTO GENRES VALUES ('ge','Genre',"
                          "NULL); INSERT INTO COMPOSERS VALUES ('co','Comp',NULL);");
    }
    Rows rows(const std::string& sql) { return tangor::test::queryRows(path, sql); }

    tangor::test::TempDir dir;
    const std::string path = dir.file("media.tangor");
};

// s3 has no composer row; s4, the playlist /b and the directory d2 lie on the absent partition P2.
TEST_F(SchemaTest, ViewsAndRemovalKeepOnlyPresentPartitions) {
    execSql(path, song("P1", "s1") + song("P1", "s2") + song("P1", "s3", "none") +
                      song("P2", "s4") + playlistEntry("P1", "/a", "s2") +
                      playlistEntry("P1", "/a", "s3") + playlistEntry("P1", "/a", "s1") +
                      playlistEntry("P2", "/b", "s1") +
                      "INSERT INTO DIRECTORIES VALUES (NULL,'P1','/','r','d1','');"
                      "INSERT INTO DIRECTORIES VALUES (NULL,'P2','/','r','d2','');"
                      "INSERT INTO PARTITION_PRESENCE VALUES ('P1');");
    EXPECT_EQ(rows("SELECT OBJECTID, ARTIST, ALBUM, GENRE, COMPOSER FROM VIEW_SONGS ORDER BY ID"),
              (Rows{"s1|Artist|Album|Genre|Comp", "s2|Artist|Album|Genre|Comp"}));
    EXPECT_EQ(rows("SELECT OBJECTID, PLAYLISTID FROM VIEW_PLAYLISTSONGS"),
              (Rows{"s2|pl/a", "s1|pl/a"}));
    EXPECT_EQ(rows("SELECT PLAYPATH FROM VIEW_PLAYLISTNAMES"), Rows{"/a"});

    execSql(path, corvina::kRemovalScript);  // STATUS rows: see removeDanglingPartitions
    EXPECT_EQ(rows("SELECT (SELECT group_concat(DISTINCT PARTITION_ID) FROM SONGS), "
                   "(SELECT group_concat(DISTINCT PARTITION_ID) FROM PLAYLISTS), "
                   "(SELECT group_concat(PARTITION_ID) FROM DIRECTORIES), "
                   "(SELECT count(*) FROM ARTISTS) + (SELECT count(*) FROM ALBUMS) + "
                   "(SELECT count(*) FROM GENRES) + (SELECT count(*) FROM COMPOSERS)"),
              Rows{"P1|P1|P1|4"});
}

}  // namespace

}  // namespace tangor::test
