// A build without DLT: the default sink always writes to standard error.
#include "platform/DltChannel.h"

namespace corvina::platform {

bool dltConnected() {
    return false;
}
bool dltWants(int) {
    return false;
}
void dltSend(int, const char*, int, const std::string&) {}

}  // namespace corvina::platform
