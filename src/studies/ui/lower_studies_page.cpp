#include "studies/ui/lower_studies_page.h"

#include "chart/ui/button_for_color.h"
#include "core/settings.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <spdlog/spdlog.h>

#include <algorithm>

namespace {

int PrimaryScreenDepth() {
    const QScreen* screen = QGuiApplication::primaryScreen();
    return screen != nullptr ? screen->depth() : 24;
}

QLabel* MakeLabel(QWidget* parent, const QString& name) {
    auto* label = new QLabel(parent);
    label->setObjectName(name);
    // Captions such as "Color of 100% :" and "-  DI color:" are shown exactly as they are.
    label->setTextFormat(Qt::PlainText);
    return label;
}

QLineEdit* MakeNumberEdit(QWidget* parent, const QString& name) {
    auto* edit = new QLineEdit(parent);
    edit->setObjectName(name);
    edit->setMinimumWidth(56);
    edit->setMaximumWidth(80);
    return edit;
}

QPushButton* MakeButton(QWidget* parent, const QString& text, const char* name) {
    auto* button = new QPushButton(text, parent);
    button->setObjectName(name);
    return button;
}

std::size_t Slot(int i) {
    return static_cast<std::size_t>(i);
}

} // namespace

CLowerStudiesSettingPage::CLowerStudiesSettingPage(IPrompt& prompt, CSettings& settings,
                                                   QWidget* parent, int screenDepth)
    : CSettingPage(parent), m_prompt(prompt), m_settings(settings),
      m_model(SStudySettings::Read(settings)) {
    setObjectName("LowerStudiesSettingPage");
    const int depth = screenDepth > 0 ? screenDepth : PrimaryScreenDepth();

    auto* listBox = new QGroupBox("Displayed studies", this);
    listBox->setObjectName("DisplayedStudiesGroup");
    MakeListControls(listBox);
    m_group = new QGroupBox(this);
    m_group->setObjectName("StudyPropertiesGroup");
    MakePropertyControls(CButtonForColor::FullChooserForDepth(depth));

    auto* layout = new QHBoxLayout(this);
    layout->addWidget(listBox);
    layout->addWidget(m_group, 1);

    // The property area is as large as the largest study needs, so that it keeps its size when
    // it is relabelled.
    const int first = m_model.ShownStudy();
    QSize largest;
    for (int type = 0; type < kStudyTypeCount; ++type) {
        ShowStudy(type);
        // Before the page is shown nothing lays it out: the layouts are brought up to date here.
        m_group->layout()->invalidate();
        m_group->layout()->activate();
        largest = largest.expandedTo(m_group->minimumSizeHint());
    }
    m_group->setMinimumSize(largest);
    FillList(m_model.Displayed().empty() ? -1 : 0);
    ShowStudy(first);
}

QString CLowerStudiesSettingPage::Title() const {
    return QStringLiteral("Lower Studies");
}

void CLowerStudiesSettingPage::MakeListControls(QWidget* box) {
    m_list = new QListWidget(box);
    m_list->setObjectName("DisplayedStudiesList");
    m_selector = new QComboBox(box);
    m_selector->setObjectName("StudySelector");
    for (int type = 0; type < kStudyTypeCount; ++type) {
        m_selector->addItem(StudyCatalog(type).listName, type);
    }
    m_add = MakeButton(box, "&Add", "AddStudyButton");
    m_remove = MakeButton(box, "&Remove", "RemoveStudyButton");
    m_up = MakeButton(box, "&Up", "MoveStudyUpButton");
    m_down = MakeButton(box, "Do&wn", "MoveStudyDownButton");
    // The note keeps its place while hidden, so that showing it moves nothing under the mouse;
    // it is laid out with the longest text it shows.
    m_note = new QLabel(CLowerStudiesPageModel::kListFullText, box);
    m_note->setObjectName("DisplayedStudiesNote");
    m_note->setWordWrap(true);
    QSizePolicy notePolicy = m_note->sizePolicy();
    notePolicy.setRetainSizeWhenHidden(true);
    m_note->setSizePolicy(notePolicy);
    m_note->hide();

    auto* moves = new QHBoxLayout;
    moves->addWidget(m_up);
    moves->addWidget(m_down);
    moves->addWidget(m_remove);
    auto* adding = new QHBoxLayout;
    auto* selectorLabel = new QLabel("&Study:", box);
    selectorLabel->setBuddy(m_selector);
    adding->addWidget(selectorLabel);
    adding->addWidget(m_selector, 1);
    adding->addWidget(m_add);
    auto* column = new QVBoxLayout(box);
    column->addWidget(m_list, 1);
    column->addLayout(moves);
    column->addLayout(adding);
    column->addWidget(m_note);

    connect(m_list, &QListWidget::currentRowChanged, this, [this](int row) {
        UpdateButtons();
        if (row >= 0 && !m_showing) {
            ShowStudy(m_list->item(row)->data(Qt::UserRole).toInt());
        }
    });
    connect(m_selector, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (!m_showing && IsStudyType(index)) {
            ShowStudy(index);
        }
    });
    connect(m_add, &QPushButton::clicked, this, [this] { OnAdd(); });
    connect(m_remove, &QPushButton::clicked, this, [this] {
        const int row = m_list->currentRow();
        if (m_model.Remove(row)) {
            m_note->hide();
            FillList(std::min(row, static_cast<int>(m_model.Displayed().size()) - 1));
        }
    });
    connect(m_up, &QPushButton::clicked, this, [this] {
        const int row = m_list->currentRow();
        if (m_model.MoveUp(row)) {
            FillList(row - 1);
        }
    });
    connect(m_down, &QPushButton::clicked, this, [this] {
        const int row = m_list->currentRow();
        if (m_model.MoveDown(row)) {
            FillList(row + 1);
        }
    });
}

void CLowerStudiesSettingPage::MakePropertyControls(bool fullChooser) {
    m_periodLabel = MakeLabel(m_group, "PeriodLabel");
    m_choices = new QButtonGroup(this);
    auto* choiceColumn = new QVBoxLayout;
    for (int choice = 0; choice < kMaxFixedChoices; ++choice) {
        auto* button = new QRadioButton(m_group);
        button->setObjectName(QString("PeriodChoice%1").arg(choice));
        m_fixed[Slot(choice)] = button;
        m_choices->addButton(button, choice);
        choiceColumn->addWidget(button);
    }
    // The custom choice with its edit; MACD's three edits on a line of their own below it.
    m_custom = new QRadioButton(m_group);
    m_custom->setObjectName("CustomChoice");
    m_choices->addButton(m_custom, kMaxFixedChoices);
    m_customEdit = MakeNumberEdit(m_group, "CustomPeriodEdit");
    auto* customRow = new QHBoxLayout;
    customRow->addWidget(m_custom);
    customRow->addWidget(m_customEdit);
    customRow->addStretch(1);
    choiceColumn->addLayout(customRow);
    m_macdRow = new QWidget(m_group);
    m_macdRow->setObjectName("MacdCustomPeriods");
    auto* macdRow = new QHBoxLayout(m_macdRow);
    macdRow->setContentsMargins(20, 0, 0, 0);
    constexpr std::array<const char*, 3> kMacdCaptions{"short:", "long:", "signal:"};
    constexpr std::array<const char*, 3> kMacdNames{"MacdShortEdit", "MacdLongEdit",
                                                    "MacdSignalEdit"};
    for (std::size_t at = 0; at < 3; ++at) {
        auto* label = MakeLabel(m_macdRow, QString("MacdLabel%1").arg(at));
        label->setText(kMacdCaptions[at]);
        m_macdEdits[at] = MakeNumberEdit(m_macdRow, kMacdNames[at]);
        label->setBuddy(m_macdEdits[at]);
        macdRow->addWidget(label);
        macdRow->addWidget(m_macdEdits[at]);
        const auto edit = static_cast<EMacdEdit>(at);
        connect(m_macdEdits[at], &QLineEdit::textChanged, this, [this, edit](const QString& text) {
            if (!m_showing) {
                m_model.SetMacdText(edit, text.toStdString());
            }
        });
    }
    macdRow->addStretch(1);
    choiceColumn->addWidget(m_macdRow);

    m_slowFast = new QWidget(m_group);
    m_slowFast->setObjectName("SlowFastChoices");
    m_slow = new QRadioButton("Slow", m_slowFast);
    m_slow->setObjectName("SlowChoice");
    m_fast = new QRadioButton("Fast", m_slowFast);
    m_fast->setObjectName("FastChoice");
    auto* slowFastColumn = new QVBoxLayout(m_slowFast);
    slowFastColumn->setContentsMargins(0, 0, 0, 0);
    slowFastColumn->addWidget(m_slow);
    slowFastColumn->addWidget(m_fast);
    slowFastColumn->addStretch(1);

    auto* grid = new QGridLayout(m_group);
    grid->addWidget(m_periodLabel, 0, 0, Qt::AlignTop);
    grid->addLayout(choiceColumn, 0, 1);
    grid->addWidget(m_slowFast, 0, 2);
    for (int row = 0; row < kMaxRows; ++row) {
        m_rowLabels[Slot(row)] = MakeLabel(m_group, QString("PropertyRowLabel%1").arg(row));
        m_rowEdits[Slot(row)] = MakeNumberEdit(m_group, QString("PropertyRowEdit%1").arg(row));
        auto* button = new CButtonForColor(m_group);
        button->setObjectName(QString("PropertyRowColorButton%1").arg(row));
        button->SetFullChooser(fullChooser);
        m_rowColors[Slot(row)] = button;
        auto* cell = new QHBoxLayout;
        cell->addWidget(m_rowEdits[Slot(row)]);
        cell->addWidget(button);
        cell->addStretch(1);
        grid->addWidget(m_rowLabels[Slot(row)], row + 1, 0);
        grid->addLayout(cell, row + 1, 1, 1, 2);
        connect(m_rowEdits[Slot(row)], &QLineEdit::textChanged, this,
                [this, row](const QString& text) {
                    if (!m_showing) {
                        m_model.SetLevelText(m_rowFields[Slot(row)], text.toStdString());
                    }
                });
        connect(button, &CButtonForColor::colorChanged, this, [this, row](quint32 color) {
            if (!m_showing) {
                m_model.SetColor(m_rowFields[Slot(row)], color);
            }
        });
    }
    grid->setRowStretch(kMaxRows + 1, 1);
    grid->setColumnStretch(3, 1);

    connect(m_choices, &QButtonGroup::idToggled, this, [this](int id, bool checked) {
        if (checked && !m_showing) {
            const int shown = m_model.ShownStudy();
            const int fixed = static_cast<int>(StudyProperties(shown).choices.size()) - 1;
            m_model.SetChoice(shown, id == kMaxFixedChoices ? fixed : id);
            UpdateEnabling();
        }
    });
    connect(m_customEdit, &QLineEdit::textChanged, this, [this](const QString& text) {
        if (!m_showing) {
            m_model.SetCustomText(m_model.ShownStudy(), text.toStdString());
        }
    });
    connect(m_fast, &QRadioButton::toggled, this, [this](bool fast) {
        if (!m_showing) {
            m_model.SetStoFast(fast);
        }
    });
}

QRadioButton* CLowerStudiesSettingPage::ChoiceButton(int choice) const {
    const int fixed = static_cast<int>(StudyProperties(m_model.ShownStudy()).choices.size()) - 1;
    if (choice == fixed) {
        return m_custom;
    }
    return choice >= 0 && choice < fixed ? m_fixed[Slot(choice)] : nullptr;
}

QLineEdit* CLowerStudiesSettingPage::MacdEdit(EMacdEdit edit) const {
    const int at = static_cast<int>(edit);
    return at >= 0 && at < 3 ? m_macdEdits[Slot(at)] : nullptr;
}

QLabel* CLowerStudiesSettingPage::RowLabel(int row) const {
    return row >= 0 && row < kMaxRows ? m_rowLabels[Slot(row)] : nullptr;
}

QLineEdit* CLowerStudiesSettingPage::RowEdit(int row) const {
    return row >= 0 && row < kMaxRows ? m_rowEdits[Slot(row)] : nullptr;
}

CButtonForColor* CLowerStudiesSettingPage::RowColorButton(int row) const {
    return row >= 0 && row < kMaxRows ? m_rowColors[Slot(row)] : nullptr;
}

void CLowerStudiesSettingPage::ShowStudy(int studyType) {
    if (!m_model.ShowStudy(studyType)) {
        return;
    }
    m_showing = true;
    const SStudyProperties& props = StudyProperties(studyType);
    const int fixed = static_cast<int>(props.choices.size()) - 1;
    m_selector->setCurrentIndex(studyType);
    // A selected row always names the study shown.
    const int selected = m_list->currentRow();
    if (selected >= 0 && m_list->item(selected)->data(Qt::UserRole).toInt() != studyType) {
        m_list->setCurrentRow(-1);
    }
    m_group->setTitle(props.caption);
    m_periodLabel->setText(props.periodCaption);
    for (int choice = 0; choice < kMaxFixedChoices; ++choice) {
        QRadioButton* button = m_fixed[Slot(choice)];
        button->setVisible(choice < fixed);
        button->setText(choice < fixed ? props.choices[Slot(choice)] : "");
    }
    m_custom->setText(props.choices.back());
    const int choice = m_model.Choice(studyType);
    (choice == fixed ? m_custom : m_fixed[Slot(choice)])->setChecked(true);

    m_customEdit->setVisible(!props.macdEdits);
    m_customEdit->setText(QString::fromStdString(m_model.CustomText(studyType)));
    m_macdRow->setVisible(props.macdEdits);
    for (std::size_t at = 0; at < 3; ++at) {
        m_macdEdits[at]->setText(
            QString::fromStdString(m_model.MacdText(static_cast<EMacdEdit>(at))));
    }
    m_slowFast->setVisible(props.slowFast);
    (m_model.StoFast() ? m_fast : m_slow)->setChecked(true);

    for (int row = 0; row < kMaxRows; ++row) {
        const bool used = row < static_cast<int>(props.rows.size());
        const EStudyField field = used ? props.rows[Slot(row)].field : EStudyField::RsiUpper;
        const bool level = used && IsLevelField(field);
        m_rowFields[Slot(row)] = field;
        m_rowLabels[Slot(row)]->setVisible(used);
        m_rowLabels[Slot(row)]->setText(used ? props.rows[Slot(row)].caption : "");
        m_rowEdits[Slot(row)]->setVisible(level);
        m_rowColors[Slot(row)]->setVisible(used && !level);
        if (level) {
            m_rowEdits[Slot(row)]->setText(QString::fromStdString(m_model.LevelText(field)));
        } else if (used) {
            m_rowColors[Slot(row)]->SetColor(m_model.Color(field));
        }
    }
    m_showing = false;
    UpdateEnabling();
}

void CLowerStudiesSettingPage::UpdateEnabling() {
    const bool custom = m_model.IsCustomChoice(m_model.ShownStudy());
    m_customEdit->setEnabled(custom);
    for (QLineEdit* edit : m_macdEdits) {
        edit->setEnabled(custom);
    }
}

void CLowerStudiesSettingPage::FillList(int selectRow) {
    // The properties follow the selected row (the current study when none is selected).
    m_list->clear();
    for (int type : m_model.Displayed()) {
        auto* item = new QListWidgetItem(StudyCatalog(type).listName, m_list);
        item->setData(Qt::UserRole, type);
    }
    m_list->setCurrentRow(selectRow);
    UpdateButtons();
}

void CLowerStudiesSettingPage::UpdateButtons() {
    const int row = m_list->currentRow();
    const int count = m_list->count();
    m_remove->setEnabled(row >= 0);
    m_up->setEnabled(row > 0);
    m_down->setEnabled(row >= 0 && row + 1 < count);
}

void CLowerStudiesSettingPage::OnAdd() {
    if (const char* refusal = m_model.Add(m_selector->currentIndex())) {
        m_note->setText(refusal);
        m_note->show();
        return;
    }
    m_note->hide();
    FillList(static_cast<int>(m_model.Displayed().size()) - 1);
}

bool CLowerStudiesSettingPage::Check() {
    if (!m_model.Check(m_prompt)) {
        // The model turned to the study whose entry was refused.
        ShowStudy(m_model.ShownStudy());
        return false;
    }
    return true;
}

void CLowerStudiesSettingPage::Store() {
    m_model.Store(m_settings);
    spdlog::info("Lower study settings applied: {} study panes", m_model.Displayed().size());
}
