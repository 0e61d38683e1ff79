#include <tangor/platform/log.h>

#include <cstdarg>
#include <cstdio>
#include <memory>
#include <mutex>

std::uint8_t logPrettyFunction = 0;

namespace {

// A record longer than this is cut: DLT itself carries far less in one message.
constexpr std::size_t kMaxMessageBytes = 64 * 1024;

// The default sink shows only fatal, error and warn records.
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

}  // namespace

void implLog(int /*contextIndex*/, DltLogLevelType level, const char* functionName, int line,
             const char* /*tag*/, const char* format, ...) {
    const std::shared_ptr<const LogSink> sink = currentSink();
    // Formatting is the costly part; the default sink drops info and below unseen.
    if (!sink && !isProblem(level)) {
        return;
    }
    LogRecord record{level, functionName ? functionName : "", line, std::string()};
    if (format) {
        va_list arguments;
        va_start(arguments, format);
        record.message = formatMessage(format, arguments);
        va_end(arguments);
    }
    if (sink) {
        (*sink)(record);
    } else {
        writeToStandardError(record);
    }
}

void setLogSink(LogSink sink) {
    std::shared_ptr<const LogSink> replacement;
    if (sink) {
        replacement = std::make_shared<const LogSink>(std::move(sink));
    }
    std::lock_guard<std::mutex> lock(sinkMutex);
    customSink = std::move(replacement);
}
