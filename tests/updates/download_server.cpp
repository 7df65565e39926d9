// The test download server.
#include "tests/updates/download_server.h"

#include "core/parameters.h"

#include <chrono>
#include <stdexcept>

namespace orv::test {

DownloadServer::DownloadServer(const std::filesystem::path& FOLDER)
{
    std::filesystem::create_directories(FOLDER);
    server.set_mount_point("/downloads", FOLDER.string());
    server.set_logger([this](const httplib::Request&, const httplib::Response&) { ++requestCount; });
    port = server.bind_to_any_port("127.0.0.1");
    if (port <= 0) throw std::runtime_error("test download server cannot bind");
    thread = std::thread([this] { server.listen_after_bind(); });
    while (!server.is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    DOWNLOAD_URL.value = base();
}

DownloadServer::~DownloadServer()
{
    server.stop();
    thread.join();
    DOWNLOAD_URL.value = DOWNLOAD_URL.defaultValue;
}

std::string DownloadServer::base() const { return "http://127.0.0.1:" + std::to_string(port) + "/downloads/"; }

} // namespace orv::test
