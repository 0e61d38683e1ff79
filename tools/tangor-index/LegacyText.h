#pragma once

// Texts in legacy 8-bit encodings: the GBK, Big5 and Shift-JIS bytes that old taggers wrote into
// tag fields declared Latin-1 (or into ID3v1 tags, which declare nothing), and playlists written
// in those encodings. Which encoding one file's texts are in is decided over all of them together,
// on the market given; decoding goes through iconv.
//
// Pure functions over byte strings; safe on any number of threads at once (each thread keeps its
// own iconv descriptors). Nothing throws but std::bad_alloc: bytes no encoding reads come out as
// their Latin-1 reading, as TagLib would have given them.

#include <string>
#include <string_view>
#include <vector>

namespace tangor::index::legacy {

enum class Encoding { Latin1, Cp1252, Gb18030, Big5, Cp932 };

// The iconv name of `encoding` (Big5 with the Hong Kong extension where iconv has it).
const char* iconvName(Encoding encoding);

bool isAscii(std::string_view bytes);
bool isUtf8(std::string_view bytes);

// The encoding that reads all of `texts` most plausibly on market `market` (5 Japan, 6 China,
// 9 Taiwan, anything else Western): Latin1 when none reads every one of them. `texts` are the
// legacy texts of one file, neither ASCII nor UTF-8; only their first bytes are weighed.
Encoding decideEncoding(const std::vector<std::string>& texts, unsigned market);

// `bytes` read in `encoding`, as UTF-8. A character cut off at the end is left out; bytes that are
// not valid in `encoding` give the Latin-1 reading of all of `bytes`.
std::string decode(std::string_view bytes, Encoding encoding);

// One file's 8-bit texts as UTF-8, in the same order: ASCII and valid UTF-8 as they are, the rest
// in the encoding decideEncoding picks for them together (each one on its own when no encoding
// reads them all).
std::vector<std::string> decodeTexts(const std::vector<std::string>& texts, unsigned market);

// A playlist's content as UTF-8: as it is when `utf8Only` (.m3u8) or when it is ASCII or UTF-8;
// otherwise its lines decided together like one file's texts.
std::string decodePlaylist(std::string_view content, bool utf8Only, unsigned market);

}  // namespace tangor::index::legacy
