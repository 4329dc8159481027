// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <data/keyvalue.h>

#include <QList>
#include <QWidget>

#include <memory>
#include <vector>

class FilterFunc;
class Table;

namespace sito {

class ValueListWidgetPrivate;

/// A list of the values that one or several columns of a table hold, each with the number of its rows and a
/// check box: what is unchecked is excluded. The widget of ValueListFilter.
///
/// A search narrows the list while one types; the buttons below check, uncheck and invert what it shows, and
/// leave the rest as it is. The arrow keys go from the search into the list and back, Space checks and
/// unchecks the selected values, Return asks to be done with it (accepted()), and letters typed in the list
/// go to the search.
///
/// **Threads.** The values are counted, and searched, in threads of parallel::threadPool(). Counting waits until it
/// gets the table's lock, however long that takes, and holds it while it reads the table. fill(), cancel() and the
/// destructor stop what runs and wait for it; that takes no longer than the predicates take for one row, or a
/// tenth of a second while somebody else has the lock, the calling thread included.
///
/// The table, and whatever the predicates read, must live until cancel() is called or the widget is deleted.
class HOSTKIT_EXPORT ValueListWidget : public QWidget
{
    Q_OBJECT
public:
    explicit ValueListWidget(QWidget *parent = nullptr);
    ~ValueListWidget() override;

    /// Shows the values of \a columns in the rows of \a table for which none of \a hiddenBy answers true, in
    /// the order of their keys, and in any case the values of \a excluded, which are unchecked. At least one
    /// column; none of type Raw or Block. Returns at once, ready() follows. A key that has fewer values than
    /// there are columns makes the counting fail.
    void fill(Table &table, const QList<int> &columns,
              const std::vector<std::shared_ptr<const FilterFunc>> &hiddenBy,
              const QList<KeyValue> &excluded);
    /// Stops counting and searching, and empties the list, excludedKeys() included. When it returns, the widget
    /// refers to neither the table nor the predicates any more. If somebody else had the table's lock for long, a
    /// thread may still be waiting for it: call parallel::waitForWaiters() before deleting such a table.
    void cancel();
    /// Whether the values are there: from ready() on, unless they could not be counted, until the next fill()
    /// or cancel().
    bool isReady() const;
    /// Shows \a message above the list, or nothing for an empty one.
    void showMessage(const QString &message);

    /// The keys of the unchecked values, in the types of the columns, and behind them those of fill()'s keys
    /// that could not be shown: such that do not become values of the columns, and such with a NaN. Unless
    /// isReady(), the keys that fill() got, none after cancel().
    QList<KeyValue> excludedKeys() const;

    QSize sizeHint() const override;

Q_SIGNALS:
    /// The values are shown, or could not be counted: then a message says why.
    void ready();
    /// The user is done: Return was pressed in the list or in the search, and the values are there.
    void accepted();
    /// A value was checked or unchecked.
    void changed();

protected:
    void changeEvent(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    const std::unique_ptr<ValueListWidgetPrivate> d;
};

} // namespace sito
