// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>
#include <hostkit/parallel/context.h>

#include <data/record.h>

#include <QCoreApplication>
#include <QList>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class QHeaderView;
class QIODevice;
class QItemSelection;
class QMimeData;
class Table;

namespace sito {

class TableModel;

/// Exports rows of a table into a CSV file, or as text and HTML for the clipboard.
///
/// An object holds handles on the rows that it was made for: later passes of a model, and rows that leave the
/// table, have no effect on it. Values are read when they are written out.
///
/// **Threads.** All operations except shown() and selected() may be called from any thread, as long as nobody
/// writes into the rows without holding the table's lock. The lock is held for some rows at a time, never
/// during a call of other code, see parallel::underLock(); the calling thread must not own it. The table must
/// outlive the object, and what that says about threads that wait for its lock.
///
/// Operations with a context count rows in its progress, whose total they set. They throw parallel::Stopped
/// when its stop is requested before the end, without waiting for the table's lock.
///
/// Values are written as they are. A spreadsheet takes a text that begins with "=", "+", "-" or "@" for a
/// formula when it opens a CSV file or pastes plain text; users have to import data of unknown origin as text
/// columns. The HTML form marks texts as such.
///
/// **Cost.** A handle for each row; the time grows with the cells. writeCsv() holds the text of some rows at
/// a time, the forms for the clipboard are made whole.
class HOSTKIT_EXPORT TableExport
{
    Q_DECLARE_TR_FUNCTIONS(TableExport)
public:
    /// The values of \a columns, indexes of columns of \a table, in \a rows, which are rows of \a table.
    TableExport(const Table &table, const QList<int> &columns, std::vector<Record> rows);

    /// All rows that \a model shows, in the order shown, with the columns of \a sections in that order.
    static TableExport shown(const TableModel &model, const QList<int> &sections);
    /// As shown(), but only the rows and sections with a cell in \a selection, a selection of \a model. Where
    /// the selection is no rectangle, the cells between are included.
    static TableExport selected(const TableModel &model, const QList<int> &sections,
                                const QItemSelection &selection);
    /// The sections that \a header shows, in their visual order.
    static QList<int> shownSections(const QHeaderView &header);

    /// How many rows are exported, without the line of names.
    qint64 rowCount() const { return qint64(m_rows.size()); }
    /// The table's indexes of the columns that are exported, in their order.
    const QList<int> &columns() const { return m_columns; }

    /// Whether a line with the names of the columns comes first; true by default.
    bool hasHeaders() const { return m_headers; }
    /// See hasHeaders().
    void setHeaders(bool headers) { m_headers = headers; }
    /// Whether CSV begins with a byte order mark, by which spreadsheets recognise UTF-8; false by default.
    bool hasByteOrderMark() const { return m_byteOrderMark; }
    /// See hasByteOrderMark().
    void setByteOrderMark(bool mark) { m_byteOrderMark = mark; }
    /// Returns what CSV contains for a cell of \a row in \a column in place of \a shown, its text; nothing
    /// for an absent value. What it throws, the function that writes throws.
    using CellText = std::function<std::optional<QString>(const Record &row, int column, const QString &shown,
                                                          const parallel::StopToken &stop)>;
    /// Makes CSV, that of mimeData() too, contain what \a text returns for the cells of \a columns, indexes
    /// of columns of the table, that have a value. It is called row by row in the thread that writes. At
    /// first, and with a null \a text, CSV contains what cells show.
    void setCellText(const QList<int> &columns, CellText text);

    /// Writes CSV by RFC 4180: UTF-8, lines ended by CR LF, fields as csvField() gives them. So an absent
    /// value is an empty field, and an empty text a pair of quotes. (With a single column, the line of an
    /// absent value is empty.) \a device must be open for writing.
    ///
    /// Throws Exception when a write fails; the message is the device's error.
    void writeCsv(QIODevice &device, const parallel::Context &context = {}) const;

    /// Text that spreadsheets can paste: fields separated by tabs, lines by LF, and a LF at the end unless
    /// there is just one line. A field is in quotes when it holds a tab, a line break or a quote, and when it
    /// is an empty text; an absent value is an empty field.
    QString clipboardText(const parallel::Context &context = {}) const;
    /// An HTML page with one table. Cells have the types that spreadsheets know: numbers of up to 15 digits
    /// and dates from March 1900 on as values, everything else as texts.
    QString html(const parallel::Context &context = {}) const;
    /// clipboardText() as text/plain, html() and CSV as text/csv. The progress counts the rows of all three.
    /// The object belongs to the calling thread.
    std::unique_ptr<QMimeData> mimeData(const parallel::Context &context = {}) const;

private:
    friend HOSTKIT_EXPORT void exportCsvFile(const QString &, const TableExport &, const QString &,
                                             const parallel::Context &);

    void expect(const parallel::Context &context, int times) const;
    struct Asked;
    template <typename Read, typename Flush>
    bool walk(const parallel::Context &context, Read read, Flush flush) const;
    /// Returns false when \a device does not take everything.
    bool addCsv(QIODevice &device, const parallel::Context &context) const;
    QString makeText(const parallel::Context &context) const;
    QString makeHtml(const parallel::Context &context) const;

    const Table *m_table;
    QList<int> m_columns;
    std::vector<Record> m_rows;
    bool m_headers = true;
    bool m_byteOrderMark = false;
    QList<int> m_askedColumns;
    CellText m_cellText;
};

/// Writes \a rows into the file \a fileName as CSV. An existing file is replaced after everything has been
/// written; it stays as it was when that is stopped or an error occurs.
///
/// Throws Exception when \a fileName is the same file as \a source, the database that is open (empty for
/// none), when it is not a regular file (a directory, a device, a pipe), and when it cannot be written. May
/// be called from any thread, as TableExport::writeCsv().
HOSTKIT_EXPORT void exportCsvFile(const QString &fileName, const TableExport &rows,
                                  const QString &source = QString(), const parallel::Context &context = {});

} // namespace sito
