// Test support: a program of the build folder run as a child process in a
// folder of its own, ended with SIGTERM like a user's Ctrl-C.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace orv::test {

class ChildProcess {
public:
    /// Starts PROGRAM (a file of the build folder) with ARGS in FOLDER; its
    /// output goes to OUTPUT. The environment is the test's own.
    ChildProcess(const std::string& PROGRAM, const std::vector<std::string>& ARGS, const std::filesystem::path& FOLDER,
                 const std::filesystem::path& OUTPUT);
    /// Ends it when it still runs.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    bool running();
    /// SIGTERM, then up to SECONDS for it to end, then SIGKILL. The exit
    /// status; -1 when it had to be killed or was gone already.
    int stop(int SECONDS);

private:
    int pid_ = -1;
    int status_ = -1;
};

} // namespace orv::test
