// The main frame's trendlines: the "Draw" ribbon category, the chart menu's commands, the
// prompts in the status line, and the store the trendlines of every chart are kept in.

#include "app/ui/main_frame.h"
#include "app/ui/ribbon_bar.h"
#include "chart/ui/chart_canvas.h"
#include "chart/ui/chart_form_view.h"
#include "trend/trend_style.h"
#include "trend/ui/chart_trendlines.h"

#include <QGroupBox>
#include <QMenu>
#include <QToolButton>

void CMainFrame::UseTrendStore(CTrendStore& store, std::function<void()> save) {
    m_trendStore = &store;
    m_saveTrendlines = std::move(save);
}

void CMainFrame::ShowPrompt(const std::string& text) {
    m_prompting = !text.empty();
    SetStatusText(text);
}

void CMainFrame::MakeTrendlines() {
    if (m_trendStore == nullptr) {
        m_ownTrendStore = std::make_unique<CTrendStore>();
        m_trendStore = m_ownTrendStore.get();
    }
    CChartCanvas& canvas = m_view->Canvas();
    m_trendlines =
        new CChartTrendlines(canvas, m_history, Prompt(), *m_trendStore, m_saveTrendlines, this);
    m_trendlines->SetPromptSink([this](const std::string& text) { ShowPrompt(text); });
    m_trendlines->ApplyStyles(ReadTrendStyles(Settings()));
    canvas.AddMenuExtender([this](QMenu& menu, int pane) {
        if (pane == 0) {
            menu.addSeparator();
            m_trendlines->AddCommands(menu, [this] { OpenTrendlineSettings(); });
        }
    });
    connect(m_view, &CChartFormView::historyShown, this, [this] {
        const CChartLoader& loader = m_view->Loader();
        m_trendlines->ShowChart({loader.Symbol(), loader.DataType()});
    });

    QWidget* category = Ribbon()->AddCategory("Draw");
    QGroupBox* panel = Ribbon()->AddPanel(category, "Trendlines");
    QToolButton* draw = Ribbon()->AddButton(panel, "Draw Trendlines", "DrawTrendlinesButton");
    draw->setPopupMode(QToolButton::InstantPopup);
    auto* kinds = new QMenu(draw);
    kinds->setObjectName("DrawTrendlinesMenu");
    for (const STrendKindInfo& info : TrendKindTable()) {
        kinds->addAction(info.menuText, this,
                         [this, kind = info.kind] { m_trendlines->StartDrawing(kind); });
    }
    draw->setMenu(kinds);
    connect(Ribbon()->AddButton(panel, "Delete Trendline..", "DeleteTrendlineButton"),
            &QToolButton::clicked, this, [this] { m_trendlines->StartDeleting(); });
    connect(Ribbon()->AddButton(panel, "Delete All Trendlines", "DeleteAllTrendlinesButton"),
            &QToolButton::clicked, this, [this] { m_trendlines->DeleteAll(); });
    connect(Ribbon()->AddButton(panel, "Trendlines...", "TrendlineSettingsButton"),
            &QToolButton::clicked, this, [this] { OpenTrendlineSettings(); });
    Ribbon()->FinishCategory(category);
}
