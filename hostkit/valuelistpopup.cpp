// SPDX-License-Identifier: MIT
#include "valuelistpopup_p.h"

#include <hostkit/valuelistfilter.h>

#include <QEvent>
#include <QFrame>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>

#include <algorithm>

ValueListPopup::ValueListPopup(const QString &title, QWidget *content, QWidget *parent)
    : QDialog(parent, Qt::Popup), m_content(content)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setAccessibleName(title);

    m_frame = new QFrame;
    m_frame->setFrameShape(QFrame::StyledPanel);
    auto *outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(m_frame);

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
    auto *layout = new QVBoxLayout(m_frame);
    layout->addWidget(heading);
    layout->addWidget(content, 1);
    layout->addLayout(buttons);

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
}

void ValueListPopup::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QDialog::changeEvent(event);
}

void ValueListPopup::popup(const QRect &place)
{
    const QScreen *screen = QGuiApplication::screenAt(place.center());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    const QRect room = screen->availableGeometry();
    ensurePolished();
    layout()->activate();
    resize(sizeHint().boundedTo(room.size()));
    const int below = room.bottom() - place.bottom();
    const int above = place.top() - room.top();
    const bool goesBelow = below >= height() || below >= above;
    int x = isRightToLeft() ? place.right() + 1 - width() : place.left();
    int y = goesBelow ? place.bottom() + 1 : place.top() - height();
    x = std::clamp(x, room.left(), room.right() + 1 - width());
    y = std::clamp(y, room.top(), room.bottom() + 1 - height());
    move(x, y);
    show();
    m_content->setFocus(Qt::PopupFocusReason);
}
