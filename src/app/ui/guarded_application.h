#pragma once

#include <QApplication>

// The application object of the event loop. An invalid-argument error thrown while an event is
// handled (an out-of-range list index, a short protocol line) is caught here, logged, and the
// operation in hand abandoned; the loop goes on with the next event.
class CGuardedApplication : public QApplication {
    Q_OBJECT

public:
    CGuardedApplication(int& argc, char** argv);

    bool notify(QObject* receiver, QEvent* event) override;

    // How many errors were absorbed so far.
    int AbsorbedErrors() const { return m_absorbed; }

private:
    int m_absorbed = 0;
};
