#pragma once

// The indexer's hooks for texts in legacy encodings (LegacyText.h): TagLib's handlers of 8-bit tag
// texts, and the decoding of playlists, on the market the indexer was started for.
//
// TagLib's handlers are process-wide; what they collect is per thread. A thread reads one file at a
// time, between beginFile and endFile. The handlers give valid UTF-8 as UTF-8, ASCII and other
// bytes as Latin-1 (as TagLib would), and keep the latter for endFile, which decides the file's
// encoding over all of them together.

#include <initializer_list>
#include <string>
#include <string_view>

namespace tangor::index::legacy {

// Installs the handlers (once per process) and starts collecting this thread's texts of one file.
void beginFile();

// Ends the file begun on this thread: each of `fields` (UTF-8, as read from TagLib) that TagLib
// made from legacy bytes becomes their reading in the file's encoding. A file without such
// texts costs nothing here.
void endFile(std::initializer_list<std::string*> fields);

// The content of the playlist at `path` as UTF-8 (.m3u8 is UTF-8 by definition).
std::string playlistText(std::string_view content, const std::string& path);

}  // namespace tangor::index::legacy
