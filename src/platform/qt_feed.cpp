#include "platform/qt_feed.h"

#include "platform/blocking_socket.h"
#include "platform/process_launcher.h"
#include "platform/qt_stream_socket.h"
#include "platform/startup_store.h"

namespace {

// Holds the platform so that it is made before, and outlives, the connections using it.
struct SQtFeedPlatformHolder {
    CQtFeedPlatform platform;
};

class CQtFeedConnections : private SQtFeedPlatformHolder, public CFeedConnections {
public:
    CQtFeedConnections(IFeedFrame& frame, IPrompt& prompt)
        : SQtFeedPlatformHolder(), CFeedConnections(frame, prompt, platform) {}
};

} // namespace

std::unique_ptr<IPlatformSocket> CQtFeedPlatform::MakeSocket(IPlatformSocketEvents& events) {
    return std::make_unique<CQtStreamSocket>(events);
}

std::unique_ptr<IBlockingSocket> CQtFeedPlatform::MakeBlockingSocket() {
    return std::make_unique<CBlockingSocket>();
}

bool CQtFeedPlatform::LaunchConnectionManager(const std::vector<std::string>& arguments,
                                              int& errorCode) {
    return CProcessLauncher::LaunchConnectionManager(arguments, errorCode, nullptr,
                                                     CStartupStore::LogPath());
}

int CQtFeedPlatform::ReadPort(const std::string& valueName, const std::string& defaultText,
                              int defaultNumber) {
    return CStartupStore::ReadPort(valueName, defaultText, defaultNumber);
}

std::unique_ptr<CFeedConnections> MakeQtFeedConnections(IFeedFrame& frame, IPrompt& prompt,
                                                        const SServiceOptions& options) {
    auto connections = std::make_unique<CQtFeedConnections>(frame, prompt);
    connections->SetServiceOptions(options);
    return connections;
}
