#pragma once

// What the database operations agree on about names in the database directory.

#include <strings.h>

#include <cstring>
#include <string>

#include "database/Schema.h"

namespace corvina {

// A device identifier names a file inside the database directory and nothing else.
inline bool isPlainDeviceId(const std::string& devId) {
    return devId.find_first_of(std::string("/\0", 2)) == std::string::npos;
}

// A directory entry is a database file when its name contains the extension in any letter case;
// "." and ".." never are.
inline bool isDatabaseFileName(const char* name) {
    return std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0 &&
           strcasestr(name, kDatabaseExtension) != nullptr;
}

}  // namespace corvina
