// Reading the two kinds of registration-code sources: the maker's
// AIG-regcodes.xml (scrambled registrations) and the user's text files, one
// entry a line, fields separated by ';'.
#include "liveries/regcodes.h"
#include "liveries/scramble.h"

#include "core/log.h"
#include "core/text_files.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <algorithm>
#include <cctype>

namespace orv {

namespace fs = std::filesystem;

namespace {

/// Length limits of a registration in a user file.
constexpr std::size_t longestRegcode = 12;
constexpr std::size_t shortestListedRegcode = 3;
/// A user line has at most title, registrations and the special mark.
constexpr std::size_t mostFields = 3;
constexpr std::string_view specialMark = "#";
constexpr std::string_view utf8Bom = "\xEF\xBB\xBF";

const char* lf_plural(std::size_t COUNT) { return COUNT == 1 ? "" : "s"; }

std::string lf_trim(std::string_view TEXT)
{
    constexpr std::string_view blanks = " \t\r\n";
    const auto first = TEXT.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return std::string(TEXT.substr(first, TEXT.find_last_not_of(blanks) - first + 1));
}

std::vector<std::string> lf_split(std::string_view TEXT, char SEPARATOR)
{
    std::vector<std::string> parts;
    std::size_t from = 0;
    for (std::size_t at = TEXT.find(SEPARATOR); at != std::string_view::npos; at = TEXT.find(SEPARATOR, from)) {
        parts.emplace_back(TEXT.substr(from, at - from));
        from = at + 1;
    }
    parts.emplace_back(TEXT.substr(from));
    return parts;
}

void lf_sortUnique(std::vector<std::string>& CODES)
{
    std::sort(CODES.begin(), CODES.end());
    CODES.erase(std::unique(CODES.begin(), CODES.end()), CODES.end());
}

/// The registrations of an AIG element: scrambled, comma-separated.
std::vector<std::string> lf_aigRegcodes(const char* TEXT, const std::string& TITLE)
{
    std::vector<std::string> codes;
    for (auto item : lf_split(TEXT, ',')) {
        std::erase_if(item, [](unsigned char C) { return std::isspace(C) != 0; });
        if (item.empty()) continue;
        try {
            codes.push_back(gf_decryptRegcode(item));
        } catch (const std::exception& e) {
            gf_log(fmt::format("lf_readAigRegcodes: registration \"{}\" of \"{}\" refused: {}", item, TITLE, e.what()));
        }
    }
    lf_sortUnique(codes);
    return codes;
}

/// The registrations of a user line with several of them; false when one was refused.
bool lf_listedRegcodes(const std::string& FIELD, const std::string& FILE, std::vector<std::string>& CODES)
{
    bool good = true;
    for (const auto& item : lf_split(FIELD, ',')) {
        std::string code = lf_trim(item);
        if (code.size() < shortestListedRegcode || code.size() > longestRegcode) {
            gf_log(fmt::format("wrong regcode length \"{}\" in {}", code, FILE));
            good = false;
            continue;
        }
        CODES.push_back(std::move(code));
    }
    lf_sortUnique(CODES);
    return good;
}

std::vector<fs::path> lf_regcodeFiles(const fs::path& FOLDER)
{
    std::vector<fs::path> files;
    std::error_code failed;
    for (const auto& entry : fs::directory_iterator(FOLDER, failed)) {
        if (!entry.is_regular_file(failed)) continue;
        std::string extension = entry.path().extension().string();
        std::transform(extension.begin(), extension.end(), extension.begin(),
                       [](unsigned char C) { return static_cast<char>(std::tolower(C)); });
        if (extension == ".txt") files.push_back(entry.path());
    }
    // The listing order of the file system is not stable across systems; the
    // name order is, and it decides which file wins inside this source.
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

bool lf_readAigRegcodes(const fs::path& PATH, std::vector<RegcodeEntry>& ENTRIES)
{
    gf_log("Reading " + PATH.string());
    pugi::xml_document document;
    if (!document.load_file(PATH.c_str())) {
        gf_log(fmt::format("Failed to load {}", PATH.string()));
        return false;
    }
    std::size_t read = 0;
    for (const auto livery : document.child("AIG-regcodes").children("livery")) {
        std::string title = livery.attribute("title").as_string();
        if (title.empty()) continue;
        RegcodeEntry entry;
        entry.regcodes = lf_aigRegcodes(livery.attribute("reg").as_string(), title);
        entry.special = livery.attribute("special").as_bool(false);
        entry.title = std::move(title);
        ENTRIES.push_back(std::move(entry));
        ++read;
    }
    gf_log(fmt::format("{} liverie{} read", read, lf_plural(read)));
    return true;
}

bool lf_parseRegcodeLine(const std::string& LINE, const std::string& FILE, std::vector<RegcodeEntry>& ENTRIES)
{
    if (lf_trim(LINE).empty()) return true;
    auto fields = lf_split(LINE, ';');
    if (fields.size() > mostFields) {
        gf_log(fmt::format("{}: wrong format \"{}\"", FILE, LINE));
        return false;
    }
    for (auto& field : fields) field = lf_trim(field);
    RegcodeEntry entry;
    entry.title = fields[0];
    if (fields.size() == 1) {
        ENTRIES.push_back(std::move(entry)); // a title not to be used
        return true;
    }
    const std::string& codes = fields[1];
    if (codes.empty()) return true;
    if (codes.find(',') == std::string::npos) {
        // One registration: its own livery, special whatever the third field says.
        if (codes.size() > longestRegcode) {
            gf_log(fmt::format("wrong regcode length \"{}\" in {}", codes, FILE));
            return false;
        }
        entry.regcodes.push_back(codes);
        entry.special = true;
        ENTRIES.push_back(std::move(entry));
        return true;
    }
    const bool good = lf_listedRegcodes(codes, FILE, entry.regcodes);
    if (entry.regcodes.empty()) {
        gf_log(fmt::format("{} ; regs empty? ", FILE));
        return good;
    }
    entry.special = fields.size() == mostFields && fields[2] == specialMark;
    ENTRIES.push_back(std::move(entry));
    return good;
}

bool lf_readRegcodeFolder(const fs::path& FOLDER, std::vector<RegcodeEntry>& ENTRIES)
{
    bool good = true;
    const std::size_t before = ENTRIES.size();
    for (const auto& path : lf_regcodeFiles(FOLDER)) {
        const std::string file = path.string();
        gf_log(fmt::format("Processing regcodes file \"{}\"", file));
        const auto lines = gf_readLines(path);
        if (!lines) continue;
        bool first = true;
        for (std::string line : *lines) {
            if (first && line.starts_with(utf8Bom)) line.erase(0, utf8Bom.size());
            first = false;
            good = lf_parseRegcodeLine(line, file, ENTRIES) && good;
        }
    }
    const std::size_t read = ENTRIES.size() - before;
    gf_log(fmt::format("{} liverie{} read", read, lf_plural(read)));
    return good;
}

bool lf_folderHasFiles(const fs::path& FOLDER)
{
    std::error_code failed;
    for (const auto& entry : fs::directory_iterator(FOLDER, failed))
        if (entry.is_regular_file(failed)) return true;
    return false;
}

} // namespace orv
