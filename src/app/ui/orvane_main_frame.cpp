#include "app/ui/orvane_main_frame.h"

#include "app/ui/ribbon_bar.h"
#include "app/ui/status_pane.h"
#include "core/app_log.h"
#include "core/settings.h"

#include <QStatusBar>

COrvaneMainFrame::COrvaneMainFrame(IPrompt& prompt, CSettings& settings,
                                   std::shared_ptr<CConfigWriterMux> writer, QWidget* parent)
    : QMainWindow(parent), m_prompt(prompt), m_settings(settings), m_writer(std::move(writer)) {}

COrvaneMainFrame::~COrvaneMainFrame() = default;

bool COrvaneMainFrame::CreateFrameBase() {
    m_ribbon = new CRibbonBar(this);
    setMenuWidget(m_ribbon);

    // The message takes whatever room the panes leave.
    m_statusText = new CStatusPane(QString(), QStringLiteral("Ready..."), this);
    m_statusText->setObjectName("StatusText");
    statusBar()->addWidget(m_statusText, 1);
    SetStatusText("Ready...");

    // From now on every change of a persisted setting is stored.
    m_settings.PublishWriter(m_writer);
    return true;
}

CStatusPane* COrvaneMainFrame::AddStatusPane(const QString& name, const QString& widest) {
    auto* pane = new CStatusPane(name, widest, this);
    pane->setObjectName(name);
    pane->setAlignment(Qt::AlignCenter);
    statusBar()->addPermanentWidget(pane);
    return pane;
}

void COrvaneMainFrame::SetStatusText(const std::string& text) {
    if (m_statusText == nullptr || m_statusText->SetText(QString::fromStdString(text))) {
        LogStatusBar(text);
    }
}

std::string COrvaneMainFrame::StatusText() const {
    return m_statusText != nullptr ? m_statusText->text().toStdString() : std::string();
}
