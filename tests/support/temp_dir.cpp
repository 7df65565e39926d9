// Test support: temporary folders and small file helpers.
#include "tests/support/temp_dir.h"

#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>

#include <unistd.h>

namespace orv::test {

namespace fs = std::filesystem;

TempDir::TempDir(bool ENTER) : entered_(ENTER)
{
    std::random_device random;
    path_ = fs::temp_directory_path() / ("tavo-test-" + std::to_string(::getpid()) + "-" + std::to_string(random()));
    fs::create_directories(path_);
    if (!entered_) return;
    previous_ = fs::current_path();
    fs::current_path(path_);
    for (const auto& [variable, sub] : {std::pair{"XDG_CONFIG_HOME", "home/config"}, std::pair{"XDG_DATA_HOME", "home/data"},
                                        std::pair{"XDG_RUNTIME_DIR", "home/run"}}) {
        fs::create_directories(path_ / sub);
        ::setenv(variable, (path_ / sub).c_str(), 1);
    }
}

TempDir::~TempDir()
{
    std::error_code ignored;
    if (entered_) fs::current_path(previous_, ignored);
    fs::remove_all(path_, ignored);
}

void writeFile(const fs::path& PATH, const std::string& TEXT)
{
    if (PATH.has_parent_path()) fs::create_directories(PATH.parent_path());
    std::ofstream file(PATH, std::ios::binary | std::ios::trunc);
    file << TEXT;
}

std::string readFile(const fs::path& PATH)
{
    std::ifstream file(PATH, std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

fs::path buildDir()
{
    const char* set = std::getenv("TAVO_BUILD_DIR");
    // Outside ctest: the test programs lie in the build folder itself.
    return set != nullptr ? fs::path(set) : fs::read_symlink("/proc/self/exe").parent_path();
}

} // namespace orv::test
