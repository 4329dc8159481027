// SPDX-License-Identifier: MIT
#include <hostkit/values/sizegrip_p.h>

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPalette>

namespace sito {

namespace {
constexpr int gripSide = 14;
} // namespace

SizeGrip::SizeGrip(QWidget *popup) : QWidget(popup)
{
    setObjectName(QStringLiteral("grip"));
    setFixedSize(gripSide, gripSide);
    setFocusPolicy(Qt::TabFocus);
    setCorner(Qt::BottomRightCorner);
}

void SizeGrip::setCorner(Qt::Corner corner)
{
    m_corner = corner;
    setCursor(isLeft() == isTop() ? Qt::SizeFDiagCursor : Qt::SizeBDiagCursor);
    update();
}

void SizeGrip::mousePressEvent(QMouseEvent *event)
{
    m_isPressed = event->button() == Qt::LeftButton;
    m_pressed = event->globalPosition().toPoint();
    m_from = window()->geometry();
}

void SizeGrip::mouseMoveEvent(QMouseEvent *event)
{
    if (m_isPressed)
        Q_EMIT dragged(m_from, event->globalPosition().toPoint() - m_pressed);
}

void SizeGrip::mouseReleaseEvent(QMouseEvent *)
{
    m_isPressed = false;
}

void SizeGrip::keyPressEvent(QKeyEvent *event)
{
    const int step = fontMetrics().height();
    switch (event->key()) {
    case Qt::Key_Left:
        Q_EMIT dragged(window()->geometry(), {-step, 0});
        return;
    case Qt::Key_Right:
        Q_EMIT dragged(window()->geometry(), {step, 0});
        return;
    case Qt::Key_Up:
        Q_EMIT dragged(window()->geometry(), {0, -step});
        return;
    case Qt::Key_Down:
        Q_EMIT dragged(window()->geometry(), {0, step});
        return;
    default:
        QWidget::keyPressEvent(event);
    }
}

void SizeGrip::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(
        {hasFocus() ? palette().color(QPalette::Highlight) : edgeColor(palette()), hasFocus() ? 2.0 : 1.2});
    // As in the corner at the bottom right.
    painter.translate(gripSide / 2.0, gripSide / 2.0);
    painter.scale(isLeft() ? -1 : 1, isTop() ? -1 : 1);
    painter.translate(-gripSide / 2.0, -gripSide / 2.0);
    const qreal end = gripSide - 3;
    for (const qreal length : {3.0, 6.0, 9.0})
        painter.drawLine(QPointF(end - length, end), QPointF(end, end - length));
}

QColor SizeGrip::edgeColor(const QPalette &palette)
{
    const QColor text = palette.color(QPalette::WindowText);
    const QColor window = palette.color(QPalette::Window);
    return {(text.red() + window.red()) / 2, (text.green() + window.green()) / 2,
            (text.blue() + window.blue()) / 2};
}

} // namespace sito
