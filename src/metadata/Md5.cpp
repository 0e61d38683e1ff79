#include <tangor/metadata/Md5.h>

#include <glib.h>

#include <cstring>
#include <iterator>
#include <memory>

namespace corvina {

namespace {

const char* prefixOf(Md5::Kind kind) {
    static const char* const prefixes[] = {"trk:", "dir:", "art:", "alb:", "gen:", "com:", "pla:"};
    // A value outside the enumeration (a cast from a bad integer) must not index past the table.
    const auto index = static_cast<unsigned>(kind);
    return index < std::size(prefixes) ? prefixes[index] : "???:";
}

struct GFreeDeleter {
    void operator()(gchar* text) const noexcept { g_free(text); }
};

// The prefix, then the digest. Built on the stack and made into a string at once: a track record
// makes seven identifiers, and growing a string in steps cost a noticeable part of building one.
std::string identifierOf(Md5::Kind kind, const std::string& text) {
    const std::unique_ptr<gchar, GFreeDeleter> digest(g_compute_checksum_for_data(
        G_CHECKSUM_MD5, reinterpret_cast<const guchar*>(text.data()), text.size()));
    char identifier[4 + 32];
    std::memcpy(identifier, prefixOf(kind), 4);
    // An MD5 text from GLib always holds 32 digits.
    std::memcpy(identifier + 4, digest.get(), 32);
    return std::string(identifier, sizeof identifier);
}

}  // namespace

Md5::Md5(Kind kind, const std::string& text) : value(identifierOf(kind, text)), kind(kind) {}

void Md5::assign(Kind newKind, const std::string& text) {
    // The identifier is complete before `value` changes, since `text` may be `value` itself.
    value = identifierOf(newKind, text);
    kind = newKind;
}

}  // namespace corvina
