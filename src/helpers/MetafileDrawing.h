#pragma once

// What the players of old-style and of EMF+ records draw alike.
#include <QtGui/QPainter>
#include <QtGui/QPainterPath>
#include <QtGui/QTransform>

#include <array>
#include <cstdint>
#include <optional>

#include "MetafileCursor.h"

namespace kvo {

// A transform as both kinds of records store it: six floats.
inline QTransform ReadMatrix(Cursor& c) {
    std::array<double, 6> m{};
    for (double& v : m) v = c.F32();
    return {m[0], m[1], m[2], m[3], m[4], m[5]};
}

// The six line hatches, numbered alike in both kinds of records; past them, the densest.
inline Qt::BrushStyle HatchLines(uint32_t style) {
    static constexpr std::array<Qt::BrushStyle, 6> kStyles{Qt::HorPattern, Qt::VerPattern, Qt::FDiagPattern,
                                                           Qt::BDiagPattern, Qt::CrossPattern, Qt::DiagCrossPattern};
    return style < kStyles.size() ? kStyles[style] : Qt::DiagCrossPattern;
}

// Takes the source rectangle of a bitmap onto the parallelogram of three points.
inline QTransform Placed(const QRectF& source, const QPointF& topLeft, const QPointF& topRight, const QPointF& bottomLeft) {
    const QPointF across = (topRight - topLeft) / source.width(), down = (bottomLeft - topLeft) / source.height();
    return {across.x(), across.y(), down.x(), down.y(), topLeft.x() - across.x() * source.x() - down.x() * source.y(),
            topLeft.y() - across.y() * source.x() - down.y() * source.y()};
}

// How a clipping shape is combined with the clip there is, in both kinds of records.
enum class ClipOperation { Replace, Intersect, Unite, Xor, Exclude, Complement };

inline QPainterPath CombinedClip(const QPainterPath& current, const QPainterPath& shape, ClipOperation operation) {
    switch (operation) {
        case ClipOperation::Replace: return shape;
        case ClipOperation::Intersect: return current.intersected(shape);
        case ClipOperation::Unite: return current.united(shape);
        case ClipOperation::Xor: return current.subtracted(shape).united(shape.subtracted(current));
        case ClipOperation::Exclude: return current.subtracted(shape);
        case ClipOperation::Complement: return shape.subtracted(current);
    }
    return current;
}

// Clips a painter drawing in recorded pixels; without a clip, to the picture.
inline void ApplyClip(QPainter& painter, const std::optional<QPainterPath>& clip, const QRectF& everywhere) {
    painter.resetTransform();
    if (!clip) {
        painter.setClipRect(everywhere);
        return;
    }
    QPainterPath all;
    all.addRect(everywhere);
    painter.setClipPath(clip->intersected(all));
}

}  // namespace kvo
