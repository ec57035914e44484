#include "app/ui/guarded_application.h"

#include "base/error.h"

#include <spdlog/spdlog.h>

CGuardedApplication::CGuardedApplication(int& argc, char** argv) : QApplication(argc, argv) {}

bool CGuardedApplication::notify(QObject* receiver, QEvent* event) {
    try {
        return QApplication::notify(receiver, event);
    } catch (const CInvalidArgException& error) {
        ++m_absorbed;
        spdlog::error("Invalid argument while handling event {} for {}: {}; operation abandoned",
                      static_cast<int>(event->type()),
                      receiver->objectName().isEmpty()
                          ? std::string(receiver->metaObject()->className())
                          : receiver->objectName().toStdString(),
                      error.what());
    }
    return false;
}
