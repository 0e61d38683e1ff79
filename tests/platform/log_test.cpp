#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "internal/Logging.h"
#include "support/TestSupport.h"

namespace tangor::test {

// Logs through the library's macro and gives the line it logged from.
static int logFromHere() {
    TANGOR_LOG(DLT_LOG_WARN, "value %d of %s", 7, "seven");
    return __LINE__ - 1;
}

TEST(Log, RecordCarriesLevelFunctionShortOrFullLineAndFormattedText) {
    tangor::test::LogCapture capture;
    const int line = logFromHere();
    logPrettyFunction = 1;
    logFromHere();
    logPrettyFunction = 0;
    const std::string path(5000, 'p');  // past any fixed first formatting buffer
    implLog(0, DLT_LOG_INFO, "f", 1, "", "deleting %s", path.c_str());
    const std::vector<LogRecord> r = capture.records();
    ASSERT_EQ(r.size(), 3u);
    EXPECT_EQ(std::tie(r[0].level, r[0].function, r[0].line, r[0].message),
              std::make_tuple(DLT_LOG_WARN, "logFromHere", line, "value 7 of seven"));
    // The compiler spells the full signature its own way; it names the function and says more.
    EXPECT_NE(r[1].function.find("logFromHere"), std::string::npos);
    EXPECT_GT(r[1].function.size(), r[0].function.size());
    EXPECT_EQ(r[2].message, "deleting " + path);
}

TEST(Log, SinkMayLogAndRestoreTheDefaultWhichShowsOnlyWarnAndAbove) {
    int calls = 0;
    setLogSink([&calls](const LogRecord&) {
        if (++calls == 1) {
            implLog(0, DLT_LOG_INFO, "nested", 1, "", "x");  // so no lock is held while delivering
            setLogSink({});       // and the running sink lives on until it returns
            EXPECT_EQ(calls, 2);  // which reads its capture
        }
    });
    implLog(0, DLT_LOG_INFO, "outer", 1, "", "x");
    testing::internal::CaptureStderr();
    for (int level = DLT_LOG_FATAL; level <= DLT_LOG_VERBOSE; ++level) {
        implLog(0, static_cast<DltLogLevelType>(level), "f", level, "", "level %d", level);
    }
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "tangor FATAL f:1: level 1\ntangor ERROR f:2: level 2\ntangor WARN f:3: level 3\n");
}

// Under ThreadSanitizer an unguarded sink shows up here.
TEST(Log, ThreadsMayLogWhileTheSinkIsReplaced) {
    std::atomic<int> delivered{0};
    const LogSink count = [&delivered](const LogRecord&) { ++delivered; };
    setLogSink(count);
    const auto logHundredTimes = [] {
        for (int i = 0; i < 100; ++i) {
            implLog(0, DLT_LOG_INFO, "worker", i, "", "%d", i);
        }
    };
    std::thread a(logHundredTimes), b(logHundredTimes), c(logHundredTimes);
    for (int i = 0; i < 100; ++i) {
        setLogSink(count);
    }
    a.join(), b.join(), c.join();
    setLogSink({});
    EXPECT_EQ(delivered, 300);
}

}  // namespace tangor::test
