// SPDX-License-Identifier: MIT
#include <hostkit/values/valuelistfilter.h>

#include <hostkit/filters/filterlist.h>
#include <hostkit/text/exceptiontext.h>
#include <hostkit/text/keychecks_p.h>
#include <hostkit/text/valuetext_p.h>
#include <hostkit/values/valuelistpopup_p.h>
#include <hostkit/values/valuelistwidget.h>

#include <data/table.h>
#include <filterfuncs/filterfunc.h>
#include <filterfuncs/keypredicates.h>

#include <QCursor>
#include <QStringList>

namespace sito {

using namespace Qt::StringLiterals;

ValueListFilter::ValueListFilter(Table &table, const QList<int> &columns, QObject *parent)
    : SelectFilter(table, columns.constFirst(), columns, -1, parent)
{
    keychecks::requireComparable(table, columns);
}

ValueListFilter::~ValueListFilter()
{
    if (!m_popup)
        return;
    // It may be the popup's own signal that led here: it goes later, but the table and the rows may go at
    // once.
    m_popup->findChild<ValueListWidget *>()->cancel();
    m_popup->close();
}

void ValueListFilter::setSiblings(FilterList *siblings)
{
    m_siblings = siblings;
}

void ValueListFilter::follow(TableChanges *changes)
{
    m_changes = changes;
}

FilterFunc *ValueListFilter::createFilterFunc(QObject *parent) const
{
    return keypredicates::makeQuickest(table(), getAllExcludedKeys(), columns(), parent);
}

QWidget *ValueListFilter::createFilterWidget(QWidget *parent)
{
    return new ValueListWidget(parent);
}

void ValueListFilter::apply(QWidget *widget)
{
    const auto *list = qobject_cast<ValueListWidget *>(widget);
    if (list && list->isReady())
        setAllExcludedKeys(list->excludedKeys());
}

void ValueListFilter::init(QWidget *widget)
{
    auto *list = qobject_cast<ValueListWidget *>(widget);
    if (!list)
        return;
    std::vector<std::shared_ptr<const FilterFunc>> hiddenBy;
    QString failure;
    try {
        if (m_siblings)
            hiddenBy = m_siblings->createFilterFuncs(this);
    } catch (...) {
        failure = currentExceptionText();
    }
    list->fill(*table(), columns(), hiddenBy, getAllExcludedKeys(), m_changes);
    if (!failure.isNull())
        list->showMessage(tr("Другие фильтры не учтены: %1").arg(failure));
}

QString ValueListFilter::name() const
{
    QStringList names;
    for (const int column : columns())
        names.append(table()->columnName(column));
    return names.join(u", "_s);
}

QString ValueListFilter::text() const
{
    return hasValue() ? tr("кроме: %1").arg(valuetext::summary(*this)) : QString();
}

QString ValueListFilter::keyToText(const KeyValue &key) const
{
    return valuetext::shown(key);
}

KeyValue ValueListFilter::valueToKey(const QString &value) const
{
    return keychecks::keyFromText(*this, value);
}

QString ValueListFilter::selectActionName() const
{
    return tr("Значения…");
}

void ValueListFilter::select(QWidget *parent)
{
    const QRect place = parent ? QRect(parent->mapToGlobal(QPoint(0, 0)), parent->size())
                               : QRect(QCursor::pos(), QSize(1, 1));
    select(parent, place);
}

void ValueListFilter::select(QWidget *parent, const QRect &place)
{
    if (m_popup)
        m_popup->close();
    auto *list = new ValueListWidget;
    auto *popup = new ValueListPopup(name(), list, parent);
    m_popup = popup;
    connect(list, &ValueListWidget::accepted, popup, &QDialog::accept);
    connect(list, &ValueListWidget::ready, popup, [popup, list] { popup->setApplicable(list->isReady()); });
    connect(popup, &QDialog::accepted, this, [this, list] {
        if (!list->isReady())
            return;
        const QPointer<ValueListFilter> self(this);
        apply(list);
        setEnabled(hasValue());
        // Whoever has heard of that may have deleted the filter.
        if (self)
            Q_EMIT asincChanged();
    });
    // The popup goes when control is back in the event loop, but the table and the rows may go at once.
    connect(popup, &QDialog::finished, list, &ValueListWidget::cancel);
    init(list);
    popup->popup(place);
}

QSize ValueListFilter::popupSize()
{
    return ValueListPopup::wantedSize();
}

void ValueListFilter::setPopupSize(const QSize &size)
{
    ValueListPopup::setWantedSize(size);
}

} // namespace sito
