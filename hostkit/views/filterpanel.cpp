// SPDX-License-Identifier: MIT
#include <hostkit/views/filterpanel.h>

#include <hostkit/views/filterpanelitem_p.h>
#include <hostkit/views/icons.h>

#include <hostkit/filters/filterlist.h>
#include <hostkit/text/labeltext.h>

#include <filters/filter.h>

#include <QCheckBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QScrollArea>
#include <QToolButton>
#include <QVBoxLayout>

namespace sito {

using namespace Qt::StringLiterals;

FilterPanel::FilterPanel(QWidget *parent)
    : QWidget(parent),
      m_clear(new QToolButton),
      m_sets(new QToolButton),
      m_setsMenu(new QMenu(this)),
      m_scrollArea(new QScrollArea),
      m_rows(new QVBoxLayout),
      m_note(new QLabel)
{
    setObjectName(u"filterPanel"_s);
    m_clear->setObjectName(u"clearAll"_s);
    m_clear->setIcon(Icons::icon(Icons::Shape::FilterOff));
    m_sets->setObjectName(u"sets"_s);
    m_sets->setIcon(Icons::icon(Icons::Shape::Sets));
    m_sets->setPopupMode(QToolButton::InstantPopup);
    m_sets->setMenu(m_setsMenu);
    m_setsMenu->setObjectName(u"setsMenu"_s);
    for (QToolButton *button : {m_clear, m_sets}) {
        button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        button->setAutoRaise(true);
        button->setFocusPolicy(Qt::StrongFocus);
    }
    m_note->setObjectName(u"panelNote"_s);
    m_note->setWordWrap(true);
    m_note->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    m_note->setForegroundRole(QPalette::PlaceholderText);

    auto *content = new QWidget;
    auto *contentLayout = new QVBoxLayout(content);
    const int gap = fontMetrics().height() / 3;
    contentLayout->setContentsMargins(gap, gap, gap, gap);
    contentLayout->addWidget(m_note);
    m_rows->setSpacing(gap);
    contentLayout->addLayout(m_rows);
    contentLayout->addStretch();
    m_scrollArea->setWidget(content);
    m_scrollArea->setWidgetResizable(true);
    m_scrollArea->setFrameShape(QFrame::NoFrame);
    m_scrollArea->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scrollArea->setFocusPolicy(Qt::NoFocus);

    auto *buttons = new QHBoxLayout;
    buttons->setContentsMargins(gap, gap, gap, 0);
    buttons->setSpacing(gap);
    buttons->addWidget(m_clear);
    buttons->addWidget(m_sets);
    buttons->addStretch();
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(buttons);
    layout->addWidget(m_scrollArea, 1);

    connect(m_clear, &QToolButton::clicked, this, [this] {
        if (m_filters)
            m_filters->clear();
    });
    retranslate();
}

FilterPanel::~FilterPanel() = default;

void FilterPanel::setFilters(FilterList *filters)
{
    if (m_filters == filters)
        return;
    if (m_filters)
        disconnect(m_filters, nullptr, this, nullptr);
    const QList<Filter *> shown = m_items.keys();
    for (Filter *filter : shown)
        removeItem(filter);
    m_filters = filters;
    if (filters) {
        for (Filter *filter : filters->filters())
            addItem(filter);
        connect(filters, &FilterList::added, this, &FilterPanel::addItem);
        connect(filters, &FilterList::aboutToBeRemoved, this, &FilterPanel::removeItem);
        connect(filters, &FilterList::filterChanged, this, [this](Filter *filter) {
            if (FilterPanelItem *item = m_items.value(filter))
                item->update();
        });
        connect(filters, &FilterList::changed, this, &FilterPanel::updateState);
        connect(filters, &QObject::destroyed, this, [this] { setFilters(nullptr); });
    }
    updateState();
}

void FilterPanel::setSetNames(const QStringList &names)
{
    m_setNames = names;
    fillSetsMenu();
}

void FilterPanel::focusFirst()
{
    if (m_rows->isEmpty())
        m_sets->setFocus(Qt::ShortcutFocusReason);
    else
        static_cast<FilterPanelItem *>(m_rows->itemAt(0)->widget())
            ->checkBox()
            ->setFocus(Qt::ShortcutFocusReason);
}

void FilterPanel::addItem(Filter *filter)
{
    auto *item = new FilterPanelItem(filter, m_scrollArea->widget());
    m_items.insert(filter, item);
    m_rows->addWidget(item);
    connect(item, &FilterPanelItem::editRequested, this,
            [this, filter](QWidget *button) { Q_EMIT editRequested(filter, button); });
    connect(item, &FilterPanelItem::removeRequested, this, [this, filter] {
        if (m_filters)
            m_filters->remove(filter);
    });
    updateState();
}

void FilterPanel::removeItem(Filter *filter)
{
    FilterPanelItem *item = m_items.take(filter);
    if (!item)
        return;
    // The focus goes to the next filter, or else to the one before.
    const bool hadFocus = item->isAncestorOf(focusWidget()) && focusWidget()->hasFocus();
    const int place = m_rows->indexOf(item);
    m_rows->removeWidget(item);
    item->hide();
    item->deleteLater(); // one of its buttons may have been clicked
    if (hadFocus) {
        const QLayoutItem *next = m_rows->itemAt(std::min(place, m_rows->count() - 1));
        if (next)
            static_cast<FilterPanelItem *>(next->widget())->checkBox()->setFocus(Qt::OtherFocusReason);
        else
            m_sets->setFocus(Qt::OtherFocusReason);
    }
    updateState();
}

void FilterPanel::updateState()
{
    m_clear->setEnabled(!m_items.isEmpty());
    m_note->setVisible(m_items.isEmpty());
    m_sets->setEnabled(m_filters);
    fillSetsMenu();
}

void FilterPanel::fillSetsMenu()
{
    m_setsMenu->clear();
    // clear() keeps submenus, which own their entries. One of their actions may have been triggered just now.
    for (QMenu *old : m_setsMenu->findChildren<QMenu *>())
        old->deleteLater();
    QAction *save = m_setsMenu->addAction(tr("Сохранить набор…"));
    save->setObjectName(u"saveSet"_s);
    save->setEnabled(m_filters && !m_items.isEmpty());
    connect(save, &QAction::triggered, this, &FilterPanel::saveRequested);
    if (m_setNames.isEmpty())
        return;
    m_setsMenu->addSection(tr("Включить набор"));
    auto *deletion = new QMenu(tr("Удалить набор"), m_setsMenu);
    deletion->setObjectName(u"deleteSet"_s);
    for (const QString &name : std::as_const(m_setNames)) {
        const QString label = labelText(name);
        QAction *restore = m_setsMenu->addAction(label);
        connect(restore, &QAction::triggered, this, [this, name] { Q_EMIT restoreRequested(name); });
        connect(deletion->addAction(label), &QAction::triggered, this,
                [this, name] { Q_EMIT deletionRequested(name); });
    }
    m_setsMenu->addSeparator();
    m_setsMenu->addMenu(deletion);
}

void FilterPanel::retranslate()
{
    m_clear->setText(tr("Снять все"));
    m_clear->setToolTip(tr("Убрать все фильтры таблицы"));
    m_sets->setText(tr("Наборы"));
    m_sets->setToolTip(tr("Сохранить и вернуть наборы фильтров"));
    m_note->setText(
        tr("Фильтров нет.\n\nНажмите воронку в заголовке столбца или правую кнопку на ячейке: то, "
           "что скрыто, будет перечислено здесь."));
    m_setsMenu->setTitle(tr("Наборы фильтров"));
    m_scrollArea->setAccessibleName(tr("Фильтры таблицы"));
    updateState();
}

void FilterPanel::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::LanguageChange)
        retranslate();
}

} // namespace sito
