#include "trend/ui/trend_file.h"

#include "core/prompt.h"
#include "platform/config_writer.h"
#include "platform/registry_paths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <spdlog/spdlog.h>

#include <cstring>

namespace {

// A file this large was not written by this program; it is not read into memory.
constexpr qint64 kMaxFileSize = 8 * 1024 * 1024;

std::string ToStd(const QString& text) {
    return text.toStdString();
}

} // namespace

QString CTrendFile::DefaultPath() {
    return QFileInfo(CRegistryPaths::ApplicationFile(QStringLiteral("Skychart"))).path() + "/" +
           kFileName;
}

CTrendFile::CTrendFile(QString path) : m_path(std::move(path)) {}

std::string CTrendFile::Problem(std::string& text) const {
    const QFileInfo info(m_path);
    if (!info.exists() && !info.isSymLink()) {
        return {};
    }
    if (!info.isFile()) {
        return "it is not a regular file";
    }
    if (info.size() > kMaxFileSize) {
        return "it is larger than " + std::to_string(kMaxFileSize / 1024 / 1024) + " MiB";
    }
    QFile reading(m_path);
    if (!reading.open(QIODevice::ReadOnly)) {
        return "it cannot be opened: " + ToStd(reading.errorString());
    }
    const QByteArray content = reading.read(kMaxFileSize + 1);
    if (reading.error() != QFileDevice::NoError) {
        return "it cannot be read: " + ToStd(reading.errorString());
    }
    text = content.toStdString();
    return {};
}

CTrendStore CTrendFile::Load(IPrompt& prompt, bool readOnly) {
    m_setAside.clear();
    m_refuseWrites = readOnly;
    std::string text;
    std::string problem = Problem(text);
    if (problem.empty()) {
        if (std::optional<CTrendStore> store = CTrendStore::Read(text, problem)) {
            spdlog::info("Trendlines of {} charts read from {}", store->Charts().size(),
                         ToStd(m_path));
            return std::move(*store);
        }
    }

    const std::string told =
        "The trendline file\n" + ToStd(m_path) + "\ncould not be read (" + problem + ")";
    if (readOnly) {
        spdlog::error("Trendline file {} cannot be read ({}); left as it is", ToStd(m_path),
                      problem);
        prompt.Error(kCaption, told + ".\n\nNo stored trendlines are shown and the file is left "
                                      "as it is.");
        return {};
    }
    int error = 0;
    m_setAside = SetAsideUnreadableFile(m_path, error);
    if (!m_setAside.isEmpty()) {
        spdlog::error("Trendline file {} cannot be read ({}); moved to {}", ToStd(m_path), problem,
                      ToStd(m_setAside));
        prompt.Error(kCaption, told + ".\n\nIt has been kept as\n" + ToStd(m_setAside) +
                                   "\nand the charts start without stored trendlines.");
        return {};
    }
    // The damaged file stays where it is and must not be overwritten.
    m_refuseWrites = true;
    spdlog::error("Trendline file {} cannot be read ({}) nor moved aside ({}); trendlines are "
                  "not saved",
                  ToStd(m_path), problem, std::strerror(error));
    prompt.Error(kCaption, told + " and could not be moved aside (" + std::strerror(error) +
                               ").\n\nThe charts start without stored trendlines, and trendlines "
                               "are not saved until the file is repaired or removed.");
    return {};
}

bool CTrendFile::Save(const CTrendStore& store) {
    if (m_refuseWrites) {
        spdlog::error("Trendlines not saved: {} is only read", ToStd(m_path));
        return false;
    }
    const QString folder = QFileInfo(m_path).path();
    if (!QDir().mkpath(folder)) {
        spdlog::error("Trendlines not saved: the folder {} cannot be made", ToStd(folder));
        return false;
    }
    const std::string text = store.Write();
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly) ||
        file.write(text.data(), static_cast<qint64>(text.size())) !=
            static_cast<qint64>(text.size()) ||
        !file.commit()) {
        spdlog::error("Trendlines not saved to {}: {}", ToStd(m_path), ToStd(file.errorString()));
        return false;
    }
    return true;
}
