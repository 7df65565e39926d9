// Test support: starting and steering a tavo-sim process.
#include "tests/standin/sim_process.h"

#include "tests/support/temp_dir.h"

#include <httplib.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace orv::test {
namespace {

/// How long a starting simulator may take before the test gives up on it.
constexpr auto kStartLimit = std::chrono::seconds(20);
constexpr auto kStartPoll = std::chrono::milliseconds(20);
constexpr int kHttpOk = 200;

} // namespace

std::uint16_t freePort()
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    addr.sin_port = 0;
    ::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr);
    socklen_t len = sizeof addr;
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len);
    ::close(fd);
    return ntohs(addr.sin_port);
}

SimProcess::SimProcess(const std::filesystem::path& FOLDER, std::vector<std::string> ARGS, bool RECORD,
                       std::uint16_t PORT)
{
    port_ = PORT != 0 ? PORT : freePort();
    do viewPort_ = freePort();
    while (viewPort_ == port_);
    ARGS.insert(ARGS.end(), {"--port", std::to_string(port_), "--view-port", std::to_string(viewPort_)});
    if (RECORD) {
        record_ = FOLDER / "sim-recording.jsonl";
        ARGS.insert(ARGS.end(), {"--record", record_.string()});
    }
    const std::string program = (buildDir() / "tavo-sim").string();
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(program.c_str()));
    for (auto& a : ARGS) argv.push_back(a.data());
    argv.push_back(nullptr);
    pid_ = ::fork();
    if (pid_ == 0) {
        ::execv(program.c_str(), argv.data());
        ::_exit(127);
    }
    const auto deadline = std::chrono::steady_clock::now() + kStartLimit;
    httplib::Client client("127.0.0.1", viewPort_);
    while (std::chrono::steady_clock::now() < deadline) {
        if (auto res = client.Get("/api/state"); res && res->status == kHttpOk) return;
        int status = 0;
        if (::waitpid(pid_, &status, WNOHANG) == pid_) {
            pid_ = -1;
            throw std::runtime_error("tavo-sim ended at start");
        }
        std::this_thread::sleep_for(kStartPoll);
    }
    stop();
    throw std::runtime_error("tavo-sim did not come up");
}

SimProcess::~SimProcess() { stop(); }

int SimProcess::stop()
{
    if (pid_ <= 0) return -1;
    ::kill(pid_, SIGTERM);
    int status = 0;
    ::waitpid(pid_, &status, 0);
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string SimProcess::control(const std::string& PATH, const std::string& QUERY)
{
    httplib::Client client("127.0.0.1", viewPort_);
    const std::string target = "/api/" + PATH + (QUERY.empty() ? "" : "?" + QUERY);
    auto res = client.Post(target.c_str());
    if (!res) throw std::runtime_error("control: no answer to " + target);
    if (res->status != kHttpOk) throw std::runtime_error("control: " + target + ": " + res->body);
    return res->body;
}

nlohmann::json SimProcess::state()
{
    httplib::Client client("127.0.0.1", viewPort_);
    auto res = client.Get("/api/state");
    if (!res || res->status != kHttpOk) throw std::runtime_error("state: no answer");
    return nlohmann::json::parse(res->body);
}

std::vector<nlohmann::json> SimProcess::recording() const
{
    std::vector<nlohmann::json> lines;
    std::ifstream in(record_);
    std::string line;
    while (std::getline(in, line)) {
        // The simulator may be in the middle of its last line; only whole ones count.
        auto parsed = nlohmann::json::parse(line, nullptr, false);
        if (!parsed.is_discarded()) lines.push_back(std::move(parsed));
    }
    return lines;
}

void SimProcess::writeConfig(const std::filesystem::path& FOLDER) const
{
    writeFile(FOLDER / "SimConnect.cfg",
              "[SimConnect]\nProtocol=IPv4\nAddress=127.0.0.1\nPort=" + std::to_string(port_) + "\n");
}

std::vector<nlohmann::json> linesOf(const std::vector<nlohmann::json>& LINES, const std::string& KIND)
{
    std::vector<nlohmann::json> out;
    for (const auto& l : LINES)
        if (l.value("kind", "") == KIND) out.push_back(l);
    return out;
}

} // namespace orv::test
