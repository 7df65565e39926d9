// Text and XML file helpers used all over the program.
#include "core/text_files.h"

#include "core/errors.h"
#include "core/log.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <cerrno>
#include <cstring>
#include <fstream>

namespace orv {

namespace fs = std::filesystem;

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

void lf_appendUtf8(std::string& OUT, char32_t CODE)
{
    if (CODE < 0x80) {
        OUT += static_cast<char>(CODE);
    } else if (CODE < 0x800) {
        OUT += static_cast<char>(0xC0 | (CODE >> 6));
        OUT += static_cast<char>(0x80 | (CODE & 0x3F));
    } else if (CODE < 0x10000) {
        OUT += static_cast<char>(0xE0 | (CODE >> 12));
        OUT += static_cast<char>(0x80 | ((CODE >> 6) & 0x3F));
        OUT += static_cast<char>(0x80 | (CODE & 0x3F));
    } else {
        OUT += static_cast<char>(0xF0 | (CODE >> 18));
        OUT += static_cast<char>(0x80 | ((CODE >> 12) & 0x3F));
        OUT += static_cast<char>(0x80 | ((CODE >> 6) & 0x3F));
        OUT += static_cast<char>(0x80 | (CODE & 0x3F));
    }
}

} // namespace

std::string gf_utf16ToUtf8(std::string_view BYTES, bool BIG_ENDIAN_ORDER)
{
    std::string out;
    out.reserve(BYTES.size() / 2 + 8);
    const auto unit = [&](size_t AT) -> char16_t {
        const auto a = static_cast<unsigned char>(BYTES[AT]), b = static_cast<unsigned char>(BYTES[AT + 1]);
        return static_cast<char16_t>(BIG_ENDIAN_ORDER ? (a << 8 | b) : (b << 8 | a));
    };
    size_t at = 0;
    if (BYTES.size() >= 2 && unit(0) == 0xFEFF) at = 2;
    for (; at + 1 < BYTES.size(); at += 2) {
        const char16_t u = unit(at);
        if (u >= 0xD800 && u <= 0xDBFF) {
            if (at + 3 >= BYTES.size()) throw Utf8ConversionException(1, "unpaired high surrogate at end");
            const char16_t low = unit(at + 2);
            if (low < 0xDC00 || low > 0xDFFF) throw Utf8ConversionException(2, "unpaired high surrogate");
            lf_appendUtf8(out, 0x10000 + ((char32_t(u) - 0xD800) << 10) + (char32_t(low) - 0xDC00));
            at += 2;
        } else if (u >= 0xDC00 && u <= 0xDFFF) {
            throw Utf8ConversionException(3, "unpaired low surrogate");
        } else {
            lf_appendUtf8(out, u);
        }
    }
    return out;
}

std::wstring gf_utf8ToWide(std::string_view TEXT)
{
    std::wstring out;
    out.reserve(TEXT.size());
    for (size_t at = 0; at < TEXT.size();) {
        const auto lead = static_cast<unsigned char>(TEXT[at]);
        const int extra = lead < 0x80 ? 0 : (lead >> 5) == 6 ? 1 : (lead >> 4) == 14 ? 2 : (lead >> 3) == 30 ? 3 : -1;
        if (extra < 0 || at + static_cast<size_t>(extra) >= TEXT.size())
            throw Utf8ConversionException(1113, "invalid UTF-8 sequence");
        char32_t code = extra == 0 ? lead : lead & (0x3F >> extra);
        for (int k = 1; k <= extra; ++k) {
            const auto next = static_cast<unsigned char>(TEXT[at + static_cast<size_t>(k)]);
            if ((next & 0xC0) != 0x80) throw Utf8ConversionException(1113, "invalid UTF-8 sequence");
            code = (code << 6) | (next & 0x3F);
        }
        out += static_cast<wchar_t>(code);
        at += static_cast<size_t>(extra) + 1;
    }
    return out;
}

std::string gf_wideToUtf8(std::wstring_view TEXT)
{
    std::string out;
    out.reserve(TEXT.size());
    for (const wchar_t c : TEXT) {
        if (static_cast<char32_t>(c) > 0x10FFFF) throw Utf8ConversionException(1113, "invalid code point");
        lf_appendUtf8(out, static_cast<char32_t>(c));
    }
    return out;
}

bool gf_saveXml(const pugi::xml_document& DOCUMENT, const fs::path& PATH)
{
    const bool saved = DOCUMENT.save_file(PATH.c_str(), "  ");
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
