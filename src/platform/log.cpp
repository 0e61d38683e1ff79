#include <tangor/platform/log.h>

#include <cstdarg>
#include <cstdio>
#include <memory>
#include <mutex>

#include "platform/DltChannel.h"

std::uint8_t logPrettyFunction = 0;

namespace {

// A record longer than this is cut: DLT itself carries far less in one message.
constexpr std::size_t kMaxMessageBytes = 64 * 1024;

// Without a DLT daemon the default sink shows only fatal, error and warn records.
const char* problemName(DltLogLevelType level) {
    return level == DLT_LOG_FATAL ? "FATAL" : level == DLT_LOG_ERROR ? "ERROR" : "WARN";
}

bool isProblem(DltLogLevelType level) {
    return level >= DLT_LOG_FATAL && level <= DLT_LOG_WARN;
}

void writeToStandardError(const LogRecord& record) {
    if (!isProblem(record.level)) {
        return;
    }
    std::fprintf(stderr, "tangor %s %s:%d: %s\n", problemName(record.level),
                 record.function.c_str(), record.line, record.message.c_str());
}

// The sink is shared by every thread that logs; a caller takes its own reference under the lock and
// delivers outside it, so a sink may itself log or replace the sink.
std::mutex sinkMutex;
std::shared_ptr<const LogSink> customSink;

std::shared_ptr<const LogSink> currentSink() {
    std::lock_guard<std::mutex> lock(sinkMutex);
    return customSink;
}

std::string formatMessage(const char* format, va_list arguments) {
    char small[256];
    va_list copy;
    va_copy(copy, arguments);
    const int needed = std::vsnprintf(small, sizeof small, format, copy);
    va_end(copy);
    if (needed < 0) {
        return std::string();
    }
    const std::size_t length = static_cast<std::size_t>(needed);
    if (length < sizeof small) {
        return std::string(small, length);
    }
    const std::size_t kept = length < kMaxMessageBytes ? length : kMaxMessageBytes;
    std::string message(kept, '\0');
    std::vsnprintf(&message[0], kept + 1, format, arguments);
    return message;
}

enum class Destination { nowhere, customSink, dlt, standardError };

// DLT when a daemon takes the records (its context's level decides), else standard error.
Destination defaultDestination(DltLogLevelType level) {
    if (corvina::platform::dltConnected()) {
        return corvina::platform::dltWants(level) ? Destination::dlt : Destination::nowhere;
    }
    return isProblem(level) ? Destination::standardError : Destination::nowhere;
}

}  // namespace

void implLog(int /*contextIndex*/, DltLogLevelType level, const char* functionName, int line,
             const char* /*tag*/, const char* format, ...) {
    const std::shared_ptr<const LogSink> sink = currentSink();
    const Destination destination = sink ? Destination::customSink : defaultDestination(level);
    // Formatting is the costly part: a record that goes nowhere is dropped unformatted.
    if (destination == Destination::nowhere) {
        return;
    }
    LogRecord record{level, functionName ? functionName : "", line, std::string()};
    if (format) {
        va_list arguments;
        va_start(arguments, format);
        record.message = formatMessage(format, arguments);
        va_end(arguments);
    }
    switch (destination) {
        case Destination::customSink:
            (*sink)(record);
            break;
        case Destination::dlt:
            corvina::platform::dltSend(level, record.function.c_str(), record.line, record.message);
            break;
        default:
            writeToStandardError(record);
            break;
    }
}

bool sendToDlt(const LogRecord& record) {
    if (!corvina::platform::dltConnected() || !corvina::platform::dltWants(record.level)) {
        return false;
    }
    corvina::platform::dltSend(record.level, record.function.c_str(), record.line, record.message);
    return true;
}

void setLogSink(LogSink sink) {
    std::shared_ptr<const LogSink> replacement;
    if (sink) {
        replacement = std::make_shared<const LogSink>(std::move(sink));
    }
    std::lock_guard<std::mutex> lock(sinkMutex);
    customSink = std::move(replacement);
}
