// A small reader of zip archives over libzip: open, list the entries, read
// one as text or into a stream. Entries that must not be written to disk
// (names that climb out of their folder, absolute names, links) are told
// apart by gf_entryRefusal, which every writer of entries asks first.
#pragma once

#include <cstdint>
#include <optional>
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
    static constexpr int errorTooLarge = -4;

    /// The most bytes one entry may unpack to: a sane bound for any document
    /// of ours, far below what a forged or broken archive may claim.
    static constexpr std::uint64_t maxEntryBytes = std::uint64_t{256} << 20;

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
    /// The whole entry as text; nothing when it cannot be opened or read to
    /// its end, or unpacks to more than LIMIT bytes. The size the archive
    /// claims is only a hint: it never decides what is reserved.
    [[nodiscard]] std::optional<std::string> readAsText(const ZipEntry& ENTRY, State STATE = Current,
                                                        std::uint64_t LIMIT = maxEntryBytes) const;
    /// Copies the whole entry into OUT in chunks; one of the result codes
    /// above (errorTooLarge past LIMIT bytes).
    int readContent(const ZipEntry& ENTRY, std::ostream& OUT, State STATE = Current,
                    std::uint64_t LIMIT = maxEntryBytes) const;

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
