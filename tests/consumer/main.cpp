// Uses a little of each installed header through the installed library.
#include <tangor/database/DatabaseMgr.h>
#include <tangor/phonetic/phonetic.h>
#include <tangor/platform/log.h>
#include <tangor/platform/normalize.h>
#include <tangor/sqlstl/sqlstream.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

int main() {
    int records = 0;
    setLogSink([&records](const LogRecord&) { ++records; });

    const std::string path = corvina::DatabaseMgr().getDbNameFromDevId("usb1");
    const std::string expected = "/var/opt/tangor/usb1.tangor";
    if (path.size() < expected.size() ||
        path.compare(path.size() - expected.size(), expected.size(), expected) != 0) {
        std::fprintf(stderr, "unexpected database path %s\n", path.c_str());
        return 1;
    }

    sqlstl::sqlostream os;
    os.open(":memory:", 1000);
    os.exec("CREATE TABLE T(V INT);");
    os.query("INSERT INTO T(V) VALUES (?);");
    os << 7 << sqlstl::step << sqlstl::finalize;
    sqlstl::sqlistream is;
    is.open(":memory:", 1000);
    int value = -1;
    is.query("SELECT 42;");
    is >> value >> sqlstl::step >> sqlstl::finalize;
    if (!os.good() || value != 42 || records != 2) {
        std::fprintf(stderr, "streams misbehaved: good %d value %d records %d\n", os.good(), value,
                     records);
        return 1;
    }
    setLogSink({});

    // A market without dictionaries starts the engine empty: nothing reads, nothing is loaded.
    init_lib(iWnn, 0);
    char text[] = "abc";
    char* reading = transf_to_pinyin(text);
    char* normalised = normalize_utf8("ABC", 3, nullptr);
    const bool phoneticOk = reading != nullptr && reading[0] == 0 && normalised != nullptr &&
                            std::strcmp(normalised, "abc") == 0;
    std::free(normalised);
    free_dic(iWnn);
    if (!phoneticOk) {
        std::fprintf(stderr, "phonetic entry points misbehaved\n");
        return 1;
    }
    return 0;
}
