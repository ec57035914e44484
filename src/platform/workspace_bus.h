#pragma once

#include <QObject>
#include <QString>

#include <optional>
#include <string>

// The suite's "save workspace" broadcast, carried as the D-Bus signal KESTREL_SAVE_WORKSPACE on
// the session bus with the workspace name as its one argument. Every running display application
// listens; on the signal it stores the arguments of its current chart under the workspace name.
// Without a session bus the feature is off and the log says so.
class CWorkspaceBus : public QObject {
    Q_OBJECT

public:
    static constexpr const char* kPath = "/org/orvane/Kestrel/Workspaces";
    static constexpr const char* kInterface = "org.orvane.Kestrel.Workspaces";
    static constexpr const char* kSignal = "KESTREL_SAVE_WORKSPACE";

    explicit CWorkspaceBus(QObject* parent = nullptr);

    // Subscribes to the broadcast; false (logged) when there is no session bus.
    bool Listen();
    bool Listening() const { return m_listening; }

    // Sends the broadcast; false (logged) when there is no session bus or the send failed.
    static bool Broadcast(const QString& workspaceName);

signals:
    // Another process (or this one) asked every application to save into `workspaceName`.
    void SaveRequested(const QString& workspaceName);

private slots:
    void OnSignal(const QString& workspaceName);

private:
    bool m_listening = false;
};

// Workspace storage: Workspaces.conf, one group per workspace name, one value per application.
class CWorkspaceStore {
public:
    // Stores `arguments` for `application` under `workspaceName`; false when the file cannot be
    // written.
    static bool Save(const std::string& workspaceName, const std::string& application,
                     const std::string& arguments);
    // The stored arguments; none when the workspace holds nothing for the application.
    static std::optional<std::string> Load(const std::string& workspaceName,
                                           const std::string& application);
};
