// SPDX-License-Identifier: MIT
#include <browser/parts/noticebar.h>

#include <QAccessible>
#include <QBoxLayout>
#include <QEvent>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QToolButton>

namespace sito {

NoticeBar::NoticeBar(QWidget *parent)
    : QFrame(parent),
      m_icon(new QLabel(this)),
      m_text(new QLabel(this)),
      m_button(new QPushButton(this)),
      m_close(new QToolButton(this))
{
    setFrameStyle(QFrame::StyledPanel);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::ToolTipBase);
    m_text->setWordWrap(true);
    m_text->setForegroundRole(QPalette::ToolTipText);
    m_text->setTextFormat(Qt::PlainText);
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_text->setObjectName(QStringLiteral("text"));
    m_button->setObjectName(QStringLiteral("button"));
    m_close->setObjectName(QStringLiteral("close"));
    m_close->setAutoRaise(true);
    m_close->setFocusPolicy(Qt::StrongFocus);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(6, 3, 6, 3);
    layout->addWidget(m_icon);
    layout->addWidget(m_text, 1);
    layout->addWidget(m_button);
    layout->addWidget(m_close);
    connect(m_button, &QPushButton::clicked, this, &NoticeBar::triggered);
    connect(m_close, &QToolButton::clicked, this, &NoticeBar::clear);
    retranslate();
    hide();
}

void NoticeBar::retranslate()
{
    m_close->setIcon(Icons::icon(Icons::Shape::Close));
    m_close->setToolTip(tr("Закрыть сообщение"));
    m_close->setAccessibleName(m_close->toolTip());
}

void NoticeBar::showIcon()
{
    const int size = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
    m_icon->setPixmap(Icons::icon(m_shape).pixmap(QSize(size, size), devicePixelRatioF()));
}

void NoticeBar::changeEvent(QEvent *event)
{
    QFrame::changeEvent(event);
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    else if (event->type() == QEvent::PaletteChange)
        showIcon();
}

void NoticeBar::tell(Icons::Shape icon, const QString &text, const QString &button)
{
    m_shape = icon;
    showIcon();
    m_text->setText(text);
    m_button->setText(button);
    m_button->setVisible(!button.isEmpty());
    setAccessibleName(text);
    show();
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

void NoticeBar::setClosable(bool closable)
{
    m_close->setVisible(closable);
}

QString NoticeBar::text() const
{
    return isHidden() ? QString() : m_text->text();
}

void NoticeBar::clear()
{
    hide();
}

} // namespace sito
