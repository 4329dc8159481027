// SPDX-License-Identifier: MIT
#pragma once

#include <browser/window/commands.h>
#include <browser/window/showrequest.h>

#include <sources/sourcelocation.h>

class QWidget;

namespace sito {

class OpenServerDialog;
class RecentMenu;
class Workspace;

/// How the user opens sources: by a file, a server, an address, the sample, or one of the recent ones.
class SourceCommands : public Commands
{
    Q_OBJECT
public:
    /// Opens what is chosen in \a recent; questions are asked over \a window, the parent. Neither
    /// \a workspace nor \a recent is owned; both must outlive the object.
    SourceCommands(Workspace &workspace, const RecentMenu &recent, QWidget &window);

    /// Opens the sample, or a file or an address, as \a text says; emits failed() when that cannot begin.
    void openSample(const ShowRequest &request = {});
    void openText(const QString &text, const ShowRequest &request = {});
    void askFile();
    /// Shows \a table, if it is not empty, of the source that is open in another window: a program of its
    /// own, with its own filters and the same store.
    void openWindow(const QString &table);
    /// Asks for a server, beginning with \a location if it has a driver. Asks again, with what was entered,
    /// when that cannot be opened.
    void askServer(const SourceLocation &location = {});

private:
    OpenServerDialog *showDialog(const SourceLocation &location);
    void onOpenFailed(const SourceLocation &location, const QString &message);

    /// What the dialog asked for last, while it is being opened.
    SourceLocation m_asked;
    Workspace &m_workspace;
};

} // namespace sito
