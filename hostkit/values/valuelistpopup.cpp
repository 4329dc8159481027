// SPDX-License-Identifier: MIT
#include <hostkit/values/valuelistpopup_p.h>

#include <hostkit/values/valuelistfilter.h>

#include <QEvent>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPalette>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>

#include <algorithm>

namespace sito {

namespace {

constexpr int edgeWidth = 1;
QSize wanted;

QRect roomAround(const QRect &place)
{
    const QScreen *screen = QGuiApplication::screenAt(place.center());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    return screen->availableGeometry();
}

bool isLeft(Qt::Corner corner)
{
    return corner == Qt::TopLeftCorner || corner == Qt::BottomLeftCorner;
}

bool isTop(Qt::Corner corner)
{
    return corner == Qt::TopLeftCorner || corner == Qt::TopRightCorner;
}

} // namespace

/// Unlike QSizeGrip, it does not ask the window manager, which leaves popups alone, and takes keys.
class ValueListPopup::Grip final : public QWidget
{
public:
    static constexpr int side = 14;

    explicit Grip(ValueListPopup *popup) : QWidget(popup), m_popup(popup)
    {
        setObjectName(QStringLiteral("grip"));
        setFixedSize(side, side);
        setFocusPolicy(Qt::TabFocus);
    }

    void setCorner(Qt::Corner corner)
    {
        m_corner = corner;
        setCursor(isLeft(corner) == isTop(corner) ? Qt::SizeFDiagCursor : Qt::SizeBDiagCursor);
        update();
    }

protected:
    void mousePressEvent(QMouseEvent *event) override
    {
        m_isPressed = event->button() == Qt::LeftButton;
        m_pressed = event->globalPosition().toPoint();
        m_from = m_popup->geometry();
    }
    void mouseMoveEvent(QMouseEvent *event) override
    {
        if (m_isPressed)
            m_popup->stretch(m_from, event->globalPosition().toPoint() - m_pressed);
    }
    void mouseReleaseEvent(QMouseEvent *) override { m_isPressed = false; }

    void keyPressEvent(QKeyEvent *event) override
    {
        const int step = fontMetrics().height();
        switch (event->key()) {
        case Qt::Key_Left:
            m_popup->stretch(m_popup->geometry(), {-step, 0});
            return;
        case Qt::Key_Right:
            m_popup->stretch(m_popup->geometry(), {step, 0});
            return;
        case Qt::Key_Up:
            m_popup->stretch(m_popup->geometry(), {0, -step});
            return;
        case Qt::Key_Down:
            m_popup->stretch(m_popup->geometry(), {0, step});
            return;
        default:
            QWidget::keyPressEvent(event);
        }
    }

    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen({hasFocus() ? palette().color(QPalette::Highlight) : edgeColor(palette()),
                        hasFocus() ? 2.0 : 1.2});
        // As in the corner at the bottom right.
        painter.translate(side / 2.0, side / 2.0);
        painter.scale(isLeft(m_corner) ? -1 : 1, isTop(m_corner) ? -1 : 1);
        painter.translate(-side / 2.0, -side / 2.0);
        const qreal end = side - 3;
        for (const qreal length : {3.0, 6.0, 9.0})
            painter.drawLine(QPointF(end - length, end), QPointF(end, end - length));
    }

private:
    ValueListPopup *const m_popup;
    Qt::Corner m_corner = Qt::BottomRightCorner;
    bool m_isPressed = false;
    QPoint m_pressed;
    QRect m_from;
};

ValueListPopup::ValueListPopup(const QString &title, QWidget *content, QWidget *parent)
    : QDialog(parent, Qt::Popup), m_content(content)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setAccessibleName(title);

    auto *heading = new QLabel(title);
    heading->setObjectName(QStringLiteral("heading"));
    heading->setTextFormat(Qt::PlainText);
    QFont font = heading->font();
    font.setBold(true);
    heading->setFont(font);
    heading->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_apply = new QPushButton;
    m_apply->setObjectName(QStringLiteral("apply"));
    m_apply->setDefault(true);
    m_apply->setEnabled(false);
    m_cancel = new QPushButton;
    m_cancel->setObjectName(QStringLiteral("cancel"));

    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_apply);
    buttons->addWidget(m_cancel);
    setContentsMargins(edgeWidth, edgeWidth, edgeWidth, edgeWidth);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(heading);
    layout->addWidget(content, 1);
    layout->addLayout(buttons);
    m_grip = new Grip(this);

    connect(m_apply, &QPushButton::clicked, this, &QDialog::accept);
    connect(m_cancel, &QPushButton::clicked, this, &QDialog::reject);
    retranslate();
}

void ValueListPopup::setApplicable(bool applicable)
{
    m_apply->setEnabled(applicable);
}

void ValueListPopup::retranslate()
{
    m_apply->setText(ValueListFilter::tr("&Применить"));
    m_cancel->setText(ValueListFilter::tr("О&тмена"));
    m_grip->setAccessibleName(ValueListFilter::tr("Размер"));
    m_grip->setToolTip(ValueListFilter::tr("Размер: тяните мышью или нажимайте стрелки"));
}

void ValueListPopup::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QDialog::changeEvent(event);
}

void ValueListPopup::paintEvent(QPaintEvent *event)
{
    QDialog::paintEvent(event);
    QPainter painter(this);
    painter.setPen(QPen(edgeColor(palette()), edgeWidth));
    painter.drawRect(
        QRectF(rect()).adjusted(edgeWidth / 2.0, edgeWidth / 2.0, -edgeWidth / 2.0, -edgeWidth / 2.0));
}

void ValueListPopup::resizeEvent(QResizeEvent *event)
{
    QDialog::resizeEvent(event);
    placeGrip();
}

void ValueListPopup::placeGrip()
{
    m_grip->move(isLeft(m_corner) ? edgeWidth : width() - edgeWidth - m_grip->width(),
                 isTop(m_corner) ? edgeWidth : height() - edgeWidth - m_grip->height());
    m_grip->setCorner(m_corner);
}

QColor ValueListPopup::edgeColor(const QPalette &palette)
{
    const QColor text = palette.color(QPalette::WindowText);
    const QColor window = palette.color(QPalette::Window);
    return {(text.red() + window.red()) / 2, (text.green() + window.green()) / 2,
            (text.blue() + window.blue()) / 2};
}

QSize ValueListPopup::wantedSize()
{
    return wanted;
}

void ValueListPopup::setWantedSize(const QSize &size)
{
    wanted = size;
}

void ValueListPopup::stretch(const QRect &from, const QPoint &by)
{
    QRect most = roomAround(from);
    if (isLeft(m_corner))
        most.setRight(from.right());
    else
        most.setLeft(from.left());
    if (isTop(m_corner))
        most.setBottom(from.bottom());
    else
        most.setTop(from.top());
    const QSize growth(isLeft(m_corner) ? -by.x() : by.x(), isTop(m_corner) ? -by.y() : by.y());
    QRect stretched(from.topLeft(),
                    (from.size() + growth).boundedTo(most.size()).expandedTo(minimumSizeHint()));
    if (isLeft(m_corner))
        stretched.moveRight(from.right());
    if (isTop(m_corner))
        stretched.moveBottom(from.bottom());
    setGeometry(stretched);
    wanted = stretched.size();
}

void ValueListPopup::popup(const QRect &place)
{
    const QRect room = roomAround(place);
    ensurePolished();
    layout()->activate();
    const QSize size = wanted.isValid() ? wanted.expandedTo(minimumSizeHint()) : sizeHint();
    resize(size.boundedTo(room.size()));
    const int below = room.bottom() - place.bottom();
    const int above = place.top() - room.top();
    const bool goesBelow = below >= height() || below >= above;
    const int x = isRightToLeft() ? place.right() + 1 - width() : place.left();
    const int y = goesBelow ? place.bottom() + 1 : place.top() - height();
    const int roomyX = std::clamp(x, room.left(), room.right() + 1 - width());
    const bool growsRight = isRightToLeft() ? roomyX > x : roomyX >= x;
    if (goesBelow)
        m_corner = growsRight ? Qt::BottomRightCorner : Qt::BottomLeftCorner;
    else
        m_corner = growsRight ? Qt::TopRightCorner : Qt::TopLeftCorner;
    placeGrip();
    move(roomyX, std::clamp(y, room.top(), room.bottom() + 1 - height()));
    show();
    m_content->setFocus(Qt::PopupFocusReason);
}

} // namespace sito
