#pragma once

#include "feed/feed_connections.h"
#include "feed/feed_platform.h"

#include <memory>

class IFeedFrame;
class IPrompt;

// The feed platform over Qt's event loop: event-driven sockets, the blocking lookup socket, the
// detached start of portico and the ports of Startup.conf.
class CQtFeedPlatform : public IFeedPlatform {
public:
    std::unique_ptr<IPlatformSocket> MakeSocket(IPlatformSocketEvents& events) override;
    std::unique_ptr<IBlockingSocket> MakeBlockingSocket() override;
    bool LaunchConnectionManager(const std::vector<std::string>& arguments,
                                 int& errorCode) override;
    int ReadPort(const std::string& valueName, const std::string& defaultText,
                 int defaultNumber) override;
};

// The frame's feed connections wired to the Qt platform (which they own), launching the service
// with `options`. Call Start() once the frame is ready for the connection events.
std::unique_ptr<CFeedConnections> MakeQtFeedConnections(IFeedFrame& frame, IPrompt& prompt,
                                                        const SServiceOptions& options);
