// The download server: files over HTTP(S), version texts, the program's
// version check with its installer, the add-on airport data of MSFS 2024 and
// the two reference documents fetched at each start.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

typedef void CURL;

namespace orv {

/// A release number; all zero means no version is known.
struct Version {
    std::int32_t major = 0;
    std::int32_t minor = 0;
    std::int32_t patch = 0;
    friend bool operator==(const Version&, const Version&) = default;
};

/// "10.9.3", or a JSON object with the keys major, minor and patch on one
/// line. Empty text gives all zeros. Too large a number throws
/// std::out_of_range; text that is neither form throws the JSON library's error.
Version gf_parseVersion(std::string_view TEXT);
std::string gf_versionText(const Version& VERSION);
/// NEWER is newer than OLDER by major, then minor, then patch.
bool gf_isNewer(const Version& NEWER, const Version& OLDER);
/// The version of the running program.
extern const Version runningVersion;

/// The server's folder, from DOWNLOAD_URL, always ending in a slash.
std::string gf_downloadBase();
/// Where the airport archives lie: "MSFS/" for MSFS 2020 (or when forced),
/// otherwise "MSFS2024/", below the download base.
std::string gf_archiveBase(bool FORCE_MSFS_2020);

/// Fetches URL into the file PATH with the caller's handle; true for a
/// complete transfer. An HTTP status from 400 up is a failure.
bool gf_downloadFile(CURL* CURL_HANDLE, const std::string& URL, const std::filesystem::path& PATH, bool BINARY);
/// Downloads a version file to version.json, reads its first line, deletes it.
Version gf_fetchVersion(CURL* CURL_HANDLE, const std::string& URL);

/// The program version check: throws UserErrorException 99 when a newer
/// installer stands ready as install_new_version.exe.
void gf_checkProgramVersion();
bool gf_fetchInstaller(const Version& VERSION);
/// Fetches the add-on airport data of MSFS 2024 when the server has a newer
/// version or the folder is missing; true when it was updated.
bool gf_updateMySimaddon();
bool gf_mySimaddonMissing();
/// Fetch and unpack one reference document to TARGET.
bool gf_fetchAigRegcodes(const std::filesystem::path& TARGET);
bool gf_fetchDbase(const std::filesystem::path& TARGET);

/// Names of the files the server holds and the local ones they become.
inline constexpr std::string_view installerTarget = "install_new_version.exe";
inline constexpr std::string_view versionFileName = "version.json";

} // namespace orv
