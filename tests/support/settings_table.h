#pragma once

// A settings table of the test's own, with every key registered at its default.

#include "core/setting_keys.h"
#include "core/settings.h"

namespace skychart::test {

class SettingsTable : public CSettings {
public:
    SettingsTable() { RegisterAll(AllSettingKeys()); }
};

} // namespace skychart::test
