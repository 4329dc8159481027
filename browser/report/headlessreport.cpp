// SPDX-License-Identifier: MIT
#include <browser/report/headlessreport.h>

#include <browser/parts/printable.h>
#include <browser/parts/sampledatabase.h>

#include <hostkit/filters/columnsfilter.h>
#include <hostkit/text/celltext.h>
#include <hostkit/views/tableexport.h>
#include <sources/columnnotes.h>
#include <sources/sourcedatabase.h>
#include <sources/sourcelocation.h>
#include <sources/tableloader.h>

#include <database/memorydatabase.h>
#include <database/memorytable.h>

#include <data/exception.h>
#include <data/indexlist.h>
#include <filterfuncs/filterfunc.h>
#include <filters/securitiessessionfilter.h>

#include <QElapsedTimer>

#include <algorithm>
#include <limits>
#include <numeric>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype maxShownWidth = 40;

/// Locks a table as std::lock_guard would.
class TableLock
{
    Q_DISABLE_COPY_MOVE(TableLock)
public:
    explicit TableLock(const Table &table) : m_table(table) { m_table.lock(); }
    ~TableLock() { m_table.unlock(); }

private:
    const Table &m_table;
};

bool isNumber(FieldType::Type type)
{
    return type == FieldType::Int || type == FieldType::Int64 || type == FieldType::Double ||
           type == FieldType::Decimal || type == FieldType::XDecimal;
}

QString shortened(QString text)
{
    if (text.size() > maxShownWidth) {
        text.truncate(maxShownWidth - (text.at(maxShownWidth - 2).isHighSurrogate() ? 2 : 1));
        text += u'…';
    }
    return text;
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
    m_excluding.clear();
    m_keeping.clear();
    m_filters.clear();
    MemoryDatabase::instance().clear();
    m_loader.reset();
}

void HeadlessReport::run()
{
    openDatabase();
    if (m_commandLine.action == CommandLine::Action::List) {
        list();
        return;
    }

    QStringList wanted{m_commandLine.table};
    if (!m_commandLine.sessionColumns.isEmpty() && m_commandLine.table != "sessions"_L1)
        wanted.append(u"sessions"_s);
    m_loader->load(wanted, MemoryDatabase::instance());
    MemoryTable &table = *MemoryDatabase::instance().table(m_commandLine.table);
    makeFilters(table);

    const TableLock lock(table);
    qint64 wantedRows = 0;
    if (m_commandLine.action == CommandLine::Action::Head)
        wantedRows = m_commandLine.headRows;
    else if (m_commandLine.action == CommandLine::Action::Export)
        wantedRows = std::numeric_limits<qint64>::max();
    const Pass result = pass(table, wantedRows);
    if (m_commandLine.action == CommandLine::Action::Head)
        printRows(table, result.rows);
    else if (m_commandLine.action == CommandLine::Action::Export)
        exportRows(table, result.rows);
    m_out << tr("Показано строк: %1").arg(result.shown) << '\n'
          << tr("Скрыто строк: %1").arg(result.hidden) << '\n'
          << tr("Время прохода: %1 мс").arg(QString::number(double(result.nanoseconds) / 1e6, 'f', 3))
          << '\n';
    noteWiderColumns(table);
}

void HeadlessReport::noteWiderColumns(const MemoryTable &table)
{
    const QStringList notes = widerColumnNotes(m_loader->columns(table.name()), table);
    for (const QString &note : notes)
        m_out << printable(note) << '\n';
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
    m_database = std::make_unique<SourceDatabase>(location);
    m_loader = std::make_unique<TableLoader>(m_database->connection());
    m_loader->setDigits(TableLoader::Digits::AsNeeded);
}

void HeadlessReport::list()
{
    const QStringList tables = m_loader->tableNames();
    for (const QString &table : tables) {
        QList<ColumnSpec> columns;
        try {
            columns = m_loader->columns(table);
        } catch (const Exception &exception) {
            m_out << printable(exception.message()) << '\n';
            continue;
        }
        m_out << printable(tr("%1: строк %2").arg(table, QString::number(m_loader->rowCount(table)))) << '\n';
        qsizetype width = 0;
        for (const ColumnSpec &column : columns)
            width = std::max(width, column.name.size());
        for (const ColumnSpec &column : columns)
            m_out << "    " << printable(column.name.leftJustified(width)) << "  " << columnTypeText(column)
                  << '\n';
    }
}

void HeadlessReport::makeFilters(MemoryTable &table)
{
    struct Plan
    {
        bool keep;
        QList<int> columns;
        QStringList keys;
    };
    // Options of one kind over the same columns make one filter.
    QList<Plan> plans;
    for (const CommandLine::KeyOption &option : m_commandLine.keyOptions) {
        const QList<int> columns = ColumnsFilter::columnsByName(table, option.columns);
        const auto known = std::find_if(plans.begin(), plans.end(), [&option, &columns](const Plan &plan) {
            return plan.keep == option.keep && plan.columns == columns;
        });
        if (known == plans.end())
            plans.append({option.keep, columns, {option.keys}});
        else
            known->keys.append(option.keys);
    }
    for (const Plan &plan : std::as_const(plans)) {
        auto filter = std::make_unique<ColumnsFilter>(table, plan.columns, nullptr);
        filter->setValue(plan.keys.join(u'|'));
        (plan.keep ? m_keeping : m_excluding).emplace_back(filter->createFilterFunc(nullptr));
        m_filters.push_back(std::move(filter));
    }
    if (!m_commandLine.sessionColumns.isEmpty()) {
        const QList<int> columns = ColumnsFilter::columnsByName(table, m_commandLine.sessionColumns);
        auto filter = std::make_unique<SecuritiesSessionFilter>(table, columns.first(), columns,
                                                                columns.last(), nullptr);
        m_excluding.emplace_back(filter->createFilterFunc(nullptr));
        m_filters.push_back(std::move(filter));
    }
}

HeadlessReport::Pass HeadlessReport::pass(const MemoryTable &table, qint64 wantedRows) const
{
    Pass result;
    QElapsedTimer timer;
    timer.start();
    for (unsigned char *row : *table.masterIndex()) {
        const Record record(row);
        const auto says = [&record](const std::unique_ptr<FilterFunc> &func) { return func->filter(record); };
        if (std::any_of(m_excluding.begin(), m_excluding.end(), says) ||
            !std::all_of(m_keeping.begin(), m_keeping.end(), says)) {
            ++result.hidden;
            continue;
        }
        if (result.shown < wantedRows)
            result.rows.push_back(row);
        ++result.shown;
    }
    result.nanoseconds = timer.nsecsElapsed();
    return result;
}

void HeadlessReport::printRows(const MemoryTable &table, const std::vector<unsigned char *> &rows)
{
    const int columnCount = table.columnCount();
    std::vector<QStringList> lines(1);
    for (int column = 0; column < columnCount; ++column)
        lines[0].append(shortened(printable(table.columnName(column))));
    for (unsigned char *row : rows) {
        QStringList line;
        for (int column = 0; column < columnCount; ++column)
            line.append(shortened(printable(cellText(table.dataPtr(row, column)).value_or(u"NULL"_s))));
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

void HeadlessReport::exportRows(const MemoryTable &table, const std::vector<unsigned char *> &rows) const
{
    QList<int> columns(table.columnCount());
    std::iota(columns.begin(), columns.end(), 0);
    exportCsvFile(m_commandLine.exportFile, TableExport(table, columns, {rows.begin(), rows.end()}), m_file);
}

} // namespace sito
