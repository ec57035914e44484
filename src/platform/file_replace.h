#pragma once

// Whole-file replacement that a kill at any moment cannot tear: a file is either as it was or
// holds all of its new bytes, and no lock or half-written file is left behind beside it.

#include <QByteArray>
#include <QString>

// An exclusive flock on a folder, held while the object lives. The kernel drops it when the
// descriptor closes, also when the process is killed, so nothing has to be cleaned up after a
// crash and a dead holder never blocks anyone. No file is made for it.
class CFolderLock {
public:
    // Waits until the lock is held, or fails (Locked() false, Error() set).
    explicit CFolderLock(const QString& folder);
    ~CFolderLock();
    CFolderLock(const CFolderLock&) = delete;
    CFolderLock& operator=(const CFolderLock&) = delete;

    bool Locked() const { return m_fd >= 0; }
    int Error() const { return m_error; }

private:
    int m_fd = -1;
    int m_error = 0;
};

// The file a write of `file` changes: the file a symbolic link leads to, else `file` itself.
QString ReplacedPath(const QString& file);

// Replaces `file` with `content`: the bytes go to a file of their own in the same folder, which
// is synced to disk and then renamed over `file`; the folder is synced after. An existing file's
// permissions are kept. False, with `error` set to an errno-style code, when `file` is unchanged.
bool ReplaceFile(const QString& file, const QByteArray& content, int& error);

// Removes what a killed run may leave beside `file` during ReplaceFile (the new bytes under a
// temporary name, for the instant between linking and renaming them) when the run that made it
// no longer exists.
void RemoveReplaceLeftovers(const QString& file);

// A folder of the process's own in $XDG_RUNTIME_DIR (or the temporary folder), for files that only
// this process reads or writes (QSettings parses and writes a copy here, with its lock beside the
// copy). Removed with its content when the object goes away; RemoveStaleScratchFolders removes
// those of runs that were killed.
class CScratchFolder {
public:
    CScratchFolder();
    ~CScratchFolder();
    CScratchFolder(const CScratchFolder&) = delete;
    CScratchFolder& operator=(const CScratchFolder&) = delete;

    bool Made() const { return !m_path.isEmpty(); }
    // A path for a file in the folder: a new name on every call.
    QString NewFile(const QString& suffix);

private:
    QString m_path;
    int m_files = 0;
};

// Removes the scratch folders whose process no longer exists.
void RemoveStaleScratchFolders();
