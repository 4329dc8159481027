// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QRect>
#include <QWidget>

namespace sito {

/// The grip in a corner of a popup by which its user makes it larger and smaller: by the mouse or, with the
/// focus, by the arrow keys.
///
/// Unlike QSizeGrip, it does not ask the window manager, which leaves popups alone, and takes keys.
class SizeGrip final : public QWidget
{
    Q_OBJECT
public:
    explicit SizeGrip(QWidget *popup);

    void setCorner(Qt::Corner corner);
    Qt::Corner corner() const { return m_corner; }
    bool isLeft() const { return m_corner == Qt::TopLeftCorner || m_corner == Qt::BottomLeftCorner; }
    bool isTop() const { return m_corner == Qt::TopLeftCorner || m_corner == Qt::TopRightCorner; }

    /// Of edges: between that of the text and that of the window, so that it shows on dark and on light.
    static QColor edgeColor(const QPalette &palette);

Q_SIGNALS:
    /// The corner is to move \a by so much from where it is when the window has the geometry \a from.
    void dragged(const QRect &from, const QPoint &by);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    Qt::Corner m_corner = Qt::BottomRightCorner;
    bool m_isPressed = false;
    QPoint m_pressed;
    QRect m_from;
};

} // namespace sito
