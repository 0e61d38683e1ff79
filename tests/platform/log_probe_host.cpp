// The probe's own use of libdlt, apart from <tangor/platform/log.h>, whose level type has the same
// names as libdlt's.
#include <dlt/dlt.h>

namespace {
DltContext hostContext;
}

void registerAsHost() {
    dlt_set_resend_timeout_atexit(0);
    dlt_register_app("HOST", "a program that logs to DLT itself");
    dlt_register_context(&hostContext, "HCTX", "the program's own context");
}

void logAsHost(const char* text) {
    DLT_LOG(hostContext, DLT_LOG_WARN, DLT_STRING(text));
}
