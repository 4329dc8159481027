// SPDX-License-Identifier: MIT
#pragma once

#include <QCoreApplication>
#include <QString>
#include <QStringList>

#include <functional>

class QWidget;

namespace sito {

/// The small dialogs of the main window. Each is opened over \a parent, which goes on working, is deleted
/// when it is closed, and calls \a then with the answer, not at all when it is dismissed or \a parent is
/// gone.
class Questions
{
    Q_DECLARE_TR_FUNCTIONS(Questions)
public:
    /// Asks for a database, beginning in \a directory; empty for the current one.
    static void askFile(QWidget &parent, const QString &directory,
                        const std::function<void(const QString &file)> &then);
    /// How rows are written into a file.
    struct ExportForm
    {
        bool hasHeaders = true;
        /// Whether all bytes of a cell are written that the table shows in short.
        bool hasWholeBytes = false;
    };
    /// Offers whole bytes where \a hasBytes.
    static void askExportFile(QWidget &parent, const QString &suggestedName, bool hasBytes,
                              const std::function<void(const QString &file, ExportForm form)> &then);
    /// Asks whether to write the rows that are shown, though they are not what the filters say.
    static void askOldRows(QWidget &parent, const std::function<void()> &then);
    /// Asks for the name of a set of filters; \a names are those that there are.
    static void askSetName(QWidget &parent, const QStringList &names,
                           const std::function<void(const QString &name)> &then);
    static void askSettingsFile(QWidget &parent, const std::function<void(const QString &file)> &then);
    /// Shows \a notes, a line each, about \a table.
    static void showNotes(QWidget &parent, const QString &table, const QStringList &notes);
    static void showAbout(QWidget &parent);
};

} // namespace sito
