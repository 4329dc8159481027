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
class TableChanges;

namespace sito {

class ValueListWidgetPrivate;

/// A list of the values in one or several columns of a table, each with the number of its rows and a check
/// box. Unchecked values are excluded. The widget of ValueListFilter.
///
/// A search narrows the list while the user types. The buttons below check, uncheck and invert the listed
/// values only. The arrow keys move between the search and the list, Space checks and unchecks the selected
/// values, Return emits accepted(), and letters typed in the list go to the search.
///
/// **Threads.** The values are counted, and searched, in threads of parallel::threadPool(). Counting waits
/// until it gets the table's lock, however long that takes, and holds it while it reads the table. fill(),
/// cancel() and the destructor stop what runs and wait for it; that takes no longer than the predicates take
/// for one row, or a tenth of a second while somebody else has the lock, the calling thread included.
///
/// The table, and all that the predicates read, must live until cancel() is called or the widget is deleted.
///
/// **Following.** With the changes of the table, fill() makes the list follow it: after a change the values
/// are counted again in the background, at most five times a second and for a tenth of the time. What is
/// checked, selected and searched for stays, and so does the place of the value under the pointer; an
/// unchecked value stays listed when its last row is gone. The table is then locked for some milliseconds at
/// a time.
///
/// **Cost.** Counting reads each row of the table once and calls the predicates for it; it sorts, and holds,
/// only the distinct values. A search makes the texts of all of these, or of those that the last search has
/// left. The GUI thread makes texts only for the rows that it paints.
class HOSTKIT_EXPORT ValueListWidget : public QWidget
{
    Q_OBJECT
public:
    explicit ValueListWidget(QWidget *parent = nullptr);
    ~ValueListWidget() override;

    /// Lists the values of \a columns in the rows of \a table for which no predicate of \a hiddenBy answers
    /// true, in the order of their keys. The keys \a excluded are listed in any case, unchecked. There must
    /// be at least one column, and none of type Raw or Block. Returns at once; ready() follows. Counting
    /// fails if a key has fewer values than there are columns. Follows \a changes, which tells of the changes
    /// of \a table, is not owned and must live as long as the table; null for none.
    void fill(Table &table, const QList<int> &columns,
              const std::vector<std::shared_ptr<const FilterFunc>> &hiddenBy, const QList<KeyValue> &excluded,
              TableChanges *changes = nullptr);
    /// Stops counting and searching, and empties the list, excludedKeys() included. When it returns, the
    /// widget refers to neither the table nor the predicates any more. If somebody else had the table's lock
    /// for long, a thread may still be waiting for it: call parallel::waitForWaiters() before deleting such a
    /// table.
    void cancel();
    /// Whether the values are counted: from ready() until the next fill() or cancel(), unless counting
    /// failed.
    bool isReady() const;
    /// Shows \a message above the list; an empty one removes it.
    void showMessage(const QString &message);

    /// The keys of the unchecked values, in the types of the columns. They are followed by those keys of
    /// fill() that could not be listed, because they are no values of the columns or hold a NaN. Unless
    /// isReady(), the keys that fill() got; none after cancel().
    QList<KeyValue> excludedKeys() const;

    QSize sizeHint() const override;

Q_SIGNALS:
    /// Emitted when the values are listed for the first time, or when counting failed; then the widget shows
    /// the reason.
    void ready();
    /// Emitted when the user presses Return in the list or in the search and isReady().
    void accepted();
    /// Emitted when a value was checked or unchecked.
    void changed();

protected:
    void changeEvent(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    const std::unique_ptr<ValueListWidgetPrivate> d;
};

} // namespace sito
