// SPDX-License-Identifier: MIT
#include <hostkit/tableloader.h>

#include <hostkit/sourcecolumn_p.h>

#include <database/memorydatabase.h>
#include <database/memorytable.h>

#include <data/exception.h>

#include <QMetaType>
#include <QScopeGuard>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlField>
#include <QSqlIndex>
#include <QSqlQuery>
#include <QSqlRecord>

#include <algorithm>
#include <span>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

/// What SQLite shows in place of bytes that are no valid text.
constexpr qsizetype maxShownText = 60;

/// \a value in one short line.
QString shown(const QVariant &value)
{
    if (value.isNull())
        return u"NULL"_s;
    if (value.typeId() == QMetaType::QByteArray) {
        const auto bytes = value.toByteArray();
        const QString start = QString::fromLatin1(bytes.first(std::min<qsizetype>(bytes.size(), 8)).toHex());
        return bytes.size() <= 8 ? u"x'%1'"_s.arg(start)
                                 : u"x'%1…' (%2)"_s.arg(start, QString::number(bytes.size()));
    }
    if (value.typeId() == QMetaType::Double)
        return QString::number(value.toDouble(), 'g', QLocale::FloatingPointShortest);
    if (value.typeId() == QMetaType::LongLong)
        return QString::number(value.toLongLong());
    QString text = value.toString();
    if (text.size() > maxShownText) {
        text.truncate(maxShownText - (text.at(maxShownText - 1).isHighSurrogate() ? 1 : 0));
        text += u'…';
    }
    for (QChar &character : text) {
        if (character.category() == QChar::Other_Control)
            character = QChar::ReplacementCharacter;
    }
    return u"'%1'"_s.arg(text);
}

/// What the metadata of a driver says of a column, as a declared type.
QString declaredType(const QSqlField &field)
{
    const bool hasDigits = field.length() > 0 && field.precision() >= 0;
    switch (field.metaType().id()) {
    case QMetaType::Bool:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::SChar:
    case QMetaType::UChar:
    case QMetaType::Int:
        return u"INTEGER"_s;
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        return u"BIGINT"_s;
    case QMetaType::Float:
    case QMetaType::Double:
        return hasDigits ? u"NUMERIC(%1,%2)"_s.arg(field.length()).arg(field.precision()) : u"DOUBLE"_s;
    case QMetaType::QString:
        return field.length() > 0 ? u"VARCHAR(%1)"_s.arg(field.length()) : u"TEXT"_s;
    case QMetaType::QDate:
    case QMetaType::QDateTime:
        return u"TIMESTAMP"_s;
    case QMetaType::QByteArray:
        return field.length() > 0 ? u"BLOB(%1)"_s.arg(field.length()) : u"BLOB"_s;
    default:
        return QString::fromLatin1(field.metaType().name());
    }
}

} // namespace

struct TableLoader::Private
{
    explicit Private(const QSqlDatabase &database)
        : connection(database),
          isSqlite(database.isValid() && database.driver()->dbmsType() == QSqlDriver::SQLite)
    {
    }

    [[noreturn]] void fail(const QSqlError &error) const;
    void require(const QString &table) const;
    QString quoted(const QString &name, QSqlDriver::IdentifierType type) const;
    std::vector<SourceColumn> columns(const QString &table) const;
    std::unique_ptr<MemoryTable> load(const QString &table, const std::stop_token &stop) const;
    bool read(const QString &table, std::vector<SourceColumn> &columns, const std::stop_token &stop,
              std::unique_ptr<MemoryTable> &result) const;

    QSqlDatabase connection;
    bool isSqlite = false;
    ProgressFunction progress;
    qint64 interval = 4096;
    Digits digits = Digits::AsDeclared;
};

namespace {

bool isAscii(const QString &text)
{
    return std::all_of(text.begin(), text.end(), [](QChar character) { return character < QChar(0x80); });
}

/// Tells texts from bytes that are none: SQLite hands out some character or other for a stray or missing byte. Reads
/// the same rows again, bytes of texts in place of the texts, as far as it is asked.
class EncodingCheck
{
public:
    /// \a statement must give the rows in the same order as the one that is checked.
    EncodingCheck(const QSqlDatabase &connection, const QString &statement)
        : m_connection(connection), m_statement(statement), m_query(connection)
    {
    }

    bool isValid(qint64 row, int column, const QString &text)
    {
        if (m_row < 0) {
            QSqlQuery encoding(m_connection);
            m_isUtf8 = encoding.exec(u"PRAGMA encoding"_s) && encoding.next() &&
                       encoding.value(0).toString() == "UTF-8"_L1;
            m_query.setForwardOnly(true);
            if (m_isUtf8 && !m_query.exec(m_statement))
                return false;
        }
        if (!m_isUtf8)
            return true;
        for (; m_row < row; ++m_row) {
            if (!m_query.next())
                return false;
        }
        return m_query.value(column).toByteArray() == text.toUtf8();
    }

private:
    QSqlDatabase m_connection;
    QString m_statement;
    QSqlQuery m_query;
    qint64 m_row = -1;
    bool m_isUtf8 = false;
};

} // namespace

void TableLoader::Private::fail(const QSqlError &error) const
{
    QString text = error.databaseText().isEmpty() ? error.driverText() : error.databaseText();
    throw Exception(
        TableLoader::tr("База данных «%1»: %2").arg(connection.databaseName(), text.simplified()));
}

QString TableLoader::Private::quoted(const QString &name, QSqlDriver::IdentifierType type) const
{
    if (!isSqlite)
        return connection.driver()->escapeIdentifier(name, type);
    // The driver would split a name at its points and let one with brackets pass as it is.
    return u'"' + QString(name).replace(u'"', u"\"\""_s) + u'"';
}

TableLoader::TableLoader(const QSqlDatabase &connection) : d(std::make_unique<Private>(connection)) {}

TableLoader::~TableLoader() = default;

QStringList TableLoader::tableNames() const
{
    QStringList names;
    if (!d->connection.isOpen())
        d->fail(d->connection.lastError());
    if (d->isSqlite) {
        QSqlQuery query(d->connection);
        query.setForwardOnly(true);
        if (!query.exec(
                u"SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite\\_%' ESCAPE '\\'"_s))
            d->fail(query.lastError());
        while (query.next())
            names.append(query.value(0).toString());
        if (query.lastError().isValid())
            d->fail(query.lastError());
    } else {
        names = d->connection.tables(QSql::Tables);
    }
    std::sort(names.begin(), names.end());
    return names;
}

void TableLoader::Private::require(const QString &table) const
{
    if (!TableLoader(connection).tableNames().contains(table))
        throw Exception(TableLoader::tr("В базе данных нет таблицы «%1»").arg(table));
}

std::vector<SourceColumn> TableLoader::Private::columns(const QString &table) const
{
    require(table);
    std::vector<SourceColumn> result;
    const auto add = [&result, &table](const QString &name, const QString &type, bool nullable) {
        auto column = SourceColumn::fromDeclaredType(name, type, nullable);
        if (!column) {
            throw Exception(TableLoader::tr("Таблица «%1», столбец «%2»: тип «%3» не поддерживается")
                                .arg(table, name, type.simplified()));
        }
        result.push_back(std::move(*column));
    };
    if (isSqlite) {
        QSqlQuery query(connection);
        query.setForwardOnly(true);
        // Columns that are hidden in "SELECT *", those of virtual tables, have hidden = 1.
        if (!query.prepare(
                u"SELECT name, type, \"notnull\", pk FROM pragma_table_xinfo(?) WHERE hidden <> 1 ORDER BY cid"_s))
            fail(query.lastError());
        query.addBindValue(table);
        if (!query.exec())
            fail(query.lastError());
        while (query.next()) {
            const bool nullable = query.value(2).toInt() == 0 && query.value(3).toInt() == 0;
            add(query.value(0).toString(), query.value(1).toString(), nullable);
        }
        if (query.lastError().isValid())
            fail(query.lastError());
    } else {
        const QSqlRecord record = connection.record(table);
        const QSqlIndex key = connection.primaryIndex(table);
        for (int i = 0; i < record.count(); ++i) {
            const QSqlField field = record.field(i);
            const bool required = field.requiredStatus() == QSqlField::Required || key.contains(field.name());
            add(field.name(), declaredType(field), !required);
        }
    }
    return result;
}

QList<ColumnSpec> TableLoader::columns(const QString &table) const
{
    QList<ColumnSpec> result;
    for (const SourceColumn &column : d->columns(table))
        result.append(column.spec());
    return result;
}

qint64 TableLoader::rowCount(const QString &table) const
{
    d->require(table);
    QSqlQuery query(d->connection);
    query.setForwardOnly(true);
    if (!query.exec(u"SELECT count(*) FROM "_s + d->quoted(table, QSqlDriver::TableName)) || !query.next())
        d->fail(query.lastError());
    return query.value(0).toLongLong();
}

void TableLoader::setDigits(Digits digits)
{
    d->digits = digits;
}

void TableLoader::setProgress(ProgressFunction progress, qint64 interval)
{
    d->progress = std::move(progress);
    d->interval = std::max<qint64>(interval, 1);
}

namespace {

QString reason(CellProblem problem)
{
    switch (problem) {
    case CellProblem::Absent:
        return TableLoader::tr("столбец не допускает пустых значений");
    case CellProblem::WrongKind:
        return TableLoader::tr("значение другого рода");
    case CellProblem::OutOfRange:
        return TableLoader::tr("число вне пределов типа");
    case CellProblem::NotExact:
        return TableLoader::tr("число нельзя сохранить точно");
    case CellProblem::Digits:
        return TableLoader::tr("в числе больше цифр, чем объявлено");
    case CellProblem::TextLength:
        return TableLoader::tr("текст длиннее, чем объявлено");
    case CellProblem::NulInText:
        return TableLoader::tr("в тексте есть нулевой символ");
    case CellProblem::Date:
        return TableLoader::tr("не дата");
    case CellProblem::EpochDate:
        return TableLoader::tr("это мгновение обозначает отсутствие даты");
    case CellProblem::ByteCount:
        return TableLoader::tr("другое число байтов");
    case CellProblem::Encoding:
        return TableLoader::tr("байты не составляют текста");
    case CellProblem::None:
        break;
    }
    return {};
}

Exception cellError(const QString &table, qint64 row, const SourceColumn &column, const QVariant &value,
                    CellProblem problem)
{
    return Exception(
        TableLoader::tr("Таблица «%1», строка %2, столбец «%3»: значение %4 не подходит к типу %5 (%6)")
            .arg(table, QString::number(row), column.spec().name, shown(value), column.typeText(),
                 reason(problem)));
}

} // namespace

std::unique_ptr<MemoryTable> TableLoader::Private::load(const QString &table,
                                                        const std::stop_token &stop) const
{
    std::vector<SourceColumn> source = columns(table);
    std::unique_ptr<MemoryTable> result;
    // The first reading may find that columns need more digits; it goes on to the end without keeping the
    // rows, so that the second finds every column wide enough.
    while (!read(table, source, stop, result)) {
    }
    return result;
}

/// Reads \a table into \a result, which becomes null when the load is cancelled. False when \a columns were
/// widened.
bool TableLoader::Private::read(const QString &table, std::vector<SourceColumn> &columns,
                                const std::stop_token &stop, std::unique_ptr<MemoryTable> &result) const
{
    QList<ColumnSpec> specs;
    QStringList names;
    QStringList bytes;
    for (const SourceColumn &column : columns) {
        specs.append(column.spec());
        names.append(quoted(column.spec().name, QSqlDriver::FieldName));
        bytes.append(column.isText() ? u"CAST(%1 AS BLOB)"_s.arg(names.constLast()) : names.constLast());
    }
    result = nullptr;
    auto loaded = std::make_unique<MemoryTable>(table, specs);

    const QString from = u" FROM "_s + quoted(table, QSqlDriver::TableName);
    QSqlQuery query(connection);
    query.setForwardOnly(true);
    // Some drivers would give decimal numbers as doubles.
    query.setNumericalPrecisionPolicy(QSql::HighPrecision);

    Progress state{.table = table};
    if (!query.exec(u"SELECT count(*)"_s + from) || !query.next())
        fail(query.lastError());
    state.rowsTotal = query.value(0).toLongLong();
    if (stop.stop_requested() || (progress && !progress(state)))
        return true;

    if (!query.exec(u"SELECT "_s + names.join(u", "_s) + from))
        fail(query.lastError());
    EncodingCheck encoding(connection, u"SELECT "_s + bytes.join(u", "_s) + from);
    std::vector<CellValue> cells(columns.size());
    qint64 reported = 0;
    bool isWidened = false;
    while (query.next()) {
        if (stop.stop_requested())
            return true;
        for (size_t i = 0; i < columns.size(); ++i) {
            const QVariant value = query.value(int(i));
            CellProblem problem = columns[i].read(value, cells[i]);
            if (problem == CellProblem::Digits && digits == Digits::AsNeeded && columns[i].widen()) {
                isWidened = true;
                continue;
            }
            if (isSqlite && problem == CellProblem::None && columns[i].isText()) {
                const auto *text = std::get_if<QString>(&cells[i]);
                if (text && !isAscii(*text) && !encoding.isValid(state.rowsRead, int(i), *text))
                    problem = CellProblem::Encoding;
            }
            if (problem != CellProblem::None)
                throw cellError(table, state.rowsRead + 1, columns[i], value, problem);
        }
        if (!isWidened)
            loaded->append(std::span<const CellValue>(cells));
        ++state.rowsRead;
        if (progress && state.rowsRead - reported == interval) {
            reported = state.rowsRead;
            if (!progress(state))
                return true;
        }
    }
    if (query.lastError().isValid())
        fail(query.lastError());
    if (isWidened)
        return false;
    if (progress && (reported != state.rowsRead || state.rowsRead == 0) && !progress(state))
        return true;
    result = std::move(loaded);
    return true;
}

std::unique_ptr<MemoryTable> TableLoader::load(const QString &table, const std::stop_token &stop) const
{
    // Counting and reading see the same rows; a connection that is inside a transaction already sees to that
    // itself.
    const bool isOwn = d->connection.isOpen() && d->connection.transaction();
    const auto end = qScopeGuard([this, isOwn] {
        if (isOwn)
            d->connection.rollback();
    });
    return d->load(table, stop);
}

bool TableLoader::load(const QStringList &tables, MemoryDatabase &database, const std::stop_token &stop) const
{
    const bool isOwn = d->connection.isOpen() && d->connection.transaction();
    const auto end = qScopeGuard([this, isOwn] {
        if (isOwn)
            d->connection.rollback();
    });
    std::vector<std::unique_ptr<MemoryTable>> loaded;
    for (const QString &table : tables) {
        if (database.tableNames().contains(table))
            throw Exception(TableLoader::tr("Таблица «%1» уже загружена").arg(table));
        auto next = d->load(table, stop);
        if (!next)
            return false;
        loaded.push_back(std::move(next));
    }
    QStringList added;
    auto takeBack = qScopeGuard([&added, &database] {
        for (const QString &name : std::as_const(added))
            database.dropTable(name);
    });
    for (size_t i = 0; i < loaded.size(); ++i) {
        database.addTable(std::move(loaded[i]));
        added.append(tables.at(qsizetype(i)));
    }
    takeBack.dismiss();
    return true;
}
