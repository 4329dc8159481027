// SPDX-License-Identifier: MIT
#include <hostkit/views/tableexport.h>

#include <hostkit/table/tablemodel.h>
#include <hostkit/text/celltext.h>

#include <data/exception.h>
#include <data/field.h>
#include <data/table.h>

#include <QBuffer>
#include <QFileInfo>
#include <QHeaderView>
#include <QIODevice>
#include <QItemSelection>
#include <QMimeData>
#include <QSaveFile>
#include <QStringEncoder>

#include <algorithm>
#include <cmath>
#include <mutex>
#include <optional>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// How many rows are read under one lock.
constexpr size_t rowsAtOnce = 500;

constexpr qint64 millisecondsPerDay = 86'400'000;
/// The first instant that has the same number in all spreadsheets.
constexpr qint64 firstCountedDate = -25'508 * millisecondsPerDay; // 1900-03-01
/// The first instant that they cannot show.
constexpr qint64 endOfDates = 253'402'300'800'000; // 10000-01-01
/// Day 0 of spreadsheets, in days before 1970-01-01.
constexpr int firstDay = 25'569;
/// How many digits of a number spreadsheets keep.
constexpr int keptDigits = 15;

/// \a text as a field between tabs.
QString tabField(const std::optional<QString> &text)
{
    if (!text)
        return QString();
    const bool needsQuotes =
        text->isEmpty() || std::any_of(text->begin(), text->end(), [](QChar character) {
            return character == u'\t' || character == u'\n' || character == u'\r' || character == u'"';
        });
    return needsQuotes ? u'"' + QString(*text).replace(u'"', u"\"\""_s) + u'"' : *text;
}

/// \a text as HTML that shows it, line breaks and all.
QString htmlText(const QString &text)
{
    QString result;
    result.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar character = text.at(i);
        switch (character.unicode()) {
        case u'<':
            result += "&lt;"_L1;
            break;
        case u'>':
            result += "&gt;"_L1;
            break;
        case u'&':
            result += "&amp;"_L1;
            break;
        case u'"':
            result += "&quot;"_L1;
            break;
        case u'\r':
            if (i + 1 < text.size() && text.at(i + 1) == u'\n')
                ++i;
            [[fallthrough]];
        case u'\n':
            result += "<br>"_L1;
            break;
        case u'\t':
            result += character;
            break;
        default:
            // HTML knows no other control characters.
            result +=
                character.category() == QChar::Other_Control ? QChar(QChar::ReplacementCharacter) : character;
        }
    }
    return result;
}

int significantDigits(const QString &number)
{
    int digits = 0;
    for (const QChar character : number) {
        if (character == u'e')
            break;
        if (character.isDigit() && (digits > 0 || character != u'0'))
            ++digits;
    }
    return digits;
}

bool isSpreadsheetNumber(const Field &field, const QString &text)
{
    switch (field.def->type) {
    case FieldType::Int:
        return true;
    case FieldType::Double:
        return std::isfinite(field.value<double>());
    case FieldType::Int64:
    case FieldType::Decimal:
    case FieldType::XDecimal:
        return significantDigits(text) <= keptDigits;
    default:
        return false;
    }
}

QString htmlCell(const Field &field)
{
    const std::optional<QString> text = cellText(field);
    if (!text)
        return u"<td></td>"_s;
    if (isSpreadsheetNumber(field, *text))
        return u"<td align=\"right\" sdval=\"%1\" sdnum=\"1033;\" x:num=\"%1\">%1</td>"_s.arg(*text);
    if (field.def->type == FieldType::DateTime) {
        const auto time = field.value<qint64>();
        if (time != 0 && time >= firstCountedDate && time < endOfDates) {
            const QString day =
                QString::number(firstDay + double(time) / double(millisecondsPerDay), 'g', 17);
            return u"<td class=\"d\" sdval=\"%1\" sdnum=\"1033;1033;YYYY-MM-DD HH:MM:SS\" x:num=\"%1\">%2</td>"_s
                .arg(day, *text);
        }
    }
    return u"<td class=\"t\" sdnum=\"1033;0;@\">"_s + htmlText(*text) + u"</td>"_s;
}

} // namespace

/// Counts the rows that are done, over all forms of one operation.
class TableExport::Count
{
public:
    Count(const Progress &progress, qint64 total) : m_progress(progress), m_total(total) {}

    /// Adds \a rows; returns false to cancel.
    bool add(qint64 rows)
    {
        m_done += rows;
        m_isGivenUp = m_progress && !m_progress(m_done, m_total);
        return !m_isGivenUp;
    }
    bool isGivenUp() const { return m_isGivenUp; }

    /// Calls \a read with every row of \a rows, and \a flush after some, with the table unlocked; false from
    /// \a flush ends it as well. There is at least one call of \a flush.
    template <typename Read, typename Flush>
    bool walk(const Table &table, const std::vector<Record> &rows, Read read, Flush flush)
    {
        size_t first = 0;
        do {
            const size_t last = std::min(first + rowsAtOnce, rows.size());
            {
                const std::lock_guard lock(table);
                for (size_t row = first; row < last; ++row)
                    read(rows[row]);
            }
            if (!flush() || !add(qint64(last - first)))
                return false;
            first = last;
        } while (first < rows.size());
        return true;
    }

private:
    const Progress &m_progress;
    qint64 m_total;
    qint64 m_done = 0;
    bool m_isGivenUp = false;
};

TableExport::TableExport(const Table &table, const QList<int> &columns, std::vector<Record> rows)
    : m_table(&table), m_columns(columns), m_rows(std::move(rows))
{
}

TableExport TableExport::shown(const TableModel &model, const QList<int> &sections)
{
    QList<int> columns;
    for (const int section : sections)
        columns.append(model.columns().at(section));
    std::vector<Record> rows;
    const int count = model.rowCount();
    rows.reserve(size_t(count));
    for (int row = 0; row < count; ++row)
        rows.push_back(model.record(row));
    return {*model.table(), columns, std::move(rows)};
}

TableExport TableExport::selected(const TableModel &model, const QList<int> &sections,
                                  const QItemSelection &selection)
{
    QList<int> columns;
    for (const int section : sections) {
        const bool isSelected =
            std::any_of(selection.begin(), selection.end(), [section](const QItemSelectionRange &range) {
                return range.left() <= section && section <= range.right();
            });
        if (isSelected)
            columns.append(model.columns().at(section));
    }
    QList<QItemSelectionRange> ranges = selection;
    std::sort(ranges.begin(), ranges.end(),
              [](const auto &left, const auto &right) { return left.top() < right.top(); });
    std::vector<Record> rows;
    int next = 0;
    for (const QItemSelectionRange &range : std::as_const(ranges)) {
        for (int row = std::max(next, range.top()); row <= range.bottom(); ++row)
            rows.push_back(model.record(row));
        next = std::max(next, range.bottom() + 1);
    }
    return {*model.table(), columns, std::move(rows)};
}

QList<int> TableExport::shownSections(const QHeaderView &header)
{
    QList<int> sections;
    for (int place = 0; place < header.count(); ++place) {
        const int section = header.logicalIndex(place);
        if (!header.isSectionHidden(section))
            sections.append(section);
    }
    return sections;
}

bool TableExport::writeCsv(QIODevice &device, const Progress &progress) const
{
    Count count(progress, rowCount());
    QString error;
    if (!writeCsv(device, count, error)) {
        if (!error.isNull())
            throw Exception(error);
        return false;
    }
    return true;
}

QString TableExport::clipboardText(const Progress &progress) const
{
    Count count(progress, rowCount());
    return clipboardText(count);
}

QString TableExport::html(const Progress &progress) const
{
    Count count(progress, rowCount());
    return html(count);
}

std::unique_ptr<QMimeData> TableExport::mimeData(const Progress &progress) const
{
    Count count(progress, 3 * rowCount());
    const QString text = clipboardText(count);
    const QString page = count.isGivenUp() ? QString() : html(count);
    QBuffer csv;
    csv.open(QIODevice::WriteOnly);
    QString error;
    if (count.isGivenUp() || !writeCsv(csv, count, error))
        return nullptr;
    auto data = std::make_unique<QMimeData>();
    data->setText(text);
    data->setHtml(page);
    data->setData(u"text/csv"_s, csv.data());
    return data;
}

bool TableExport::writeCsv(QIODevice &device, Count &count, QString &error) const
{
    QString text;
    // Halves of surrogate pairs become U+FFFD, where QString::toUtf8() would write a question mark.
    QStringEncoder encode(QStringEncoder::Utf8, QStringEncoder::Flag::Stateless);
    const auto addLine = [this, &text](const auto &field) {
        bool isFirst = true;
        for (const int column : m_columns) {
            if (!isFirst)
                text += u',';
            isFirst = false;
            text += csvField(field(column));
        }
        text += "\r\n"_L1;
    };
    if (m_byteOrderMark)
        text += QChar(QChar::ByteOrderMark);
    if (m_headers)
        addLine([this](int column) -> std::optional<QString> { return m_table->columnName(column); });
    return count.walk(
        *m_table, m_rows,
        [&addLine](const Record &row) {
            addLine([&row](int column) { return cellText(row.field(column)); });
        },
        [&text, &encode, &device, &error] {
            const QByteArray bytes = encode(text);
            text.resize(0);
            if (device.write(bytes) == bytes.size())
                return true;
            error = device.errorString();
            if (error.isNull())
                error = u""_s;
            return false;
        });
}

QString TableExport::clipboardText(Count &count) const
{
    QString text;
    qint64 lines = 0;
    const auto addLine = [this, &text, &lines](const auto &field) {
        bool isFirst = true;
        for (const int column : m_columns) {
            if (!isFirst)
                text += u'\t';
            isFirst = false;
            text += tabField(field(column));
        }
        text += u'\n';
        ++lines;
    };
    if (m_headers)
        addLine([this](int column) -> std::optional<QString> { return m_table->columnName(column); });
    const bool done = count.walk(
        *m_table, m_rows,
        [&addLine](const Record &row) {
            addLine([&row](int column) { return cellText(row.field(column)); });
        },
        [] { return true; });
    if (!done)
        return QString();
    if (lines == 1)
        text.chop(1); // one cell is often meant for a line of text
    return text.isNull() ? u""_s : text;
}

QString TableExport::html(Count &count) const
{
    QString page = u"<html xmlns:x=\"urn:schemas-microsoft-com:office:excel\">\n"
                   "<head><meta charset=\"utf-8\">\n"
                   "<style>td.t{mso-number-format:\"\\@\";white-space:pre-wrap}"
                   "td.d{mso-number-format:\"yyyy\\-mm\\-dd hh\\:mm\\:ss\"}</style></head>\n"
                   "<body><table border=\"1\">\n"_s;
    if (m_headers) {
        page += "<tr>"_L1;
        for (const int column : m_columns)
            page += u"<th>"_s + htmlText(m_table->columnName(column)) + u"</th>"_s;
        page += "</tr>\n"_L1;
    }
    const bool done = count.walk(
        *m_table, m_rows,
        [this, &page](const Record &row) {
            page += "<tr>"_L1;
            for (const int column : m_columns)
                page += htmlCell(row.field(column));
            page += "</tr>\n"_L1;
        },
        [] { return true; });
    if (!done)
        return QString();
    page += "</table></body></html>\n"_L1;
    return page;
}

bool exportCsvFile(const QString &fileName, const TableExport &rows, const QString &source,
                   const TableExport::Progress &progress)
{
    const QFileInfo target(fileName);
    const QFileInfo database(source);
    // Files that do not exist have no canonical path to be compared by.
    const bool isDatabase = !source.isEmpty() && (target.absoluteFilePath() == database.absoluteFilePath() ||
                                                  (target.exists() && target == database));
    if (isDatabase)
        throw Exception(TableExport::tr("«%1» - сама база данных").arg(fileName));
    // A device or a pipe would be replaced by a file of its name.
    if (target.exists() && !target.isFile())
        throw Exception(TableExport::tr("«%1» - не обычный файл").arg(fileName));
    QSaveFile file(fileName);
    QString error;
    if (file.open(QIODevice::WriteOnly)) {
        TableExport::Count count(progress, rows.rowCount());
        if (rows.writeCsv(file, count, error)) {
            if (file.commit())
                return true;
        } else if (error.isNull()) {
            return false; // the file of this name was not touched
        }
    }
    throw Exception(TableExport::tr("Не удалось записать «%1»: %2").arg(fileName, file.errorString()));
}

} // namespace sito
