#pragma once

// The one macro through which the library logs: it names the calling function as the process-wide
// switch logPrettyFunction asks, and passes the calling line.

#include <tangor/platform/log.h>

#define TANGOR_LOG(level, ...)                                                              \
    ::implLog(0, (level), logPrettyFunction ? __PRETTY_FUNCTION__ : __func__, __LINE__, "", \
              __VA_ARGS__)
