// Logs one warn and one info record through the default sink and ends: the DLT tests run it in an
// environment of their choosing and read what it wrote. With --as-host it first registers a DLT
// application of its own, as a program that logs to DLT itself does, and logs one record of its own
// after the library's.
#include <tangor/platform/log.h>

#include <cstring>

void registerAsHost();
void logAsHost(const char* text);

int main(int argc, char** argv) {
    const bool asHost = argc > 1 && std::strcmp(argv[1], "--as-host") == 0;
    if (asHost) {
        registerAsHost();
    }
    implLog(0, DLT_LOG_WARN, "probe", 1, "", "warn %d", 1);
    implLog(0, DLT_LOG_INFO, "probe", 2, "", "info %d", 2);
    if (asHost) {
        logAsHost("host after");
    }
    return 0;
}
