// Benchmark support: a program folder of its own in the temporary folder,
// made the current folder for the benchmark's life and removed at exit.
#pragma once

#include <filesystem>
#include <string>
#include <system_error>

#include <fmt/format.h>
#include <unistd.h>

namespace orv::bench {

struct WorkFolder {
    std::filesystem::path root;
    std::filesystem::path previous = std::filesystem::current_path();

    explicit WorkFolder(const std::string& NAME)
        : root(std::filesystem::temp_directory_path() / fmt::format("tavo-bench-{}-{}", NAME, ::getpid()))
    {
        std::filesystem::create_directories(root);
        std::filesystem::current_path(root);
    }
    ~WorkFolder()
    {
        std::error_code ignored;
        std::filesystem::current_path(previous, ignored);
        std::filesystem::remove_all(root, ignored);
    }
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;
};

} // namespace orv::bench
