// Who published an add-on airport: by the BGL file's path, or by the
// manifest.json of its package, against the publisher names of the
// reference database.
#include "scanner/scan_state.h"

#include "liveries/dbase.h"

#include "core/log.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <optional>
#include <regex>
#include <sstream>
#include <unordered_map>

namespace orv {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view communityWord = "Community";
constexpr std::string_view separators = "/\\";

/// The first file manifest.json of FOLDER, not looking deeper.
std::optional<fs::path> lf_manifestIn(const fs::path& FOLDER)
{
    std::error_code failed;
    for (fs::directory_iterator it(FOLDER, failed), end; !failed && it != end; it.increment(failed)) {
        const fs::path& p = it->path();
        if (p.extension() == ".json" && p.stem() == "manifest" && it->is_regular_file(failed)) return p;
    }
    return std::nullopt;
}

std::optional<ManifestInfo> lf_parseManifest(const fs::path& PATH)
{
    std::ifstream file(PATH, std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    const auto json = nlohmann::json::parse(text.str(), nullptr, false);
    if (json.is_discarded()) return std::nullopt;
    const auto member = [&](const char* NAME) {
        return json.is_object() && json.contains(NAME) && json[NAME].is_string() ? json[NAME].get<std::string>() : std::string();
    };
    return ManifestInfo{member("manufacturer"), member("creator"), member("title")};
}

/// The package folder of a path in the Community folder: up to the second separator behind the word.
std::string lf_packageFolder(const std::string& PATH)
{
    const auto word = PATH.find(communityWord);
    if (word == std::string::npos) return {};
    const auto first = PATH.find_first_of(separators, word);
    if (first == std::string::npos) return {};
    return PATH.substr(0, PATH.find_first_of(separators, first + 1));
}

} // namespace

bool lf_nameMatches(const std::string& TEXT, const std::string& NAME)
{
    // Each name is compiled once per thread: a scan asks for every BGL file.
    thread_local std::unordered_map<std::string, std::optional<std::regex>> compiled;
    auto found = compiled.find(NAME);
    if (found == compiled.end()) {
        std::optional<std::regex> pattern;
        try {
            pattern.emplace(".*" + NAME + ".*", std::regex::ECMAScript | std::regex::icase);
        } catch (const std::regex_error&) {
            // a name that is no valid pattern matches nothing
        }
        found = compiled.emplace(NAME, std::move(pattern)).first;
    }
    return found->second && std::regex_match(TEXT, *found->second);
}

std::string gf_publisherByName(const std::string& TEXT)
{
    for (const auto& group : publisherNames) {
        if (group.empty()) continue;
        for (const auto& name : group)
            if (name.empty() || TEXT.find(name) != std::string::npos || lf_nameMatches(TEXT, name)) return group.front();
    }
    return "unknown";
}

std::optional<ManifestInfo> lf_searchManifest(const std::string& PATH)
{
    try {
        std::error_code failed;
        if (const std::string package = lf_packageFolder(PATH); !package.empty() && fs::is_directory(package, failed)) {
            if (const auto manifest = lf_manifestIn(package)) {
                lf_scanLog(manifest->string() + " found");
                if (auto info = lf_parseManifest(*manifest)) return info;
            }
        }
        for (fs::path folder = fs::path(PATH).parent_path(); !folder.empty(); folder = folder.parent_path()) {
            if (const auto manifest = lf_manifestIn(folder))
                if (auto info = lf_parseManifest(*manifest)) return info;
            if (folder == folder.parent_path()) break; // the root
        }
    } catch (const std::exception& e) {
        gf_log(fmt::format("exception in lf_searchManifest: {}", e.what()));
    }
    return std::nullopt;
}

PublisherInfo lf_findPublisher(const std::string& PATH)
{
    lf_scanLog(fmt::format("\nTry find publisher in: {}", PATH));
    PublisherInfo info;
    if (lf_nameMatches(PATH, "microsoft-airport") || lf_nameMatches(PATH, "asobo-airport")) {
        info.publisher = "simaddon";
        lf_scanLog(fmt::format("from filename => publisher {}", info.publisher));
        return info;
    }
    if (info.publisher = gf_publisherByName(PATH); info.publisher != "unknown") {
        lf_scanLog(fmt::format("publisher \"{}\" found", info.publisher));
        return info;
    }
    const auto manifest = lf_searchManifest(PATH);
    if (!manifest) {
        lf_scanLog(fmt::format("{}No publisher found", "===> "));
        return info;
    }
    info.manufacturer = manifest->manufacturer;
    info.creator = manifest->creator;
    info.title = manifest->title;
    if (!info.manufacturer.empty()) {
        if (const auto p = gf_publisherByName(info.manufacturer); p != "unknown") {
            info.publisher = p;
            lf_scanLog(fmt::format("from manifest.json: manufacturer \"{}\" => publisher \"{}\"", info.manufacturer, p));
            return info;
        }
    }
    if (!info.creator.empty()) {
        if (const auto p = gf_publisherByName(info.creator); p != "unknown") {
            info.publisher = p;
            lf_scanLog(fmt::format("from manifest.json creator \"{}\" => publisher \"{}\"", info.creator, p));
            return info;
        }
    }
    lf_scanLog(fmt::format("no valid info found in manifest about publisher, manufacturer:\"{}\", creator:\"{}\" {}",
                           info.manufacturer, info.creator, PATH));
    return info;
}

} // namespace orv
