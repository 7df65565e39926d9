// The zip writer over libzip.
#include "tools/zip_writer.h"

#include <zip.h>

#include <sys/stat.h>

namespace orv {

namespace {

constexpr unsigned unixModeShift = 16;
constexpr zip_uint32_t linkMode = S_IFLNK | 0777;

bool lf_fail(zip_t* ARCHIVE, std::string* ERROR)
{
    if (ERROR) *ERROR = zip_strerror(ARCHIVE);
    zip_discard(ARCHIVE);
    return false;
}

} // namespace

bool gf_writeZip(const std::filesystem::path& PATH, const std::vector<ZipWriteEntry>& ENTRIES, std::string* ERROR)
{
    int code = 0;
    zip_t* archive = zip_open(PATH.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &code);
    if (!archive) {
        if (ERROR) *ERROR = "cannot create " + PATH.string();
        return false;
    }
    for (const auto& entry : ENTRIES) {
        if (!entry.name.empty() && entry.name.back() == '/' && !entry.link) {
            if (zip_dir_add(archive, entry.name.c_str(), ZIP_FL_ENC_UTF_8) < 0) return lf_fail(archive, ERROR);
            continue;
        }
        // The buffer stays valid until zip_close: ENTRIES outlives it.
        zip_source_t* source = zip_source_buffer(archive, entry.content.data(), entry.content.size(), 0);
        if (!source) return lf_fail(archive, ERROR);
        const auto index = zip_file_add(archive, entry.name.c_str(), source, ZIP_FL_OVERWRITE | ZIP_FL_ENC_UTF_8);
        if (index < 0) {
            zip_source_free(source);
            return lf_fail(archive, ERROR);
        }
        if (entry.link && zip_file_set_external_attributes(archive, static_cast<zip_uint64_t>(index), 0, ZIP_OPSYS_UNIX,
                                                           linkMode << unixModeShift) != 0)
            return lf_fail(archive, ERROR);
    }
    if (zip_close(archive) != 0) return lf_fail(archive, ERROR);
    return true;
}

} // namespace orv
