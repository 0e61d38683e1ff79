#include "platform/DltChannel.h"

#include <dlt/dlt.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <ctime>

namespace corvina::platform {
namespace {

constexpr char kApplicationDescription[] = "tangor media indexer";
constexpr char kContextDescription[] = "libtangor-common: media databases, streams, coding";

// libdlt learns the daemon's state a little after registering; a program that ends sooner loses
// its registration and its records. The wait is bounded: 50 steps of 10 ms.
constexpr int kStateWaitSteps = 50;
constexpr long kStateWaitStepNanoseconds = 10L * 1000 * 1000;

// Set by our exit handler, which runs before libdlt's own (registered earlier, so run later) frees
// the context: a record logged after it goes to standard error instead.
std::atomic<bool> closedAtExit{false};

void closeAtExit() {
    closedAtExit = true;
}

// libdlt's own rule for the daemon's FIFO: $DLT_PIPE_DIR, else /tmp, then "/dlt".
std::string fifoPath() {
    const char* directory = std::getenv("DLT_PIPE_DIR");
    return std::string(directory != nullptr && *directory != '\0' ? directory : "/tmp") + "/dlt";
}

// Registering without a daemon would make libdlt buffer, warn and wait at exit. A FIFO without a
// reader is one a killed daemon left behind.
bool daemonListens() {
    const std::string path = fifoPath();
    struct stat info {};
    if (stat(path.c_str(), &info) != 0 || !S_ISFIFO(info.st_mode)) {
        return false;
    }
    const int fifo = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (fifo < 0) {
        return false;
    }
    close(fifo);
    return true;
}

void waitForDaemonState() {
    const timespec step{0, kStateWaitStepNanoseconds};
    for (int i = 0; i < kStateWaitSteps && dlt_get_log_state() == -1; ++i) {
        nanosleep(&step, nullptr);
    }
}

// A program that logs to DLT itself has registered its application: the library's context joins
// it, and the program's own settings of libdlt stay.
bool programRegistered() {
    char id[DLT_ID_SIZE + 1] = {};
    return dlt_get_appid(id) == DLT_RETURN_OK && id[0] != '\0';
}

class Channel {
public:
    Channel() : connected_(daemonListens() && registerWithDaemon()) {}

    bool connected() const { return connected_; }
    DltContext* context() { return &context_; }

private:
    bool registerWithDaemon() {
        if (!programRegistered() && !registerApplication()) {
            return false;
        }
        if (dlt_register_context(&context_, kDltContextId, kContextDescription) < DLT_RETURN_OK) {
            return false;
        }
        std::atexit(closeAtExit);
        waitForDaemonState();
        return true;
    }

    static bool registerApplication() {
        // libdlt's own notices: errors only, and never on the program's standard output.
        dlt_log_init(DLT_LOG_TO_STDERR);
        dlt_log_set_level(LOG_ERR);
        // Otherwise libdlt waits up to 10 s at exit to resend what a vanished daemon did not take.
        dlt_set_resend_timeout_atexit(0);
        return dlt_register_app(kDltApplicationId, kApplicationDescription) >= DLT_RETURN_OK;
    }

    DltContext context_{};
    bool connected_;
};

Channel& channel() {
    static Channel instance;
    return instance;
}

}  // namespace

bool dltConnected() {
    return channel().connected() && !closedAtExit;
}

bool dltWants(int level) {
    return level >= DLT_LOG_FATAL && level <= DLT_LOG_VERBOSE &&
           dlt_user_is_logLevel_enabled(channel().context(), static_cast<DltLogLevelType>(level)) ==
               DLT_RETURN_TRUE;
}

void dltSend(int level, const char* function, int line, const std::string& message) {
    DltContextData data;
    if (dlt_user_log_write_start(channel().context(), &data, static_cast<DltLogLevelType>(level)) !=
        DLT_RETURN_TRUE) {
        return;
    }
    // libdlt cuts an argument that does not fit its buffer and marks the record as cut.
    dlt_user_log_write_string(&data, function);
    dlt_user_log_write_int32(&data, line);
    dlt_user_log_write_utf8_string(&data, message.c_str());
    dlt_user_log_write_finish(&data);
}

}  // namespace corvina::platform
