#include "app/ui/orvane_main_frame.h"

#include "app/ui/ribbon_bar.h"
#include "core/app_log.h"
#include "core/settings.h"

#include <QLabel>
#include <QStatusBar>

COrvaneMainFrame::COrvaneMainFrame(IPrompt& prompt, CSettings& settings,
                                   std::shared_ptr<CConfigWriterMux> writer, QWidget* parent)
    : QMainWindow(parent), m_prompt(prompt), m_settings(settings), m_writer(std::move(writer)) {}

COrvaneMainFrame::~COrvaneMainFrame() = default;

bool COrvaneMainFrame::CreateFrameBase() {
    m_ribbon = new CRibbonBar(this);
    setMenuWidget(m_ribbon);

    m_statusText = new QLabel(this);
    m_statusText->setObjectName("StatusText");
    statusBar()->addWidget(m_statusText, 1);
    SetStatusText("Ready...");

    // From now on every change of a persisted setting is stored.
    m_settings.PublishWriter(m_writer);
    return true;
}

QLabel* COrvaneMainFrame::AddStatusPane(const QString& name, int minimumWidth) {
    auto* pane = new QLabel(name, this);
    pane->setObjectName(name);
    pane->setMinimumWidth(minimumWidth);
    pane->setAlignment(Qt::AlignCenter);
    pane->setToolTip(name);
    statusBar()->addPermanentWidget(pane);
    return pane;
}

void COrvaneMainFrame::SetStatusText(const std::string& text) {
    LogStatusBar(text);
    if (m_statusText != nullptr) {
        m_statusText->setText(QString::fromStdString(text));
    }
}

std::string COrvaneMainFrame::StatusText() const {
    return m_statusText != nullptr ? m_statusText->text().toStdString() : std::string();
}
