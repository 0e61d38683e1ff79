#pragma once

// JSON text for the listing.

#include <string>

namespace tangor::index {

// The JSON string of UTF-8 bytes, quotes included: '"' and '\' escaped, control characters as
// \u00XX, and each byte that does not start a valid UTF-8 sequence (by utf8proc's strict decoder)
// as U+FFFD.
std::string jsonString(const std::string& text);

}  // namespace tangor::index
