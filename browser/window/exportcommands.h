// SPDX-License-Identifier: MIT
#pragma once

#include <browser/window/commands.h>
#include <browser/window/questions.h>

#include <QModelIndex>
#include <QPointer>
#include <QString>

class QWidget;

namespace sito {

class PageActions;
class RowExport;
class TablePage;
class Workspace;

/// What the user takes out of the page that is shown: its rows into a file, cells to the clipboard, the whole
/// bytes of a cell into a window. The rows are those that are shown when it begins, whatever becomes of the
/// page and its source then.
class ExportCommands : public Commands
{
    Q_OBJECT
public:
    /// Does what \a actions ask for. Questions are asked over \a window, the parent. Neither \a workspace nor
    /// \a actions is owned; both must outlive the object.
    ExportCommands(Workspace &workspace, const PageActions &actions, QWidget &window);

    /// The page is not owned; null for none.
    void setPage(TablePage *page);
    /// Enables the actions that are possible just now. To be called when that may have changed.
    void updateActions();

    /// Whether anything is being written or copied.
    bool isBusy() const;
    /// What is being done, once that lasts, and how much of it, in percent; empty when nothing is.
    QString activity() const;
    int progress() const;
    /// Gives up what activity() tells of.
    void cancel();
    /// Gives up everything, and waits until it has ended, see RowExport::stop().
    void stop();

    /// Writes the rows of the page into \a file; or says why not now.
    void write(const QString &file, bool withHeaders);
    /// Copies the selected cells; or says why not now. If it is one that shows bytes in short, and without
    /// headers, the clipboard gets all its bytes as hexadecimal digits without blanks: a text that databases
    /// and programming languages read as bytes. Of many bytes, or when they cannot be had, it gets what the
    /// cell shows. What is copied elsewhere before the bytes come stays in the clipboard.
    void copySelection(bool withHeaders);
    /// Shows all bytes of the current cell; or says why not now.
    void showValue();

Q_SIGNALS:
    /// What the functions above say has changed.
    void changed();

private:
    /// Asks for a file, and writes the rows of the page into it; if the user wants that, with all bytes of
    /// cells that show them in short.
    void ask();
    void writePage(TablePage *page, const QString &file, Questions::ExportForm form);
    bool showsBytes(const TablePage &page) const;
    void copyBytes(const QModelIndex &index);
    bool hasBytes(const QModelIndex &index) const;
    QModelIndex selectedCell() const;
    bool refuses();

    Workspace &m_workspace;
    const PageActions &m_actions;
    RowExport *m_export;
    QPointer<TablePage> m_page;
    /// How often something was copied, here or elsewhere.
    int m_copies = 0;
};

} // namespace sito
