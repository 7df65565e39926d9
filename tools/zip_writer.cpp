// The zip writer over libzip.
#include "tools/zip_writer.h"

#include <zip.h>

#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>

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

/// Little-endian fields of a local file header.
std::uint32_t lf_field(const std::string& BYTES, std::size_t AT, int WIDTH)
{
    std::uint32_t value = 0;
    for (int k = WIDTH - 1; k >= 0; --k) value = value << 8 | static_cast<unsigned char>(BYTES[AT + k]);
    return value;
}

/// Flips bytes in the middle of the stored data of each entry marked damaged.
/// The local headers lie one after the other in ENTRIES' order.
bool lf_spoil(const std::filesystem::path& PATH, const std::vector<ZipWriteEntry>& ENTRIES)
{
    constexpr std::size_t headerBytes = 30;
    std::string bytes;
    {
        std::ifstream in(PATH, std::ios::binary);
        bytes.assign(std::istreambuf_iterator<char>(in), {});
    }
    std::size_t at = 0;
    for (const auto& entry : ENTRIES) {
        if (at + headerBytes > bytes.size() || lf_field(bytes, at, 4) != 0x04034b50) return false;
        const std::size_t data = at + headerBytes + lf_field(bytes, at + 26, 2) + lf_field(bytes, at + 28, 2);
        const std::size_t stored = lf_field(bytes, at + 18, 4);
        if (entry.damaged && stored > 0)
            for (std::size_t k = stored / 2; k < std::min(stored, stored / 2 + 8); ++k) bytes[data + k] ^= 0x5A;
        at = data + stored;
    }
    std::ofstream out(PATH, std::ios::binary | std::ios::trunc);
    out << bytes;
    return static_cast<bool>(out);
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
    const bool damage = std::any_of(ENTRIES.begin(), ENTRIES.end(), [](const ZipWriteEntry& E) { return E.damaged; });
    if (damage && !lf_spoil(PATH, ENTRIES)) {
        if (ERROR) *ERROR = "cannot spoil " + PATH.string();
        return false;
    }
    return true;
}

} // namespace orv
