// Reading an aircraft.cfg into memory in one go, in whichever of the
// encodings the add-on makers use, and cutting it into lines.
#include "liveries/cfg_scan.h"

#include "core/log.h"
#include "core/text_files.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orv {

namespace {

constexpr std::size_t readStep = 64 * 1024; ///< bytes added when a file is longer than it said

struct FileDescriptor {
    int fd = -1;
    ~FileDescriptor()
    {
        if (fd >= 0) ::close(fd);
    }
};

/// The raw bytes, or nothing (logged) when the file cannot be read. The
/// buffer is sized from the file once; a file that grows while it is read
/// is read on in steps.
std::optional<std::string> lf_readBytes(const std::filesystem::path& PATH)
{
    FileDescriptor file{::open(PATH.c_str(), O_RDONLY | O_CLOEXEC)};
    if (file.fd < 0) {
        gf_detectEncoding(PATH); // says in the log why the file cannot be opened
        return std::nullopt;
    }
    struct stat info {};
    const std::size_t expected = ::fstat(file.fd, &info) == 0 && info.st_size > 0 ? static_cast<std::size_t>(info.st_size) : 0;
    std::string bytes(expected + 1, '\0'); // one more byte shows the end of the file in the first read
    std::size_t filled = 0;
    while (true) {
        if (filled == bytes.size()) bytes.resize(bytes.size() + readStep);
        const auto got = ::read(file.fd, bytes.data() + filled, bytes.size() - filled);
        if (got < 0) {
            if (errno == EINTR) continue;
            gf_log(fmt::format("cannot read file {}, err: {}", PATH.string(), errno));
            return std::nullopt;
        }
        if (got == 0) break;
        filled += static_cast<std::size_t>(got);
    }
    bytes.resize(filled);
    return bytes;
}

} // namespace

std::vector<std::string_view> gf_splitLines(std::string_view TEXT)
{
    std::vector<std::string_view> lines;
    lines.reserve(TEXT.size() / 24 + 16);
    std::size_t start = 0;
    while (start < TEXT.size()) {
        auto end = TEXT.find('\n', start);
        if (end == std::string_view::npos) end = TEXT.size();
        auto line = TEXT.substr(start, end - start);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        lines.push_back(line);
        start = end + 1;
    }
    return lines;
}

std::optional<CfgText> gf_readCfgText(const std::filesystem::path& PATH)
{
    auto bytes = lf_readBytes(PATH);
    if (!bytes) return std::nullopt;
    CfgText cfg;
    cfg.text = std::make_unique<std::string>();
    const auto first = bytes->size() >= 2 ? static_cast<unsigned char>((*bytes)[0]) : 0;
    const auto second = bytes->size() >= 2 ? static_cast<unsigned char>((*bytes)[1]) : 0;
    if (first == 0xFF && second == 0xFE) {
        *cfg.text = gf_utf16ToUtf8(*bytes, false);
    } else if (first == 0xFE && second == 0xFF) {
        *cfg.text = gf_utf16ToUtf8(*bytes, true);
    } else if (first == 0xEF && second == 0xBB) {
        bytes->erase(0, std::min<std::size_t>(3, bytes->size()));
        *cfg.text = std::move(*bytes);
    } else {
        *cfg.text = std::move(*bytes);
    }
    cfg.lines = gf_splitLines(*cfg.text);
    return cfg;
}

} // namespace orv
