// The zip reader over libzip, and the test that keeps archive entries inside
// the folder they are unpacked to.
#include "updates/zip_archive.h"

#include <zip.h>

#include <sys/stat.h>

#include <array>
#include <memory>
#include <sstream>

namespace orv {

namespace {

constexpr std::size_t copyChunk = 64 * 1024; ///< bytes per read of an entry
constexpr unsigned unixModeShift = 16;       ///< Unix mode bits in the external attributes

struct EntryCloser {
    void operator()(zip_file_t* FILE) const { zip_fclose(FILE); }
};
using EntryFile = std::unique_ptr<zip_file_t, EntryCloser>;

zip_flags_t lf_flags(ZipArchive::State STATE) { return STATE == ZipArchive::Original ? ZIP_FL_UNCHANGED : 0; }

bool lf_isLink(zip_t* ARCHIVE, zip_uint64_t INDEX)
{
    zip_uint8_t system = 0;
    zip_uint32_t attributes = 0;
    if (zip_file_get_external_attributes(ARCHIVE, INDEX, 0, &system, &attributes) != 0) return false;
    return system == ZIP_OPSYS_UNIX && S_ISLNK(attributes >> unixModeShift);
}

} // namespace

ZipArchive::ZipArchive(std::string PATH, std::string PASSWORD, Encryption /*ENCRYPTION*/)
    : archivePath(std::move(PATH)), password(std::move(PASSWORD))
{
}

ZipArchive::~ZipArchive() { close(); }

bool ZipArchive::open(OpenMode /*MODE*/, bool CHECK_CONSISTENCY)
{
    close();
    int error = 0;
    archive = zip_open(archivePath.c_str(), ZIP_RDONLY | (CHECK_CONSISTENCY ? ZIP_CHECKCONS : 0), &error);
    if (archive && !password.empty()) zip_set_default_password(archive, password.c_str());
    return archive != nullptr;
}

void ZipArchive::close()
{
    if (archive) zip_discard(archive); // read-only: nothing to write back
    archive = nullptr;
}

std::vector<ZipEntry> ZipArchive::getEntries(State STATE) const
{
    std::vector<ZipEntry> entries;
    if (!archive) return entries;
    const auto count = zip_get_num_entries(archive, lf_flags(STATE));
    entries.reserve(static_cast<std::size_t>(std::max<zip_int64_t>(count, 0)));
    for (zip_int64_t i = 0; i < count; ++i) {
        zip_stat_t stat;
        zip_stat_init(&stat);
        const auto index = static_cast<zip_uint64_t>(i);
        if (zip_stat_index(archive, index, lf_flags(STATE), &stat) != 0 || !(stat.valid & ZIP_STAT_NAME)) continue;
        entries.push_back({stat.name, index, (stat.valid & ZIP_STAT_SIZE) ? stat.size : 0, lf_isLink(archive, index)});
    }
    return entries;
}

int ZipArchive::readContent(const ZipEntry& ENTRY, std::ostream& OUT, State STATE, std::uint64_t LIMIT) const
{
    if (!archive) return errorOpenFile;
    EntryFile file(zip_fopen_index(archive, ENTRY.index, lf_flags(STATE)));
    if (!file) return errorOpenFile;
    std::array<char, copyChunk> buffer;
    std::uint64_t total = 0;
    while (true) {
        const auto got = zip_fread(file.get(), buffer.data(), buffer.size());
        if (got < 0) return errorRead;
        if (got == 0) break;
        total += static_cast<std::uint64_t>(got);
        if (total > LIMIT) return errorTooLarge;
        OUT.write(buffer.data(), got);
        if (!OUT) return errorWrite;
    }
    return ok;
}

std::optional<std::string> ZipArchive::readAsText(const ZipEntry& ENTRY, State STATE, std::uint64_t LIMIT) const
{
    std::ostringstream text;
    if (readContent(ENTRY, text, STATE, LIMIT) != ok) return std::nullopt;
    return std::move(text).str();
}

std::string gf_entryRefusal(const ZipEntry& ENTRY)
{
    const std::string& name = ENTRY.name;
    if (ENTRY.link) return "is a link";
    if (name.empty()) return "has no name";
    if (name.front() == '/' || name.front() == '\\') return "is an absolute path";
    if (name.size() >= 2 && name[1] == ':') return "is an absolute path";
    std::size_t start = 0;
    while (start <= name.size()) {
        const auto end = name.find_first_of("/\\", start);
        const auto part = name.substr(start, end == std::string::npos ? std::string::npos : end - start);
        if (part == "..") return "climbs out of its folder";
        if (end == std::string::npos) break;
        start = end + 1;
    }
    return {};
}

} // namespace orv
