#pragma once

// True while a process with this id exists: kill(pid, 0) succeeds, or fails only because the
// process belongs to someone else (EPERM). Id 0 and ids beyond the range of pid_t are never
// running processes.
bool IsProcessRunning(unsigned pid);
