// SPDX-License-Identifier: MIT
#include <browser/parts/messagebar.h>

#include <hostkit/views/icons.h>

#include <QAccessible>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QStyle>
#include <QToolButton>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// More messages would push the table out of the window.
constexpr qsizetype maxShown = 4;

} // namespace

MessageBar::MessageBar(QWidget *parent)
    : QFrame(parent), m_icon(new QLabel), m_text(new QLabel), m_close(new QToolButton)
{
    setObjectName(u"messageBar"_s);
    m_text->setObjectName(u"messageText"_s);
    m_text->setWordWrap(true);
    m_text->setTextFormat(Qt::PlainText);
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_text->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_close->setObjectName(u"closeMessage"_s);
    m_close->setAutoRaise(true);
    m_close->setIcon(Icons::icon(Icons::Shape::Close));
    auto *layout = new QHBoxLayout(this);
    layout->addWidget(m_icon, 0, Qt::AlignTop);
    layout->addWidget(m_text, 1);
    layout->addWidget(m_close, 0, Qt::AlignTop);
    connect(m_close, &QToolButton::clicked, this, [this] { showMessages({}); });
    retranslate();
    hide();
}

void MessageBar::showMessages(const QStringList &messages)
{
    m_messages = messages;
    QStringList shown = messages.first(std::min(messages.size(), maxShown));
    if (messages.size() > maxShown)
        shown.append(tr("и ещё: %1").arg(messages.size() - maxShown));
    m_text->setText(shown.join(u'\n'));
    m_text->setToolTip(messages.size() > maxShown ? messages.join(u'\n') : QString());
    m_text->setAccessibleName(messages.join(u'\n'));
    setVisible(!messages.isEmpty());
    if (!messages.isEmpty()) {
        QAccessibleEvent event(m_text, QAccessible::Alert);
        QAccessible::updateAccessibility(&event);
    }
}

void MessageBar::addMessage(const QString &message)
{
    if (!m_messages.contains(message))
        showMessages(m_messages + QStringList{message});
}

void MessageBar::removeMessage(const QString &message)
{
    QStringList others = m_messages;
    if (others.removeOne(message))
        showMessages(others);
}

void MessageBar::retranslate()
{
    m_close->setToolTip(tr("Закрыть сообщение"));
    m_close->setAccessibleName(m_close->toolTip());
    const int side = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
    m_icon->setPixmap(Icons::icon(Icons::Shape::Warning).pixmap(QSize(side, side), devicePixelRatioF()));
}

void MessageBar::changeEvent(QEvent *event)
{
    QFrame::changeEvent(event);
    if (event->type() == QEvent::LanguageChange || event->type() == QEvent::PaletteChange)
        retranslate();
}

void MessageBar::paintEvent(QPaintEvent *)
{
    // A tint of amber over the window's colour: text stays readable in light and dark palettes.
    QPainter painter(this);
    const QColor window = palette().color(QPalette::Window);
    const QColor amber(0xf0, 0xa0, 0x20);
    const auto mix = [](int a, int b, int percent) { return (a * (100 - percent) + b * percent) / 100; };
    const int share = 22;
    painter.fillRect(rect(),
                     QColor(mix(window.red(), amber.red(), share), mix(window.green(), amber.green(), share),
                            mix(window.blue(), amber.blue(), share)));
    painter.fillRect(QRect(0, 0, std::max(3, fontMetrics().height() / 4), height()), amber);
}

} // namespace sito
