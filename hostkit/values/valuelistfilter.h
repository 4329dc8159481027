// SPDX-License-Identifier: MIT
#pragma once

#include <filters/selectfilter.h>
#include <hostkit/hostkit_export.h>

#include <QPointer>
#include <QRect>
#include <QSize>

class QDialog;
class TableChanges;

namespace sito {

class FilterList;

/// The filter whose values are chosen from a list: of one column, or of the combinations of several.
///
/// It stores the hidden values, so new values in the data are shown at once.
///
/// **Threads.** As ValueFilter, from the GUI thread; the values are counted in threads of
/// parallel::threadPool().
///
/// **Cost.** As ValueFilter for the hidden values; as ValueListWidget for the list.
class HOSTKIT_EXPORT ValueListFilter : public SelectFilter
{
    Q_OBJECT
public:
    /// Makes a filter over \a columns, at least one. Throws Exception for a Raw or Block column, as
    /// ColumnsFilter does.
    ValueListFilter(Table &table, const QList<int> &columns, QObject *parent = nullptr);
    ~ValueListFilter() override;

    /// Sets the list that this filter belongs to; may be null. Only values of rows that the other filters of
    /// the list show are offered. Not owned; may be deleted at any time.
    void setSiblings(FilterList *siblings);

    /// Lets lists that are shown from now on follow \a changes, which tells of the changes of table(); null
    /// for none. Not owned; must live as long as the table.
    void follow(TableChanges *changes);

    /// As ValueFilter::createFilterFunc(), with the predicate of keypredicates::makeQuickest().
    FilterFunc *createFilterFunc(QObject *parent) const override;
    /// A new ValueListWidget.
    QWidget *createFilterWidget(QWidget *parent) override;
    /// Hides the values that are unchecked in \a widget. Does nothing before its values are counted, or for a
    /// widget of another class.
    void apply(QWidget *widget) override;
    /// Starts counting the values for \a widget; returns at once. Afterwards the widget needs neither the
    /// filter nor its siblings, but it needs the table and the rows that the predicates of the siblings read
    /// until ValueListWidget::cancel().
    void init(QWidget *widget) override;
    /// The names of the columns joined with ", ".
    QString name() const override;
    /// The first hidden values and the number of the others: "кроме: 1, 2, 3 (ещё 12)".
    QString text() const override;
    /// The fields as the list shows them.
    QString keyToText(const KeyValue &key) const override;
    /// As ColumnsFilter::valueToKey(), with its messages.
    KeyValue valueToKey(const QString &value) const override;

    /// "Значения…", translated.
    QString selectActionName() const override;
    /// Shows the list as a popup below \a parent, which may be null. Returns at once. When the user applies
    /// the choice, apply() is called, the filter is switched on if it has a value and off otherwise, and
    /// asincChanged() is emitted. Escape and a click elsewhere cancel. The choice cannot be applied before
    /// the values are counted.
    void select(QWidget *parent) override;
    /// The same below \a place, a rectangle on the screen.
    void select(QWidget *parent, const QRect &place);

    /// The size that the user gave the popups; all popups share it. Invalid if the user gave none. Hosts that
    /// keep it between runs give it back by setPopupSize(), which applies to later popups.
    static QSize popupSize();
    /// See popupSize().
    static void setPopupSize(const QSize &size);

private:
    QPointer<FilterList> m_siblings;
    TableChanges *m_changes = nullptr;
    QPointer<QDialog> m_popup;
};

} // namespace sito
