#pragma once

// The two alert dialogs: "Add Alert" confirms the price and the direction of a new alert, and
// "Alerts" lists every alert (symbol, condition, state) with Delete and Re-arm.

#include "trend/ui/chart_alerts.h"

#include <QDialog>

class QComboBox;
class QDoubleSpinBox;
class QPushButton;
class QTableWidget;

class CAddAlertDialog : public QDialog {
    Q_OBJECT

public:
    // `what` names the alert's object ("LUMA level", "Sloping trendline"); a line's price is
    // shown but not edited.
    CAddAlertDialog(const QString& what, double price, int decimals, bool priceEditable,
                    QWidget* parent = nullptr);

    double Price() const;
    EAlertDirection Direction() const;

private:
    QDoubleSpinBox* m_price;
    QComboBox* m_direction;
};

class CAlertsDialog : public QDialog {
    Q_OBJECT

public:
    explicit CAlertsDialog(CChartAlerts& alerts, QWidget* parent = nullptr);

    QTableWidget* Table() const { return m_table; }

private:
    void Fill();
    // The alert id of the selected row, or 0.
    int SelectedId() const;

    CChartAlerts& m_alerts;
    QTableWidget* m_table;
    QPushButton* m_delete;
    QPushButton* m_rearm;
};
