// Test support: a program of the build folder as a child process; a real
// tavo-sim on free loopback ports with its control channel, its state and its
// recording; and a SimConnect.cfg that points the client library at it.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace orv::test {

/// A loopback port that nobody listens on right now.
std::uint16_t freePort();

/// Starts the build folder's PROGRAM with ARGS, its standard output into OUTPUT when one is given; its pid.
int gf_startProgram(const std::string& PROGRAM, const std::vector<std::string>& ARGS,
                    const std::filesystem::path& OUTPUT = {});
/// SIGTERM to PID when TERMINATE, then waits for it; its exit status, -1 after a signal or without a PID.
int gf_endProgram(int PID, bool TERMINATE = true);

class SimProcess {
public:
    /// Starts tavo-sim with ARGS plus --port (PORT, or a free one), --view-port and, when RECORD is set,
    /// --record into FOLDER; waits until its view answers.
    SimProcess(const std::filesystem::path& FOLDER, std::vector<std::string> ARGS, bool RECORD = true,
               std::uint16_t PORT = 0);
    ~SimProcess() { stop(); }
    SimProcess(const SimProcess&) = delete;
    SimProcess& operator=(const SimProcess&) = delete;

    /// POST /api/PATH with QUERY ("a=1&b=2"); the answer's body, throws on failure.
    std::string control(const std::string& PATH, const std::string& QUERY = "");
    nlohmann::json state();
    /// Every whole line of the recording so far, parsed.
    std::vector<nlohmann::json> recording() const;
    /// Ends the process with SIGTERM and waits; its exit status (-1 when it was ended already).
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
