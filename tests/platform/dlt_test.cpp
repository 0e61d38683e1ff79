// The default sink with a real DLT daemon: a private dlt-daemon (its own FIFO folder, port and
// files), dlt-receive writing what it forwards, dlt-convert printing it.
#include <tangor/database/DatabaseMgr.h>

#include <glib.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <memory>
#include <regex>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/TestSupport.h"

namespace tangor::test {

namespace {

// Polls `done` every 20 ms for at most `seconds`.
bool waitFor(const std::function<bool()>& done, int seconds = 10) {
    const timespec step{0, 20L * 1000 * 1000};
    for (int i = 0; i < seconds * 50; ++i) {
        if (done()) {
            return true;
        }
        nanosleep(&step, nullptr);
    }
    return done();
}

bool isFifo(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && S_ISFIFO(info.st_mode);
}

off_t fileSize(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 ? info.st_size : 0;
}

// A TCP port on ::1 that nothing listens on now.
std::string freePort() {
    const int probe = socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_addr = in6addr_loopback;
    socklen_t length = sizeof address;
    const bool bound = probe >= 0 &&
                       bind(probe, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
                       getsockname(probe, reinterpret_cast<sockaddr*>(&address), &length) == 0;
    if (probe >= 0) {
        close(probe);
    }
    return bound ? std::to_string(ntohs(address.sin6_port)) : std::string();
}

// Makes a child end with the test process, should the test crash before it ends the child itself.
void endWithParent(gpointer) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
}

// A program running beside the test, ended (SIGTERM, then SIGKILL after 2 s) and reaped when the
// object goes.
class Child {
public:
    explicit Child(std::vector<std::string> arguments) {
        std::vector<char*> argv;
        for (std::string& word : arguments) {
            argv.push_back(word.data());
        }
        argv.push_back(nullptr);
        GError* error = nullptr;
        const auto flags =
            static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_DO_NOT_REAP_CHILD |
                                     G_SPAWN_STDOUT_TO_DEV_NULL | G_SPAWN_STDERR_TO_DEV_NULL);
        if (!g_spawn_async(nullptr, argv.data(), nullptr, flags, endWithParent, nullptr, &pid_,
                           &error)) {
            ADD_FAILURE() << "cannot start " << arguments.front() << ": " << error->message;
            g_error_free(error);
            pid_ = 0;
        }
    }
    ~Child() {
        if (pid_ <= 0) {
            return;
        }
        kill(pid_, SIGTERM);
        if (!waitFor([this] { return waitpid(pid_, nullptr, WNOHANG) == pid_; }, 2)) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

private:
    GPid pid_ = 0;
};

// A private daemon (its own configuration, FIFO folder, files and port on ::1) with a receiver
// writing what it forwards; both end with the object.
class PrivateDaemon {
public:
    PrivateDaemon() {
        mkdir(fifos_.c_str(), 0755);
        mkdir(dir_.file("persist").c_str(), 0755);
        // Nothing but ::1: the daemon refuses 127.0.0.1 here, and no UDP.
        writeFile(config_,
                  "ECUId = ECU1\nLoggingMode = 2\nLoggingLevel = 6\nLoggingFilename = " +
                      dir_.file("daemon.log") +
                      "\nControlSocketPath = " + dir_.file("control.sock") +
                      "\nPersistanceStoragePath = " + dir_.file("persist") +
                      "\nContextLogLevel = 4\nUDPConnectionSetup = 0\nBindAddress = ::1\n");
    }

    // Starts both and waits until the receiver gets the daemon's own start-up records.
    bool start() {
        const std::string port = freePort();
        if (port.empty()) {
            return false;
        }
        daemon_ = std::make_unique<Child>(
            std::vector<std::string>{"dlt-daemon", "-c", config_, "-t", fifos_, "-p", port});
        if (!waitFor([&] { return isFifo(fifos_ + "/dlt"); })) {
            return false;
        }
        receiver_ = std::make_unique<Child>(
            std::vector<std::string>{"dlt-receive", "-p", port, "-o", received_, "::1"});
        return waitFor([&] { return fileSize(received_) > 0; });
    }

    // Where programs find the daemon: the value of DLT_PIPE_DIR.
    const std::string& fifoFolder() const { return fifos_; }
    // The daemon's own messages: what it got and refused, when records go missing.
    std::string log() const {
        std::ifstream in(dir_.file("daemon.log"));
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

    // The records received so far, as dlt-convert prints them, once `last` is among them; false
    // when it has not come within 10 s.
    bool receivedUpTo(const std::string& last, std::string& text) const {
        return waitFor([&] {
            text = runProgram({"dlt-convert", "-a", received_}).standardOutput;
            return text.find(last) != std::string::npos;
        });
    }

private:
    TempDir dir_;
    std::string fifos_ = dir_.file("fifo");
    std::string config_ = dir_.file("dlt.conf");
    std::string received_ = dir_.file("received.dlt");
    std::unique_ptr<Child> daemon_;
    std::unique_ptr<Child> receiver_;
};

// Runs `program` (another process) against a fresh daemon until `last` arrives, at most twice.
// On a loaded machine a short-lived program's records were lost once after its registration had
// arrived; a second daemon tells such a hiccup from records that never come.
std::string programRecordsUpTo(const std::vector<std::string>& program, const std::string& last,
                               tangor::test::ProgramResult& run) {
    std::string text;
    for (int attempt = 0; attempt < 2; ++attempt) {
        PrivateDaemon daemon;
        if (!daemon.start()) {
            ADD_FAILURE() << "the private daemon did not start";
            return text;
        }
        setenv("DLT_PIPE_DIR", daemon.fifoFolder().c_str(), 1);
        run = runProgram(program);
        if (daemon.receivedUpTo(last, text)) {
            return text;
        }
        std::cerr << "attempt " << attempt + 1 << ": \"" << last << "\" did not arrive:\n"
                  << text << "the daemon's log:\n"
                  << daemon.log();
    }
    ADD_FAILURE() << "\"" << last << "\" did not arrive in two attempts";
    return text;
}

bool containsLine(const std::string& text, const std::string& pattern) {
    return std::regex_search(text, std::regex(pattern));
}

class DltTest : public tangor::test::FixedPathsTest {};

// The process registers at its first record, so this test is the first to log in its process.
TEST_F(DltTest, RecordsReachADaemonWithLevelFunctionLineAndTextAndBelowItsLevelNothing) {
    PrivateDaemon daemon;
    ASSERT_TRUE(daemon.start());
    setenv("DLT_PIPE_DIR", daemon.fifoFolder().c_str(), 1);
    corvina::DatabaseMgr().createDb("usb1", "/media/usb1", true);
    sqlstl::sqlistream stream;
    EXPECT_THROW(corvina::DatabaseMgr().open("no/device", stream, 0), std::runtime_error);
    implLog(0, DLT_LOG_DEBUG, "probe", 7, "", "below the level %d", 4);
    implLog(0, DLT_LOG_ERROR, "probe", 8, "", "error %d", 8);

    // Records of one context arrive in order: the last one ends the wait.
    std::string text;
    EXPECT_TRUE(daemon.receivedUpTo("error 8", text)) << text;
    const struct {
        const char* level;
        const char* arguments;  // function, line, text
    } expected[] = {
        {"info", R"(createDb [0-9]+ createDb)"},
        {"info", R"(createDb [0-9]+ Inserting db version: 1\.15)"},
        {"warn", R"(open [0-9]+ error opening db: /.*/var/opt/tangor/no/device\.tangor)"},
        {"error", R"(probe 8 error 8)"},
    };
    for (const auto& row : expected) {
        EXPECT_TRUE(containsLine(
            text, std::string(" TNGR TCOM log ") + row.level + " V 3 \\[" + row.arguments + "\\]"))
            << row.arguments << "\n"
            << text;
    }
    EXPECT_EQ(text.find("below the level"), std::string::npos);
}

// A program that logs to DLT itself keeps its application: the library's context joins it, and
// the program's own records after the library's first still carry the program's ID.
TEST(DltProgram, ThatRegisteredItsOwnApplicationKeepsIt) {
    tangor::test::ProgramResult probe;
    const std::string text =
        programRecordsUpTo({TANGOR_LOG_PROBE, "--as-host"}, "host after", probe);
    EXPECT_EQ(probe.status, 0);
    EXPECT_EQ(probe.standardOutput, "");
    EXPECT_TRUE(containsLine(text, R"( HOST TCOM log warn V 3 \[probe 1 warn 1\])")) << text;
    EXPECT_TRUE(containsLine(text, R"( HOST HCTX log warn V 1 \[host after\])")) << text;
    EXPECT_EQ(text.find("TNGR"), std::string::npos) << text;
}

#ifdef TANGOR_INDEX
// The indexer shows the library's records on its terminal and still sends them to DLT.
TEST_F(DltTest, TheIndexersScanSendsTheLibrarysRecordsToo) {
    TempDir partition;
    tangor::test::ProgramResult scan;
    const std::string text = programRecordsUpTo(
        {TANGOR_INDEX, "scan", "--quiet", "--device", "dltscan", partition.path()}, "createDb",
        scan);
    EXPECT_EQ(scan.status, 0) << scan.standardError;
    EXPECT_TRUE(containsLine(text, R"( TNGR TCOM log info V 3 \[createDb [0-9]+ createDb\])"))
        << text;
}
#endif

// A daemon killed leaves its FIFO behind, without a reader: libdlt would buffer the records and
// warn; they go to standard error instead, and nothing to standard output.
TEST(DltFallback, FifoWithoutReaderMeansStandardErrorAndNothingOnStandardOutput) {
    TempDir dir;
    ASSERT_EQ(mkfifo(dir.file("dlt").c_str(), 0620), 0);
    setenv("DLT_PIPE_DIR", dir.path().c_str(), 1);
    const tangor::test::ProgramResult probe = runProgram({TANGOR_LOG_PROBE});
    EXPECT_EQ(probe.status, 0);
    EXPECT_EQ(probe.standardOutput, "");
    EXPECT_EQ(probe.standardError, "tangor WARN probe:1: warn 1\n");
}

}  // namespace

}  // namespace tangor::test
