// SPDX-License-Identifier: MIT
#include <hostkit/views/icons.h>

#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>

#include <algorithm>
#include <utility>

namespace sito {

namespace {

using Icons::Shape;

/// The lines of \a shape in the square from (0, 0) to (16, 16).
QList<QList<QPointF>> linesOf(Shape shape)
{
    switch (shape) {
    case Shape::Add:
        return {{{8, 3}, {8, 13}}, {{3, 8}, {13, 8}}};
    case Shape::Close:
        return {{{4, 4}, {12, 12}}, {{12, 4}, {4, 12}}};
    case Shape::Columns:
        return {{{6, 3}, {6, 13}}, {{10, 3}, {10, 13}}};
    case Shape::Copy:
        return {{{10.5, 2.5}, {3.5, 2.5}, {2.5, 3.5}, {2.5, 10.5}}};
    case Shape::Edit:
        return {{{3, 13}, {3.6, 10}, {11, 2.6}, {13.4, 5}, {6, 12.4}, {3, 13}}, {{9.4, 4.2}, {11.8, 6.6}}};
    case Shape::Export:
        return {
            {{3, 9}, {3, 13.5}, {13, 13.5}, {13, 9}}, {{8, 2.5}, {8, 10}}, {{5, 7.2}, {8, 10.2}, {11, 7.2}}};
    case Shape::Filter:
    case Shape::FilterOff:
        return {{{2, 3}, {14, 3}, {9.5, 8.5}, {9.5, 14}, {6.5, 12}, {6.5, 8.5}, {2, 3}}};
    case Shape::Information:
        return {{{8, 7.5}, {8, 11.2}}};
    case Shape::Open:
        return {{{2.5, 13}, {2.5, 3.5}, {6, 3.5}, {7.5, 5}, {12.5, 5}, {12.5, 7}},
                {{2.5, 13}, {4.8, 7}, {14.6, 7}, {12.5, 13}, {2.5, 13}}};
    case Shape::Server:
        return {{{2.5, 3.8}, {2.5, 12.2}}, {{13.5, 3.8}, {13.5, 12.2}}};
    case Shape::Session:
        return {{{8, 4.5}, {8, 8}, {10.6, 9.6}}};
    case Shape::Sets:
        return {{{4, 2.5}, {12, 2.5}, {12, 13.5}, {8, 10.5}, {4, 13.5}, {4, 2.5}}};
    case Shape::Settings:
        return {{{2.5, 4}, {13.5, 4}}, {{2.5, 8}, {13.5, 8}}, {{2.5, 12}, {13.5, 12}}};
    case Shape::Table:
        return {{{2, 6.3}, {14, 6.3}}, {{2, 9.6}, {14, 9.6}}, {{6, 6.3}, {6, 13}}};
    case Shape::Trash:
        return {{{3, 4.5}, {13, 4.5}},
                {{6.5, 4.3}, {6.5, 2.5}, {9.5, 2.5}, {9.5, 4.3}},
                {{4.3, 4.7}, {5, 13.5}, {11, 13.5}, {11.7, 4.7}}};
    case Shape::Warning:
        return {{{8, 2.2}, {14.4, 13.5}, {1.6, 13.5}, {8, 2.2}}, {{8, 6.5}, {8, 9.8}}};
    }
    return {};
}

/// Draws the parts of \a shape that are not among its lines.
void drawFigures(QPainter &painter, Shape shape, const QColor &colour, const QColor &accent)
{
    switch (shape) {
    case Shape::Columns:
    case Shape::Table:
        painter.drawRoundedRect(QRectF(2, 3, 12, 10), 1, 1);
        break;
    case Shape::Copy:
        painter.drawRoundedRect(QRectF(5.5, 5.5, 8, 8), 1, 1);
        break;
    case Shape::FilterOff:
        painter.setPen(QPen(accent, 1.6, Qt::SolidLine, Qt::RoundCap));
        painter.drawLine(QPointF(2.5, 13.5), QPointF(13.5, 2));
        break;
    case Shape::Information:
        painter.drawEllipse(QRectF(2, 2, 12, 12));
        painter.setBrush(colour);
        painter.drawEllipse(QPointF(8, 4.9), 0.4, 0.4);
        break;
    case Shape::Server:
        painter.drawEllipse(QRectF(2.5, 1.8, 11, 4));
        painter.drawArc(QRectF(2.5, 6, 11, 4), 180 * 16, 180 * 16);
        painter.drawArc(QRectF(2.5, 10.2, 11, 4), 180 * 16, 180 * 16);
        break;
    case Shape::Session:
        painter.drawEllipse(QRectF(2, 2, 12, 12));
        break;
    case Shape::Settings:
        painter.setBrush(accent);
        for (const QPointF knob : {QPointF(10, 4), QPointF(5, 8), QPointF(11, 12)})
            painter.drawEllipse(knob, 1.5, 1.5);
        break;
    case Shape::Warning:
        painter.setBrush(colour);
        painter.drawEllipse(QPointF(8, 11.7), 0.4, 0.4);
        break;
    default:
        break;
    }
}

/// Draws at paint time.
class DrawnIcon : public QIconEngine
{
public:
    using Draw = std::function<void(QPainter &, QIcon::Mode)>;
    explicit DrawnIcon(Draw draw) : m_draw(std::move(draw)) {}

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State) override
    {
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        const qreal side = std::min(rect.width(), rect.height());
        painter->translate(QRectF(rect).center() - QPointF(side / 2, side / 2));
        painter->scale(side / 16, side / 16);
        m_draw(*painter, mode);
        painter->restore();
    }
    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap result(size);
        result.fill(Qt::transparent);
        QPainter painter(&result);
        paint(&painter, QRect(QPoint(0, 0), size), mode, state);
        return result;
    }
    QSize actualSize(const QSize &size, QIcon::Mode, QIcon::State) override { return size; }
    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override
    {
        return {QSize(16, 16), QSize(32, 32), QSize(64, 64), QSize(128, 128), QSize(256, 256)};
    }
    bool isNull() override { return false; }
    QString key() const override { return QStringLiteral("sito-drawn"); }
    QIconEngine *clone() const override { return new DrawnIcon(m_draw); }

private:
    const Draw m_draw;
};

} // namespace

QIcon Icons::drawn(const std::function<void(QPainter &, QIcon::Mode)> &draw)
{
    return QIcon(new DrawnIcon(draw));
}

QIcon Icons::icon(Shape shape)
{
    return drawn([shape](QPainter &painter, QIcon::Mode mode) {
        const QPalette palette = QGuiApplication::palette();
        const QPalette::ColorGroup group = mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
        const QColor colour =
            palette.color(group, mode == QIcon::Selected ? QPalette::HighlightedText : QPalette::WindowText);
        const QColor accent = mode == QIcon::Normal || mode == QIcon::Active
                                  ? palette.color(group, QPalette::Highlight)
                                  : colour;
        painter.setPen(QPen(colour, 1.3, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.setBrush(Qt::NoBrush);
        for (const QList<QPointF> &line : linesOf(shape))
            painter.drawPolyline(line.constData(), int(line.size()));
        drawFigures(painter, shape, colour, accent);
    });
}

} // namespace sito
