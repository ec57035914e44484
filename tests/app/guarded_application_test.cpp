// An invalid-argument error thrown inside an event handler is absorbed by the event loop, and the
// events after it are still handled.

#include "app/ui/guarded_application.h"
#include "base/error.h"

#include <gtest/gtest.h>

#include <QEvent>

#include <vector>

namespace {

class CIndexingObject : public QObject {
public:
    std::vector<int> values{10, 20};
    std::vector<int> seen;

protected:
    bool event(QEvent* event) override {
        if (event->type() >= QEvent::User) {
            // Out of range for the second custom event type: throws.
            seen.push_back(
                ElementAt(values, static_cast<std::size_t>(event->type() - QEvent::User)));
            return true;
        }
        return QObject::event(event);
    }
};

TEST(GuardedApplication, AbsorbsInvalidArgumentsAndKeepsHandlingEvents) {
    auto* application = qobject_cast<CGuardedApplication*>(QCoreApplication::instance());
    ASSERT_NE(application, nullptr);
    const int absorbedBefore = application->AbsorbedErrors();

    CIndexingObject target;
    QCoreApplication::postEvent(&target, new QEvent(static_cast<QEvent::Type>(QEvent::User + 5)));
    QCoreApplication::postEvent(&target, new QEvent(static_cast<QEvent::Type>(QEvent::User + 1)));
    QCoreApplication::sendPostedEvents(&target);

    EXPECT_EQ(application->AbsorbedErrors(), absorbedBefore + 1);
    EXPECT_EQ(target.seen, std::vector<int>{20});
}

} // namespace
