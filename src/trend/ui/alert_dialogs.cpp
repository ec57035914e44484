#include "trend/ui/alert_dialogs.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include <limits>

CAddAlertDialog::CAddAlertDialog(const QString& what, double price, int decimals,
                                 bool priceEditable, QWidget* parent)
    : QDialog(parent), m_price(new QDoubleSpinBox(this)), m_direction(new QComboBox(this)) {
    setWindowTitle("Add Alert");
    setObjectName("AddAlertDialog");
    m_price->setObjectName("AlertPrice");
    m_price->setDecimals(decimals);
    m_price->setRange(-std::numeric_limits<double>::max(), std::numeric_limits<double>::max());
    m_price->setValue(price);
    m_price->setReadOnly(!priceEditable);
    m_direction->setObjectName("AlertDirection");
    for (int i = 0; i < kAlertDirectionCount; ++i) {
        m_direction->addItem(AlertDirectionName(static_cast<EAlertDirection>(i)));
    }
    auto* form = new QFormLayout;
    form->addRow("Alert on:", new QLabel(what, this));
    form->addRow("&Price:", m_price);
    form->addRow("&Direction:", m_direction);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(buttons);
}

double CAddAlertDialog::Price() const {
    return m_price->value();
}

EAlertDirection CAddAlertDialog::Direction() const {
    return static_cast<EAlertDirection>(m_direction->currentIndex());
}

CAlertsDialog::CAlertsDialog(CChartAlerts& alerts, QWidget* parent)
    : QDialog(parent), m_alerts(alerts), m_table(new QTableWidget(0, 3, this)),
      m_delete(new QPushButton("&Delete", this)), m_rearm(new QPushButton("&Re-arm", this)) {
    setWindowTitle("Alerts");
    setObjectName("AlertsDialog");
    m_table->setObjectName("AlertsTable");
    m_table->setHorizontalHeaderLabels({"Symbol", "Condition", "State"});
    m_table->horizontalHeader()->setSectionResizeMode(1, QHeaderView::Stretch);
    m_table->verticalHeader()->hide();
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_delete->setObjectName("DeleteAlertButton");
    m_rearm->setObjectName("RearmAlertButton");
    auto* close = new QPushButton("Close", this);
    connect(close, &QPushButton::clicked, this, &QDialog::accept);
    connect(m_delete, &QPushButton::clicked, this, [this] {
        if (m_alerts.Delete(SelectedId())) {
            Fill();
        }
    });
    connect(m_rearm, &QPushButton::clicked, this, [this] {
        if (m_alerts.Rearm(SelectedId())) {
            Fill();
        }
    });
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_delete);
    buttons->addWidget(m_rearm);
    buttons->addStretch(1);
    buttons->addWidget(close);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_table);
    layout->addLayout(buttons);
    resize(520, 300);
    Fill();
}

void CAlertsDialog::Fill() {
    const std::vector<SAlertEntry> list = m_alerts.List();
    m_table->setRowCount(static_cast<int>(list.size()));
    for (int row = 0; row < static_cast<int>(list.size()); ++row) {
        const SAlertEntry& alert = list[static_cast<std::size_t>(row)];
        const QString texts[] = {QString::fromStdString(alert.symbol),
                                 QString::fromStdString(alert.condition),
                                 alert.fired ? "Fired" : "Armed"};
        for (int column = 0; column < 3; ++column) {
            auto* item = new QTableWidgetItem(texts[column]);
            item->setData(Qt::UserRole, alert.id);
            m_table->setItem(row, column, item);
        }
    }
}

int CAlertsDialog::SelectedId() const {
    const QList<QTableWidgetItem*> selected = m_table->selectedItems();
    return selected.isEmpty() ? 0 : selected.front()->data(Qt::UserRole).toInt();
}
