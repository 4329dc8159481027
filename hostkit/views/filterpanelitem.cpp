// SPDX-License-Identifier: MIT
#include <hostkit/views/filterpanelitem_p.h>

#include <hostkit/views/icons.h>

#include <hostkit/text/filtertext.h>
#include <hostkit/text/labeltext.h>
#include <hostkit/text/shortenedtext.h>

#include <filters/selectfilter.h>

#include <QCheckBox>
#include <QEvent>
#include <QFontMetrics>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QSignalBlocker>
#include <QStyle>
#include <QStyleOptionButton>
#include <QToolButton>
#include <QVBoxLayout>

#include <exception>
#include <memory>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// In characters; nobody would read more.
constexpr qsizetype maxText = 600;

/// Whether \a filter can be edited at all.
bool isEditable(Filter &filter)
{
    if (qobject_cast<SelectFilter *>(&filter))
        return true;
    const std::unique_ptr<QWidget> widget(filter.createFilterWidget(nullptr));
    return widget != nullptr;
}

} // namespace

FilterPanelItem::FilterPanelItem(Filter *filter, QWidget *parent)
    : QFrame(parent),
      m_filter(filter),
      m_check(new QCheckBox(this)),
      m_text(new QLabel(this)),
      m_edit(new QToolButton(this)),
      m_remove(new QToolButton(this))
{
    setObjectName(u"filterPanelItem"_s);
    setFrameShape(QFrame::StyledPanel);
    setAutoFillBackground(true);
    // Not the base colour: a check box on it would be hard to see in a dark palette.
    setBackgroundRole(QPalette::Button);
    m_check->setObjectName(u"switch"_s);
    m_check->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_text->setObjectName(u"text"_s);
    m_text->setTextFormat(Qt::PlainText);
    m_text->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_edit->setObjectName(u"edit"_s);
    m_edit->setIcon(Icons::icon(Icons::Shape::Edit));
    m_edit->setVisible(isEditable(*filter));
    m_remove->setObjectName(u"remove"_s);
    m_remove->setIcon(Icons::icon(Icons::Shape::Close));
    for (QToolButton *button : {m_edit, m_remove}) {
        button->setAutoRaise(true);
        button->setFocusPolicy(Qt::StrongFocus);
    }

    auto *top = new QHBoxLayout;
    top->setSpacing(0);
    top->addWidget(m_check, 1);
    top->addWidget(m_edit);
    top->addWidget(m_remove);
    auto *below = new QHBoxLayout;
    // Below the name, not below the box.
    QStyleOptionButton option;
    option.initFrom(m_check);
    const int indent = style()->subElementRect(QStyle::SE_CheckBoxContents, &option, m_check).left();
    below->addSpacing(std::max(indent, fontMetrics().height()));
    below->addWidget(m_text, 1);
    auto *layout = new QVBoxLayout(this);
    const int margin = fontMetrics().height() / 3;
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->setSpacing(1);
    layout->addLayout(top);
    layout->addLayout(below);

    connect(m_check, &QCheckBox::toggled, this, [this](bool on) { m_filter->setEnabled(on); });
    connect(m_edit, &QToolButton::clicked, this, [this] { Q_EMIT editRequested(m_edit); });
    connect(m_remove, &QToolButton::clicked, this, &FilterPanelItem::removeRequested);
    update();
}

void FilterPanelItem::update()
{
    const QSignalBlocker blocker(m_check);
    m_name = displayName(*m_filter);
    m_value = shortenedText(displayText(*m_filter).simplified(), maxText);
    if (m_value.isEmpty())
        m_value = tr("ничего не скрывает");
    m_check->setChecked(m_filter->isEnabled());
    m_check->setAccessibleName(m_name);
    m_check->setAccessibleDescription(m_value);
    m_check->setToolTip(m_filter->isEnabled() ? tr("Выключить фильтр") : tr("Включить фильтр"));
    m_text->setToolTip(m_value);
    m_text->setForegroundRole(m_filter->isEnabled() ? QPalette::ButtonText : QPalette::PlaceholderText);
    m_edit->setToolTip(tr("Изменить"));
    m_edit->setAccessibleName(tr("Изменить фильтр %1").arg(m_name));
    m_remove->setToolTip(tr("Удалить"));
    m_remove->setAccessibleName(tr("Удалить фильтр %1").arg(m_name));
    elide();
}

void FilterPanelItem::elide()
{
    QStyleOptionButton option;
    option.initFrom(m_check);
    const int box = style()->subElementRect(QStyle::SE_CheckBoxContents, &option, m_check).left();
    const QFontMetrics metrics = m_check->fontMetrics();
    m_check->setText(
        labelText(metrics.elidedText(m_name, Qt::ElideRight, std::max(0, m_check->width() - box - 2))));
    m_text->setText(m_text->fontMetrics().elidedText(m_value, Qt::ElideRight, m_text->width()));
}

void FilterPanelItem::changeEvent(QEvent *event)
{
    QFrame::changeEvent(event);
    if (event->type() == QEvent::LanguageChange)
        update();
}

void FilterPanelItem::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Delete)
        Q_EMIT removeRequested();
    else if (event->key() == Qt::Key_F2 && !m_edit->isHidden())
        Q_EMIT editRequested(m_edit);
    else
        QFrame::keyPressEvent(event);
}

void FilterPanelItem::resizeEvent(QResizeEvent *event)
{
    QFrame::resizeEvent(event);
    layout()->activate();
    elide();
}

} // namespace sito
