// Logs one warn and one info record through the default sink and ends: the DLT tests run it in an
// environment of their choosing and read what it wrote.
#include <tangor/platform/log.h>

int main() {
    implLog(0, DLT_LOG_WARN, "probe", 1, "", "warn %d", 1);
    implLog(0, DLT_LOG_INFO, "probe", 2, "", "info %d", 2);
    return 0;
}
