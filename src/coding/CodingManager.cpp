#include <tangor/coding/CodingManager.h>
#include <tangor/platform/CCodeDataManager.h>

#include <atomic>
#include <cstdint>
#include <mutex>

#include "internal/Logging.h"

namespace corvina {

namespace {

// One value asked of the coding-data service at most once per process. The fetched flag is set
// before the service is called, so a query that throws is never repeated and later callers get
// the start value. The lock only serialises first callers; afterwards a read is one atomic load.
template <typename T>
class FetchedOnce {
public:
    explicit constexpr FetchedOnce(T start) : value_(start) {}

    // Runs `query` (returning the service's raw int) if no caller has started it yet, keeps
    // `convert(raw)`, and returns true to the one caller that ran it, with the raw value in `raw`.
    template <typename Query>
    bool fetch(Query query, int& raw) {
        if (published_.load(std::memory_order_acquire)) {
            return false;
        }
        const std::lock_guard<std::mutex> lock(mutex_);
        if (fetched_) {
            return false;
        }
        fetched_ = true;
        const PublishOnExit publish{published_};
        raw = query();
        value_ = static_cast<T>(raw);
        return true;
    }

    T value() const { return value_; }

private:
    struct PublishOnExit {
        std::atomic<bool>& published;
        ~PublishOnExit() { published.store(true, std::memory_order_release); }
    };

    std::atomic<bool> published_{false};
    std::mutex mutex_;
    bool fetched_ = false;
    T value_;
};

FetchedOnce<std::uint8_t> countryCode{0};
FetchedOnce<std::int32_t> searchReading{-1};

}  // namespace

CountryCode CodingManager::getCountryCode() {
    int returned = 0;
    if (countryCode.fetch(
            [] { return CCodeDataManager::GetInstance().GetCodingDataValue(4, 3, 0xFE); },
            returned)) {
        TANGOR_LOG(DLT_LOG_INFO, "getCountryCode %u", static_cast<unsigned>(returned));
    }
    return static_cast<CountryCode>(countryCode.value());
}

bool CodingManager::isJapaneseCoding() {
    return getCountryCode() == COUNTRY_JAPAN;
}

int CodingManager::codingSearchReading() {
    int returned = 0;
    if (searchReading.fetch(
            [] { return CCodeDataManager::GetInstance().GetCodingDataValue(4, 21, 0x08); },
            returned)) {
        TANGOR_LOG(DLT_LOG_INFO, "codingSearchReading %d", returned);
    }
    return searchReading.value();
}

bool CodingManager::isAsianCoding() {
    const CountryCode code = getCountryCode();
    if (code == COUNTRY_CHINA) {
        return true;
    }
    if (code != COUNTRY_TAIWAN) {
        return false;
    }
    return codingSearchReading() == 1;
}

}  // namespace corvina
