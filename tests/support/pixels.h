#pragma once

// Reading colours back from rendered images.

#include "chart/color_ref.h"

#include <QImage>

inline bool IsColor(QRgb pixel, ColorRef color) {
    return qRed(pixel) == RedOf(color) && qGreen(pixel) == GreenOf(color) &&
           qBlue(pixel) == BlueOf(color);
}

// Pixels of `color` in `area` (the whole image by default).
inline int Count(const QImage& image, ColorRef color, QRect area = QRect()) {
    area = area.isNull() ? image.rect() : area.intersected(image.rect());
    int count = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            count += IsColor(image.pixel(x, y), color) ? 1 : 0;
        }
    }
    return count;
}
