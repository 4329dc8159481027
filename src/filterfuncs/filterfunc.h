// SPDX-License-Identifier: MIT
#pragma once

#include <sito_export.h>

#include <QObject>
#include <QString>

class Record;

/// A question about one row of a table: does this record satisfy it.
///
/// What a true answer means is the host's business; the key predicates that a value filter makes answer true
/// for the rows that the filter excludes.
///
/// A predicate never changes after its construction, and filter() keeps nothing between calls. It belongs to
/// its parent or, without one, to its creator.
///
/// **Threads.** Several threads may call filter() at once as long as nobody writes the rows.
///
/// **Cost.** A host calls filter() for every row; each predicate says how its time grows with the keys.
class SITO_EXPORT FilterFunc : public QObject
{
    Q_OBJECT
public:
    /// Whether \a record satisfies the predicate. \a record must refer to a row.
    virtual bool filter(const Record &record) const = 0;

    /// The class name of the predicate.
    virtual QString toString() const;

protected:
    explicit FilterFunc(QObject *parent);
};
