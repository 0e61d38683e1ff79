#pragma once

// Object identifiers: a four-character kind prefix followed by the 32 lowercase hexadecimal digits
// of the MD5 digest of the text that names the object. The identifier depends only on the kind and
// the exact bytes of the text, so it is the same on every device and in every run.
//
// No failure paths and no log records; memory exhaustion propagates as std::bad_alloc.

#include <string>

#include <tangor/export.h>

namespace corvina {

class TANGOR_EXPORT Md5 {
public:
    enum Kind { Track, Directory, Artist, Album, Genre, Composer, Playlist };

    // The identifier of `text` under `kind`.
    Md5(Kind kind, const std::string& text);

    // Replaces both fields with the identifier of `text` under `kind`. `text` may be this
    // object's own `value`.
    void assign(Kind kind, const std::string& text);

    std::string value;  // 36 characters: prefix, then the digest
    Kind kind;
};

}  // namespace corvina
