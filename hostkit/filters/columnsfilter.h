// SPDX-License-Identifier: MIT
#pragma once

#include <filters/valuefilter.h>
#include <hostkit/hostkit_export.h>

#include <QStringList>

namespace sito {

/// The plain value filter over some columns of a table, for keys that were typed by a user or read from a
/// file. It refuses texts that ValueFilter would silently change.
///
/// It has no widget.
///
/// **Threads.** As ValueFilter.
///
/// **Cost.** As ValueFilter.
class HOSTKIT_EXPORT ColumnsFilter : public ValueFilter
{
    Q_OBJECT
public:
    /// Makes a filter over \a columns, at least one. Throws Exception for a Raw or Block column: its values
    /// always compare equal, so any key would match every row.
    ColumnsFilter(Table &table, const QList<int> &columns, QObject *parent = nullptr);
    ~ColumnsFilter() override;

    /// The indexes of the columns of these names. Throws Exception for a name that \a table does not have and
    /// for one that is given twice.
    static QList<int> columnsByName(const Table &table, const QStringList &names);

    /// The predicate of keypredicates::makeQuickest().
    FilterFunc *createFilterFunc(QObject *parent) const override;
    /// Always null.
    QWidget *createFilterWidget(QWidget *parent) override;
    /// Does nothing.
    void apply(QWidget *widget) override;
    /// Does nothing.
    void init(QWidget *widget) override;
    /// The names of the columns joined with ",".
    QString name() const override;

    /// The key that keyToValue() writes as \a value.
    ///
    /// Throws Exception, where ValueFilter throws a QString or nothing: for a wrong number of parts, and for
    /// a part that no value of its column can be written as (no number, a number out of range or with more
    /// digits after the point than the column has, not a number at all, a text longer than the column, no
    /// date, an absent value in a column without absent values).
    KeyValue valueToKey(const QString &value) const override;
};

} // namespace sito
