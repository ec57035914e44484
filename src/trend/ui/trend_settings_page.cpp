#include "trend/ui/trend_settings_page.h"

#include "chart/ui/button_for_color.h"
#include "core/settings.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QGuiApplication>
#include <QLabel>
#include <QScreen>
#include <QSpinBox>
#include <QVBoxLayout>

#include <spdlog/spdlog.h>

namespace {

int PrimaryScreenDepth() {
    const QScreen* screen = QGuiApplication::primaryScreen();
    return screen != nullptr ? screen->depth() : 24;
}

// "Andrew's Pitchfork" -> "AndrewsPitchfork": the stem of the row's object names.
QString NameStem(const char* name) {
    QString stem;
    for (const QChar c : QString::fromUtf8(name)) {
        if (c.isLetterOrNumber()) {
            stem += c;
        }
    }
    return stem;
}

} // namespace

CTrendSettingsPage::CTrendSettingsPage(CSettings& settings, QWidget* parent, int screenDepth)
    : CSettingPage(parent), m_settings(settings) {
    setObjectName("TrendSettingsPage");
    const bool full =
        CButtonForColor::FullChooserForDepth(screenDepth > 0 ? screenDepth : PrimaryScreenDepth());
    const STrendStyles styles = ReadTrendStyles(m_settings);

    auto* group = new QGroupBox("Trendline styles", this);
    group->setObjectName("TrendStylesGroup");
    auto* grid = new QGridLayout(group);
    grid->setHorizontalSpacing(16);
    grid->addWidget(new QLabel("Color", group), 0, 1);
    grid->addWidget(new QLabel("Width", group), 0, 2);
    for (const STrendKindInfo& info : TrendKindTable()) {
        const auto index = static_cast<std::size_t>(info.kind);
        const int line = static_cast<int>(index) + 1;
        const QString stem = NameStem(info.name);
        const STrendStyle& style = styles[index];
        SRow& row = m_rows[index];

        row.color = new CButtonForColor(group);
        row.color->setObjectName(stem + "ColorButton");
        row.color->SetFullChooser(full);
        row.color->SetColor(style.color);
        row.width = new QSpinBox(group);
        row.width->setObjectName(stem + "WidthSpin");
        row.width->setRange(1, kMaxTrendWidth);
        row.width->setSuffix(" px");
        row.width->setValue(style.width);
        row.extendable = new QCheckBox("Extendable", group);
        row.extendable->setObjectName(stem + "ExtendableCheck");
        row.extendable->setChecked(style.extendable);
        row.extendable->setToolTip("Extend the lines to the right edge of the price pane");

        auto* name = new QLabel(QString::fromUtf8(info.name) + ":", group);
        name->setBuddy(row.color);
        grid->addWidget(name, line, 0);
        grid->addWidget(row.color, line, 1);
        grid->addWidget(row.width, line, 2);
        grid->addWidget(row.extendable, line, 3);
    }
    grid->setColumnStretch(4, 1);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(group);
    layout->addStretch(1);
}

QString CTrendSettingsPage::Title() const {
    return QStringLiteral("Trendlines");
}

STrendStyles CTrendSettingsPage::Styles() const {
    STrendStyles styles{};
    for (std::size_t i = 0; i < styles.size(); ++i) {
        styles[i] = {m_rows[i].color->Color(), m_rows[i].width->value(),
                     m_rows[i].extendable->isChecked()};
    }
    return styles;
}

bool CTrendSettingsPage::Check() {
    return true;
}

void CTrendSettingsPage::Store() {
    const int changed = WriteTrendStyles(m_settings, Styles());
    spdlog::info("Trendline settings applied ({} kinds changed)", changed);
    emit applied();
}
