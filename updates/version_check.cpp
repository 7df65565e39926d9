// The program's version check with the fetching of its installer, and the
// update of the add-on airport data of MSFS 2024.
#include "updates/downloads.h"
#include "updates/zip_archive.h"

#include "core/errors.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/text_files.h"

#include <curl/curl.h>
#include <fmt/format.h>

#include <fstream>
#include <memory>
#include <system_error>

namespace orv {

namespace fs = std::filesystem;

namespace {

struct CurlCleanup {
    void operator()(CURL* HANDLE) const { curl_easy_cleanup(HANDLE); }
};
using CurlHandle = std::unique_ptr<CURL, CurlCleanup>;

constexpr std::string_view mySimaddonFolderName = "mysimaddon24";
constexpr std::string_view mySimaddonArchive = "my_simaddon2024.zip";

void lf_removeIfThere(const fs::path& PATH)
{
    std::error_code ignored;
    fs::remove(PATH, ignored);
}

void lf_logRefused(const ZipEntry& ENTRY, const std::string& ARCHIVE, const std::string& WHY)
{
    gf_log(fmt::format("! archive entry \"{}\" of {} refused: it {}", ENTRY.name, ARCHIVE, WHY));
}

/// Unpacks the installer's archive: every entry in turn becomes the installer.
bool lf_unpackInstaller(ZipArchive& ARCHIVE, const std::string& NAME)
{
    bool unpacked = false;
    for (const auto& entry : ARCHIVE.getEntries()) {
        if (const auto why = gf_entryRefusal(entry); !why.empty()) {
            lf_logRefused(entry, NAME, why);
            continue;
        }
        lf_removeIfThere(installerTarget);
        std::ofstream out{fs::path(installerTarget), std::ios::binary};
        const int code = ARCHIVE.readContent(entry, out);
        if (code != ZipArchive::ok) {
            gf_log(fmt::format("unzipping error code : {}", code));
        } else {
            gf_log(fmt::format("{} unzipped to {}", NAME, installerTarget));
            unpacked = true;
        }
    }
    return unpacked;
}

/// The stem of an entry's name: its folders and its last extension dropped.
std::string lf_entryStem(const std::string& NAME)
{
    const auto slash = NAME.find_last_of("/\\");
    std::string stem = slash == std::string::npos ? NAME : NAME.substr(slash + 1);
    const auto point = stem.rfind('.');
    if (point != std::string::npos && point > 0) stem.erase(point);
    return stem;
}

void lf_prepareSimaddonFolder()
{
    if (fs::exists(mySimaddonFolder))
        gf_emptyFolder(mySimaddonFolder);
    else
        fs::create_directories(mySimaddonFolder);
}

int lf_unpackSimaddon(ZipArchive& ARCHIVE)
{
    int count = 0;
    for (const auto& entry : ARCHIVE.getEntries()) {
        if (entry.isDirectory()) continue;
        if (const auto why = gf_entryRefusal(entry); !why.empty()) {
            lf_logRefused(entry, ARCHIVE.path(), why);
            continue;
        }
        const auto stem = lf_entryStem(entry.name);
        if (stem.empty() || stem == "." || stem == "..") {
            lf_logRefused(entry, ARCHIVE.path(), "has no file name");
            continue;
        }
        const fs::path target = mySimaddonFolder / (stem + ".txt");
        std::ofstream out(target, std::ios::binary);
        const int code = ARCHIVE.readContent(entry, out);
        out.close();
        if (code != ZipArchive::ok || !out) {
            // No empty or partial airport file: it would read as an airport without stands.
            lf_removeIfThere(target);
            gf_log(fmt::format("! archive entry \"{}\" of {} could not be read, code {}", entry.name, ARCHIVE.path(),
                               code));
            continue;
        }
        ++count;
    }
    return count;
}

} // namespace

void gf_checkProgramVersion()
{
    Version offered;
    {
        CurlHandle handle(curl_easy_init());
        offered = gf_fetchVersion(handle.get(), gf_downloadBase() + "release/version.json");
    }
    if (offered == Version{}) {
        gf_log("Program Version file not found?");
        return;
    }
    if (!gf_isNewer(offered, runningVersion)) return;
    if (gf_fetchInstaller(offered)) {
        const auto installer = fs::path(PROGRAM_INSTALL_PATH.value) / installerTarget;
        throw UserErrorException(99, fmt::format("New version {} available. Exit here, and run as administrator:   \"{}\"",
                                                 gf_versionText(offered), installer.string()));
    }
    gf_showStatus("The downloading/unzipping of the new version failed? Try manually via velmora website", true);
}

bool gf_fetchInstaller(const Version& VERSION)
{
    bool fetched = false;
    const auto name = fmt::format("setup_{}_d_v{}.zip", programName, gf_versionText(VERSION));
    CurlHandle handle(curl_easy_init());
    if (!gf_downloadFile(handle.get(), gf_downloadBase() + "release/" + name, name, true)) {
        gf_showStatus(fmt::format("Downloading program installer file version {} failed", gf_versionText(VERSION)), true);
    } else {
        gf_log(fmt::format("downloaded {}", name));
        ZipArchive archive(name, "", ZipArchive::Encryption::None);
        if (!archive.open(ZipArchive::ReadOnly, false)) {
            gf_log(fmt::format("could not open {}", name));
        } else {
            fetched = lf_unpackInstaller(archive, name);
            archive.close();
        }
    }
    lf_removeIfThere(name);
    return fetched;
}

bool gf_mySimaddonMissing() { return !fs::exists(mySimaddonFolder); }

bool gf_updateMySimaddon()
{
    Version offered;
    {
        CurlHandle handle(curl_easy_init());
        offered = gf_fetchVersion(handle.get(), gf_downloadBase() + std::string(mySimaddonFolderName) + "/version.json");
    }
    if (offered == Version{}) {
        gf_log("No mysimaddon version info found at the TAVO server?");
        return false;
    }
    bool updated = false;
    const fs::path local{mySimaddonArchive};
    if (gf_isNewer(offered, gf_parseVersion(MYSIMADDON24_VERSION.value)) || gf_mySimaddonMissing()) {
        CurlHandle handle(curl_easy_init());
        const auto url = gf_downloadBase() + std::string(mySimaddonFolderName) + "/" + std::string(mySimaddonArchive);
        if (gf_downloadFile(handle.get(), url, local, true)) {
            lf_prepareSimaddonFolder();
            ZipArchive archive(local.string(), "", ZipArchive::Encryption::None);
            if (!archive.open(ZipArchive::ReadOnly, false)) {
                gf_log(fmt::format("could not open {}", local.string()));
            } else {
                const int count = lf_unpackSimaddon(archive);
                archive.close();
                gf_showStatus(fmt::format("{} unzipped {} files", local.string(), count), true);
                MYSIMADDON24_VERSION.value = gf_versionText(offered);
                gf_save(MYSIMADDON24_VERSION);
                gf_showStatus(fmt::format("mysimaddon has been updated to version {}", MYSIMADDON24_VERSION.value), true);
                updated = true;
            }
        }
    }
    lf_removeIfThere(local);
    return updated;
}

} // namespace orv
