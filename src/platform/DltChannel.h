#pragma once

// The DLT side of the logging layer: the application and context that the library registers once
// per process with a running DLT daemon. Kept apart from <tangor/platform/log.h>, whose level type
// has the same names as libdlt's own; levels pass through here as DLT's numbers.

#include <string>

namespace corvina::platform {

// Application "TNGR" (unless the program has registered its own), context "TCOM" (the library's
// records, context index 0).
constexpr char kDltApplicationId[] = "TNGR";
constexpr char kDltContextId[] = "TCOM";

// Whether a daemon takes the records: decided at the first call in a process, which registers the
// application and context when a daemon's FIFO has a reader. False in a build without DLT.
bool dltConnected();

// Whether the context's current level lets a record of `level` through; callers ask before they
// format. Only after dltConnected() returned true.
bool dltWants(int level);

// Sends one record: the function name, the source line and the message, as three arguments.
void dltSend(int level, const char* function, int line, const std::string& message);

}  // namespace corvina::platform
