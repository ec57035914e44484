// Compare symbols in the chart view: the pane menu's commands, the stored list and the redraw.

#include "chart/compare_series.h"
#include "chart/ui/chart_canvas.h"
#include "chart/ui/chart_form_view.h"
#include "core/prompt.h"
#include "core/setting_keys.h"
#include "core/settings.h"

#include <QMenu>

#include <algorithm>

#include <spdlog/spdlog.h>

namespace {

constexpr const char* kCompareCaption = "Compare Symbol";

} // namespace

void CChartFormView::CompareChanged() {
    m_settings.SetText(keys::kCompareSymbols, JoinCompareSymbols(m_compare.Symbols()));
    m_canvas->ResetYRange();
    m_canvas->RedrawAll();
}

std::string CChartFormView::CompareSymbol(const std::string& symbol) {
    const std::string refused = m_compare.Add(symbol, Symbol(), !Symbol().empty());
    if (!refused.empty()) {
        spdlog::warn("Compare {} refused: {}", symbol, refused);
        return refused;
    }
    CompareChanged();
    return {};
}

bool CChartFormView::RemoveCompareSymbol(const std::string& symbol) {
    if (!m_compare.Remove(symbol)) {
        return false;
    }
    CompareChanged();
    return true;
}

std::string CChartFormView::SetCompareSymbols(const std::string& symbols) {
    std::vector<std::string> parsed;
    if (std::string refused = ParseCompareSymbols(symbols, parsed); !refused.empty()) {
        return refused;
    }
    if (std::find(parsed.begin(), parsed.end(), Symbol()) != parsed.end()) {
        return Symbol() + " is the chart's own symbol";
    }
    m_compare.Clear();
    for (const std::string& symbol : parsed) {
        m_compare.Add(symbol, Symbol(), !Symbol().empty());
    }
    CompareChanged();
    return {};
}

void CChartFormView::AddCompareCommands(QMenu& menu) {
    menu.addSeparator();
    menu.addAction("Compare Symbol...", this, [this] {
        if (m_comparePrompt == nullptr) {
            return;
        }
        const std::string symbol =
            m_comparePrompt->AskText(kCompareCaption, "Symbol to compare with the chart:");
        if (symbol.empty()) {
            return;
        }
        if (const std::string refused = CompareSymbol(symbol); !refused.empty()) {
            m_comparePrompt->Error(kCompareCaption,
                                   "Cannot compare " + symbol + ": " + refused + ".");
        }
    });
    for (const std::string& symbol : m_compare.Symbols()) {
        menu.addAction(QString::fromStdString("Remove Compare " + symbol), this,
                       [this, symbol] { RemoveCompareSymbol(symbol); });
    }
}
