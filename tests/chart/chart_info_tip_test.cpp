// The info tip: beside the cursor, flipped to its other side at the parent's right and bottom
// edges, always inside the parent, and drawn as a light box with the text.

#include "chart/ui/chart_info_tip.h"

#include <gtest/gtest.h>

#include <QFontMetrics>
#include <QImage>

TEST(ChartInfoTip, SitsBesideTheCursorAndFlipsWhereItWouldLeaveTheParent) {
    QWidget parent;
    parent.resize(400, 300);
    CChartInfoTip tip(&parent);
    constexpr int gap = CChartInfoTip::kCursorGap;
    const QString text = "Price: 101.25\nVolume: 1200\nTime: 09:31:00";

    tip.ShowAt({50, 40}, text);
    ASSERT_FALSE(tip.isHidden());
    EXPECT_EQ(tip.Text(), text);
    EXPECT_GE(tip.height(), 3 * QFontMetrics(tip.font()).lineSpacing());
    EXPECT_GE(tip.width(), QFontMetrics(tip.font()).horizontalAdvance("Time: 09:31:00"));
    EXPECT_EQ(tip.pos(), QPoint(50 + gap, 40 + gap));
    EXPECT_TRUE(tip.testAttribute(Qt::WA_TransparentForMouseEvents));

    // At the right edge it goes left of the cursor, at the bottom above it.
    tip.ShowAt({390, 40}, text);
    EXPECT_EQ(tip.geometry().right(), 390 - gap - 1);
    EXPECT_EQ(tip.y(), 40 + gap);
    tip.ShowAt({60, 295}, text);
    EXPECT_EQ(tip.x(), 60 + gap);
    EXPECT_EQ(tip.geometry().bottom(), 295 - gap - 1);
    tip.ShowAt({390, 295}, text);
    EXPECT_EQ(tip.geometry().bottomRight(), QPoint(390 - gap - 1, 295 - gap - 1));
    // Where neither side has room it keeps to the parent's edge.
    tip.ShowAt({200, 150}, QString(40, QLatin1Char('8')) + "\n1");
    ASSERT_GT(tip.width(), 200 - gap);
    EXPECT_EQ(tip.x(), 0);
    EXPECT_TRUE(parent.rect().contains(tip.geometry()));
    // Larger than the parent: from its top-left corner.
    tip.ShowAt({200, 150}, QString(400, QLatin1Char('8')));
    EXPECT_EQ(tip.pos(), QPoint(0, 150 + gap));

    // A light box with a border and dark text.
    tip.ShowAt({50, 40}, text);
    const QImage image = tip.grab().toImage();
    EXPECT_GT(qGray(image.pixel(image.width() - 3, image.height() - 3)), 200);
    EXPECT_LT(qGray(image.pixel(0, image.height() / 2)), 200);
    int dark = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 2; x < image.width() - 2; ++x) {
            dark += qGray(image.pixel(x, y)) < 100 ? 1 : 0;
        }
    }
    EXPECT_GT(dark, 30);

    tip.ShowAt({50, 40}, QString());
    EXPECT_TRUE(tip.isHidden());
}
