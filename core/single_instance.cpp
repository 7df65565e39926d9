// The single-instance lock, an exclusive advisory lock on a file.
#include "core/single_instance.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdlib>

namespace orv {

namespace {
int lockFd = -1; ///< the open lock file while we hold it
}

std::filesystem::path gf_instanceLockPath()
{
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    const std::filesystem::path folder =
        runtime != nullptr && *runtime != '\0' ? std::filesystem::path(runtime) : std::filesystem::temp_directory_path();
    return folder / "TAVOTraffic.lock";
}

bool gf_acquireSingleInstance()
{
    if (lockFd >= 0) return true;
    const int fd = ::open(gf_instanceLockPath().c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) return false;
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        ::close(fd);
        return false;
    }
    lockFd = fd;
    return true;
}

void gf_releaseSingleInstance()
{
    if (lockFd < 0) return;
    ::flock(lockFd, LOCK_UN);
    ::close(lockFd);
    lockFd = -1;
}

} // namespace orv
