// SPDX-License-Identifier: MIT
#include <browser/parts/applicationicon.h>

#include <hostkit/views/icons.h>

#include <QPainter>
#include <QPainterPath>

namespace sito {

namespace {

/// A sieve in the square from (0, 0) to (16, 16). Its colours are fixed: desktops show it on any background.
void drawSieve(QPainter &painter)
{
    const QColor rim(0x1f, 0x6f, 0x8b);
    const QColor mesh(0xf4, 0xf1, 0xe8);
    const QColor grain(0xe0, 0x9f, 0x3e);
    painter.setPen(Qt::NoPen);
    painter.setBrush(rim);
    painter.drawRoundedRect(QRectF(0.5, 2.0, 15, 3.2), 1.6, 1.6);
    QPainterPath bowl;
    bowl.moveTo(1.6, 5.6);
    bowl.lineTo(14.4, 5.6);
    bowl.cubicTo(14.0, 9.4, 11.4, 11.4, 8, 11.4);
    bowl.cubicTo(4.6, 11.4, 2.0, 9.4, 1.6, 5.6);
    painter.setBrush(mesh);
    painter.drawPath(bowl);
    painter.save();
    painter.setClipPath(bowl);
    painter.setPen(QPen(rim, 0.55));
    for (qreal x = 2.6; x < 15; x += 1.8)
        painter.drawLine(QPointF(x, 5), QPointF(x, 12));
    for (qreal y = 7.0; y < 12; y += 1.6)
        painter.drawLine(QPointF(1, y), QPointF(15, y));
    painter.restore();
    painter.setPen(QPen(rim, 0.9));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(bowl);
    painter.setPen(Qt::NoPen);
    painter.setBrush(grain);
    painter.drawEllipse(QPointF(5.6, 13.4), 0.8, 0.8);
    painter.drawEllipse(QPointF(8.2, 14.6), 0.8, 0.8);
    painter.drawEllipse(QPointF(10.6, 13.2), 0.8, 0.8);
}

} // namespace

QIcon applicationIcon()
{
    return Icons::drawn([](QPainter &painter, QIcon::Mode) { drawSieve(painter); });
}

} // namespace sito
