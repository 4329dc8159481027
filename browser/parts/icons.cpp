// SPDX-License-Identifier: MIT
#include <browser/parts/icons.h>

#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>

#include <cmath>
#include <functional>

namespace sito {

namespace {

using Icons::Shape;

/// Draws \a shape into the square from (0, 0) to (16, 16).
void drawShape(QPainter &painter, Shape shape, const QColor &colour, const QColor &accent)
{
    const QPen pen(colour, 1.3, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    const auto lines = [&painter](const QList<QPointF> &points) {
        painter.drawPolyline(points.constData(), int(points.size()));
    };
    const auto funnel = [&painter] {
        QPainterPath path;
        path.moveTo(2, 3);
        path.lineTo(14, 3);
        path.lineTo(9.5, 8.5);
        path.lineTo(9.5, 14);
        path.lineTo(6.5, 12);
        path.lineTo(6.5, 8.5);
        path.closeSubpath();
        painter.drawPath(path);
    };
    switch (shape) {
    case Shape::Add:
        lines({{8, 3}, {8, 13}});
        lines({{3, 8}, {13, 8}});
        break;
    case Shape::Close:
        lines({{4, 4}, {12, 12}});
        lines({{12, 4}, {4, 12}});
        break;
    case Shape::Columns:
        painter.drawRoundedRect(QRectF(2, 3, 12, 10), 1, 1);
        lines({{6, 3}, {6, 13}});
        lines({{10, 3}, {10, 13}});
        break;
    case Shape::Copy:
        painter.drawRoundedRect(QRectF(5.5, 5.5, 8, 8), 1, 1);
        lines({{10.5, 2.5}, {3.5, 2.5}, {2.5, 3.5}, {2.5, 10.5}});
        break;
    case Shape::Edit:
        lines({{3, 13}, {3.6, 10}, {11, 2.6}, {13.4, 5}, {6, 12.4}, {3, 13}});
        lines({{9.4, 4.2}, {11.8, 6.6}});
        break;
    case Shape::Export:
        lines({{3, 9}, {3, 13.5}, {13, 13.5}, {13, 9}});
        lines({{8, 2.5}, {8, 10}});
        lines({{5, 7.2}, {8, 10.2}, {11, 7.2}});
        break;
    case Shape::Filter:
        funnel();
        break;
    case Shape::FilterOff:
        funnel();
        painter.setPen(QPen(accent, 1.6, Qt::SolidLine, Qt::RoundCap));
        lines({{2.5, 13.5}, {13.5, 2}});
        break;
    case Shape::Information:
        painter.drawEllipse(QRectF(2, 2, 12, 12));
        lines({{8, 7.5}, {8, 11.2}});
        painter.setBrush(colour);
        painter.drawEllipse(QPointF(8, 4.9), 0.4, 0.4);
        break;
    case Shape::Open:
        lines({{2.5, 13}, {2.5, 3.5}, {6, 3.5}, {7.5, 5}, {12.5, 5}, {12.5, 7}});
        lines({{2.5, 13}, {4.8, 7}, {14.6, 7}, {12.5, 13}, {2.5, 13}});
        break;
    case Shape::Server:
        painter.drawEllipse(QRectF(2.5, 1.8, 11, 4));
        lines({{2.5, 3.8}, {2.5, 12.2}});
        lines({{13.5, 3.8}, {13.5, 12.2}});
        painter.drawArc(QRectF(2.5, 6, 11, 4), 180 * 16, 180 * 16);
        painter.drawArc(QRectF(2.5, 10.2, 11, 4), 180 * 16, 180 * 16);
        break;
    case Shape::Session:
        painter.drawEllipse(QRectF(2, 2, 12, 12));
        lines({{8, 4.5}, {8, 8}, {10.6, 9.6}});
        break;
    case Shape::Sets:
        lines({{4, 2.5}, {12, 2.5}, {12, 13.5}, {8, 10.5}, {4, 13.5}, {4, 2.5}});
        break;
    case Shape::Settings:
        for (const qreal y : {4.0, 8.0, 12.0})
            lines({{2.5, y}, {13.5, y}});
        painter.setBrush(accent);
        painter.drawEllipse(QPointF(10, 4), 1.5, 1.5);
        painter.drawEllipse(QPointF(5, 8), 1.5, 1.5);
        painter.drawEllipse(QPointF(11, 12), 1.5, 1.5);
        break;
    case Shape::Table:
        painter.drawRoundedRect(QRectF(2, 3, 12, 10), 1, 1);
        lines({{2, 6.3}, {14, 6.3}});
        lines({{2, 9.6}, {14, 9.6}});
        lines({{6, 6.3}, {6, 13}});
        break;
    case Shape::Trash:
        lines({{3, 4.5}, {13, 4.5}});
        lines({{6.5, 4.3}, {6.5, 2.5}, {9.5, 2.5}, {9.5, 4.3}});
        lines({{4.3, 4.7}, {5, 13.5}, {11, 13.5}, {11.7, 4.7}});
        break;
    case Shape::Warning:
        lines({{8, 2.2}, {14.4, 13.5}, {1.6, 13.5}, {8, 2.2}});
        lines({{8, 6.5}, {8, 9.8}});
        painter.setBrush(colour);
        painter.drawEllipse(QPointF(8, 11.7), 0.4, 0.4);
        break;
    }
}

/// A sieve in the square from (0, 0) to (16, 16), in colours of its own: it stands on foreign backgrounds.
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

QIcon Icons::icon(Shape shape)
{
    return QIcon(new DrawnIcon([shape](QPainter &painter, QIcon::Mode mode) {
        const QPalette palette = QGuiApplication::palette();
        const QPalette::ColorGroup group = mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
        const QColor colour =
            palette.color(group, mode == QIcon::Selected ? QPalette::HighlightedText : QPalette::WindowText);
        const QColor accent = mode == QIcon::Normal || mode == QIcon::Active
                                  ? palette.color(group, QPalette::Highlight)
                                  : colour;
        drawShape(painter, shape, colour, accent);
    }));
}

QIcon Icons::application()
{
    return QIcon(new DrawnIcon([](QPainter &painter, QIcon::Mode) { drawSieve(painter); }));
}

} // namespace sito
