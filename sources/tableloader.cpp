// SPDX-License-Identifier: MIT
#include <sources/tableloader.h>

#include <sources/postgresdialect_p.h>
#include <sources/sourcecolumn_p.h>
#include <sources/sourcelocation.h>

#include <database/memorydatabase.h>
#include <database/memorytable.h>

#include <data/exception.h>

#include <QElapsedTimer>
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

namespace sito {

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
    enum class Dialect { Sqlite, Postgres, Other };

    struct NamedTable
    {
        QString name;
        QString quotedName;
        /// PostgreSQL: of the object. SQLite: of the first page; virtual tables have none.
        qint64 number = 0;
    };
    /// How a table is asked for.
    struct Source
    {
        std::vector<SourceColumn> columns = {};
        /// What to select for each column.
        QStringList expressions = {};
        NamedTable table = {};
    };

    explicit Private(const QSqlDatabase &database) : connection(database), dialect(dialectOf(database)) {}

    static Dialect dialectOf(const QSqlDatabase &database);
    [[noreturn]] void fail(const QSqlError &error) const;
    /// Carries out \a statement or fails.
    void execute(QSqlQuery &query, const QString &statement) const;
    QList<NamedTable> tables() const;
    NamedTable require(const QString &table) const;
    QString quoted(const QString &name, QSqlDriver::IdentifierType type) const;
    Source source(const QString &table) const;
    std::optional<qint64> count(const NamedTable &table, const std::stop_token &stop) const;
    bool isUtf8() const;
    QString rowNumberName(const NamedTable &table) const;
    void checkObstacle(const NamedTable &table) const;
    bool isLarge(const NamedTable &table) const;
    std::unique_ptr<MemoryTable> load(const QString &table, const std::stop_token &stop) const;
    bool read(const QString &table, Source &source, const std::stop_token &stop,
              std::unique_ptr<MemoryTable> &result) const;

    QSqlDatabase connection;
    const Dialect dialect = Dialect::Other;
    ProgressFunction progress;
    qint64 interval = 4096;
    Digits digits = Digits::AsDeclared;
};

namespace {

/// A name that SQLite keeps as \a bytes. Those that are no UTF-8 are shown each as "\xE9", so that names stay
/// apart.
QString nameText(const QByteArray &bytes)
{
    QString text;
    for (qsizetype i = 0; i < bytes.size();) {
        qsizetype size = 1;
        for (; size <= 4; ++size) {
            const QByteArray character = bytes.mid(i, size);
            const QString decoded = QString::fromUtf8(character);
            if (character.size() == size && decoded.toUtf8() == character) {
                text += decoded;
                break;
            }
        }
        if (size > 4) {
            size = 1;
            text += u"\\x"_s + QString::fromLatin1(bytes.mid(i, 1).toHex().toUpper());
        }
        i += size;
    }
    return text;
}

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

TableLoader::Private::Dialect TableLoader::Private::dialectOf(const QSqlDatabase &database)
{
    if (!database.isValid())
        return Dialect::Other;
    switch (database.driver()->dbmsType()) {
    case QSqlDriver::SQLite:
        return Dialect::Sqlite;
    case QSqlDriver::PostgreSQL:
        return Dialect::Postgres;
    default:
        return Dialect::Other;
    }
}

/// Whether SQLite keeps the texts of the database as UTF-8.
bool TableLoader::Private::isUtf8() const
{
    QSqlQuery query(connection);
    return query.exec(u"PRAGMA encoding"_s) && query.next() && query.value(0).toString() == "UTF-8"_L1;
}

void TableLoader::Private::fail(const QSqlError &error) const
{
    const QString text = error.databaseText().isEmpty() ? error.driverText() : error.databaseText();
    QString name = connection.databaseName();
    if (dialect == Dialect::Postgres) {
        SourceLocation location;
        location.host = connection.hostName();
        location.port = connection.port();
        location.database = name;
        location.user = connection.userName();
        name = location.displayName();
    }
    throw Exception(TableLoader::tr("База данных «%1»: %2").arg(name, text.simplified()));
}

void TableLoader::Private::execute(QSqlQuery &query, const QString &statement) const
{
    if (!query.exec(statement))
        fail(query.lastError());
}

QString TableLoader::Private::quoted(const QString &name, QSqlDriver::IdentifierType type) const
{
    if (dialect == Dialect::Other)
        return connection.driver()->escapeIdentifier(name, type);
    // The driver would split a name at its points and let one with brackets pass as it is.
    return u'"' + QString(name).replace(u'"', u"\"\""_s) + u'"';
}

TableLoader::TableLoader(const QSqlDatabase &connection) : d(std::make_unique<Private>(connection)) {}

TableLoader::~TableLoader() = default;

QList<TableLoader::Private::NamedTable> TableLoader::Private::tables() const
{
    QList<NamedTable> result;
    if (!connection.isOpen())
        fail(connection.lastError());
    QSqlQuery query(connection);
    query.setForwardOnly(true);
    switch (dialect) {
    case Dialect::Sqlite: {
        const bool isUtf8 = this->isUtf8();
        execute(query, u"SELECT name, rootpage, CAST(name AS BLOB) FROM sqlite_master WHERE type = 'table' "
                       "AND name NOT LIKE 'sqlite\\_%' ESCAPE '\\'"_s);
        while (query.next()) {
            const QByteArray bytes = query.value(2).toByteArray();
            const QString name = isUtf8 ? nameText(bytes) : query.value(0).toString();
            const bool isText = !isUtf8 || name.toUtf8() == bytes;
            result.append({name, isText ? u"main."_s + quoted(name, QSqlDriver::TableName) : QString(),
                           query.value(1).toLongLong()});
        }
        break;
    }
    case Dialect::Postgres:
        execute(query, PostgresDialect::tablesStatement());
        while (query.next()) {
            const QString schema = query.value(0).toString();
            const QString table = query.value(1).toString();
            result.append({PostgresDialect::listedName(schema, table, query.value(3).toBool()),
                           PostgresDialect::quoted(schema) + u'.' + PostgresDialect::quoted(table),
                           query.value(2).toLongLong()});
        }
        break;
    case Dialect::Other: {
        const QStringList names = connection.tables(QSql::Tables);
        for (const QString &name : names)
            result.append({name, quoted(name, QSqlDriver::TableName)});
        break;
    }
    }
    if (query.lastError().isValid())
        fail(query.lastError());
    std::sort(result.begin(), result.end(),
              [](const NamedTable &a, const NamedTable &b) { return a.name < b.name; });
    return result;
}

QStringList TableLoader::tableNames() const
{
    QStringList names;
    const auto tables = d->tables();
    for (const Private::NamedTable &table : tables)
        names.append(table.name);
    return names;
}

TableLoader::Private::NamedTable TableLoader::Private::require(const QString &table) const
{
    const auto all = tables();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [&table](const NamedTable &known) { return known.name == table; });
    if (found == all.end())
        throw Exception(TableLoader::tr("В базе данных нет таблицы «%1»").arg(table));
    if (found->quotedName.isEmpty()) {
        throw Exception(
            TableLoader::tr("Таблица «%1»: её имя не записано в UTF-8, по нему её не прочитать").arg(table));
    }
    return *found;
}

TableLoader::Private::Source TableLoader::Private::source(const QString &table) const
{
    const NamedTable named = require(table);
    Source result{.table = named};
    const auto add = [this, &result, &table](const QString &name, const QString &type, bool nullable) {
        auto column = SourceColumn::fromDeclaredType(name, type, nullable);
        if (!column) {
            throw Exception(TableLoader::tr("Таблица «%1», столбец «%2»: тип «%3» не поддерживается")
                                .arg(table, name, type.simplified()));
        }
        if (dialect == Dialect::Postgres) {
            column->takeServerTexts();
            result.expressions.append(PostgresDialect::expression(*column, type));
        } else if (dialect == Dialect::Sqlite) {
            // By position: SQLite takes a quoted name that no column has for a text, and a name that is no UTF-8
            // cannot be written.
            result.expressions.append(u'c' + QString::number(result.expressions.size()));
        } else {
            result.expressions.append(quoted(name, QSqlDriver::FieldName));
        }
        result.columns.push_back(std::move(*column));
    };
    QSqlQuery query(connection);
    query.setForwardOnly(true);
    switch (dialect) {
    case Dialect::Sqlite: {
        const bool isUtf8 = this->isUtf8();
        // Columns that are hidden in "SELECT *", those of virtual tables, have hidden = 1.
        if (!query.prepare(
                u"SELECT name, type, \"notnull\", pk, CAST(name AS BLOB) FROM pragma_table_xinfo(?) "
                "WHERE hidden <> 1 ORDER BY cid"_s))
            fail(query.lastError());
        query.addBindValue(table);
        if (!query.exec())
            fail(query.lastError());
        while (query.next()) {
            const bool nullable = query.value(2).toInt() == 0 && query.value(3).toInt() == 0;
            add(isUtf8 ? nameText(query.value(4).toByteArray()) : query.value(0).toString(),
                query.value(1).toString(), nullable);
        }
        break;
    }
    case Dialect::Postgres:
        execute(query, PostgresDialect::columnsStatement(named.number));
        while (query.next())
            add(query.value(0).toString(), query.value(1).toString(), !query.value(2).toBool());
        break;
    case Dialect::Other: {
        const QSqlRecord record = connection.record(table);
        const QSqlIndex key = connection.primaryIndex(table);
        for (int i = 0; i < record.count(); ++i) {
            const QSqlField field = record.field(i);
            const bool required = field.requiredStatus() == QSqlField::Required || key.contains(field.name());
            add(field.name(), declaredType(field), !required);
        }
        break;
    }
    }
    if (query.lastError().isValid())
        fail(query.lastError());
    if (result.columns.empty())
        throw Exception(TableLoader::tr("Таблица «%1» не имеет столбцов").arg(table));
    return result;
}

QList<ColumnSpec> TableLoader::columns(const QString &table) const
{
    QList<ColumnSpec> result;
    const Private::Source source = d->source(table);
    for (const SourceColumn &column : source.columns)
        result.append(column.spec());
    return result;
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
    case CellProblem::Fraction:
        return TableLoader::tr("время точнее миллисекунды");
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

namespace {

/// Sees to it that several queries see the same rows, unless the connection is inside a transaction already and does
/// so itself; and that PostgreSQL writes every digit. Ends as if nothing had been.
class Snapshot
{
    Q_DISABLE_COPY_MOVE(Snapshot)
public:
    Snapshot(const QSqlDatabase &connection, bool isPostgres) : m_connection(connection)
    {
        if (!m_connection.isOpen())
            return;
        if (!isPostgres) {
            m_isDrivers = m_connection.transaction();
            return;
        }
        // Only a transaction that began with an earlier statement is older than this one.
        QSqlQuery query(m_connection);
        if (!query.exec(
                u"SELECT pg_catalog.now() OPERATOR(pg_catalog.<>) pg_catalog.statement_timestamp()"_s) ||
            !query.next())
            return;
        if (query.value(0).toBool()) {
            if (query.exec(u"SAVEPOINT sito_load"_s))
                m_end = {u"ROLLBACK TO SAVEPOINT sito_load"_s, u"RELEASE SAVEPOINT sito_load"_s};
        } else if (query.exec(u"BEGIN ISOLATION LEVEL REPEATABLE READ, READ ONLY"_s)) {
            m_end = {u"ROLLBACK"_s};
        }
        if (!m_end.isEmpty()) {
            query.exec(u"SET LOCAL extra_float_digits = 3"_s);
            query.exec(u"SET LOCAL DateStyle = 'ISO'"_s);
        }
    }
    ~Snapshot()
    {
        // A connection that was lost takes its transaction with it.
        if (!m_connection.isOpen())
            return;
        if (m_isDrivers)
            m_connection.rollback();
        for (const QString &statement : std::as_const(m_end))
            QSqlQuery(m_connection).exec(statement);
    }

private:
    QSqlDatabase m_connection;
    bool m_isDrivers = false;
    QStringList m_end;
};

/// The rows of a statement one after the other, never all in memory at once.
class RowReader
{
public:
    /// With \a byCursor inside a transaction only.
    RowReader(const QSqlDatabase &connection, bool byCursor) : m_query(connection), m_byCursor(byCursor)
    {
        // Of a cursor, a portion at a time is held and no more; so a reading that is given up need not wait for the
        // rest.
        m_query.setForwardOnly(!byCursor);
        // Some drivers would give decimal numbers as doubles.
        m_query.setNumericalPrecisionPolicy(QSql::HighPrecision);
    }

    bool exec(const QString &statement)
    {
        if (!m_byCursor)
            return m_query.exec(statement);
        return m_query.exec(u"DECLARE sito_rows NO SCROLL CURSOR FOR "_s + statement) && fetch();
    }
    bool next()
    {
        if (m_query.next())
            return true;
        if (!m_byCursor || m_portion < portion || !fetch())
            return false;
        return m_query.next();
    }
    QVariant value(int column) const { return m_query.value(column); }
    bool isNull(int column) const { return m_query.isNull(column); }
    QSqlError lastError() const { return m_query.lastError(); }
    /// After the last row.
    void close()
    {
        if (m_byCursor)
            m_query.exec(u"CLOSE sito_rows"_s);
    }

private:
    static constexpr int portion = 4096;

    bool fetch()
    {
        const bool isGood = m_query.exec(u"FETCH FORWARD %1 FROM sito_rows"_s.arg(portion));
        m_portion = isGood ? m_query.size() : 0;
        return isGood;
    }

    QSqlQuery m_query;
    const bool m_byCursor;
    int m_portion = 0;
};

} // namespace

namespace {

/// Sizes portions of a work so that each takes a moment.
class Portion
{
public:
    qint64 size() const { return m_size; }
    void begin() { m_timer.start(); }
    void end()
    {
        if (m_timer.elapsed() < 30)
            m_size = std::min<qint64>(m_size * 2, 1 << 22);
        else if (m_timer.elapsed() > 120)
            m_size = std::max<qint64>(m_size / 2, 256);
    }

private:
    QElapsedTimer m_timer;
    qint64 m_size = 16384;
};

} // namespace

/// What SQLite calls the number of a row of \a table; columns may have taken the names, and then it is empty.
QString TableLoader::Private::rowNumberName(const NamedTable &table) const
{
    QSqlQuery query(connection);
    query.setForwardOnly(true);
    if (table.number == 0 || !query.prepare(u"SELECT name FROM pragma_table_xinfo(?)"_s))
        return {};
    query.addBindValue(table.name);
    if (!query.exec())
        return {};
    QStringList columns;
    while (query.next())
        columns.append(query.value(0).toString());
    for (const QString &name : {u"rowid"_s, u"_rowid_"_s, u"oid"_s}) {
        if (!columns.contains(name, Qt::CaseInsensitive))
            return name;
    }
    return {};
}

/// Throws when \a table of PostgreSQL is not to be read, before anything reads it.
void TableLoader::Private::checkObstacle(const NamedTable &table) const
{
    QSqlQuery query(connection);
    query.setForwardOnly(true);
    execute(query, PostgresDialect::obstacleStatement(table.number));
    if (!query.next())
        return;
    if (query.value(0).toBool())
        throw Exception(
            TableLoader::tr("Таблица «%1»: политики доступа скрывают часть её строк").arg(table.name));
    if (!query.isNull(1)) {
        throw Exception(
            TableLoader::tr("Таблица «%1»: чтение выполнило бы функцию «%2» пользователя «%3», которую "
                            "вызывает её индекс или статистика")
                .arg(table.name, query.value(1).toString(), query.value(2).toString()));
    }
}

/// Whether \a table of PostgreSQL, or what it consists of, may be more than the server reads in a moment.
bool TableLoader::Private::isLarge(const NamedTable &table) const
{
    constexpr qint64 readInAMoment = 32 << 20;
    QSqlQuery query(connection);
    query.setForwardOnly(true);
    // What is wrong with the table, or in the way, is told with its name since it is named here, early.
    execute(query,
            u"SELECT EXISTS (SELECT FROM "_s + table.quotedName +
                u" LIMIT 0), pg_catalog.pg_relation_size(oid::pg_catalog.regclass) FROM pg_catalog.pg_class "
                "WHERE relkind OPERATOR(pg_catalog.=) 'r' AND NOT relhassubclass "
                "AND oid OPERATOR(pg_catalog.=) "_s +
                QString::number(table.number));
    return !query.next() || query.value(1).toLongLong() > readInAMoment;
}

/// The number of the rows of \a table; nothing when stopped. No driver lets one interrupt a statement, so a large
/// table is counted by many.
std::optional<qint64> TableLoader::Private::count(const NamedTable &table, const std::stop_token &stop) const
{
    if (stop.stop_requested())
        return std::nullopt;
    if (dialect == Dialect::Postgres)
        checkObstacle(table);
    qint64 counted = 0;
    QString rest;
    Portion portion;
    std::optional<Snapshot> snapshot;
    if (dialect == Dialect::Sqlite) {
        snapshot.emplace(connection, false);
        const QString number = rowNumberName(table);
        // Where there are so many rows, and the first one after them. Without row numbers this fails, and all rows
        // remain.
        while (!number.isEmpty()) {
            portion.begin();
            QSqlQuery query(connection);
            query.setForwardOnly(true);
            if (!query.exec(u"SELECT "_s + number + u" FROM "_s + table.quotedName + rest + u" ORDER BY "_s +
                            number + u" LIMIT 1 OFFSET "_s + QString::number(portion.size())) ||
                !query.next())
                break;
            if (stop.stop_requested())
                return std::nullopt;
            counted += portion.size();
            rest = u" WHERE "_s + number + u" >= "_s + QString::number(query.value(0).toLongLong());
            portion.end();
        }
    } else if (dialect == Dialect::Postgres && isLarge(table)) {
        snapshot.emplace(connection, true);
        QSqlQuery query(connection);
        execute(query, u"DECLARE sito_count NO SCROLL CURSOR FOR SELECT 1 FROM "_s + table.quotedName);
        while (true) {
            portion.begin();
            execute(query, u"MOVE FORWARD %1 IN sito_count"_s.arg(portion.size()));
            if (stop.stop_requested())
                return std::nullopt;
            counted += query.numRowsAffected();
            if (query.numRowsAffected() < portion.size())
                break;
            portion.end();
        }
        execute(query, u"CLOSE sito_count"_s);
        return counted;
    }
    QSqlQuery query(connection);
    query.setForwardOnly(true);
    const QString count = dialect == Dialect::Postgres ? u"pg_catalog.count(*)"_s : u"count(*)"_s;
    if (!query.exec(u"SELECT "_s + count + u" FROM "_s + table.quotedName + rest) || !query.next())
        fail(query.lastError());
    if (stop.stop_requested())
        return std::nullopt;
    return counted + query.value(0).toLongLong();
}

qint64 TableLoader::rowCount(const QString &table) const
{
    return *d->count(d->require(table), {});
}

std::optional<qint64> TableLoader::rowCount(const QString &table, const std::stop_token &stop) const
{
    return d->count(d->require(table), stop);
}

std::unique_ptr<MemoryTable> TableLoader::Private::load(const QString &table,
                                                        const std::stop_token &stop) const
{
    Source wanted = source(table);
    std::unique_ptr<MemoryTable> result;
    // The first reading may find that columns need more room; it goes on to the end without keeping the rows,
    // so that the second finds every column wide enough.
    while (!read(table, wanted, stop, result)) {
    }
    return result;
}

/// Reads \a table into \a result, which becomes null when the load is cancelled. False when columns of \a source
/// were widened.
bool TableLoader::Private::read(const QString &table, Source &source, const std::stop_token &stop,
                                std::unique_ptr<MemoryTable> &result) const
{
    std::vector<SourceColumn> &columns = source.columns;
    QList<ColumnSpec> specs;
    QStringList bytes;
    for (size_t i = 0; i < columns.size(); ++i) {
        specs.append(columns[i].spec());
        const QString &name = source.expressions.at(qsizetype(i));
        bytes.append(columns[i].isText() ? u"CAST(%1 AS BLOB)"_s.arg(name) : name);
    }
    result = nullptr;
    auto loaded = std::make_unique<MemoryTable>(table, specs);
    const bool isSqlite = dialect == Dialect::Sqlite;
    const bool isPostgres = dialect == Dialect::Postgres;

    QString with;
    QString from = u" FROM "_s + source.table.quotedName;
    if (isSqlite) {
        with = u"WITH r(%1) AS (SELECT *%2) "_s.arg(source.expressions.join(u", "_s), from);
        from = u" FROM r"_s;
    }
    const std::optional<qint64> total = count(source.table, stop);
    if (!total)
        return true;
    Progress state{.table = table, .rowsTotal = *total};
    if (progress && !progress(state))
        return true;

    RowReader rows(connection, isPostgres);
    if (!rows.exec(with + u"SELECT "_s + source.expressions.join(u", "_s) + from))
        fail(rows.lastError());
    EncodingCheck encoding(connection, with + u"SELECT "_s + bytes.join(u", "_s) + from);
    std::vector<CellValue> cells(columns.size());
    qint64 reported = 0;
    bool isWidened = false;
    while (rows.next()) {
        if (stop.stop_requested())
            return true;
        for (size_t i = 0; i < columns.size(); ++i) {
            QVariant value = rows.value(int(i));
            if (isPostgres && columns[i].isText() && !value.isNull())
                value = PostgresDialect::text(value.toString());
            CellProblem problem = columns[i].read(value, cells[i]);
            const bool needsRoom =
                problem == CellProblem::Digits || problem == CellProblem::TextLength ||
                (problem == CellProblem::OutOfRange && columns[i].spec().type == FieldType::Int);
            if (needsRoom && digits == Digits::AsNeeded && columns[i].widen()) {
                isWidened = true;
                continue;
            }
            // Some drivers give no value in place of one that they cannot read.
            if (value.isNull() && !rows.isNull(int(i)))
                problem = CellProblem::WrongKind;
            if (problem == CellProblem::None && columns[i].isText()) {
                const auto *text = std::get_if<QString>(&cells[i]);
                if (text && isSqlite && !isAscii(*text) && !encoding.isValid(state.rowsRead, int(i), *text))
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
    if (rows.lastError().isValid())
        fail(rows.lastError());
    rows.close();
    if (isWidened)
        return false;
    if (progress && (reported != state.rowsRead || state.rowsRead == 0) && !progress(state))
        return true;
    result = std::move(loaded);
    return true;
}

std::unique_ptr<MemoryTable> TableLoader::load(const QString &table, const std::stop_token &stop) const
{
    const Snapshot snapshot(d->connection, d->dialect == Private::Dialect::Postgres);
    return d->load(table, stop);
}

std::optional<std::vector<std::unique_ptr<MemoryTable>>>
TableLoader::loadAll(const QStringList &tables, const std::stop_token &stop) const
{
    const Snapshot snapshot(d->connection, d->dialect == Private::Dialect::Postgres);
    std::vector<std::unique_ptr<MemoryTable>> loaded;
    for (const QString &table : tables) {
        auto next = d->load(table, stop);
        if (!next)
            return std::nullopt;
        loaded.push_back(std::move(next));
    }
    return loaded;
}

bool TableLoader::load(const QStringList &tables, MemoryDatabase &database, const std::stop_token &stop) const
{
    for (const QString &table : tables) {
        if (database.tableNames().contains(table))
            throw Exception(TableLoader::tr("Таблица «%1» уже загружена").arg(table));
    }
    auto all = loadAll(tables, stop);
    if (!all)
        return false;
    std::vector<std::unique_ptr<MemoryTable>> &loaded = *all;
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

} // namespace sito
