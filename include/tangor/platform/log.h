#pragma once

// Logging facility of the platform (DLT), with a replaceable sink.
//
// Every record of the library is one implLog() call with context index 0, a DLT level, the calling
// function's name (its full signature text when logPrettyFunction is non-zero), its source line, an
// empty text and a printf-style format. The records go to the current sink. The default sink sends
// them to DLT (application "TNGR", context "TCOM") when a DLT daemon runs, dropping unformatted
// those below the context's level; without a daemon, or in a build without DLT, it writes warn,
// error and fatal records to standard error, one line each, and drops the rest.

#include <cstdint>
#include <functional>
#include <string>

#include <tangor/export.h>

// DLT's log levels, with DLT's numbering.
enum DltLogLevelType {
    DLT_LOG_DEFAULT = -1,
    DLT_LOG_OFF = 0,
    DLT_LOG_FATAL = 1,
    DLT_LOG_ERROR = 2,
    DLT_LOG_WARN = 3,
    DLT_LOG_INFO = 4,
    DLT_LOG_DEBUG = 5,
    DLT_LOG_VERBOSE = 6,
    DLT_LOG_MAX
};

// Non-zero: records name their function by its full signature text; zero: by its short name.
extern TANGOR_EXPORT std::uint8_t logPrettyFunction;

// Formats one record and hands it to the sink. `tag` is carried for the platform call's shape; the
// library always passes an empty text. Safe to call from several threads at once.
TANGOR_EXPORT void implLog(int contextIndex, DltLogLevelType level, const char* functionName,
                           int line, const char* tag, const char* format, ...)
    __attribute__((format(printf, 6, 7)));

struct LogRecord {
    DltLogLevelType level;
    std::string function;
    int line;
    std::string message;
};

using LogSink = std::function<void(const LogRecord&)>;

// Replaces the sink for the whole process; an empty function restores the default sink. A record
// being delivered while the sink is replaced still goes to the sink it started with.
TANGOR_EXPORT void setLogSink(LogSink sink);

// Sends `record` to DLT where the default sink would: a daemon runs and the context's level takes
// the record. Returns whether it was sent. A sink of a program's own calls it to keep the
// platform's log whole beside its own display.
TANGOR_EXPORT bool sendToDlt(const LogRecord& record);
