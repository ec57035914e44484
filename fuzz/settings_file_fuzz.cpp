// The settings file: Skychart.conf read into the settings table at start. Input: one mode byte,
// then the bytes of the file, which is written to a fresh temporary file for every input (the
// loader only reads files). Mode bit 0 loads as the application does (an unreadable file is set
// aside) and then saves two settings through the mirror; clear, the file is loaded read-only as
// the export mode does. Beyond not crashing: an unreadable file gives every key its default, a
// read-only load leaves the file as it was, every typed read works on whatever the file held, and
// what the application writes into a file it read comes back unchanged and leaves the file
// readable.

#include "fuzz_support.h"
#include "quiet_logs.h"

#include "core/prompt.h"
#include "core/setting_keys.h"
#include "core/settings.h"
#include "platform/config_writer.h"

#include <QString>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using skychart::fuzz::Check;
using skychart::fuzz::SilentPrompt;

constexpr std::size_t kMaxFile = 64 * 1024;

// One folder per process, removed at exit; every input gets a file name of its own, because
// QSettings keeps parsed files by name and by a time stamp of millisecond resolution.
class TempFolder {
public:
    TempFolder() {
        // Memory-backed when there is such a file system: every saved setting is synced.
        std::error_code error;
        const fs::path base = fs::is_directory("/dev/shm", error) && ::access("/dev/shm", W_OK) == 0
                                  ? fs::path("/dev/shm")
                                  : fs::temp_directory_path(error);
        m_path = base / ("skychart-settings-fuzz-" + std::to_string(::getpid()));
        fs::create_directories(m_path, error);
    }
    ~TempFolder() {
        std::error_code error;
        fs::remove_all(m_path, error);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const fs::path& Path() const { return m_path; }

private:
    fs::path m_path;
};

const fs::path& Folder() {
    static const TempFolder folder;
    return folder.Path();
}

std::string Contents(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// Every key has its default or what the file held; the typed reads take whatever the file held.
void ReadEveryKey(const CSettings& settings, bool usedDefaults) {
    for (const SSettingKey& key : AllSettingKeys()) {
        const std::string value = settings.GetText(key.key);
        if (value == key.defaultValue) {
            continue;
        }
        Check(!usedDefaults, "an unreadable file gives the defaults", key.key);
        (void)settings.GetInt(key.key);
        (void)settings.GetNumber(key.key);
        (void)settings.GetUnsigned(key.key);
        (void)settings.GetList(key.key);
    }
}

// Saves two settings the way the frame does and reads them back from the file.
void SaveAndReadBack(CSettings& settings, const QString& file) {
    const std::string symbol = settings.GetText(keys::kCurrentSymbol) + "X";
    Check(settings.SetText(keys::kCurrentSymbol, symbol), "a known key can be set");
    std::vector<std::string> symbols = settings.GetList(keys::kSymbols);
    symbols.insert(symbols.begin(), symbol);
    SilentPrompt prompt;
    Check(settings.SaveList(keys::kSymbols, symbols, &prompt), "a list is saved", symbol);

    const std::string problem = SettingsFileProblem(file);
    Check(problem.empty(), "a file the application wrote can be read", problem);
    CConfigWriter reader(file);
    Check(reader.Read(keys::kCurrentSymbol, "") == symbol, "a saved text comes back unchanged",
          symbol);
    Check(reader.Read(keys::kSymbols, "") == settings.GetText(keys::kSymbols),
          "a saved list comes back unchanged", settings.GetText(keys::kSymbols));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    skychart::fuzz::QuietLogs();
    static unsigned long inputNumber = 0;
    skychart::fuzz::InputCursor input(data, size);
    const bool application = (input.Byte() & 1) != 0;
    std::string_view bytes = input.Rest();
    if (bytes.size() > kMaxFile) {
        bytes = bytes.substr(0, kMaxFile);
    }

    const fs::path path = Folder() / ("Skychart-" + std::to_string(++inputNumber) + ".conf");
    {
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        Check(static_cast<bool>(out), "the temporary file is written");
    }
    const QString file = QString::fromStdString(path.string());
    const bool readable = SettingsFileProblem(file).empty();

    CSettings settings;
    SilentPrompt prompt;
    const SSettingsLoad load = LoadApplicationSettings(settings, prompt, file,
                                                       application ? ESettingsAccess::ReadWrite
                                                                   : ESettingsAccess::ReadOnly);
    Check(load.usedDefaults == !readable, "only an unreadable file gives the defaults");
    Check((prompt.errors == 1) == !readable, "the user hears once of an unreadable file");
    ReadEveryKey(settings, load.usedDefaults);
    if (!application) {
        Check(Contents(path) == bytes, "a read-only load leaves the file as it was");
    } else if (readable) {
        settings.PublishWriter(load.writer);
        SaveAndReadBack(settings, file);
    } else {
        Check(!load.setAside.isEmpty() && !fs::exists(path), "an unreadable file is set aside");
    }

    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(Folder(), error)) {
        fs::remove(entry.path(), error);
    }
    return 0;
}
