// SPDX-License-Identifier: MIT
#include <browser/window/exportcommands.h>

#include <browser/parts/wholebytes.h>
#include <browser/window/bytesdialog.h>
#include <browser/window/pageactions.h>
#include <browser/window/rowexport.h>
#include <browser/window/tablepage.h>
#include <browser/window/workspace.h>

#include <hostkit/table/tablemodel.h>
#include <hostkit/views/filterheader.h>

#include <database/memorytable.h>

#include <QAction>
#include <QClipboard>
#include <QGuiApplication>
#include <QItemSelection>
#include <QLocale>

#include <algorithm>
#include <memory>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// A clipboard is no place for more: it has two digits for a byte, of two bytes each.
constexpr qint64 mostCopiedBytes = 16 << 20;

} // namespace

ExportCommands::ExportCommands(Workspace &workspace, const PageActions &actions, QWidget &window)
    : Commands(window), m_workspace(workspace), m_actions(actions), m_export(new RowExport(this))
{
    connect(actions.exportCsv, &QAction::triggered, this, &ExportCommands::ask);
    connect(actions.copy, &QAction::triggered, this, [this] { copySelection(false); });
    connect(actions.copyWithHeaders, &QAction::triggered, this, [this] { copySelection(true); });
    connect(actions.showValue, &QAction::triggered, this, &ExportCommands::showValue);
    connect(m_export, &RowExport::written, this,
            [this](qint64 rows) { Q_EMIT done(tr("Записано строк: %1").arg(QLocale().toString(rows))); });
    connect(m_export, &RowExport::copied, this,
            [this](qint64 rows) { Q_EMIT done(tr("Скопировано строк: %1").arg(QLocale().toString(rows))); });
    connect(m_export, &RowExport::cancelled, this, [this] { Q_EMIT done(tr("Прервано")); });
    connect(m_export, &RowExport::failed, this, &ExportCommands::failed);
    connect(m_export, &RowExport::changed, this, &ExportCommands::changed);
    connect(QGuiApplication::clipboard(), &QClipboard::dataChanged, this, [this] { ++m_copies; });
}

void ExportCommands::setPage(TablePage *page)
{
    m_page = page;
}

void ExportCommands::updateActions()
{
    const bool isThere = m_page && !m_workspace.isOpeningSource();
    m_actions.exportCsv->setEnabled(isThere && !m_export->isWriting() &&
                                    m_workspace.isComplete(m_page->table()->name()));
    m_actions.showValue->setEnabled(isThere && hasBytes(m_page->view()->currentIndex()));
    for (QAction *action : {m_actions.copy, m_actions.copyWithHeaders})
        action->setEnabled(isThere && m_page->view()->hasSelection());
}

bool ExportCommands::isBusy() const
{
    return m_export->isBusy();
}

QString ExportCommands::activity() const
{
    return m_export->activity();
}

int ExportCommands::progress() const
{
    return m_export->progress();
}

void ExportCommands::cancel()
{
    m_export->cancel();
}

void ExportCommands::stop()
{
    m_export->stop();
}

void ExportCommands::ask()
{
    if (!m_page)
        return;
    const auto write = [this, page = m_page](const QString &file, Questions::ExportForm form) {
        if (page && !page->model()->isUpToDate())
            Questions::askOldRows(window(), [=, this] { writePage(page, file, form); });
        else
            writePage(page, file, form);
    };
    Questions::askExportFile(window(), m_page->table()->name() + ".csv"_L1, showsBytes(*m_page), write);
}

void ExportCommands::write(const QString &file, bool withHeaders)
{
    if (m_page)
        writePage(m_page, file, {.hasHeaders = withHeaders});
}

/// Whether cells of a column that \a page shows may show bytes in short.
bool ExportCommands::showsBytes(const TablePage &page) const
{
    const QList<int> bytes = m_workspace.bytesColumns(page.table()->name());
    const QList<int> sections = TableExport::shownSections(*page.header());
    return std::any_of(sections.begin(), sections.end(),
                       [&](int section) { return bytes.contains(page.model()->columns().at(section)); });
}

void ExportCommands::writePage(TablePage *page, const QString &file, Questions::ExportForm form)
{
    // A source that was opened meanwhile has closed it.
    if (!page) {
        Q_EMIT failed(tr("Таблица уже закрыта, файл не записан"));
        return;
    }
    if (refuses())
        return;
    if (!m_workspace.isComplete(page->table()->name())) {
        Q_EMIT refused(tr("Сначала таблица должна загрузиться целиком"));
        return;
    }
    if (m_export->isWriting()) {
        Q_EMIT refused(tr("Сначала должна закончиться запись другого файла"));
        return;
    }
    const QString table = page->table()->name();
    std::shared_ptr<BytesReader> reader;
    if (form.hasWholeBytes) {
        reader = m_workspace.bytesReader(table);
        if (!reader) {
            Q_EMIT failed(tr("Таблица уже закрыта, файл не записан"));
            return;
        }
    }
    guarded([&] {
        TableExport rows = TableExport::shown(*page->model(), TableExport::shownSections(*page->header()));
        rows.setHeaders(form.hasHeaders);
        if (reader)
            writeWholeBytes(rows, std::move(reader));
        const SourceLocation source = m_workspace.location();
        m_export->write(std::move(rows), file, source.isFile() ? source.file : QString(),
                        m_workspace.holdTables());
    });
}

void ExportCommands::copySelection(bool withHeaders)
{
    if (!m_page || !m_page->view()->hasSelection() || refuses())
        return;
    ++m_copies;
    if (const QModelIndex cell = selectedCell(); !withHeaders && hasBytes(cell)) {
        copyBytes(cell);
        return;
    }
    guarded([&] {
        TableExport rows =
            TableExport::selected(*m_page->model(), TableExport::shownSections(*m_page->header()),
                                  m_page->view()->selectionModel()->selection());
        rows.setHeaders(withHeaders);
        m_export->copy(std::move(rows), m_workspace.holdTables());
    });
}

void ExportCommands::copyBytes(const QModelIndex &index)
{
    const TableModel &model = *m_page->model();
    m_workspace.fetchBytes(
        *this, model.record(index.row()), model.columns().at(index.column()), mostCopiedBytes,
        [this, shown = index.data().toString(), copy = m_copies](const QByteArray &bytes,
                                                                 const QString &error) {
            // It may have waited for long.
            if (copy != m_copies)
                return;
            if (!error.isEmpty()) {
                QGuiApplication::clipboard()->setText(shown);
                Q_EMIT refused(tr("Скопировано то, что видно в ячейке: %1").arg(error));
            } else if (bytes.isNull()) {
                Q_EMIT refused(tr("В ячейке уже нет значения, ничего не скопировано"));
            } else {
                QGuiApplication::clipboard()->setText(QString::fromLatin1(bytes.toHex()));
                Q_EMIT done(tr("Скопировано байтов: %1").arg(QLocale().toString(bytes.size())));
            }
        });
}

void ExportCommands::showValue()
{
    if (!m_page || refuses())
        return;
    const QModelIndex index = m_page->view()->currentIndex();
    if (!hasBytes(index))
        return;
    const TableModel &model = *m_page->model();
    const int column = model.columns().at(index.column());
    const SourceLocation source = m_workspace.location();
    auto *dialog = new BytesDialog(m_page->table()->columnName(column),
                                   source.isFile() ? source.file : QString(), &window());
    dialog->open();
    m_workspace.fetchBytes(*dialog, model.record(index.row()), column, BytesDialog::longest,
                           [dialog](const QByteArray &bytes, const QString &error) {
                               if (error.isEmpty())
                                   dialog->showBytes(bytes);
                               else
                                   dialog->showError(error);
                           });
}

/// Whether the cell \a index of the page may show bytes in short.
bool ExportCommands::hasBytes(const QModelIndex &index) const
{
    if (!index.isValid())
        return false;
    const TableModel &model = *m_page->model();
    const int column = model.columns().at(index.column());
    return m_workspace.bytesColumns(m_page->table()->name()).contains(column) &&
           !index.data(TableModel::AbsentRole).toBool();
}

/// The cell that is selected, if it is one alone.
QModelIndex ExportCommands::selectedCell() const
{
    const QItemSelection selection = m_page->view()->selectionModel()->selection();
    if (selection.size() != 1 || selection.first().width() != 1 || selection.first().height() != 1)
        return {};
    return selection.first().topLeft();
}

/// While a source is being opened the page is about to go.
bool ExportCommands::refuses()
{
    if (!m_workspace.isOpeningSource())
        return false;
    Q_EMIT refused(tr("Сначала должна открыться база данных"));
    return true;
}

} // namespace sito
