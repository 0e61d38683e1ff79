#include "database/Schema.h"

#include <tangor/sqlstl/sqlstream.h>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "support/TestSupport.h"

namespace {

using Rows = std::vector<std::string>;
using tangor::test::LogCapture;
using tangor::test::TempDir;

const char* const kTables[] = {
    "SONGS",     "ARTISTS", "ALBUMS", "GENRES", "COMPOSERS",         "DIRECTORIES",
    "PLAYLISTS", "VERSION", "CODING", "STATUS", "PARTITION_PRESENCE"};

std::string song(const std::string& partition, const std::string& id,
                 const std::string& composer = "co") {
    return "INSERT INTO SONGS(PARTITION_ID,PATH,OBJECTID,DIRECTORYID,NAME,TITLE,ARTISTID,ALBUMID,"
           "GENREID,COMPOSERID,AUDIOTYPE,BOOKMARK,LASTMODIFIED,TRACKIND,DISCNUM) VALUES ('" +
           partition + "','/" + id + ".mp3','" + id + "','d','" + id + ".mp3','T " + id +
           "','ar','al','ge','" + composer + "',1,0,0,1,1);";
}

std::string playlistEntry(const std::string& partition, const std::string& playPath,
                          const std::string& track) {
    return "INSERT INTO PLAYLISTS(PARTITION_ID,PLAYPATH,PLAYID,PLAYNAME,TRACKPATH,TRACKID,"
           "LASTMODIFIED) VALUES ('" +
           partition + "','" + playPath + "','pl" + playPath + "','n','/t','" + track + "',0);";
}

const char kLookups[] =
    "INSERT INTO ARTISTS VALUES ('ar','Artist',NULL); INSERT INTO ALBUMS VALUES "
    "('al','Album',NULL);"
    "INSERT INTO GENRES VALUES ('ge','Genre',NULL); INSERT INTO COMPOSERS VALUES "
    "('co','Comp',NULL);";

class SchemaTest : public ::testing::Test {
protected:
    void SetUp() override { runScript(corvina::schemaScript); }

    // The way the library runs its scripts: one exec on a writing stream.
    void runScript(const char* script) {
        sqlstl::sqlostream os;
        os.open(path_.c_str(), corvina::busyTimeoutMs);
        os.exec(script);
        EXPECT_TRUE(os.good()) << script;
    }
    void bindOne(const char* sql, const char* value) {
        sqlstl::sqlostream os;
        os.open(path_.c_str(), corvina::busyTimeoutMs);
        os.query(sql);
        os << value << sqlstl::step;
        EXPECT_TRUE(os.good()) << sql;
    }
    void exec(const std::string& sql) { tangor::test::execSql(path_, sql); }
    Rows rows(const std::string& sql) { return tangor::test::queryRows(path_, sql); }
    int rc(const std::string& sql) {
        sqlite3* db = nullptr;
        sqlite3_open(path_.c_str(), &db);
        const int result = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr);
        sqlite3_close(db);
        return result;
    }

    TempDir dir_;
    const std::string path_ = dir_.file("media.tangor");
};

// Rowid order is creation order; each index is followed by its column. SQLite's own indexes for
// the key constraints are left out.
TEST_F(SchemaTest, CreatesObjectsInOrderWithIndexedColumns) {
    EXPECT_EQ(rows("SELECT group_concat(name || ifnull('(' || (SELECT group_concat(name) FROM "
                   "pragma_index_info(m.name)) || ')', ''), ' ') FROM (SELECT name FROM "
                   "sqlite_master WHERE name NOT LIKE 'sqlite_autoindex%' ORDER BY rowid) m"),
              Rows{"SONGS sqlite_sequence ARTISTS ALBUMS GENRES COMPOSERS IDX_PATH(PATH) "
                   "IDX_OBJECTID(OBJECTID) IDX_ARTISTID(ARTISTID) IDX_ALBUMID(ALBUMID) "
                   "IDX_GENREID(GENREID) IDX_COMPOSERID(COMPOSERID) IDX_DIRECTORYID(DIRECTORYID) "
                   "IDX_AUDIOTYPE(AUDIOTYPE) DIRECTORIES PLAYLISTS VERSION CODING STATUS "
                   "PARTITION_PRESENCE VIEW_SONGS VIEW_PLAYLISTSONGS VIEW_PLAYLISTNAMES"});
    EXPECT_EQ(rows("SELECT DISTINCT tbl_name FROM sqlite_master WHERE name LIKE 'IDX_%'"),
              Rows{"SONGS"});
}

// One "NAME:TYPE" per column; "!" marks NOT NULL and "*" the primary key.
TEST_F(SchemaTest, ColumnsInDeclarationOrder) {
    const std::string songs =
        "ID:INTEGER* PARTITION_ID:TEXT! PATH:TEXT! OBJECTID:TEXT! DIRECTORYID:TEXT! NAME:TEXT! "
        "TITLE:TEXT! ARTISTID:TEXT! ALBUMID:TEXT! GENREID:TEXT! COMPOSERID:TEXT! "
        "AUDIOTYPE:INTEGER! "
        "BOOKMARK:INTEGER! LASTMODIFIED:INTEGER! TRACKIND:INT! DISCNUM:INT! ASIANTITLE:BLOB";
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"SONGS", songs},
        {"ARTISTS", "ARTISTID:TEXT* ARTIST:TEXT! ASIANARTIST:BLOB"},
        {"ALBUMS", "ALBUMID:TEXT* ALBUM:TEXT! ASIANALBUM:BLOB"},
        {"GENRES", "GENREID:TEXT* GENRE:TEXT! ASIANGENRE:BLOB"},
        {"COMPOSERS", "COMPOSERID:TEXT* COMPOSER:TEXT! ASIANCOMPOSER:BLOB"},
        {"DIRECTORIES",
         "ID:INTEGER* PARTITION_ID:TEXT! PATH:TEXT! NAME:TEXT! OBJECTID:TEXT! "
         "PARENT_ID:TEXT!"},
        {"PLAYLISTS",
         "ID:INTEGER* PARTITION_ID:TEXT! PLAYPATH:TEXT! PLAYID:TEXT! PLAYNAME:TEXT! "
         "TRACKPATH:TEXT! TRACKID:TEXT! AUDIOTYPE:INTEGER LASTMODIFIED:INTEGER!"},
        {"VERSION", "VALUE:TEXT!"},
        {"CODING", "VALUE:TEXT!"},
        {"STATUS", "MOUNTPOINT:TEXT* PARTITION_ID:TEXT! VALUE:TEXT!"},
        {"PARTITION_PRESENCE", "PARTITION_ID:TEXT*"},
    };
    for (const auto& [table, columns] : cases) {
        EXPECT_EQ(rows("SELECT group_concat(name || ':' || type || iif(\"notnull\", '!', '') || "
                       "iif(pk, '*', ''), ' ') FROM pragma_table_info('" +
                       table + "')"),
                  Rows{columns})
            << table;
    }
    const std::string songNames =
        rows("SELECT group_concat(name, ' ') FROM pragma_table_info('SONGS')")[0];
    const std::string lookups =
        " ARTIST ASIANARTIST ALBUM ASIANALBUM GENRE ASIANGENRE COMPOSER ASIANCOMPOSER";
    const std::vector<std::pair<std::string, std::string>> views = {
        {"VIEW_SONGS", songNames + lookups},
        {"VIEW_PLAYLISTSONGS", songNames + lookups + " PLAYLISTID"},
        {"VIEW_PLAYLISTNAMES", "ID LASTMODIFIED PLAYPATH"},
    };
    for (const auto& [view, names] : views) {
        EXPECT_EQ(rows("SELECT group_concat(name, ' ') FROM pragma_table_info('" + view + "')"),
                  Rows{names})
            << view;
    }
}

TEST_F(SchemaTest, SecondRunChangesNothingAndKeepsData) {
    exec(std::string(kLookups) + song("P1", "s1"));
    const std::string master = "SELECT type, name, tbl_name, rootpage, sql FROM sqlite_master";
    const Rows before = rows(master);
    runScript(corvina::schemaScript);
    EXPECT_EQ(rows(master), before);
    EXPECT_EQ(rows("SELECT OBJECTID FROM SONGS"), Rows{"s1"});
    EXPECT_EQ(rows("SELECT ARTIST FROM ARTISTS"), Rows{"Artist"});
}

TEST_F(SchemaTest, ViewsShowOnlyPresentPartitions) {
    exec(std::string(kLookups) + song("P1", "s1") + playlistEntry("P1", "/a.m3u", "s1") +
         playlistEntry("P1", "/a.m3u", "s1") + playlistEntry("P2", "/b.m3u", "s1"));
    const char* const counts =
        "SELECT (SELECT count(*) FROM VIEW_SONGS), (SELECT count(*) FROM VIEW_PLAYLISTSONGS), "
        "(SELECT count(*) FROM VIEW_PLAYLISTNAMES)";
    EXPECT_EQ(rows(counts), Rows{"0|0|0"});

    bindOne(corvina::insertPresenceSql, "P1");
    EXPECT_EQ(rows("SELECT OBJECTID, ARTIST, ALBUM, GENRE, COMPOSER FROM VIEW_SONGS"),
              Rows{"s1|Artist|Album|Genre|Comp"});
    // The entry on the absent partition P2 stays hidden although its track is present.
    EXPECT_EQ(rows("SELECT OBJECTID, PLAYLISTID FROM VIEW_PLAYLISTSONGS"),
              (Rows{"s1|pl/a.m3u", "s1|pl/a.m3u"}));
    EXPECT_EQ(rows("SELECT PLAYPATH FROM VIEW_PLAYLISTNAMES"), Rows{"/a.m3u"});

    runScript(corvina::presenceResetScript);
    EXPECT_EQ(rows("SELECT count(*) FROM PARTITION_PRESENCE"), Rows{"0"});
    EXPECT_EQ(rows(counts), Rows{"0|0|0"});
}

TEST_F(SchemaTest, SongWithoutComposerRowIsLeftOutOfViews) {
    exec(std::string(kLookups) + song("P1", "s1") + song("P1", "s2", "nobody") +
         playlistEntry("P1", "/a.m3u", "s2") + playlistEntry("P1", "/a.m3u", "s1"));
    bindOne(corvina::insertPresenceSql, "P1");
    EXPECT_EQ(rows("SELECT OBJECTID FROM VIEW_SONGS"), Rows{"s1"});
    EXPECT_EQ(rows("SELECT OBJECTID FROM VIEW_PLAYLISTSONGS"), Rows{"s1"});
}

TEST_F(SchemaTest, PlaylistSongsFollowPlaylistOrder) {
    exec(std::string(kLookups) + song("P1", "s1") + song("P1", "s2") + song("P1", "s3") +
         playlistEntry("P1", "/a.m3u", "s3") + playlistEntry("P1", "/a.m3u", "s1") +
         playlistEntry("P1", "/a.m3u", "s2") + "INSERT INTO PARTITION_PRESENCE VALUES ('P1');");
    EXPECT_EQ(rows("SELECT OBJECTID FROM VIEW_PLAYLISTSONGS"), (Rows{"s3", "s1", "s2"}));
}

TEST_F(SchemaTest, RemovalKeepsOnlyRowsOfPresentPartitionsAndAllLookups) {
    const std::vector<std::pair<std::string, Rows>> cases = {
        {"", {}},
        {"P1", {"SONGS|P1", "PLAYLISTS|P1", "STATUS|P1", "DIRECTORIES|P1"}},
    };
    for (const auto& [present, expected] : cases) {
        exec(
            "DELETE FROM SONGS; DELETE FROM PLAYLISTS; DELETE FROM STATUS; DELETE FROM "
            "DIRECTORIES; DELETE FROM ARTISTS; DELETE FROM ALBUMS; DELETE FROM GENRES; DELETE "
            "FROM COMPOSERS; DELETE FROM PARTITION_PRESENCE;" +
            std::string(kLookups));
        for (const std::string p : {"P1", "P2"}) {
            exec(song(p, "s" + p) + playlistEntry(p, "/" + p, "s" + p) +
                 "INSERT INTO STATUS VALUES ('/m/" + p + "','" + p + "','ok');" +
                 "INSERT INTO DIRECTORIES(PARTITION_ID,PATH,NAME,OBJECTID,PARENT_ID) VALUES ('" +
                 p + "','/','r','d" + p + "','');");
        }
        std::istringstream ids(present);
        for (std::string id; std::getline(ids, id, ',');) {
            bindOne(corvina::insertPresenceSql, id.c_str());
        }
        runScript(corvina::removalScript);
        EXPECT_EQ(rows("SELECT 'SONGS', PARTITION_ID FROM SONGS UNION ALL SELECT 'PLAYLISTS', "
                       "PARTITION_ID FROM PLAYLISTS UNION ALL SELECT 'STATUS', PARTITION_ID FROM "
                       "STATUS UNION ALL SELECT 'DIRECTORIES', PARTITION_ID FROM DIRECTORIES"),
                  expected)
            << "present: " << present;
        EXPECT_EQ(rows("SELECT (SELECT count(*) FROM ARTISTS), (SELECT count(*) FROM ALBUMS), "
                       "(SELECT count(*) FROM GENRES), (SELECT count(*) FROM COMPOSERS)"),
                  Rows{"1|1|1|1"})
            << "present: " << present;
    }
}

// Fills one row per table with "abc" in every text column, then looks each one up as "ABC".
TEST_F(SchemaTest, TextColumnsIgnoreCaseExceptMountPointAndPresence) {
    const std::set<std::string> binary = {"STATUS.MOUNTPOINT", "PARTITION_PRESENCE.PARTITION_ID"};
    int checked = 0;
    for (const std::string table : kTables) {
        const Rows columns = rows("SELECT name, type FROM pragma_table_info('" + table + "')");
        std::string names, values;
        for (const std::string& column : columns) {
            const std::string type = column.substr(column.find('|') + 1);
            names += (names.empty() ? "" : ",") + column.substr(0, column.find('|'));
            values += (values.empty() ? "" : ",");
            values += type == "TEXT" ? "'abc'" : type == "BLOB" ? "NULL" : "0";
        }
        exec("INSERT INTO " + table + "(" + names + ") VALUES (" + values + ");");
        for (const std::string& column : columns) {
            if (column.substr(column.find('|') + 1) != "TEXT") {
                continue;
            }
            const std::string name = column.substr(0, column.find('|'));
            const bool nocase = binary.count(table + "." + name) == 0;
            EXPECT_EQ(rows("SELECT count(*) FROM " + table + " WHERE " + name + " = 'ABC'"),
                      Rows{nocase ? "1" : "0"})
                << table << "." << name;
            ++checked;
        }
    }
    EXPECT_EQ(checked, 35);
}

// Two keys differing only in case: the binary keys take both, the case-blind ones refuse the
// second.
TEST_F(SchemaTest, KeysCompareCaseAsTheirCollationSays) {
    const std::vector<std::tuple<std::string, std::string, std::string, int>> cases = {
        {"STATUS", "('/mnt/a','P1','x')", "('/MNT/A','P1','y')", SQLITE_OK},
        {"PARTITION_PRESENCE", "('usb-a')", "('USB-A')", SQLITE_OK},
        {"DIRECTORIES", "(NULL,'P','/','r','obj','')", "(NULL,'P','/x','x','OBJ','')",
         SQLITE_CONSTRAINT},
        {"ARTISTS", "('abc','a',NULL)", "('ABC','b',NULL)", SQLITE_CONSTRAINT},
    };
    for (const auto& [table, first, second, expected] : cases) {
        EXPECT_EQ(rc("INSERT INTO " + table + " VALUES " + first), SQLITE_OK) << table;
        EXPECT_EQ(rc("INSERT INTO " + table + " VALUES " + second), expected) << table;
    }
}

TEST_F(SchemaTest, CodingBoundAsIntegerIsStoredAsTextAndReadsBack) {
    sqlstl::sqlostream os;
    os.open(path_.c_str(), corvina::busyTimeoutMs);
    os.query(corvina::insertCodingSql);
    os << 5 << sqlstl::step;
    os.query(corvina::insertVersionSql);
    os << corvina::schemaVersion << sqlstl::step;
    ASSERT_TRUE(os.good());
    EXPECT_EQ(rows("SELECT VALUE, typeof(VALUE) FROM CODING"), Rows{"5|text"});

    sqlstl::sqlistream is;
    is.open(path_.c_str(), corvina::busyTimeoutMs);
    int coding = 0;
    is.query(corvina::selectCodingSql);
    is >> coding;
    std::string version;
    is.query(corvina::selectVersionSql);
    is >> version;
    EXPECT_TRUE(is.good());
    EXPECT_EQ(coding, 5);
    EXPECT_EQ(version, "1.15");
}

TEST(SchemaScript, FailsOnAFileThatIsNotADatabase) {
    TempDir dir;
    const std::string path = dir.file("junk.tangor");
    tangor::test::writeFile(path, std::string(4096, 'x'));
    LogCapture log;
    sqlstl::sqlostream os;
    os.open(path.c_str(), corvina::busyTimeoutMs);
    os.exec(corvina::schemaScript);
    EXPECT_TRUE(os.bad());
    EXPECT_EQ(log.messages(DLT_LOG_ERROR), Rows{"exec failed: 26 file is not a database"});
}

}  // namespace
