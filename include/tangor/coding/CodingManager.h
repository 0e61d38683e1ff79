#pragma once

// The vehicle's market coding, asked of the coding-data service at most once per value and per
// process and kept for the life of the process: a coding change is seen after a restart.
//
// Nothing here reports an error. An exception thrown by the service reaches the first caller of
// the query; every later call returns the start value (country code 0, search reading -1) without
// asking again. First calls may come from several threads at once; once both values are known the
// answers cost a flag test and a load.

#include <tangor/export.h>

// The market country codes the library tells apart; any other value means no special handling.
enum CountryCode : int { COUNTRY_JAPAN = 5, COUNTRY_CHINA = 6, COUNTRY_TAIWAN = 9 };

namespace corvina {

class TANGOR_EXPORT CodingManager {
public:
    CodingManager() = delete;

    // The country code, 0 to 255 (the low 8 bits of what the service returned).
    static CountryCode getCountryCode();

    // True on the Japanese market (country code 5).
    static bool isJapaneseCoding();

    // The search-reading setting as the service returned it; the library tests only for 1.
    static int codingSearchReading();

    // True when the Chinese phonetic readings apply: country code 6, or 9 with search reading 1.
    // The search reading is asked only on market 9.
    static bool isAsianCoding();
};

}  // namespace corvina
