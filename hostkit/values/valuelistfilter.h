// SPDX-License-Identifier: MIT
#pragma once

#include <filters/selectfilter.h>
#include <hostkit/hostkit_export.h>

#include <QPointer>
#include <QRect>
#include <QSize>

class QDialog;

namespace sito {

class FilterList;

/// The filter whose values are chosen from a list: of one column, or of the combinations of several.
///
/// What is stored are the values that are hidden, so that values that are new in the data show at once.
class HOSTKIT_EXPORT ValueListFilter : public SelectFilter
{
    Q_OBJECT
public:
    /// A filter over \a columns, of which there must be at least one. Throws Exception for a Raw or Block
    /// column, as ColumnsFilter does.
    ValueListFilter(Table &table, const QList<int> &columns, QObject *parent = nullptr);
    ~ValueListFilter() override;

    /// The list that this filter belongs to, which may be null: the values offered are those of the rows that
    /// its other filters leave. Not owned; may be deleted at any time.
    void setSiblings(FilterList *siblings);

    /// As ValueFilter::createFilterFunc(); a KeyFilterFunc_Hash for many keys.
    FilterFunc *createFilterFunc(QObject *parent) const override;
    /// A new ValueListWidget.
    QWidget *createFilterWidget(QWidget *parent) override;
    /// Takes over what is unchecked in \a widget. Does nothing before its values are there, and with another
    /// kind of widget.
    void apply(QWidget *widget) override;
    /// Lets \a widget count the values and show them; returns at once. It needs neither the filter nor its
    /// siblings after that, but the table and the rows that the predicates of the siblings read; see
    /// ValueListWidget::cancel().
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
    /// Shows the list as a popup below \a parent, which may be null. Returns at once. When the user agrees,
    /// apply() takes the choice over, the filter is switched on exactly if it has a value, and asincChanged()
    /// is emitted; Escape and a click elsewhere drop the choice. As long as the values are not there, one cannot
    /// agree.
    void select(QWidget *parent) override;
    /// The same below \a place, a rectangle on the screen.
    void select(QWidget *parent, const QRect &place);

    /// The size that the user gave the popups, which all of them share; not valid as long as they have their own.
    /// For hosts that keep it from one run to the next, as is setPopupSize(), which popups to come go by.
    static QSize popupSize();
    static void setPopupSize(const QSize &size);

private:
    QPointer<FilterList> m_siblings;
    QPointer<QDialog> m_popup;
};

} // namespace sito
