// A small download server for tests: a folder served over HTTP on the
// loopback address, with DOWNLOAD_URL pointing at it while it runs.
#pragma once

#include <httplib.h>

#include <filesystem>
#include <string>
#include <thread>

namespace orv::test {

class DownloadServer {
public:
    explicit DownloadServer(const std::filesystem::path& FOLDER);
    ~DownloadServer();
    DownloadServer(const DownloadServer&) = delete;
    DownloadServer& operator=(const DownloadServer&) = delete;
    /// The address of the served folder, ending in a slash.
    [[nodiscard]] std::string base() const;
    /// How many requests came in.
    [[nodiscard]] int requests() const { return requestCount; }

private:
    httplib::Server server;
    std::thread thread;
    int port = 0;
    std::atomic<int> requestCount{0};
};

} // namespace orv::test
