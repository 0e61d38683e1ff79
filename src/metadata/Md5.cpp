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

}  // namespace

Md5::Md5(Kind kind, const std::string& text) : kind(kind) {
    assign(kind, text);
}

void Md5::assign(Kind newKind, const std::string& text) {
    kind = newKind;
    // The digest is taken before `value` changes, since `text` may be `value` itself.
    const std::unique_ptr<gchar, GFreeDeleter> digest(g_compute_checksum_for_data(
        G_CHECKSUM_MD5, reinterpret_cast<const guchar*>(text.data()), text.size()));
    // Built on the stack and stored with one assignment: a track record makes seven of these, and
    // growing `value` in three steps cost a noticeable part of building a record. An MD5 text
    // from GLib always holds 32 digits.
    char identifier[4 + 32];
    std::memcpy(identifier, prefixOf(newKind), 4);
    std::memcpy(identifier + 4, digest.get(), 32);
    value.assign(identifier, sizeof identifier);
}

}  // namespace corvina
