#include "platform/application_log.h"

#include "platform/process_alive.h"
#include "platform/startup_store.h"

#include <unistd.h>

SLogResult InitApplicationLog(const std::string& executable, bool console) {
    SLogSetup setup;
    setup.console = console;
    setup.executable = executable;
    setup.folder = CStartupStore::LogPath();
    setup.preserveLogs = CStartupStore::PreserveDisplayAppLogs() != 0;
    setup.pid = static_cast<unsigned>(::getpid());
    setup.isProcessRunning = IsProcessRunning;
    return OpenApplicationLog(setup);
}
