// SPDX-License-Identifier: MIT
#pragma once

#include <filters/valuefilter.h>
#include <hostkit/hostkit_export.h>

#include <QStringList>

namespace sito {

/// The plain value filter over some columns of a table, for keys that were typed by a person or read from a
/// file: it refuses texts that ValueFilter would quietly make something else of.
///
/// It has no widget.
class HOSTKIT_EXPORT ColumnsFilter : public ValueFilter
{
    Q_OBJECT
public:
    /// A filter over \a columns, of which there must be at least one. Throws Exception for a Raw or Block
    /// column: their values are never told apart, so that any key of one would match every row.
    ColumnsFilter(Table &table, const QList<int> &columns, QObject *parent = nullptr);
    ~ColumnsFilter() override;

    /// The indexes of the columns of these names. Throws Exception for a name that \a table does not have and for one
    /// that is given twice.
    static QList<int> columnsByName(const Table &table, const QStringList &names);

    /// The library's predicate that is quickest for so many keys.
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
