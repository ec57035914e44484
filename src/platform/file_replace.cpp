#include "platform/file_replace.h"

#include "platform/process_alive.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString kScratchPrefix = QStringLiteral("skychart-scratch-");

// "<prefix><pid>-..." -> the pid; 0 when the name does not continue with one.
unsigned PidAfter(const QString& name, const QString& prefix) {
    if (!name.startsWith(prefix)) {
        return 0;
    }
    const QString rest = name.mid(prefix.size());
    const qsizetype dash = rest.indexOf('-');
    bool ok = false;
    const unsigned pid = rest.left(dash).toUInt(&ok);
    return ok && dash > 0 ? pid : 0;
}

bool WriteAll(int fd, const QByteArray& content) {
    qsizetype at = 0;
    while (at < content.size()) {
        const ssize_t written =
            ::write(fd, content.constData() + at, static_cast<std::size_t>(content.size() - at));
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        at += written;
    }
    return true;
}

void SyncFolder(const QByteArray& folder) {
    const int fd = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

// Where scratch folders go: the user's runtime folder (memory, as a rule, so the syncs QSettings
// makes there cost nothing), else the temporary folder.
QString ScratchBase() {
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return !runtime.isEmpty() && QFileInfo(runtime).isDir() ? runtime : QDir::tempPath();
}

QString LeftoverPrefix(const QString& target) {
    return QFileInfo(target).fileName() + QStringLiteral(".new-");
}

} // namespace

CFolderLock::CFolderLock(const QString& folder) {
    m_fd = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (m_fd < 0) {
        m_error = errno;
        return;
    }
    while (::flock(m_fd, LOCK_EX) != 0) {
        if (errno != EINTR) {
            m_error = errno;
            ::close(m_fd);
            m_fd = -1;
            return;
        }
    }
}

CFolderLock::~CFolderLock() {
    if (m_fd >= 0) {
        ::close(m_fd); // drops the lock
    }
}

QString ReplacedPath(const QString& file) {
    const QFileInfo info(file);
    if (info.isSymLink()) {
        const QString target = info.canonicalFilePath();
        return target.isEmpty() ? info.symLinkTarget() : target;
    }
    return info.absoluteFilePath();
}

bool ReplaceFile(const QString& file, const QByteArray& content, int& error) {
    const QString target = ReplacedPath(file);
    const QByteArray targetName = QFile::encodeName(target);
    const QByteArray folder = QFile::encodeName(QFileInfo(target).absolutePath());
    struct stat existing {};
    const bool exists = ::stat(targetName.constData(), &existing) == 0;

    // An unnamed file vanishes with a killed process; a file system without them gets a named
    // one, which RemoveReplaceLeftovers clears after a kill.
    static std::atomic<int> serial{0};
    const QByteArray temporary =
        targetName + ".new-" + QByteArray::number(::getpid()) + "-" + QByteArray::number(++serial);
    bool named = false;
    int fd = ::open(folder.constData(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666);
    if (fd < 0) {
        named = true;
        fd = ::open(temporary.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0) {
            error = errno;
            return false;
        }
    }
    const auto fail = [&](int code) {
        error = code;
        ::close(fd);
        if (named) {
            ::unlink(temporary.constData());
        }
        return false;
    };
    if (!WriteAll(fd, content)) {
        return fail(errno);
    }
    if (exists && ::fchmod(fd, existing.st_mode & 07777) != 0) {
        return fail(errno);
    }
    if (::fsync(fd) != 0) {
        return fail(errno);
    }
    if (!named) {
        const QByteArray self = "/proc/self/fd/" + QByteArray::number(fd);
        if (::linkat(AT_FDCWD, self.constData(), AT_FDCWD, temporary.constData(),
                     AT_SYMLINK_FOLLOW) != 0) {
            return fail(errno);
        }
        named = true;
    }
    if (::rename(temporary.constData(), targetName.constData()) != 0) {
        return fail(errno);
    }
    ::close(fd);
    SyncFolder(folder);
    error = 0;
    return true;
}

void RemoveReplaceLeftovers(const QString& file) {
    const QString target = ReplacedPath(file);
    const QString prefix = LeftoverPrefix(target);
    const QDir folder = QFileInfo(target).absoluteDir();
    for (const QString& name : folder.entryList({prefix + "*"}, QDir::Files | QDir::Hidden)) {
        const unsigned pid = PidAfter(name, prefix);
        if (pid != 0 && !IsProcessRunning(pid)) {
            QFile::remove(folder.filePath(name));
        }
    }
}

CScratchFolder::CScratchFolder() {
    QByteArray pattern = QFile::encodeName(ScratchBase() + "/" + kScratchPrefix) +
                         QByteArray::number(::getpid()) + "-XXXXXX";
    if (::mkdtemp(pattern.data()) != nullptr) {
        m_path = QFile::decodeName(pattern);
    }
}

CScratchFolder::~CScratchFolder() {
    if (Made()) {
        QDir(m_path).removeRecursively();
    }
}

QString CScratchFolder::NewFile(const QString& suffix) {
    return m_path + "/" + QString::number(++m_files) + suffix;
}

void RemoveStaleScratchFolders() {
    const QDir temp(ScratchBase());
    const uid_t me = ::getuid();
    for (const QString& name : temp.entryList({kScratchPrefix + "*"}, QDir::Dirs | QDir::Hidden)) {
        const unsigned pid = PidAfter(name, kScratchPrefix);
        struct stat info {};
        const QByteArray path = QFile::encodeName(temp.filePath(name));
        if (pid == 0 || IsProcessRunning(pid) || ::lstat(path.constData(), &info) != 0 ||
            info.st_uid != me || !S_ISDIR(info.st_mode)) {
            continue;
        }
        QDir(temp.filePath(name)).removeRecursively();
    }
}
