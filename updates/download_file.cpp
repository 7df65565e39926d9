// One file from the download server, and the version texts it publishes.
#include "updates/downloads.h"

#include "core/log.h"
#include "core/parameters.h"
#include "core/text_files.h"

#include <curl/curl.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <limits>
#include <memory>
#include <regex>
#include <stdexcept>
#include <system_error>

namespace orv {

namespace fs = std::filesystem;

const Version runningVersion = gf_parseVersion(programVersionText);

namespace {

struct FileCloser {
    void operator()(std::FILE* FILE) const { std::fclose(FILE); }
};

std::size_t lf_writeToFile(char* DATA, std::size_t SIZE, std::size_t COUNT, void* FILE)
{
    return std::fwrite(DATA, SIZE, COUNT, static_cast<std::FILE*>(FILE));
}

std::int32_t lf_versionNumber(const nlohmann::json& OBJECT, const char* KEY)
{
    // A floating-point number is accepted and truncated.
    const double value = OBJECT.at(KEY).get<double>();
    if (value < std::numeric_limits<std::int32_t>::min() || value > std::numeric_limits<std::int32_t>::max())
        throw std::out_of_range(fmt::format("version number {} out of range", KEY));
    return static_cast<std::int32_t>(value);
}

} // namespace

Version gf_parseVersion(std::string_view TEXT)
{
    if (TEXT.empty()) return {};
    // The dots stand for any one character.
    static const std::regex dotted(R"((\d+).(\d+).(\d+))");
    std::match_results<std::string_view::const_iterator> match;
    if (std::regex_match(TEXT.begin(), TEXT.end(), match, dotted))
        return {std::stoi(match.str(1)), std::stoi(match.str(2)), std::stoi(match.str(3))};
    const auto object = nlohmann::json::parse(TEXT);
    return {lf_versionNumber(object, "major"), lf_versionNumber(object, "minor"), lf_versionNumber(object, "patch")};
}

std::string gf_versionText(const Version& VERSION)
{
    return fmt::format("{}.{}.{}", VERSION.major, VERSION.minor, VERSION.patch);
}

bool gf_isNewer(const Version& NEWER, const Version& OLDER)
{
    if (NEWER.major != OLDER.major) return NEWER.major > OLDER.major;
    if (NEWER.minor != OLDER.minor) return NEWER.minor > OLDER.minor;
    return NEWER.patch > OLDER.patch;
}

std::string gf_downloadBase()
{
    std::string base = DOWNLOAD_URL.value;
    if (base.empty() || base.back() != '/') base += '/';
    return base;
}

std::string gf_archiveBase(bool FORCE_MSFS_2020)
{
    return gf_downloadBase() + (MSFS_2020.value || FORCE_MSFS_2020 ? "MSFS/" : "MSFS2024/");
}

bool gf_downloadFile(CURL* CURL_HANDLE, const std::string& URL, const fs::path& PATH, bool BINARY)
{
    if (!CURL_HANDLE) return false;
    try {
        std::unique_ptr<std::FILE, FileCloser> file(std::fopen(PATH.c_str(), BINARY ? "wb" : "w"));
        if (!file) {
            gf_log(fmt::format("could not open output file: {}", PATH.string()));
            return false;
        }
        curl_easy_setopt(CURL_HANDLE, CURLOPT_URL, URL.c_str());
        curl_easy_setopt(CURL_HANDLE, CURLOPT_USERAGENT, "TAVO");
        curl_easy_setopt(CURL_HANDLE, CURLOPT_WRITEFUNCTION, lf_writeToFile);
        curl_easy_setopt(CURL_HANDLE, CURLOPT_WRITEDATA, file.get());
        curl_easy_setopt(CURL_HANDLE, CURLOPT_FAILONERROR, 1L);
        const bool received = curl_easy_perform(CURL_HANDLE) == CURLE_OK;
        // The last bytes reach the file only at the close: a full disk shows there.
        if (std::fclose(file.release()) != 0) {
            gf_log(fmt::format("could not write output file: {}", PATH.string()));
            return false;
        }
        return received;
    } catch (const std::exception& e) {
        gf_log(fmt::format("downloader exception: \"{}\", {} => {}", e.what(), URL, PATH.string()));
        return false;
    }
}

Version gf_fetchVersion(CURL* CURL_HANDLE, const std::string& URL)
{
    const fs::path local{versionFileName};
    if (!gf_downloadFile(CURL_HANDLE, URL, local, false)) {
        gf_log(fmt::format("downloading \"{}\" failed", URL));
        return {};
    }
    const auto lines = gf_readLines(local);
    std::error_code ignored;
    fs::remove(local, ignored);
    if (!lines) return {};
    return gf_parseVersion(lines->front());
}

} // namespace orv
