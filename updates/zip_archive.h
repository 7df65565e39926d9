// A small reader of zip archives over libzip: open, list the entries, read
// one as text or into a stream. Entries that must not be written to disk
// (names that climb out of their folder, absolute names, links) are told
// apart by gf_entryRefusal, which every writer of entries asks first.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

struct zip;

namespace orv {

/// One entry of an open archive, as listed.
struct ZipEntry {
    std::string name;
    std::uint64_t index = 0;
    std::uint64_t size = 0; ///< bytes, uncompressed
    bool link = false;      ///< stored as a symbolic link (Unix attributes)

    /// A folder entry: its name ends in '/'.
    [[nodiscard]] bool isDirectory() const { return !name.empty() && name.back() == '/'; }
};

class ZipArchive {
public:
    enum class Encryption { None };
    enum OpenMode { ReadOnly };
    enum State { Current, Original };

    /// Result codes of readContent.
    static constexpr int ok = 0;
    static constexpr int errorOpenFile = -1;
    static constexpr int errorRead = -2;
    static constexpr int errorWrite = -3;

    explicit ZipArchive(std::string PATH, std::string PASSWORD = {}, Encryption ENCRYPTION = Encryption::None);
    ~ZipArchive();
    ZipArchive(const ZipArchive&) = delete;
    ZipArchive& operator=(const ZipArchive&) = delete;

    /// Opens the archive; false when it is missing or not a zip archive.
    bool open(OpenMode MODE = ReadOnly, bool CHECK_CONSISTENCY = false);
    void close();
    [[nodiscard]] bool isOpen() const { return archive != nullptr; }
    [[nodiscard]] const std::string& path() const { return archivePath; }

    /// Every entry, in archive order; empty when not open.
    [[nodiscard]] std::vector<ZipEntry> getEntries(State STATE = Current) const;
    /// The whole entry as text; empty text when it cannot be read.
    [[nodiscard]] std::string readAsText(const ZipEntry& ENTRY, State STATE = Current) const;
    /// Copies the whole entry into OUT; one of the result codes above.
    int readContent(const ZipEntry& ENTRY, std::ostream& OUT, State STATE = Current) const;

private:
    std::string archivePath;
    std::string password;
    zip* archive = nullptr;
};

/// Why an entry must not be written out: empty text when it may. Refused are
/// links, absolute names (a leading slash or backslash, a drive letter) and
/// names with a ".." part, with either separator.
std::string gf_entryRefusal(const ZipEntry& ENTRY);

} // namespace orv
