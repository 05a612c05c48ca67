#pragma once

#include <QtGui/QPainter>
#include <QtGui/QPainterPath>

#include <optional>

namespace kvo {

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
