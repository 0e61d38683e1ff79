#include <tangor/platform/CCodeDataManager.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>

namespace {

constexpr t_groupid kCodingGroup = 4;
constexpr int kCountryCodeId = 3;
constexpr unsigned char kCountryCodeMask = 0xFE;
constexpr int kSearchReadingId = 21;
constexpr unsigned char kSearchReadingMask = 0x08;

// The stand-in's whole state; one per process, like the service it replaces.
struct CodingData {
    std::mutex mutex;
    std::optional<int> countryCode;
    std::optional<int> searchReading;
    int queryCount = 0;
};

CodingData& codingData() {
    static CodingData data;
    return data;
}

int parseDecimal(const char* variable, const char* text) {
    errno = 0;
    char* end = nullptr;
    const long value = std::strtol(text, &end, 10);
    if (end == text || *end != '\0' || errno == ERANGE || value < INT_MIN || value > INT_MAX) {
        throw std::runtime_error(std::string("coding data: ") + variable +
                                 " is not a decimal integer: \"" + text + "\"");
    }
    return static_cast<int>(value);
}

int environmentValue(const char* variable) {
    const char* text = std::getenv(variable);
    return text == nullptr ? 0 : parseDecimal(variable, text);
}

// Fills `slot` from the environment the first time it is needed.
int valueOf(std::optional<int>& slot, const char* variable) {
    if (!slot) {
        slot = environmentValue(variable);
    }
    return *slot;
}

}  // namespace

CCodeDataManager& CCodeDataManager::GetInstance() {
    static CCodeDataManager instance;
    return instance;
}

int CCodeDataManager::GetCodingDataValue(t_groupid group, int id, unsigned char mask) {
    CodingData& data = codingData();
    const std::lock_guard<std::mutex> lock(data.mutex);
    ++data.queryCount;
    if (group == kCodingGroup && id == kCountryCodeId && mask == kCountryCodeMask) {
        return valueOf(data.countryCode, "TANGOR_COUNTRY_CODE");
    }
    if (group == kCodingGroup && id == kSearchReadingId && mask == kSearchReadingMask) {
        return valueOf(data.searchReading, "TANGOR_SEARCH_READING");
    }
    return 0;
}

void CCodeDataManager::SetCountryCode(int value) {
    CodingData& data = codingData();
    const std::lock_guard<std::mutex> lock(data.mutex);
    data.countryCode = value;
}

void CCodeDataManager::SetSearchReading(int value) {
    CodingData& data = codingData();
    const std::lock_guard<std::mutex> lock(data.mutex);
    data.searchReading = value;
}

int CCodeDataManager::GetQueryCount() const {
    CodingData& data = codingData();
    const std::lock_guard<std::mutex> lock(data.mutex);
    return data.queryCount;
}
