// Test support: starting programs of the build folder, and steering tavo-sim.
#include "tests/standin/sim_process.h"

#include "tests/support/temp_dir.h"

#include <httplib.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <stdexcept>
#include <thread>
#include <utility>

namespace orv::test {

std::uint16_t freePort()
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr);
    socklen_t len = sizeof addr;
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len);
    ::close(fd);
    return ntohs(addr.sin_port);
}

int gf_startProgram(const std::string& PROGRAM, const std::vector<std::string>& ARGS,
                    const std::filesystem::path& OUTPUT)
{
    const std::string path = (buildDir() / PROGRAM).string();
    std::vector<char*> argv{const_cast<char*>(path.c_str())};
    for (const auto& a : ARGS) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    const int pid = ::fork();
    if (pid == 0) {
        if (const int fd = OUTPUT.empty() ? -1 : ::open(OUTPUT.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644); fd >= 0)
            ::dup2(fd, STDOUT_FILENO);
        ::execv(path.c_str(), argv.data());
        ::_exit(127);
    }
    return pid;
}

int gf_endProgram(int PID, bool TERMINATE)
{
    if (PID <= 0) return -1;
    if (TERMINATE) ::kill(PID, SIGTERM);
    int status = 0;
    ::waitpid(PID, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
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
    pid_ = gf_startProgram("tavo-sim", ARGS);
    // A starting simulator may take this long before the test gives up on it.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    httplib::Client client("127.0.0.1", viewPort_);
    for (int status = 0; std::chrono::steady_clock::now() < deadline;) {
        if (auto res = client.Get("/api/state"); res && res->status == 200) return;
        if (::waitpid(pid_, &status, WNOHANG) == pid_) {
            pid_ = -1;
            throw std::runtime_error("tavo-sim ended at start");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    stop();
    throw std::runtime_error("tavo-sim did not come up");
}

int SimProcess::stop() { return gf_endProgram(std::exchange(pid_, -1)); }

std::string SimProcess::control(const std::string& PATH, const std::string& QUERY)
{
    const std::string target = "/api/" + PATH + (QUERY.empty() ? "" : "?" + QUERY);
    auto res = httplib::Client("127.0.0.1", viewPort_).Post(target);
    if (!res) throw std::runtime_error("control: no answer to " + target);
    if (res->status != 200) throw std::runtime_error("control: " + target + ": " + res->body);
    return res->body;
}

nlohmann::json SimProcess::state()
{
    auto res = httplib::Client("127.0.0.1", viewPort_).Get("/api/state");
    if (!res || res->status != 200) throw std::runtime_error("state: no answer");
    return nlohmann::json::parse(res->body);
}

std::vector<nlohmann::json> SimProcess::recording() const
{
    std::vector<nlohmann::json> lines;
    std::ifstream in(record_);
    for (std::string line; std::getline(in, line);) {
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
