// The two reference documents, fetched zipped at each start and unpacked to
// the path their reader gives.
#include "updates/downloads.h"
#include "updates/zip_archive.h"

#include "core/log.h"

#include <curl/curl.h>
#include <fmt/format.h>

#include <fstream>
#include <system_error>

namespace orv {

namespace fs = std::filesystem;

namespace {

/// Unpacks the archive's entries to TARGET, the last one standing. False
/// when an entry cannot be read or written whole: a document cut short or
/// left empty must never be taken for the document.
bool lf_unpackDocument(ZipArchive& ARCHIVE, const fs::path& TARGET)
{
    for (const auto& entry : ARCHIVE.getEntries()) {
        if (entry.isDirectory()) continue;
        if (const auto why = gf_entryRefusal(entry); !why.empty()) {
            gf_log(fmt::format("! archive entry \"{}\" of {} refused: it {}", entry.name, ARCHIVE.path(), why));
            continue;
        }
        std::ofstream out(TARGET, std::ios::binary | std::ios::trunc);
        const int code = ARCHIVE.readContent(entry, out);
        out.close();
        if (code != ZipArchive::ok || !out) {
            gf_log(fmt::format("! archive entry \"{}\" of {} could not be unpacked, code {}", entry.name,
                               ARCHIVE.path(), code));
            return false;
        }
    }
    return true;
}

bool lf_fetchDocument(std::string_view WORD, const fs::path& TARGET)
{
    const fs::path local = fmt::format("{}.zip", WORD);
    bool fetched = false;
    CURL* handle = curl_easy_init();
    std::error_code ignored;
    if (!gf_downloadFile(handle, gf_downloadBase() + local.string(), local, true)) {
        gf_log(fmt::format("downloading {} failed?", WORD));
    } else {
        ZipArchive archive(local.string(), "", ZipArchive::Encryption::None);
        fetched = archive.open(ZipArchive::ReadOnly, false) && lf_unpackDocument(archive, TARGET);
        archive.close();
        if (!fetched) {
            fs::remove(TARGET, ignored);
            gf_log(fmt::format("unzipping {} failed?", WORD));
        }
    }
    fs::remove(local, ignored);
    if (handle) curl_easy_cleanup(handle);
    return fetched;
}

} // namespace

bool gf_fetchAigRegcodes(const fs::path& TARGET) { return lf_fetchDocument("AIG-regcodes", TARGET); }

bool gf_fetchDbase(const fs::path& TARGET) { return lf_fetchDocument("dbase", TARGET); }

} // namespace orv
