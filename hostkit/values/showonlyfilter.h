// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/filters/columnsfilter.h>

namespace sito {

/// The filter that shows only the rows whose key is in its set, and hides all others. An empty set hides
/// nothing, as that of any filter without a value.
///
/// The set is the one that ValueFilter calls the excluded keys; its text forms, and what is refused, are
/// those of ColumnsFilter.
///
/// **Threads.** As ValueFilter.
///
/// **Cost.** As ValueFilter; the predicate asks that of keypredicates::makeQuickest().
class HOSTKIT_EXPORT ShowOnlyFilter : public ColumnsFilter
{
    Q_OBJECT
public:
    /// As ColumnsFilter's.
    ShowOnlyFilter(Table &table, const QList<int> &columns, QObject *parent = nullptr);
    ~ShowOnlyFilter() override;

    /// A new predicate: true for the records whose key is not in the set, and false for all while the set is
    /// empty. A NaN equals every double, so that rows with one are shown. Throws Exception for a key that
    /// cannot be converted to the types of the columns.
    FilterFunc *createFilterFunc(QObject *parent) const override;

    /// A ShowOnlyWidget.
    QWidget *createFilterWidget(QWidget *parent) override;
    /// Keeps the keys that are checked in \a widget, which init() has filled; all of them when none is.
    void apply(QWidget *widget) override;
    /// Lists the keys, all of them checked.
    void init(QWidget *widget) override;

    /// "только: " and the names of the columns joined with ", ", translated.
    QString name() const override;
    /// The first keys and the number of the others: "1, 2, 3 (ещё 12)".
    QString text() const override;
    /// The fields as people read them: "(нет значения)", "(пусто)".
    QString keyToText(const KeyValue &key) const override;
};

} // namespace sito
