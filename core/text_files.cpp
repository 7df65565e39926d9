// Text and XML file helpers used all over the program.
#include "core/text_files.h"

#include "core/errors.h"
#include "core/log.h"

#include <fmt/format.h>
#include <pugixml.hpp>
#include <utf8.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>

namespace orv {

namespace fs = std::filesystem;

std::atomic<bool> saveStopsBeforeRename{false};

void gf_keepOlderCopies(const fs::path& PATH)
{
    const std::string name = PATH.filename().string();
    const auto point = name.rfind('.');
    if (point == std::string::npos) return;
    const auto older = [&](std::string_view ZEROS) {
        return PATH.parent_path() / (name.substr(0, point) + std::string(ZEROS) + name.substr(point));
    };
    if (fs::exists(older("0"))) fs::copy_file(older("0"), older("00"), fs::copy_options::overwrite_existing);
    if (fs::exists(PATH)) fs::copy_file(PATH, older("0"), fs::copy_options::overwrite_existing);
}

int gf_detectEncoding(const fs::path& PATH)
{
    std::ifstream file(PATH, std::ios::binary);
    if (!file) {
        gf_log(fmt::format("cannot open file {} for character encoding, err: {}", PATH.string(), errno));
        return 5;
    }
    unsigned char bytes[2] = {0, 0};
    file.read(reinterpret_cast<char*>(bytes), 2);
    if (file.gcount() < 2) return 0;
    if (bytes[0] == 0xFF && bytes[1] == 0xFE) return 1;
    if (bytes[0] == 0xFE && bytes[1] == 0xFF) return 2;
    if (bytes[0] == 0xEF && bytes[1] == 0xBB) return 3;
    return 0;
}

namespace {

// Wide text here is UTF-32: one wchar_t per code point.
static_assert(sizeof(wchar_t) == 4);

/// The message and code of a UTF-16 unit that utf8cpp refused.
Utf8ConversionException lf_utf16Failure(std::uint16_t UNIT)
{
    if (UNIT >= 0xD800 && UNIT <= 0xDBFF)
        return Utf8ConversionException(1, fmt::format("unpaired high surrogate {:04X}", UNIT));
    if (UNIT >= 0xDC00 && UNIT <= 0xDFFF)
        return Utf8ConversionException(3, fmt::format("unpaired low surrogate {:04X}", UNIT));
    return Utf8ConversionException(2, fmt::format("high surrogate followed by {:04X}", UNIT));
}

} // namespace

std::string gf_utf16ToUtf8(std::string_view BYTES, bool BIG_ENDIAN_ORDER)
{
    if (BYTES.size() % 2 != 0)
        throw Utf8ConversionException(4, fmt::format("odd number of bytes ({}) in UTF-16 text", BYTES.size()));
    std::u16string units(BYTES.size() / 2, u'\0');
    for (size_t k = 0; k < units.size(); ++k) {
        const auto a = static_cast<unsigned char>(BYTES[2 * k]), b = static_cast<unsigned char>(BYTES[2 * k + 1]);
        units[k] = static_cast<char16_t>(BIG_ENDIAN_ORDER ? (a << 8 | b) : (b << 8 | a));
    }
    const auto text = std::u16string_view(units).substr(!units.empty() && units[0] == 0xFEFF ? 1 : 0);
    std::string out;
    out.reserve(text.size() + 8);
    try {
        utf8::utf16to8(text.begin(), text.end(), std::back_inserter(out));
    } catch (const utf8::invalid_utf16& e) {
        throw lf_utf16Failure(e.utf16_word());
    }
    return out;
}

std::wstring gf_utf8ToWide(std::string_view TEXT)
{
    std::wstring out;
    out.reserve(TEXT.size());
    auto at = TEXT.begin();
    try {
        while (at != TEXT.end()) out += static_cast<wchar_t>(utf8::next(at, TEXT.end()));
    } catch (const utf8::exception& e) {
        // next() leaves AT on the first byte of the sequence it refused.
        const bool cut = dynamic_cast<const utf8::not_enough_room*>(&e) != nullptr;
        throw Utf8ConversionException(
            1113, fmt::format("{} at byte {}", cut ? "UTF-8 sequence cut short" : e.what(), at - TEXT.begin()));
    }
    return out;
}

std::string gf_wideToUtf8(std::wstring_view TEXT)
{
    std::string out;
    out.reserve(TEXT.size());
    for (size_t k = 0; k < TEXT.size(); ++k) {
        const auto code = static_cast<std::uint32_t>(TEXT[k]);
        try {
            utf8::append(code, std::back_inserter(out));
        } catch (const utf8::invalid_code_point&) {
            throw Utf8ConversionException(1113, fmt::format("invalid code point {:X} at {}", code, k));
        }
    }
    return out;
}

namespace {

/// Writes all of TEXT to a new file and, when DURABLE, forces it to the disk.
bool lf_writeWhole(const fs::path& PATH, std::string_view TEXT, bool DURABLE)
{
    const int fd = ::open(PATH.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) return false;
    bool ok = true;
    for (std::size_t done = 0; ok && done < TEXT.size();) {
        const ssize_t n = ::write(fd, TEXT.data() + done, TEXT.size() - done);
        if (n < 0 && errno == EINTR) continue;
        ok = n > 0;
        if (ok) done += static_cast<std::size_t>(n);
    }
    ok = ok && (!DURABLE || ::fsync(fd) == 0);
    ok = ::close(fd) == 0 && ok;
    if (!ok) ::unlink(PATH.c_str());
    return ok;
}

/// The rename itself reaches the disk only with its folder.
void lf_syncFolder(const fs::path& FOLDER)
{
    const int fd = ::open(FOLDER.empty() ? "." : FOLDER.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    ::fsync(fd);
    ::close(fd);
}

} // namespace

bool gf_writeXmlFile(const pugi::xml_document& DOCUMENT, const fs::path& PATH, bool DURABLE)
{
    std::ostringstream text;
    DOCUMENT.save(text, "  ");
    const fs::path temporary = PATH.string() + ".tmp";
    if (!lf_writeWhole(temporary, text.view(), DURABLE) || saveStopsBeforeRename) return false;
    if (::rename(temporary.c_str(), PATH.c_str()) != 0) return false;
    if (DURABLE) lf_syncFolder(PATH.parent_path());
    return true;
}

bool gf_saveXml(const pugi::xml_document& DOCUMENT, const fs::path& PATH)
{
    const bool saved = gf_writeXmlFile(DOCUMENT, PATH);
    gf_log(saved ? fmt::format("\"{}\" saved", PATH.string()) : fmt::format("could not save to \"{}\"", PATH.string()));
    return saved;
}

std::optional<std::vector<std::string>> gf_readLines(const fs::path& PATH, size_t RESERVE)
{
    std::ifstream file(PATH);
    if (!file) return std::nullopt;
    std::vector<std::string> lines;
    lines.reserve(RESERVE);
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        lines.push_back(std::move(line));
    }
    if (lines.empty()) return std::nullopt;
    return lines;
}

void gf_writeText(std::string_view TEXT, const fs::path& PATH, bool WITH_LINE_END)
{
    std::ofstream file(PATH, std::ios::out | std::ios::trunc);
    if (file) file << TEXT;
    if (file && WITH_LINE_END) file << '\n';
    if (!file) throw SysErrorException(40, "Failed to write file " + PATH.string());
}

void gf_emptyFolder(const fs::path& PATH)
{
    try {
        if (!fs::is_directory(PATH)) return;
        for (const auto& entry : fs::directory_iterator(PATH)) {
            std::error_code failed;
            fs::remove_all(entry.path(), failed);
            if (failed) gf_log(PATH.string() + " could not be removed");
        }
    } catch (const std::exception& e) {
        throw UserErrorException(5, e.what());
    }
}

} // namespace orv
