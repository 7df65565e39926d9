// Small helpers for the program's text and XML files: older generations,
// character encodings, line reading, writing, emptying folders.
#pragma once

#include <atomic>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace pugi {
class xml_document;
}

namespace orv {

/// Keeps two generations: "<stem>0<ext>" becomes "<stem>00<ext>", the file
/// becomes "<stem>0<ext>". A name without a point is left alone.
void gf_keepOlderCopies(const std::filesystem::path& PATH);

/// 1 UTF-16 LE, 2 UTF-16 BE, 3 UTF-8 with BOM, 0 anything else, 5 unreadable.
int gf_detectEncoding(const std::filesystem::path& PATH);

/// A text the file system or a wide-text API could not convert.
class Utf8ConversionException : public std::runtime_error {
public:
    Utf8ConversionException(int CODE, const std::string& TEXT) : std::runtime_error(TEXT), code(CODE) {}
    int code;
};

/// UTF-16 bytes (a leading byte order mark is dropped) to UTF-8. Throws
/// Utf8ConversionException: code 1 for a high surrogate without its low half,
/// 2 for a high surrogate followed by a unit that is no low half, 3 for a lone
/// low surrogate, 4 for an odd number of bytes.
std::string gf_utf16ToUtf8(std::string_view BYTES, bool BIG_ENDIAN_ORDER);
/// UTF-8 to wide text and back. Overlong forms, encoded surrogates, cut
/// sequences and code points past U+10FFFF throw Utf8ConversionException 1113
/// with the position; no text is ever guessed.
std::wstring gf_utf8ToWide(std::string_view TEXT);
std::string gf_wideToUtf8(std::wstring_view TEXT);

/// Test hook: a save writes its temporary file and stops before the rename,
/// as a kill at that moment would leave it.
extern std::atomic<bool> saveStopsBeforeRename;

/// Writes an XML document whole or not at all: into "<path>.tmp" in the same
/// folder, forced to the disk (unless not DURABLE: a spare copy that may lag
/// behind after a power cut), then renamed over PATH. A kill at any moment
/// leaves the old file or the new one. Answers whether it worked; no log.
bool gf_writeXmlFile(const pugi::xml_document& DOCUMENT, const std::filesystem::path& PATH, bool DURABLE = true);
/// gf_writeXmlFile, and logs the outcome.
bool gf_saveXml(const pugi::xml_document& DOCUMENT, const std::filesystem::path& PATH);

/// The file's lines without line ends; nothing when unreadable or empty.
std::optional<std::vector<std::string>> gf_readLines(const std::filesystem::path& PATH, size_t RESERVE = 0);
/// Writes TEXT to a new file; throws SysErrorException 40 when it cannot.
void gf_writeText(std::string_view TEXT, const std::filesystem::path& PATH, bool WITH_LINE_END);

/// Removes every entry of a folder; entries that stay are logged.
/// Throws UserErrorException 5 on any other failure.
void gf_emptyFolder(const std::filesystem::path& PATH);

} // namespace orv
