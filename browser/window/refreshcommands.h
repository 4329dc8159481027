// SPDX-License-Identifier: MIT
#pragma once

#include <browser/window/commands.h>

#include <sources/sourceconnection.h>

#include <QList>
#include <QString>
#include <QStringList>
#include <QTimer>

class QSettings;

namespace sito {

class ExportCommands;
class KeptViews;
class MessageBar;
class TablePages;
class Workspace;

/// Brings the table that is shown up to date, when the user asks for it, and by itself from time to time if
/// the user wants that. The user may name a column by which new and changed rows of a table are found.
///
/// It does not begin by itself while anything else is under way, or a dialog, a menu or a list is open. The
/// message bar says once when a source cannot be read, and the status bar when it can be read again.
class RefreshCommands : public Commands
{
    Q_OBJECT
public:
    /// What is between the commands and the rest of the window.
    struct Parts
    {
        Workspace &workspace;
        TablePages &pages;
        KeptViews &views;
        const ExportCommands &exports;
        MessageBar &messages;
    };

    /// None of \a parts is owned, nor \a store; all must outlive the object. \a window is the parent.
    RefreshCommands(const Parts &parts, QSettings &store, QWidget &window);

    /// Brings the table that is shown up to date; or says why not now.
    void refresh();

    /// The names of the intervals: "off", or a number of seconds.
    static QStringList intervals();
    /// The one that is set; any number of seconds may be stored. "off" for what is none.
    QString interval() const;
    void setInterval(const QString &name);

    /// The columns of the table that is shown that may grow, see SourceConnection::setGrowingColumn(): first
    /// whole numbers without absent values, as keys are.
    QStringList growingColumns() const;
    /// The one by which a refresh finds new and changed rows; empty when it reads all rows.
    QString growingColumn() const;
    /// Takes and keeps \a column for the table that is shown.
    void setGrowingColumn(const QString &column);

private:
    bool canBegin() const;
    void beginByItself();
    void onRefreshed(const QList<SourceConnection::RefreshedTable> &tables);
    void onFailed(const QString &message, bool byItself);
    void arm();
    void loadAgain(const QString &table);

    Workspace &m_workspace;
    TablePages &m_pages;
    KeptViews &m_views;
    const ExportCommands &m_exports;
    MessageBar &m_messages;
    QSettings &m_store;
    QTimer m_timer;
    /// Why the source could not be read the last time; empty when it could.
    QString m_failure;
    /// Whether the user waits for what is under way.
    bool m_isAsked = false;
};

} // namespace sito
