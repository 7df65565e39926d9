// Test support: a real tavo-sim process on free loopback ports, its control
// channel, its state and its recording; and a SimConnect.cfg that points the
// client library at it.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace orv::test {

/// A loopback port that nobody listens on right now.
std::uint16_t freePort();

class SimProcess {
public:
    /// Starts build/tavo-sim with ARGS plus --port (PORT, or a free one),
    /// --view-port and, when RECORD is set, --record into FOLDER; waits until
    /// its view answers.
    SimProcess(const std::filesystem::path& FOLDER, std::vector<std::string> ARGS, bool RECORD = true,
               std::uint16_t PORT = 0);
    /// SIGTERM, then waits for the process.
    ~SimProcess();
    SimProcess(const SimProcess&) = delete;
    SimProcess& operator=(const SimProcess&) = delete;

    std::uint16_t port() const { return port_; }
    std::uint16_t viewPort() const { return viewPort_; }
    const std::filesystem::path& recordPath() const { return record_; }

    /// POST /api/PATH with QUERY ("a=1&b=2"); the answer's body, throws on failure.
    std::string control(const std::string& PATH, const std::string& QUERY = "");
    nlohmann::json state();
    /// Every line of the recording so far, parsed.
    std::vector<nlohmann::json> recording() const;
    /// Ends the process with SIGTERM and waits; answers its exit status.
    int stop();
    /// Writes SimConnect.cfg into FOLDER naming this simulator's port.
    void writeConfig(const std::filesystem::path& FOLDER) const;

private:
    int pid_ = -1;
    std::uint16_t port_ = 0;
    std::uint16_t viewPort_ = 0;
    std::filesystem::path record_;
};

/// Lines of KIND out of a recording.
std::vector<nlohmann::json> linesOf(const std::vector<nlohmann::json>& LINES, const std::string& KIND);

} // namespace orv::test
