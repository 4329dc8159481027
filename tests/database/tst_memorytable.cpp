// SPDX-License-Identifier: MIT
#include <data/indexlist.h>
#include <data/record.h>
#include <data/tablechanges.h>
#include <database/memorytable.h>

#include <support/exceptions.h>

#include <QRandomGenerator>
#include <QTest>

#include <algorithm>
#include <future>
#include <memory>
#include <thread>

namespace {
using Row = QList<CellValue>;

ColumnSpec column(const char *name, FieldType::Type type, bool nullable = false, int length = 0,
                  qint64 size = 0)
{
    return {QString::fromLatin1(name), type, nullable, length, size};
}

const QList<ColumnSpec> quotes{
    column("stock_id", FieldType::Int),         column("code", FieldType::VarChar, false, 5),
    column("name", FieldType::String, true),    column("price", FieldType::Decimal, true, 2),
    column("volume", FieldType::Int64, true),   column("time", FieldType::DateTime),
    column("raw", FieldType::Raw, false, 3, 4), column("block", FieldType::Block, true),
};

Row quote(int id, const QString &name = QStringLiteral("n"))
{
    return {
        qint32(id),        QStringLiteral("abc"), name, decimal(QStringView(u"1.50")), qint64(7), datetime(5),
        QByteArray("xyz"), std::monostate()};
}

QList<Row> quotesOf(std::initializer_list<int> ids)
{
    QList<Row> rows;
    for (const int id : ids)
        rows.append(quote(id));
    return rows;
}

QString ids(const MemoryTable &table)
{
    QStringList result;
    for (unsigned char *row : *table.masterIndex())
        result.append(table.dataPtr(row, 0).toString());
    return result.join(QChar(u' '));
}

/// Writes down what a table tells, rows by their first column.
class Listener final : public TableListener
{
    Q_DISABLE_COPY_MOVE(Listener)
public:
    explicit Listener(const MemoryTable &table) : m_table(table) { table.changes().add(this); }
    ~Listener() override { m_table.changes().remove(this); }

    void tableChanged(const TableChange &change) noexcept override
    {
        const QStringList kinds{QStringLiteral("appended"), QStringLiteral("inserted"),
                                QStringLiteral("removed"), QStringLiteral("updated")};
        QString text = kinds.at(change.kind);
        for (unsigned char *row : change.rows)
            text += QChar(u' ') + m_table.dataPtr(row, 0).toString();
        for (const int column : change.columns)
            text += QStringLiteral(" @%1").arg(column);
        m_told.append(text);
        const auto isLockFree = [this] {
            const bool isFree = m_table.tryLock();
            if (isFree)
                m_table.unlock();
            return isFree;
        };
        m_isLocked = m_isLocked && !std::async(std::launch::async, isLockFree).get();
    }

    QStringList takeTold() { return std::exchange(m_told, {}); }
    bool wasLocked() const { return m_isLocked; }

private:
    const MemoryTable &m_table;
    QStringList m_told;
    bool m_isLocked = true;
};
} // namespace

class MemoryTableTest : public QObject
{
    Q_OBJECT
    /// Every test has a new one, with no rows.
    std::unique_ptr<MemoryTable> m_table;

private Q_SLOTS:
    void init()
    {
        failOnAnyWarning();
        m_table = std::make_unique<MemoryTable>(QStringLiteral("quotes"), quotes);
    }
    void cleanup() { m_table.reset(); }

    void placesColumnsInIndexOrder()
    {
        QStringList places;
        for (int i = 0; i < m_table->columnCount(); ++i) {
            const ColumnDef *def = m_table->columnDef(i);
            places.append(
                QStringLiteral("%1@%2+%3").arg(m_table->columnName(i)).arg(def->offset).arg(def->size));
        }

        QCOMPARE(places.join(QChar(u' ')),
                 QStringLiteral("stock_id@0+4 code@8+10 name@24+24 price@48+8 volume@56+8 time@64+8 raw@72+4 "
                                "block@80+404"));
        QCOMPARE(m_table->rowBlockSize(), 16 + 80 + 408 + 8);
        QCOMPARE(m_table->columnDef(3)->length, 2);
        QCOMPARE(int(m_table->columnDef(3)->nullable != 0), 1);
        QCOMPARE(int(m_table->columnDef(0)->nullable), 0);
        QCOMPARE(m_table->name(), QStringLiteral("quotes"));
        QCOMPARE(m_table->columnSpec(1), quotes[1]);
    }

    void givesNullableColumnsABitEach()
    {
        QList<ColumnSpec> specs;
        for (int i = 0; i < 20; ++i)
            specs.append(column(qPrintable(QStringLiteral("c%1").arg(i)), FieldType::Int, i % 2 == 0));
        MemoryTable table(QStringLiteral("t"), specs);
        const Record record(&table);

        for (int i = 0; i < 20; i += 2) {
            QVERIFY(!record.field(i).isPresent());
            record.field(i).setPresent();
            for (int other = 0; other < 20; ++other)
                QCOMPARE(record.field(other).isPresent(), other % 2 == 1 || other <= i);
        }
        for (int i = 1; i < 20; i += 2)
            QCOMPARE(record.field(i).nullMask, 0u);
    }

    void findsColumns()
    {
        QCOMPARE(m_table->columnIndex(QStringLiteral("price")), 3);
        QCOMPARE(m_table->columnIndex(QStringLiteral("Price")), -1);
        QCOMPARE(m_table->requireColumn(QStringLiteral("price")), 3);
        QCOMPARE(exceptionMessage([&] { m_table->requireColumn(QStringLiteral("no%1")); }),
                 QStringLiteral("Table 'quotes' has no column 'no%1'"));
    }

    void refusesDefinitions_data()
    {
        QTest::addColumn<QList<ColumnSpec>>("specs");
        QTest::addColumn<QString>("message");
        const auto row = [](const char *name, const QList<ColumnSpec> &specs, const QString &message) {
            QTest::newRow(name) << specs << message;
        };
        row("no columns", {}, QStringLiteral("Table 't': a table needs a column"));
        row("no name", {column("", FieldType::Int)}, QStringLiteral("Table 't': column 0 needs a name"));
        row("name twice", {column("a", FieldType::Int), column("a", FieldType::Double)},
            QStringLiteral("Table 't', column 'a': there is a column of that name already"));
        row("unknown type", {column("a", FieldType::Type(10))},
            QStringLiteral("Table 't', column 'a': there is no type 10"));
        row("length of an Int", {column("a", FieldType::Int, false, 4)},
            QStringLiteral("Table 't', column 'a': a column of type Int cannot have length 4 (0 to 0)"));
        row("VarChar without length", {column("a", FieldType::VarChar)},
            QStringLiteral(
                "Table 't', column 'a': a column of type VarChar cannot have length 0 (1 to 32767)"));
        row("VarChar too long", {column("a", FieldType::VarChar, false, 32768)},
            QStringLiteral(
                "Table 't', column 'a': a column of type VarChar cannot have length 32768 (1 to 32767)"));
        row("Raw without length", {column("a", FieldType::Raw)},
            QStringLiteral("Table 't', column 'a': a column of type Raw cannot have length 0 (1 to 65535)"));
        row("scale too large", {column("a", FieldType::Decimal, false, 64)},
            QStringLiteral(
                "Table 't', column 'a': a column of type Decimal cannot have length 64 (-64 to 63)"));
        row("scale too small", {column("a", FieldType::XDecimal, false, -65)},
            QStringLiteral(
                "Table 't', column 'a': a column of type XDecimal cannot have length -65 (-64 to 63)"));
        row("size of an Int", {column("a", FieldType::Int, false, 0, 4)},
            QStringLiteral("Table 't', column 'a': a column of type Int and length 0 cannot have size 4"));
        row("size below the length", {column("a", FieldType::VarChar, false, 5, 9)},
            QStringLiteral(
                "Table 't', column 'a': a column of type VarChar and length 5 cannot have size 9"));
        row("negative size", {column("a", FieldType::Raw, false, 5, -1)},
            QStringLiteral("Table 't', column 'a': a column of type Raw and length 5 cannot have size -1"));
    }
    void refusesDefinitions()
    {
        QFETCH(const QList<ColumnSpec>, specs);
        QFETCH(const QString, message);

        QCOMPARE(exceptionMessage([&] { MemoryTable(QStringLiteral("t"), specs); }), message);
    }

    void acceptsTheLimitsOfDefinitions()
    {
        const MemoryTable table(QStringLiteral("t"), {column("a", FieldType::VarChar, false, 32767),
                                                      column("b", FieldType::Raw, true, 65535),
                                                      column("c", FieldType::Decimal, false, -64),
                                                      column("d", FieldType::XDecimal, false, 63),
                                                      column("e", FieldType::VarChar, false, 5, 40)});

        QCOMPARE(table.columnDef(4)->size, 40u);
        QCOMPARE(table.columnDef(4)->length, 5);
    }

    void appendsAndReadsRows()
    {
        const Record first = m_table->append(quote(1));
        m_table->append(quotesOf({2, 3}));

        QCOMPARE(ids(*m_table), QStringLiteral("1 2 3"));
        QCOMPARE(m_table->rowCount(), 3);
        QCOMPARE(m_table->row(2).field(0).toString(), QStringLiteral("3"));
        QCOMPARE(first, m_table->row(0));
        QCOMPARE(first.field(1).toString(), QStringLiteral("abc"));
        QCOMPARE(first.field(3).toString(), QStringLiteral("1.50"));
        QCOMPARE(first.field(6).toString(), QStringLiteral("78797a"));
        QVERIFY(!first.field(7).isPresent());
        QCOMPARE(exceptionMessage([&] { m_table->row(3); }),
                 QStringLiteral("Table 'quotes', row 3: there is no such row"));
        QCOMPARE(exceptionMessage([&] { m_table->row(-1); }),
                 QStringLiteral("Table 'quotes', row -1: there is no such row"));
    }

    void refusesCells_data()
    {
        QTest::addColumn<int>("column");
        QTest::addColumn<Row>("value");
        QTest::addColumn<QString>("message");
        const auto row = [](const char *name, int column, const CellValue &value, const QString &what) {
            QTest::newRow(name) << column << Row{value}
                                << QStringLiteral("Table 'quotes', column '%1', row %2: %3")
                                       .arg(quotes[column].name, QStringLiteral("%1"), what);
        };
        row("absent", 0, {}, QStringLiteral("the column admits no absent values"));
        row("Int64 for Int", 0, qint64(1),
            QStringLiteral("a value of type Int64 does not fit a column of type Int"));
        row("text for Int", 0, QStringLiteral("1"),
            QStringLiteral("a value of type String does not fit a column of type Int"));
        row("Int for VarChar", 1, qint32(1),
            QStringLiteral("a value of type Int does not fit a column of type VarChar"));
        row("text too long", 1, QStringLiteral("abcdef"),
            QStringLiteral("a text of 6 characters is longer than 5"));
        row("text that ends with zero", 1, QString(QStringLiteral("ab\0")),
            QStringLiteral("a text that ends with U+0000 cannot be stored"));
        row("xdecimal for Decimal", 3, xdecimal(1, 0),
            QStringLiteral("a value of type XDecimal does not fit a column of type Decimal"));
        row("double for Int64", 4, 1.0,
            QStringLiteral("a value of type Double does not fit a column of type Int64"));
        row("Int64 for DateTime", 5, qint64(1),
            QStringLiteral("a value of type Int64 does not fit a column of type DateTime"));
        row("bytes for text", 2, QByteArray("x"),
            QStringLiteral("a value of type Raw does not fit a column of type String"));
        row("too few bytes", 6, QByteArray("xy"),
            QStringLiteral("a value of 2 bytes does not fit a column of 3 bytes"));
        row("too many bytes", 7, QByteArray(405, 'x'),
            QStringLiteral("a value of 405 bytes does not fit a column of 404 bytes"));
    }
    void refusesCells()
    {
        QFETCH(const int, column);
        QFETCH(const Row, value);
        QFETCH(const QString, message);
        m_table->append(quotesOf({1, 2}));
        Row broken = quote(3, QStringLiteral("other"));
        broken[column] = value[0];

        QCOMPARE(exceptionMessage([&] { m_table->append(broken); }), message.arg(2));
        QCOMPARE(exceptionMessage([&] { m_table->append(QList<Row>{quote(3), broken}); }), message.arg(3));
        QCOMPARE(exceptionMessage([&] { m_table->insert(1, {quote(3), broken}); }), message.arg(2));
        QCOMPARE(exceptionMessage([&] {
                     m_table->update(m_table->row(1), {{4, qint64(99)}, {column, value[0]}});
                 }),
                 message.arg(1));
        QCOMPARE(exceptionMessage([&] { m_table->update(Record(m_table.get()), column, value[0]); }),
                 QString(message).replace(QStringLiteral("row %1"),
                                          QStringLiteral("a row that is not in the table")));

        QCOMPARE(ids(*m_table), QStringLiteral("1 2"));
        QCOMPARE(m_table->row(1).field(4).toString(), QStringLiteral("7"));
        QCOMPARE(m_table->liveRowCount(), 2);
    }

    void refusesRows()
    {
        MemoryTable other(QStringLiteral("other"), quotes);
        m_table->append(quotesOf({1, 2}));
        other.append(quote(1));
        const Record foreign = other.append(quote(2));
        const Record foreignOutside(&other);

        QCOMPARE(exceptionMessage([&] { m_table->append({qint32(1)}); }),
                 QStringLiteral("Table 'quotes', row 2: 1 values do not fit 8 columns"));
        QCOMPARE(exceptionMessage([&] { m_table->insert(3, {quote(1)}); }),
                 QStringLiteral("Table 'quotes', row 3: no row can be inserted there"));
        QCOMPARE(exceptionMessage([&] { m_table->insert(-1, {quote(1)}); }),
                 QStringLiteral("Table 'quotes', row -1: no row can be inserted there"));
        QCOMPARE(exceptionMessage([&] { m_table->update(foreign, 3, qint32(1)); }),
                 QStringLiteral("Table 'quotes', column 'price', row 1 of table 'other': the row belongs to "
                                "another table"));
        QCOMPARE(exceptionMessage([&] { m_table->update(foreign, 8, qint32(1)); }),
                 QStringLiteral("Table 'quotes', row 1 of table 'other': the row belongs to another table"));
        QCOMPARE(
            exceptionMessage([&] {
                m_table->update(foreignOutside, {{1, qint32(1)}, {2, qint32(1)}});
            }),
            QStringLiteral("Table 'quotes', column 'code', a row that is not in its table 'other': the row "
                           "belongs to another table"));
        QCOMPARE(exceptionMessage([&] { m_table->update(foreign, {}); }),
                 QStringLiteral("Table 'quotes', row 1 of table 'other': the row belongs to another table"));
        QCOMPARE(exceptionMessage([&] { m_table->update(Record(), 0, qint32(1)); }),
                 QStringLiteral("Table 'quotes', column 'stock_id': a handle on no row"));
        QCOMPARE(exceptionMessage([&] { m_table->update(m_table->row(0), 8, qint32(1)); }),
                 QStringLiteral("Table 'quotes', row 0: there is no column 8"));
        QCOMPARE(exceptionMessage([&] { m_table->update(m_table->row(1), -1, qint32(1)); }),
                 QStringLiteral("Table 'quotes', row 1: there is no column -1"));
        QCOMPARE(exceptionMessage([&] { m_table->remove(Record()); }),
                 QStringLiteral("Table 'quotes': a handle on no row"));
        QCOMPARE(exceptionMessage([&] { m_table->update(Record(m_table.get()), 8, qint32(1)); }),
                 QStringLiteral("Table 'quotes', a row that is not in the table: there is no column 8"));
        QCOMPARE(exceptionMessage([&] { m_table->remove(foreign); }),
                 QStringLiteral("Table 'quotes', row 1 of table 'other': the row belongs to another table"));
        QCOMPARE(
            exceptionMessage([&] {
                m_table->remove({m_table->row(0), m_table->row(0), Record(m_table.get()), m_table->row(1),
                                 Record(m_table.get())});
            }),
            QStringLiteral("Table 'quotes', entry 2 of the rows to remove: the row is not in the table"));
        QCOMPARE(exceptionMessage([&] { m_table->append(m_table->row(1)); }),
                 QStringLiteral("Table 'quotes', row 1: the row is in the table already"));
        QCOMPARE(exceptionMessage([&] { m_table->append(foreign); }),
                 QStringLiteral("Table 'quotes', row 1 of table 'other': the row belongs to another table"));
        QCOMPARE(ids(*m_table), QStringLiteral("1 2"));
        QCOMPARE(ids(other), QStringLiteral("1 2"));
    }

    void waitsForNoOtherTableToRefuseItsRow()
    {
        MemoryTable other(QStringLiteral("o%1"), quotes);
        const Record foreign = other.append(quote(1));
        std::promise<void> locked;
        std::promise<void> done;
        std::thread holder([&] {
            other.lock();
            locked.set_value();
            done.get_future().wait();
            other.unlock();
        });
        locked.get_future().wait();

        const QString message = exceptionMessage([&] { m_table->remove(foreign); });
        done.set_value();
        holder.join();

        QCOMPARE(message,
                 QStringLiteral("Table 'quotes', a row of table 'o%1': the row belongs to another table"));
    }

    void keepsNamesInMessagesAsTheyCame()
    {
        const QList<ColumnSpec> specs{column("c%1%2%3%4", FieldType::Int),
                                      column("v%2", FieldType::VarChar, false, 2)};
        MemoryTable table(QStringLiteral("a%2b%1"), specs);
        MemoryTable other(QStringLiteral("o%1%2%3"), specs);
        const Record foreign = other.append({qint32(1), QString()});
        const Record own = table.append({qint32(1), QString()});

        QCOMPARE(
            exceptionMessage([&] { table.remove(Record(&table)); }),
            QStringLiteral("Table 'a%2b%1', entry 0 of the rows to remove: the row is not in the table"));
        QCOMPARE(exceptionMessage([&] { table.remove(Record()); }),
                 QStringLiteral("Table 'a%2b%1': a handle on no row"));
        QCOMPARE(
            exceptionMessage([&] { table.update(foreign, 0, qint32(2)); }),
            QStringLiteral("Table 'a%2b%1', column 'c%1%2%3%4', row 0 of table 'o%1%2%3': the row belongs "
                           "to another table"));
        QCOMPARE(exceptionMessage([&] { table.update(Record(), 0, qint32(2)); }),
                 QStringLiteral("Table 'a%2b%1', column 'c%1%2%3%4': a handle on no row"));
        QCOMPARE(
            exceptionMessage([&] { table.update(own, 0, {}); }),
            QStringLiteral("Table 'a%2b%1', column 'c%1%2%3%4', row 0: the column admits no absent values"));
        QCOMPARE(
            exceptionMessage([&] { table.update(own, 1, QStringLiteral("%1%2")); }),
            QStringLiteral("Table 'a%2b%1', column 'v%2', row 0: a text of 4 characters is longer than 2"));
        QCOMPARE(exceptionMessage([&] { table.append({qint32(1)}); }),
                 QStringLiteral("Table 'a%2b%1', row 1: 1 values do not fit 2 columns"));
        QCOMPARE(exceptionMessage([&] { table.row(1); }),
                 QStringLiteral("Table 'a%2b%1', row 1: there is no such row"));
        QCOMPARE(exceptionMessage([&] { table.requireColumn(QStringLiteral("%1")); }),
                 QStringLiteral("Table 'a%2b%1' has no column '%1'"));
        QCOMPARE(exceptionMessage(
                     [&] { MemoryTable(QStringLiteral("a%2b%3"), {column("c%1%3", FieldType::Raw)}); }),
                 QStringLiteral("Table 'a%2b%3', column 'c%1%3': a column of type Raw cannot have length 0 "
                                "(1 to 65535)"));
    }

    void updatesRows()
    {
        const Record row = m_table->append(quote(1));

        m_table->update(row, {{0, qint32(5)}, {2, {}}, {7, QByteArray(404, 'b')}});
        m_table->update(row, 3, {});

        QCOMPARE(ids(*m_table), QStringLiteral("5"));
        QVERIFY(!row.field(2).isPresent() && !row.field(3).isPresent() && row.field(7).isPresent());
        QCOMPARE(row.field(7).toString(), QString::fromLatin1(QByteArray(404, 'b').toHex()));
    }

    void takesRowsBackIn()
    {
        m_table->append(quotesOf({1, 2}));
        const Record first = m_table->row(0);
        m_table->remove(first);
        Record fresh(m_table.get());
        fresh.field(0).data[0] = 9;

        m_table->append(first);
        m_table->append(fresh);

        QCOMPARE(ids(*m_table), QStringLiteral("2 1 9"));
    }

    void keepsFillerZeroThroughEveryWrite()
    {
        const QList<ColumnSpec> specs{
            column("a", FieldType::Int), column("b", FieldType::VarChar, false, 5, 16),
            column("c", FieldType::Raw, true, 3, 4), column("d", FieldType::VarChar, true, 3)};
        MemoryTable table(QStringLiteral("t"), specs);
        const Record reference = table.append({qint32(1), QStringLiteral("ab"), QByteArray("xyz"), {}});
        const Record row = table.append(
            {qint32(-1), QStringLiteral("vwxyz"), QByteArray("\xff\xff\xff"), QStringLiteral("abc")});
        const auto data = [&](const Record &record) {
            return QByteArray(reinterpret_cast<const char *>(record.row()) + 16, table.rowBlockSize() - 16);
        };
        QVERIFY(data(row) != data(reference));

        table.update(row, {{0, qint32(1)}, {1, QStringLiteral("ab")}, {2, QByteArray("xyz")}, {3, {}}});
        QCOMPARE(data(row), data(reference));

        FieldType::stringToVarChar(row.field(1).data, 5, u"vwxyz");
        FieldType::stringToVarChar(row.field(1).data, 5, u"ab");
        QCOMPARE(data(row), data(reference));

        table.update(row, 2, {});
        table.update(row, 2, QByteArray("xyz"));
        QCOMPARE(data(row), data(reference));

        // A field clears its presence bit and nothing else.
        row.field(2).setAbsent();
        QCOMPARE(QByteArray(reinterpret_cast<const char *>(row.field(2).data), 3), QByteArray("xyz"));
        row.field(2).setPresent();
        QCOMPARE(data(row), data(reference));

        // A block that is used again is as clean as a new one.
        Record used(&table);
        memset(used.row() + 16, 0xff, size_t(table.rowBlockSize() - 16));
        unsigned char *block = used.row();
        used = Record();
        used = Record(&table);
        QCOMPARE(used.row(), block);
        QCOMPARE(data(used), QByteArray(table.rowBlockSize() - 16, '\0'));
    }

    void followsARandomScript()
    {
        MemoryTable table(QStringLiteral("t"),
                          {column("id", FieldType::Int), column("s", FieldType::String)});
        QList<int> oracle;
        const quint32 seed = 20171103;
        QRandomGenerator random(seed);
        int next = 0;
        const auto makeRows = [&](int count, qsizetype at) {
            QList<Row> rows;
            for (int i = 0; i < count; ++i) {
                rows.append({qint32(next), QString::number(next)});
                oracle.insert(at + i, next++);
            }
            return rows;
        };
        for (int step = 0; step < 600; ++step) {
            const int count = random.bounded(10) == 0 ? random.bounded(20000) : random.bounded(5);
            switch (random.bounded(6)) {
            case 0:
                table.append(makeRows(count, oracle.size()));
                break;
            case 1: {
                const auto at = qsizetype(random.bounded(int(oracle.size()) + 1));
                table.insert(at, makeRows(count, at));
                break;
            }
            case 2:
                table.append(makeRows(1, oracle.size()).first());
                break;
            case 3:
            case 4: {
                QList<Record> leaving;
                QList<int> kept;
                const int from = random.bounded(int(oracle.size()) + 1);
                for (int i = 0; i < oracle.size(); ++i) {
                    const bool leaves = random.bounded(20) == 0 || (i >= from && i < from + 3 * count);
                    if (leaves)
                        leaving.append(table.row(i));
                    else
                        kept.append(oracle[i]);
                }
                table.remove(leaving);
                oracle = kept;
                break;
            }
            case 5:
                if (random.bounded(20) == 0) {
                    table.clear();
                    oracle.clear();
                }
                break;
            }

            QCOMPARE(table.rowCount(), oracle.size());
            QCOMPARE(table.liveRowCount(), oracle.size());
            QCOMPARE(table.masterIndex()->rowCount(), oracle.size());
            qsizetype at = 0;
            for (unsigned char *row : *table.masterIndex()) {
                const auto id = table.dataPtr(row, 0).value<qint32>();
                QVERIFY2(at < oracle.size() && id == oracle[at],
                         qPrintable(QStringLiteral("seed %1 step %2").arg(seed).arg(step)));
                ++at;
            }
            QCOMPARE(at, oracle.size());
            if (!oracle.isEmpty()) {
                const int probe = random.bounded(int(oracle.size()));
                QCOMPARE(table.row(probe).field(1).toString(), QString::number(oracle[probe]));
            }
        }
    }

    void keepsManyRowsSmall()
    {
        const int rows = qEnvironmentVariableIntValue("SITO_MANY_ROWS") ? 10'000'000 : 1'000'000;
        MemoryTable table(QStringLiteral("quotes"),
                          {column("stock_id", FieldType::Int), column("sess_id", FieldType::Int),
                           column("price", FieldType::Decimal, false, 2),
                           column("time", FieldType::DateTime)});
        for (int i = 0; i < rows; ++i)
            table.append({qint32(i), qint32(i), decimal(qint64(i)), datetime(i)});

        QCOMPARE(table.rowBlockSize(), 48);
        const auto blocks = double(table.rowBlockSize()) * rows;
        QVERIFY2(double(table.memoryUsage()) < 1.2 * blocks,
                 qPrintable(QString::number(double(table.memoryUsage()) / blocks)));
    }

    void keepsSingleInsertionsSmall_data()
    {
        QTest::addColumn<int>("place");
        QTest::newRow("always first") << 0;
        QTest::newRow("always last but one") << 1;
        QTest::newRow("in the middle") << 2;
        QTest::newRow("anywhere") << 3;
    }
    void keepsSingleInsertionsSmall()
    {
        QFETCH(const int, place);
        constexpr int rows = 40'000;
        constexpr quint32 seed = 20180214;
        MemoryTable table(QStringLiteral("t"), {column("id", FieldType::Int)});
        QRandomGenerator random(seed);
        QList<int> oracle{0};
        table.append({qint32(0)});
        for (int i = 1; i < rows; ++i) {
            const int places[] = {0, i - 1, i / 2, random.bounded(i)};
            table.insert(places[place], {{qint32(i)}});
            oracle.insert(places[place], i);
        }

        QList<int> ids;
        for (unsigned char *row : *table.masterIndex())
            ids.append(table.dataPtr(row, 0).value<qint32>());
        QVERIFY(ids == oracle);
        for (int i = 0; i < rows; i += 97)
            QCOMPARE(table.row(i).field(0).value<qint32>(), oracle[i]);
        // A full index takes 8 bytes a row, and pages that are half full twice as many.
        const auto bytesPerRow = double(table.memoryUsage()) / rows - double(table.rowBlockSize());
        QVERIFY2(bytesPerRow < 24, qPrintable(QString::number(bytesPerRow)));
        qInfo("%.1f bytes a row besides %lld", bytesPerRow, static_cast<long long>(table.rowBlockSize()));
    }

    void tellsOfEveryChange()
    {
        Listener listener(*m_table);

        Record first = m_table->append(quote(1));
        m_table->append(quotesOf({2, 3}));
        m_table->insert(3, quotesOf({4}));
        m_table->insert(1, quotesOf({5, 6}));
        m_table->update(first, 0, qint32(9));
        m_table->update(first, {{1, QStringLiteral("x")}, {4, qint64(2)}});
        QCOMPARE(listener.takeTold(),
                 QStringList({QStringLiteral("appended 1"), QStringLiteral("appended 2 3"),
                              QStringLiteral("appended 4"), QStringLiteral("inserted 5 6"),
                              QStringLiteral("updated 9 @0"), QStringLiteral("updated 9 @1 @4")}));

        m_table->remove(m_table->row(1)); // no handle keeps it: it is freed after it was told
        m_table->remove({first, first});
        m_table->append(first);
        QCOMPARE(listener.takeTold(), QStringList({QStringLiteral("removed 5"), QStringLiteral("removed 9"),
                                                   QStringLiteral("appended 9")}));

        first = Record();
        m_table->clear();
        QCOMPARE(listener.takeTold(), QStringList(QStringLiteral("removed 6 2 3 4 9")));
        QVERIFY(listener.wasLocked());
    }

    void tellsNothingOfWhatFailedOrChangesNothing()
    {
        const Record row = m_table->append(quote(1));
        Listener listener(*m_table);

        exceptionMessage([&] { m_table->append({qint32(1)}); });
        exceptionMessage([&] { m_table->append(row); });
        exceptionMessage([&] { m_table->update(row, {{0, qint32(2)}, {1, qint32(2)}}); });
        exceptionMessage([&] { m_table->remove({row, Record(m_table.get())}); });
        m_table->append(QList<Row>());
        m_table->update(row, QList<std::pair<int, CellValue>>());
        m_table->remove(QList<Record>());
        m_table->clear();
        m_table->clear();

        QCOMPARE(listener.takeTold(), QStringList(QStringLiteral("removed 1")));
    }

    void tellsEachListenerUntilItIsRemoved()
    {
        QVERIFY(!m_table->changes().isHeard());
        Listener stays(*m_table);
        {
            Listener leaves(*m_table);
            m_table->append(quote(1));
            QCOMPARE(leaves.takeTold().size(), 1);
        }
        m_table->append(quote(2));

        QCOMPARE(stays.takeTold().size(), 2);
    }

    void locksRecursivelyAndAgainstOtherThreads()
    {
        m_table->lock();
        m_table->lock();
        std::atomic<bool> entered = false;
        std::thread other([&] {
            m_table->lock();
            entered = true;
            m_table->unlock();
        });

        m_table->append(quote(1));
        m_table->unlock();
        QTest::qWait(50);
        QVERIFY(!entered);
        m_table->unlock();
        other.join();
        QVERIFY(entered);
    }

    void triesItsLockWithoutWaiting()
    {
        MemoryTable table(QStringLiteral("quotes"), quotes);
        const auto othersTry = [&table] {
            return std::async(std::launch::async,
                              [&table] {
                                  const bool isTaken = table.tryLock();
                                  if (isTaken)
                                      table.unlock();
                                  return isTaken;
                              })
                .get();
        };

        QVERIFY(table.tryLock());
        QVERIFY(table.tryLock());
        table.unlock();
        QVERIFY(!othersTry());
        table.unlock();
        QVERIFY(othersTry());
    }

    void unlocksWhenAnOperationThrows()
    {
        exceptionMessage([&] { m_table->append({qint32(1)}); });
        exceptionMessage([&] { m_table->update(Record(), 0, qint32(1)); });
        exceptionMessage([&] { m_table->remove(Record()); });

        bool locked = false;
        std::thread([&] {
            m_table->lock();
            locked = true;
            m_table->unlock();
        }).join();

        QVERIFY(locked);
    }
};

QTEST_GUILESS_MAIN(MemoryTableTest)
#include "tst_memorytable.moc"
