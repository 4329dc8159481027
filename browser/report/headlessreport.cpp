// SPDX-License-Identifier: MIT
#include <browser/report/headlessreport.h>

#include <browser/parts/printable.h>
#include <browser/parts/sampledatabase.h>
#include <browser/parts/wholebytes.h>

#include <hostkit/text/celltext.h>
#include <hostkit/text/shortenedtext.h>
#include <hostkit/values/keyoption.h>
#include <hostkit/views/tableexport.h>
#include <sources/bytesreader.h>
#include <sources/columnnotes.h>
#include <sources/sourcelocation.h>
#include <sources/tableloader.h>

#include <database/memorydatabase.h>
#include <database/memorytable.h>

#include <data/exception.h>
#include <data/indexlist.h>
#include <filterfuncs/filterfunc.h>
#include <filters/valuefilter.h>

#include <QElapsedTimer>
#include <QFile>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <mutex>
#include <numeric>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype maxShownWidth = 40;

bool isNumber(FieldType::Type type)
{
    return type == FieldType::Int || type == FieldType::Int64 || type == FieldType::Double ||
           type == FieldType::Decimal || type == FieldType::XDecimal;
}

void removeTrailingSpaces(QString &line)
{
    while (line.endsWith(u' '))
        line.chop(1);
}

} // namespace

HeadlessReport::HeadlessReport(const CommandLine &commandLine, QTextStream &out)
    : m_commandLine(commandLine), m_out(out)
{
}

HeadlessReport::~HeadlessReport()
{
    // Filters and predicates refer to the tables, the loader to the connection.
    m_predicates.clear();
    m_filters.clear();
    MemoryDatabase::instance().clear();
    m_loader.reset();
}

bool HeadlessReport::run()
{
    openDatabase();
    if (m_commandLine.action == CommandLine::Action::List)
        return list();

    QStringList wanted{m_commandLine.table};
    if (!m_commandLine.sessionColumns.isEmpty() && m_commandLine.table != "sessions"_L1)
        wanted.append(u"sessions"_s);
    m_loader->load(wanted, MemoryDatabase::instance());
    MemoryTable &table = *MemoryDatabase::instance().table(m_commandLine.table);
    m_filters = filtersFromOptions(table, m_commandLine.keyOptions, m_commandLine.sessionColumns);
    for (const auto &filter : m_filters)
        m_predicates.emplace_back(filter->createFilterFunc(nullptr));

    qint64 wantedRows = 0;
    if (m_commandLine.action == CommandLine::Action::Head)
        wantedRows = m_commandLine.headRows;
    else if (m_commandLine.action == CommandLine::Action::Export)
        wantedRows = std::numeric_limits<qint64>::max();
    const Pass counted = pass(table, wantedRows);
    if (m_commandLine.action == CommandLine::Action::Head)
        printRows(table, counted.rows);
    else if (m_commandLine.action == CommandLine::Action::Export)
        exportRows(table, counted.rows);
    // Beside exported rows, the result would be taken for one of them.
    QFile errors;
    QTextStream errorLines(&errors);
    if (isExportedToOutput())
        errors.open(stderr, QIODevice::WriteOnly);
    QTextStream &result = isExportedToOutput() ? errorLines : m_out;
    result << tr("Показано строк: %1").arg(counted.shown) << '\n'
           << tr("Скрыто строк: %1").arg(counted.hidden) << '\n'
           << tr("Время прохода: %1 мс").arg(QString::number(double(counted.nanoseconds) / 1e6, 'f', 3))
           << '\n';
    const QStringList notes = m_loader->columnNotes(table.name());
    for (const QString &note : notes)
        result << printable(note) << '\n';
    return true;
}

void HeadlessReport::openDatabase()
{
    SourceLocation location;
    if (m_commandLine.database.isEmpty()) {
        m_sample = std::make_unique<SampleDatabase>();
        location = SourceLocation::fromFile(m_sample->fileName());
    } else {
        location = SourceLocation::fromText(m_commandLine.database);
    }
    m_file = location.file;
    m_loader = std::make_unique<TableLoader>(location);
}

bool HeadlessReport::list()
{
    bool isComplete = true;
    const QStringList tables = m_loader->tableNames();
    for (const QString &table : tables) {
        QList<ColumnSpec> columns;
        qint64 rowCount = -1;
        try {
            columns = m_loader->columns(table);
            rowCount = m_loader->rowCount(table);
        } catch (const Exception &exception) {
            m_out << printable(exception.message()) << '\n';
            isComplete = false;
            continue;
        }
        const QString head = rowCount < 0 ? tr("%1: число строк неизвестно").arg(table)
                                          : tr("%1: строк %2").arg(table, QString::number(rowCount));
        m_out << printable(head) << '\n';
        qsizetype width = 0;
        for (const ColumnSpec &column : columns)
            width = std::max(width, column.name.size());
        for (const ColumnSpec &column : columns)
            m_out << "    " << printable(column.name.leftJustified(width)) << "  " << columnTypeText(column)
                  << '\n';
    }
    return isComplete;
}

HeadlessReport::Pass HeadlessReport::pass(const MemoryTable &table, qint64 wantedRows) const
{
    const std::lock_guard<const Table> lock(table);
    Pass result;
    QElapsedTimer timer;
    timer.start();
    for (unsigned char *row : *table.masterIndex()) {
        const Record record(row);
        const bool isHidden = std::any_of(m_predicates.begin(), m_predicates.end(),
                                          [&record](const auto &func) { return func->filter(record); });
        if (isHidden) {
            ++result.hidden;
            continue;
        }
        if (result.shown < wantedRows)
            result.rows.push_back(record);
        ++result.shown;
    }
    result.nanoseconds = timer.nsecsElapsed();
    return result;
}

void HeadlessReport::printRows(const MemoryTable &table, const std::vector<Record> &rows)
{
    const std::lock_guard<const Table> lock(table);
    const int columnCount = table.columnCount();
    std::vector<QStringList> lines(1);
    for (int column = 0; column < columnCount; ++column)
        lines[0].append(shortenedText(printable(table.columnName(column)), maxShownWidth));
    for (const Record &row : rows) {
        QStringList line;
        for (int column = 0; column < columnCount; ++column) {
            const QString text = cellText(row.field(column)).value_or(u"NULL"_s);
            line.append(shortenedText(printable(text), maxShownWidth));
        }
        lines.push_back(line);
    }
    std::vector<qsizetype> widths(size_t(columnCount), 0);
    for (const QStringList &line : lines) {
        for (int column = 0; column < columnCount; ++column)
            widths[size_t(column)] = std::max(widths[size_t(column)], line.at(column).size());
    }
    for (const QStringList &line : lines) {
        QString text;
        for (int column = 0; column < columnCount; ++column) {
            const qsizetype width = widths[size_t(column)];
            const bool toTheRight = isNumber(table.columnDef(column)->type);
            text +=
                (toTheRight ? line.at(column).rightJustified(width) : line.at(column).leftJustified(width)) +
                "  "_L1;
        }
        removeTrailingSpaces(text);
        m_out << text << '\n';
    }
    m_out << '\n';
}

void HeadlessReport::exportRows(const MemoryTable &table, const std::vector<Record> &rows) const
{
    QList<int> columns(table.columnCount());
    std::iota(columns.begin(), columns.end(), 0);
    TableExport exported(table, columns, rows);
    if (m_commandLine.hasWholeBytes)
        writeWholeBytes(exported, m_loader->bytesReader(table));
    if (isExportedToOutput())
        exportToOutput(exported);
    else
        exportCsvFile(m_commandLine.exportFile, exported, m_file);
}

void HeadlessReport::exportToOutput(const TableExport &rows) const
{
    auto *device = qobject_cast<QFileDevice *>(m_out.device());
    QString error;
    try {
        rows.writeCsv(*device);
    } catch (const Exception &exception) {
        if (device->error() == QFileDevice::NoError)
            throw;
        error = exception.message();
    }
    if (error.isEmpty() && !device->flush())
        error = device->errorString();
    if (!error.isEmpty())
        throw Exception(tr("Не удалось записать вывод: %1").arg(error));
}

bool HeadlessReport::isExportedToOutput() const
{
    return m_commandLine.action == CommandLine::Action::Export && m_commandLine.exportFile == "-"_L1;
}

} // namespace sito
