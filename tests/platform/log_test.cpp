#include <tangor/platform/log.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include "platform/Logging.h"
#include "support/TestSupport.h"

using tangor::test::LogCapture;

namespace {

void logFromHere() {
    TANGOR_LOG(DLT_LOG_WARN, "value %d of %s", 7, "seven");
}

class PrettyFunctionSwitch {
public:
    explicit PrettyFunctionSwitch(std::uint8_t value) : saved_(logPrettyFunction) {
        logPrettyFunction = value;
    }
    ~PrettyFunctionSwitch() { logPrettyFunction = saved_; }

private:
    std::uint8_t saved_;
};

TEST(Log, RecordCarriesLevelFunctionLineAndFormattedText) {
    LogCapture capture;
    const int line = __LINE__ + 1;
    implLog(0, DLT_LOG_ERROR, "caller", line, "", "%s=%d", "rc", -1);
    const std::vector<LogRecord> records = capture.records();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].level, DLT_LOG_ERROR);
    EXPECT_EQ(records[0].function, "caller");
    EXPECT_EQ(records[0].line, line);
    EXPECT_EQ(records[0].message, "rc=-1");
}

TEST(Log, MacroNamesFunctionShortOrFullAsTheSwitchSays) {
    LogCapture capture;
    {
        PrettyFunctionSwitch off(0);
        logFromHere();
    }
    {
        PrettyFunctionSwitch on(1);
        logFromHere();
    }
    const std::vector<LogRecord> records = capture.records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].function, "logFromHere");
    // The compiler spells the full signature its own way; it names the function and says more.
    EXPECT_NE(records[1].function.find("logFromHere"), std::string::npos);
    EXPECT_GT(records[1].function.size(), records[0].function.size());
    EXPECT_EQ(records[0].message, "value 7 of seven");
    EXPECT_EQ(records[0].line, records[1].line);
}

TEST(Log, LongMessageIsKeptWhole) {
    LogCapture capture;
    const std::string path(5000, 'p');
    implLog(0, DLT_LOG_INFO, "f", 1, "", "deleting %s", path.c_str());
    ASSERT_EQ(capture.records().size(), 1u);
    EXPECT_EQ(capture.records()[0].message, "deleting " + path);
}

// Replacing the sink with an empty function brings back the default, which shows only warnings
// and errors, one line each.
TEST(Log, EmptySinkRestoresDefaultWhichShowsOnlyProblems) {
    int delivered = 0;
    setLogSink([&delivered](const LogRecord&) { ++delivered; });
    implLog(0, DLT_LOG_WARN, "f", 1, "", "captured");
    setLogSink({});
    testing::internal::CaptureStderr();
    implLog(0, DLT_LOG_INFO, "quiet", 1, "", "not shown");
    implLog(0, DLT_LOG_WARN, "loud", 2, "", "shown %d", 1);
    implLog(0, DLT_LOG_ERROR, "loud", 3, "", "shown %d", 2);
    const std::string output = testing::internal::GetCapturedStderr();
    EXPECT_EQ(delivered, 1);
    EXPECT_EQ(output.find("not shown"), std::string::npos);
    EXPECT_EQ(output.find("captured"), std::string::npos);
    EXPECT_NE(output.find("shown 1"), std::string::npos);
    EXPECT_NE(output.find("shown 2"), std::string::npos);
    EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 2);
}

TEST(Log, SinkMayLogAndThreadsMayLogAtOnce) {
    LogCapture capture;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < 100; ++i) {
                implLog(0, DLT_LOG_INFO, "worker", t, "", "%d", i);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(capture.records().size(), 400u);

    // A sink that logs itself must not deadlock.
    int depth = 0;
    setLogSink([&depth](const LogRecord&) {
        if (depth++ == 0) {
            implLog(0, DLT_LOG_INFO, "nested", 1, "", "again");
        }
    });
    implLog(0, DLT_LOG_INFO, "outer", 1, "", "first");
    EXPECT_EQ(depth, 2);
}

}  // namespace
