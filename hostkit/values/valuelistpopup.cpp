// SPDX-License-Identifier: MIT
#include <hostkit/values/valuelistpopup_p.h>

#include <hostkit/values/sizegrip_p.h>

#include <QEvent>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
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

} // namespace

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
    m_grip = new SizeGrip(this);

    connect(m_grip, &SizeGrip::dragged, this, &ValueListPopup::stretch);
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
    m_apply->setText(tr("&Применить"));
    m_cancel->setText(tr("О&тмена"));
    m_grip->setAccessibleName(tr("Размер"));
    m_grip->setToolTip(tr("Размер: тяните мышью или нажимайте стрелки"));
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
    painter.setPen(QPen(SizeGrip::edgeColor(palette()), edgeWidth));
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
    m_grip->move(m_grip->isLeft() ? edgeWidth : width() - edgeWidth - m_grip->width(),
                 m_grip->isTop() ? edgeWidth : height() - edgeWidth - m_grip->height());
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
    if (m_grip->isLeft())
        most.setRight(from.right());
    else
        most.setLeft(from.left());
    if (m_grip->isTop())
        most.setBottom(from.bottom());
    else
        most.setTop(from.top());
    const QSize growth(m_grip->isLeft() ? -by.x() : by.x(), m_grip->isTop() ? -by.y() : by.y());
    QRect stretched(from.topLeft(),
                    (from.size() + growth).boundedTo(most.size()).expandedTo(minimumSizeHint()));
    if (m_grip->isLeft())
        stretched.moveRight(from.right());
    if (m_grip->isTop())
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
        m_grip->setCorner(growsRight ? Qt::BottomRightCorner : Qt::BottomLeftCorner);
    else
        m_grip->setCorner(growsRight ? Qt::TopRightCorner : Qt::TopLeftCorner);
    placeGrip();
    move(roomyX, std::clamp(y, room.top(), room.bottom() + 1 - height()));
    show();
    m_content->setFocus(Qt::PopupFocusReason);
}

} // namespace sito
