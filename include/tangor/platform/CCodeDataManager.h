#pragma once

// Stand-in for the vehicle's coding-data service, which this machine lacks. It answers the two
// queries the library makes:
//   (4, 3, 0xFE)  the market's country code;
//   (4, 21, 0x08) the search-reading setting;
// and 0 to any other query. Each value is taken, at the first query that needs it, from the
// environment (TANGOR_COUNTRY_CODE, TANGOR_SEARCH_READING; decimal, 0 when unset) unless it was
// set in code before. A value in the environment that is not a decimal integer makes the query
// throw std::runtime_error, as a failing service would. Thread-safe.

#include <tangor/export.h>

typedef unsigned int t_groupid;

class TANGOR_EXPORT CCodeDataManager {
public:
    static CCodeDataManager& GetInstance();

    // The value stored under (group, id, mask), returned unchanged.
    int GetCodingDataValue(t_groupid group, int id, unsigned char mask);

    // Set a value in code; it wins over the environment.
    void SetCountryCode(int value);
    void SetSearchReading(int value);

    // How many queries have been answered or attempted so far, the failed ones included.
    int GetQueryCount() const;

    CCodeDataManager(const CCodeDataManager&) = delete;
    CCodeDataManager& operator=(const CCodeDataManager&) = delete;

private:
    CCodeDataManager() = default;
};
