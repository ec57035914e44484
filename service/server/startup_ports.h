#pragma once

// The port values that the suite keeps in $XDG_CONFIG_HOME/Orvane/Kestrel/Startup.conf.

namespace portico {

struct StartupPorts {
    int admin = 9300;
    int lookup = 9100;
    int level1 = 5009;
};

// Reads the file without ever writing it; a missing or non-numeric value keeps its default.
StartupPorts ReadStartupPorts();

} // namespace portico
