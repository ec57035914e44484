#include "platform/process_alive.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <sys/types.h>

bool IsProcessRunning(unsigned pid) {
    // 0 would address our own process group, and values beyond pid_t would wrap to groups too.
    if (pid == 0 || pid > static_cast<unsigned>(INT_MAX)) {
        return false;
    }
    if (::kill(static_cast<pid_t>(pid), 0) == 0) {
        return true;
    }
    return errno == EPERM;
}
