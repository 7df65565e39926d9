// Making zip archives: the scramble tool packs dbase.zip with it, and tests
// build archives of every shape the reader must cope with (links, names that
// climb out of their folder, absolute names).
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace orv {

struct ZipWriteEntry {
    std::string name;
    std::string content; ///< for a link: the path it points to
    bool link = false;
    /// The stored data is spoiled after writing: the directory is sound, but
    /// reading the entry fails its check, as after a broken transfer.
    bool damaged = false;
};

/// Writes a new archive with ENTRIES in order; a name ending in '/' is a
/// folder. False (with the reason in ERROR) when it cannot be written.
bool gf_writeZip(const std::filesystem::path& PATH, const std::vector<ZipWriteEntry>& ENTRIES, std::string* ERROR = nullptr);

} // namespace orv
