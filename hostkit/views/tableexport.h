// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <data/record.h>

#include <QCoreApplication>
#include <QList>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

class QHeaderView;
class QIODevice;
class QItemSelection;
class QMimeData;
class Table;

namespace sito {

class TableModel;

/// Rows of a table on their way out: into a CSV file, or as text and HTML onto the clipboard.
///
/// It holds handles on the rows as they were when it was made, so that later passes of a model, and rows that
/// leave the table, do not matter; values are read when they are written out. All operations but the makers
/// and mimeData() may be called in any thread, as long as nobody writes into the rows without holding the
/// table's lock: that is held for some rows at a time, never while anybody is called. The table must outlive
/// the object.
///
/// Values are written as they are. A text that begins with "=", "+", "-" or "@" is a formula to a spreadsheet
/// that opens a CSV file or takes the clipboard's plain text; who opens data of unknown origin has to tell it
/// to take the columns for texts. The HTML form marks texts as such.
class HOSTKIT_EXPORT TableExport
{
    Q_DECLARE_TR_FUNCTIONS(TableExport)
public:
    /// Told now and then, and at the end, how many of the rows are done; false gives up. May do what it
    /// likes, process events included.
    using Progress = std::function<bool(qint64 done, qint64 total)>;

    /// The values of \a columns, indexes of columns of \a table, in \a rows, which are rows of \a table.
    TableExport(const Table &table, const QList<int> &columns, std::vector<Record> rows);

    /// All rows that \a model shows, in the order shown, with the columns of \a sections in that order.
    static TableExport shown(const TableModel &model, const QList<int> &sections);
    /// Of these the rows and sections in which anything is selected in \a selection, a selection of
    /// \a model: where the selection is no rectangle, also the cells between.
    static TableExport selected(const TableModel &model, const QList<int> &sections,
                                const QItemSelection &selection);
    /// The sections that \a header shows, from its beginning on, as they were moved there.
    static QList<int> shownSections(const QHeaderView &header);

    qint64 rowCount() const { return qint64(m_rows.size()); }
    const QList<int> &columns() const { return m_columns; }

    /// Whether a line with the names of the columns comes first; at first it does.
    bool hasHeaders() const { return m_headers; }
    void setHeaders(bool headers) { m_headers = headers; }
    /// Whether CSV begins with a byte order mark, which makes spreadsheets take it for UTF-8; at first it
    /// does not.
    bool hasByteOrderMark() const { return m_byteOrderMark; }
    void setByteOrderMark(bool mark) { m_byteOrderMark = mark; }

    /// Writes CSV as RFC 4180 has it: UTF-8, lines ended by CR LF, fields as csvField() gives them; so an
    /// absent value is an empty field and an empty text a pair of quotes. (With a single column a line of an
    /// absent value is empty.) \a device must be open for writing.
    ///
    /// Returns false when \a progress gave up. Throws Exception when the device takes no more; the message is
    /// the device's error.
    bool writeCsv(QIODevice &device, const Progress &progress = {}) const;

    /// Text that spreadsheets take: fields separated by tabs, lines by LF, and a LF at the end unless there
    /// is but one line. A field is in quotes where it holds a tab, a line break or a quote, and when it is an
    /// empty text; an absent value is an empty field. Null when \a progress gave up.
    QString clipboardText(const Progress &progress = {}) const;
    /// An HTML page with one table. Cells have the types that spreadsheets know: numbers of up to 15 digits
    /// and dates from March 1900 on as values, everything else as texts. Null when \a progress gave up.
    QString html(const Progress &progress = {}) const;
    /// clipboardText() as text/plain, html() and CSV as text/csv; null when \a progress gave up. \a progress
    /// sees one count over all three.
    std::unique_ptr<QMimeData> mimeData(const Progress &progress = {}) const;

private:
    friend HOSTKIT_EXPORT bool exportCsvFile(const QString &, const TableExport &, const QString &,
                                             const Progress &);

    class Count;

    /// Whether all was written; \a error says why not, and is null when \a count gave up.
    bool writeCsv(QIODevice &device, Count &count, QString &error) const;
    QString clipboardText(Count &count) const;
    QString html(Count &count) const;

    const Table *m_table;
    QList<int> m_columns;
    std::vector<Record> m_rows;
    bool m_headers = true;
    bool m_byteOrderMark = false;
};

/// Writes \a rows into the file \a fileName as CSV. A file of that name is replaced when all is written, and
/// stays as it was when \a progress gives up, for which false is returned, or anything goes wrong.
///
/// Throws Exception when \a fileName is the same file as \a source, the database that is open (empty for
/// none), or anything else than a file (a directory, a device, a pipe), and when it cannot be written. May be
/// called in any thread, as TableExport::writeCsv().
HOSTKIT_EXPORT bool exportCsvFile(const QString &fileName, const TableExport &rows,
                                  const QString &source = QString(),
                                  const TableExport::Progress &progress = {});

} // namespace sito
