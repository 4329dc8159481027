// SPDX-License-Identifier: MIT
#include <hostkit/views/tableexport.h>

#include <hostkit/parallel/tablelock.h>
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
#include <optional>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// How many rows are read under one lock.
constexpr size_t rowsAtOnce = 500;
/// So many when texts of cells are asked for, which takes longer.
constexpr size_t fewRowsAtOnce = 20;

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

TableExport::TableExport(const Table &table, const QList<int> &columns, std::vector<Record> rows)
    : m_table(&table), m_columns(columns), m_rows(std::move(rows))
{
}

/// A cell whose text is asked for once the lock is let go of.
struct TableExport::Asked
{
    const Record *row;
    int column;
    QString shown;
    /// Where the cell belongs among the others.
    qsizetype place;
};

void TableExport::setCellText(const QList<int> &columns, CellText text)
{
    m_askedColumns = columns;
    m_cellText = std::move(text);
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

void TableExport::writeCsv(QIODevice &device, const parallel::Context &context) const
{
    expect(context, 1);
    if (!addCsv(device, context))
        throw Exception(device.errorString());
}

QString TableExport::clipboardText(const parallel::Context &context) const
{
    expect(context, 1);
    return makeText(context);
}

QString TableExport::html(const parallel::Context &context) const
{
    expect(context, 1);
    return makeHtml(context);
}

std::unique_ptr<QMimeData> TableExport::mimeData(const parallel::Context &context) const
{
    expect(context, 3);
    auto data = std::make_unique<QMimeData>();
    data->setText(makeText(context));
    data->setHtml(makeHtml(context));
    QBuffer csv;
    csv.open(QIODevice::WriteOnly);
    addCsv(csv, context);
    data->setData(u"text/csv"_s, csv.data());
    return data;
}

/// All rows will be counted so many times.
void TableExport::expect(const parallel::Context &context, int times) const
{
    if (context.progress)
        context.progress->total = std::max<qint64>(1, times * rowCount());
}

/// Calls \a read with every row, under the table's lock, and \a flush after some, without it; ends when
/// \a flush returns false, and returns that. There is at least one call of \a flush.
template <typename Read, typename Flush>
bool TableExport::walk(const parallel::Context &context, Read read, Flush flush) const
{
    size_t first = 0;
    do {
        const size_t last = std::min(first + (m_cellText ? fewRowsAtOnce : rowsAtOnce), m_rows.size());
        parallel::underLock(*m_table, context.stop, [&] {
            for (size_t row = first; row < last; ++row)
                read(m_rows[row]);
        });
        if (!flush())
            return false;
        context.advance(qint64(last - first));
        first = last;
    } while (first < m_rows.size());
    return true;
}

bool TableExport::addCsv(QIODevice &device, const parallel::Context &context) const
{
    QString text;
    // Halves of surrogate pairs become U+FFFD, where QString::toUtf8() would write a question mark.
    QStringEncoder encode(QStringEncoder::Utf8, QStringEncoder::Flag::Stateless);
    std::vector<Asked> asked;
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
    const auto isWritten = [&encode, &device](QStringView part) {
        const QByteArray bytes = encode(part);
        return device.write(bytes) == bytes.size();
    };
    if (m_byteOrderMark)
        text += QChar(QChar::ByteOrderMark);
    if (m_headers)
        addLine([this](int column) -> std::optional<QString> { return m_table->columnName(column); });
    return walk(
        context,
        [this, &addLine, &text, &asked](const Record &row) {
            addLine([&](int column) {
                std::optional<QString> shown = cellText(row.field(column));
                if (!shown || !m_cellText || !m_askedColumns.contains(column))
                    return shown;
                asked.push_back({&row, column, *std::move(shown), text.size()});
                return std::optional<QString>();
            });
        },
        [&] {
            qsizetype written = 0;
            for (const Asked &cell : asked) {
                const QString field = csvField(m_cellText(*cell.row, cell.column, cell.shown, context.stop));
                context.stop.throwIfStopped();
                if (!isWritten(QStringView(text).sliced(written, cell.place - written)) || !isWritten(field))
                    return false;
                written = cell.place;
            }
            asked.clear();
            const bool isGood = isWritten(QStringView(text).sliced(written));
            text.resize(0);
            return isGood;
        });
}

QString TableExport::makeText(const parallel::Context &context) const
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
    walk(
        context,
        [&addLine](const Record &row) {
            addLine([&row](int column) { return cellText(row.field(column)); });
        },
        [] { return true; });
    if (lines == 1)
        text.chop(1); // one cell is often meant for a line of text
    return text;
}

QString TableExport::makeHtml(const parallel::Context &context) const
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
    walk(
        context,
        [this, &page](const Record &row) {
            page += "<tr>"_L1;
            for (const int column : m_columns)
                page += htmlCell(row.field(column));
            page += "</tr>\n"_L1;
        },
        [] { return true; });
    page += "</table></body></html>\n"_L1;
    return page;
}

void exportCsvFile(const QString &fileName, const TableExport &rows, const QString &source,
                   const parallel::Context &context)
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
    rows.expect(context, 1);
    if (file.open(QIODevice::WriteOnly) && rows.addCsv(file, context)) {
        context.stop.throwIfStopped();
        if (file.commit())
            return;
    }
    throw Exception(TableExport::tr("Не удалось записать «%1»: %2").arg(fileName, file.errorString()));
}

} // namespace sito
