// SPDX-License-Identifier: MIT
#pragma once

#include <QDateTime>
#include <QObject>
#include <QString>

class QLabel;
class QProgressBar;
class QStatusBar;
class QToolButton;

namespace sito {

class TableModel;

/// The permanent part of the window's status bar: what is being done, with a button that interrupts it, and
/// how many rows are shown, and how old they are.
class WindowStatus : public QObject
{
    Q_OBJECT
public:
    /// Adds its widgets to \a bar, its parent.
    explicit WindowStatus(QStatusBar &bar);

    /// Shows that \a text is being done, and how much of it; \a total is 0 when that is not known. Nothing is
    /// being done if \a text is empty.
    void showActivity(const QString &text, int done = 0, int total = 0);
    /// Shows how many rows \a model shows and how long its last pass took; nothing for null.
    void showRows(const TableModel *model);
    /// Shows at which moment the source had the rows that are shown; nothing for an invalid one.
    void showAsOf(const QDateTime &moment);
    void retranslate();

Q_SIGNALS:
    void interrupted();

private:
    QLabel *m_activity;
    QProgressBar *m_progress;
    QToolButton *m_cancel;
    QLabel *m_rows;
    QLabel *m_time;
    QLabel *m_asOf;
    QDateTime m_moment;
};

} // namespace sito
