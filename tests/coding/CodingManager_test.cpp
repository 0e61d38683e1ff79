#include <tangor/coding/CodingManager.h>
#include <tangor/platform/CCodeDataManager.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "support/TestSupport.h"

namespace tangor::test {

namespace {

using corvina::CodingManager;

// The coding is cached for the life of a process, so each case runs in a child process of its
// own; a failed expectation there makes the child exit with 1.
void inFreshProcess(const std::function<void()>& body) {
    EXPECT_EXIT(
        {
            body();
            std::exit(::testing::Test::HasFailure() ? 1 : 0);
        },
        ::testing::ExitedWithCode(0), "");
}

struct MarketCase {
    int countryCode;
    int searchReading;
    bool japanese;
    bool asian;
    std::vector<std::string> records;  // info records of the first calls, one per query
};

TEST(CodingManager, AnswersFollowTheMarketAndEachValueIsAskedOnce) {
    const MarketCase cases[] = {
        {5, 1, true, false, {"getCountryCode 5"}},
        {6, 0, false, true, {"getCountryCode 6"}},
        {9, 1, false, true, {"getCountryCode 9", "codingSearchReading 1"}},
        {9, 2, false, false, {"getCountryCode 9", "codingSearchReading 2"}},
        // The service's value is logged whole; only its low 8 bits are kept (265 -> 9).
        {265, 1, false, true, {"getCountryCode 265", "codingSearchReading 1"}},
        {-1, 1, false, false, {"getCountryCode 4294967295"}},
    };
    for (const MarketCase& c : cases) {
        SCOPED_TRACE("country code " + std::to_string(c.countryCode) + ", search reading " +
                     std::to_string(c.searchReading));
        inFreshProcess([&c] {
            CCodeDataManager::GetInstance().SetCountryCode(c.countryCode);
            CCodeDataManager::GetInstance().SetSearchReading(c.searchReading);
            LogCapture log;
            for (int round = 0; round < 3; ++round) {
                EXPECT_EQ(CodingManager::isJapaneseCoding(), c.japanese);
                EXPECT_EQ(CodingManager::isAsianCoding(), c.asian);
                EXPECT_EQ(static_cast<int>(CodingManager::getCountryCode()), c.countryCode & 0xFF);
            }
            EXPECT_EQ(log.messages(DLT_LOG_INFO), c.records);
            EXPECT_EQ(CCodeDataManager::GetInstance().GetQueryCount(),
                      static_cast<int>(c.records.size()));
        });
    }
}

TEST(CodingManager, AFailingQueryIsNotRepeated) {
    inFreshProcess([] {
        setenv("TANGOR_COUNTRY_CODE", "six", 1);
        LogCapture log;
        EXPECT_THROW(CodingManager::getCountryCode(), std::runtime_error);
        EXPECT_EQ(static_cast<int>(CodingManager::getCountryCode()), 0);
        EXPECT_FALSE(CodingManager::isAsianCoding());
        EXPECT_EQ(CCodeDataManager::GetInstance().GetQueryCount(), 1);
        EXPECT_TRUE(log.records().empty());
    });
    inFreshProcess([] {
        CCodeDataManager::GetInstance().SetCountryCode(9);
        setenv("TANGOR_SEARCH_READING", "1x", 1);
        EXPECT_THROW(CodingManager::isAsianCoding(), std::runtime_error);
        EXPECT_EQ(CodingManager::codingSearchReading(), -1);
        EXPECT_FALSE(CodingManager::isAsianCoding());
        EXPECT_EQ(CCodeDataManager::GetInstance().GetQueryCount(), 2);
    });
}

// The values come from the environment here.
TEST(CodingManager, ConcurrentFirstCallsAskTheServiceOnce) {
    inFreshProcess([] {
        setenv("TANGOR_COUNTRY_CODE", "9", 1);
        setenv("TANGOR_SEARCH_READING", "1", 1);
        LogCapture log;
        std::vector<std::thread> threads;
        std::vector<char> answers(8, 0);
        for (char& answer : answers) {
            threads.emplace_back([&answer] { answer = CodingManager::isAsianCoding(); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(answers, std::vector<char>(8, 1));
        EXPECT_EQ(CCodeDataManager::GetInstance().GetQueryCount(), 2);
        EXPECT_EQ(log.records().size(), 2u);
    });
}

}  // namespace

}  // namespace tangor::test
