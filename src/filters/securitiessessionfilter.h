// SPDX-License-Identifier: MIT
#pragma once

#include <filters/valuefilter.h>

/// The value filter that starts with the last session of every security: for each "stock_id" of the
/// database's table "sessions" one excluded key of two fields, the security and its highest "sess_id" (0 when
/// none is above 0).
///
/// It is meant for two columns that hold a security and a session, in this order; that is not checked. The
/// keys are of type Int, whatever the columns are: over Int columns they behave like any others, but an Int
/// is never equal to an Int64 of the same number, so that over Int64 columns keyFromRecord() gives keys that
/// hasExcludedKey() does not find among these, and value() restored by setValue() gives keys of the columns'
/// own types. The predicate converts keys and is right in both cases.
///
/// The table is read once, when the filter is made; from then on the filter is like any other, and clear()
/// drops these keys too. The filter has no widget and no name.
///
/// **Threads.** As ValueFilter; the constructor waits for the lock of the table "sessions".
///
/// **Cost.** The constructor reads each row of that table once; a row whose security was neither that of the
/// row before nor followed it the last time costs a search among the securities. After that, as ValueFilter.
class SITO_EXPORT SecuritiesSessionFilter : public ValueFilter
{
    Q_OBJECT
public:
    /// Reads the table "sessions" of ICore's database, once through its master index, holding its lock from
    /// the look-up of the columns until the last key is added; the lock is free again however the constructor
    /// ends.
    ///
    /// Ids are read as 32-bit integers: an absent value is 0, an Int64 is limited to the range, a text that
    /// is no such integer is 0.
    ///
    /// Throws Exception:
    /// - "Incorrect type conversion." for a present value of any other type;
    /// - "There is no table '%1'." when the database has no table "sessions";
    /// - "There is no column '%1' in the table '%2'." when that table lacks "stock_id" or "sess_id".
    SecuritiesSessionFilter(Table &table, int firstId, const QList<int> &columns, int secondId,
                            QObject *parent);
    ~SecuritiesSessionFilter() override;

    /// Always null.
    QWidget *createFilterWidget(QWidget *parent) override;
    /// Does nothing.
    void apply(QWidget *widget) override;
    /// Does nothing.
    void init(QWidget *widget) override;
    /// Always empty.
    QString name() const override;
};
