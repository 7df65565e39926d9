// Test support: a fresh temporary folder that becomes the current folder and
// the home of the application data, removed again at the end of the test.
#pragma once

#include <filesystem>
#include <string>

namespace orv::test {

class TempDir {
public:
    /// Makes the folder; with ENTER it becomes the current folder and the
    /// XDG config, data and runtime homes point inside it.
    explicit TempDir(bool ENTER = true);
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::filesystem::path& SUB) const { return path_ / SUB; }

private:
    std::filesystem::path path_;
    std::filesystem::path previous_;
    bool entered_;
};

/// Writes TEXT to PATH, making the folders on the way.
void writeFile(const std::filesystem::path& PATH, const std::string& TEXT);
/// The whole file as text; empty when missing.
std::string readFile(const std::filesystem::path& PATH);
/// The build folder, where the programs lie.
std::filesystem::path buildDir();

} // namespace orv::test
