#pragma once

#include <QMainWindow>

#include <memory>
#include <string>

class CConfigWriterMux;
class CRibbonBar;
class CSettings;
class CStatusPane;
class IPrompt;

// The suite's frame base: the ribbon above, the status bar below (first text "Ready..."), the
// settings table of the application and its mirror, which it publishes to the table when the
// frame is created.
class COrvaneMainFrame : public QMainWindow {
    Q_OBJECT

public:
    COrvaneMainFrame(IPrompt& prompt, CSettings& settings, std::shared_ptr<CConfigWriterMux> writer,
                     QWidget* parent = nullptr);
    ~COrvaneMainFrame() override;

    // The message text of the status bar; written to the log when it changes.
    void SetStatusText(const std::string& text);
    // The whole message text, however much of it the status bar has room for.
    std::string StatusText() const;

    CRibbonBar* Ribbon() const { return m_ribbon; }
    IPrompt& Prompt() const { return m_prompt; }
    CSettings& Settings() const { return m_settings; }

protected:
    // Makes the ribbon and the status bar and publishes the settings mirror.
    bool CreateFrameBase();
    // Adds a pane named `name` and showing it at the right of the status bar, as wide as
    // `widest` needs while the window has room for it.
    CStatusPane* AddStatusPane(const QString& name, const QString& widest);

private:
    IPrompt& m_prompt;
    CSettings& m_settings;
    std::shared_ptr<CConfigWriterMux> m_writer;
    CRibbonBar* m_ribbon = nullptr;
    CStatusPane* m_statusText = nullptr;
};
