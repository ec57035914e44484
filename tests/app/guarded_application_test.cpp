// An invalid-argument error thrown inside an event handler is absorbed by the event loop, and the
// events after it are still handled.

#include "app/ui/guarded_application.h"
#include "base/error.h"

#include <gtest/gtest.h>

#include <QEvent>

#include <vector>

namespace {

// Handles custom event type User + i by reading element i: User + 5 throws.
class CIndexingObject : public QObject {
public:
    std::vector<int> values{10, 20};
    std::vector<int> seen;

protected:
    bool event(QEvent* event) override {
        if (event->type() < QEvent::User) {
            return QObject::event(event);
        }
        seen.push_back(ElementAt(values, static_cast<std::size_t>(event->type() - QEvent::User)));
        return true;
    }
};

TEST(GuardedApplication, AbsorbsInvalidArgumentsAndKeepsHandlingEvents) {
    auto* application = qobject_cast<CGuardedApplication*>(QCoreApplication::instance());
    ASSERT_NE(application, nullptr);
    const int absorbedBefore = application->AbsorbedErrors();
    CIndexingObject target;
    for (const int offset : {5, 1}) {
        QCoreApplication::postEvent(&target, new QEvent(QEvent::Type(QEvent::User + offset)));
    }
    QCoreApplication::sendPostedEvents(&target);
    EXPECT_EQ(application->AbsorbedErrors(), absorbedBefore + 1);
    EXPECT_EQ(target.seen, std::vector<int>{20});
}

} // namespace
