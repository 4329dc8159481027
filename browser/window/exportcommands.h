// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QPointer>
#include <QString>

class QWidget;

namespace sito {

class RowExport;
class TablePage;
class Workspace;

/// What the user takes out of the page that is shown: its rows into a file, cells to the clipboard. The rows
/// are those that are shown when it begins, whatever becomes of the page and its source then.
class ExportCommands : public QObject
{
    Q_OBJECT
public:
    /// Questions are asked over \a window, the parent; \a workspace is not owned.
    ExportCommands(const Workspace &workspace, QWidget &window);

    /// The page is not owned; null for none.
    void setPage(TablePage *page);

    /// Whether rows can be written, and cells be copied, just now.
    bool canWrite() const;
    bool canCopy() const;
    /// Whether anything is being written or copied.
    bool isBusy() const;
    /// What is being done, once that lasts, and how much of it, in percent; empty when nothing is.
    QString activity() const;
    int progress() const;
    /// Gives up what activity() tells of.
    void cancel();
    /// Gives up everything, and waits until it has ended.
    void stop();

    /// Asks for a file, and writes the rows of the page into it.
    void ask();
    /// Writes the rows of the page into \a file; or says why not now.
    void write(const QString &file, bool withHeaders);
    /// Copies the selected cells; or says why not now.
    void copySelection(bool withHeaders);

Q_SIGNALS:
    /// What the functions above say has changed.
    void changed();
    void failed(const QString &message);
    /// What was done.
    void done(const QString &message);
    /// What is not done now, and why.
    void refused(const QString &message);

private:
    void writePage(TablePage *page, const QString &file, bool withHeaders);
    bool refuses();

    const Workspace &m_workspace;
    QWidget &m_window;
    RowExport *m_export;
    QPointer<TablePage> m_page;
};

} // namespace sito
