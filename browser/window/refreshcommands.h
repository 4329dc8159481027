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
class MessageBar;
class TablePages;
class Workspace;

/// Brings the table that is shown up to date, when the user asks for it, and by itself from time to time if
/// the user wants that.
///
/// It does not begin by itself while anything else is under way, or a dialog, a menu or a list is open. A
/// source that cannot be read is told of once, in the message bar, until it can be read again.
class RefreshCommands : public Commands
{
    Q_OBJECT
public:
    /// What is between the commands and the rest of the window.
    struct Parts
    {
        Workspace &workspace;
        TablePages &pages;
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

private:
    bool canBegin() const;
    void beginByItself();
    void onRefreshed(const QList<SourceConnection::RefreshedTable> &tables);
    void onFailed(const QString &message, bool byItself);
    void arm();
    void reload(const QString &table);

    Workspace &m_workspace;
    TablePages &m_pages;
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
