// Test support: child processes of the end-to-end tests.
#include "tests/e2e/child_process.h"

#include "tests/support/temp_dir.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <thread>

namespace orv::test {

namespace {
constexpr auto stopPoll = std::chrono::milliseconds(20);
}

ChildProcess::ChildProcess(const std::string& PROGRAM, const std::vector<std::string>& ARGS,
                           const std::filesystem::path& FOLDER, const std::filesystem::path& OUTPUT)
{
    const std::string path = (buildDir() / PROGRAM).string();
    std::vector<std::string> args{path};
    args.insert(args.end(), ARGS.begin(), ARGS.end());
    std::vector<char*> argv;
    for (auto& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    const std::string folder = FOLDER.string(), output = OUTPUT.string();
    pid_ = ::fork();
    if (pid_ < 0) throw std::runtime_error("fork failed for " + PROGRAM);
    if (pid_ == 0) {
        // In the child only calls that are safe after fork.
        const int out = ::open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (out >= 0) {
            ::dup2(out, 1);
            ::dup2(out, 2);
        }
        if (::chdir(folder.c_str()) != 0) ::_exit(126);
        ::execv(path.c_str(), argv.data());
        ::_exit(127);
    }
}

ChildProcess::~ChildProcess() { stop(0); }

bool ChildProcess::running()
{
    if (pid_ <= 0) return false;
    int status = 0;
    if (::waitpid(pid_, &status, WNOHANG) != pid_) return true;
    status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    pid_ = -1;
    return false;
}

int ChildProcess::stop(int SECONDS)
{
    if (!running()) return status_;
    ::kill(pid_, SIGTERM);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(SECONDS);
    while (std::chrono::steady_clock::now() < deadline) {
        if (!running()) return status_;
        std::this_thread::sleep_for(stopPoll);
    }
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
    pid_ = -1;
    status_ = -1;
    return status_;
}

} // namespace orv::test
