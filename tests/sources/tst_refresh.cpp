// SPDX-License-Identifier: MIT
#include <sources/tablerefresh.h>

#include <hostkit/parallel/stopsource.h>

#include <database/memorytable.h>

#include <data/tablechanges.h>

#include <support/exceptions.h>
#include <support/loadedtables.h>
#include <support/seed.h>

#include <QRandomGenerator>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

using namespace sito;
using namespace Qt::StringLiterals;

static_assert(!std::is_copy_constructible_v<TableRefresh>);

namespace {

using Row = QList<CellValue>;
using Rows = QList<Row>;

const QList<ColumnSpec> keyAndText{{u"id"_s, FieldType::Int}, {u"t"_s, FieldType::String, true}};

/// Writes down what is told of a table: "+2" rows appended, "-1" removed, "~id,t" columns of rows written.
class ChangeLog : public TableListener
{
public:
    explicit ChangeLog(const MemoryTable &table) : m_table(table) { m_table.changes().add(this); }
    ~ChangeLog() override { m_table.changes().remove(this); }

    void tableChanged(const TableChange &change) noexcept override
    {
        QString entry = QString::number(change.rows.size());
        if (change.kind == TableChange::Updated) {
            QStringList names;
            for (const int column : change.columns)
                names.append(m_table.columnName(column));
            entry = u'~' + names.join(u',');
        } else {
            entry.prepend(change.kind == TableChange::Removed ? u'-' : u'+');
        }
        entries.append(entry);
    }

    QStringList entries;

private:
    const MemoryTable &m_table;
};

TableRefresh::Counts refresh(MemoryTable &table, const Rows &rows, const QList<int> &keys)
{
    TableRefresh refresh(table, keys);
    for (const Row &row : rows)
        refresh.add(row);
    return refresh.apply();
}

QString countsText(const TableRefresh::Counts &counts)
{
    return u"+%1 -%2 ~%3"_s.arg(QString::number(counts.added), QString::number(counts.removed),
                                QString::number(counts.changed));
}

QStringList sorted(QStringList lines)
{
    lines.sort();
    return lines;
}

} // namespace

/// How tables that are loaded are brought up to date with their source.
class tst_Refresh : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void bringsInDifferences_data()
    {
        QTest::addColumn<QList<int>>("keys");
        QTest::addColumn<QString>("now");
        QTest::addColumn<QString>("counts");
        QTest::addColumn<QString>("told");
        QTest::addColumn<QString>("rows");
        const QList<int> byKey{0};
        const QList<int> byRow;
        // The table holds 1a 2b 3c.
        QTest::newRow("none") << byKey << u"1a 2b 3c"_s << u"+0 -0 ~0"_s << QString() << u"1a 2b 3c"_s;
        QTest::newRow("another order")
            << byKey << u"3c 1a 2b"_s << u"+0 -0 ~0"_s << QString() << u"1a 2b 3c"_s;
        QTest::newRow("new rows") << byKey << u"0z 1a 2b 9x 3c"_s << u"+2 -0 ~0"_s << u"+2"_s
                                  << u"1a 2b 3c 0z 9x"_s;
        QTest::newRow("rows gone") << byKey << u"2b"_s << u"+0 -2 ~0"_s << u"-2"_s << u"2b"_s;
        QTest::newRow("a changed cell")
            << byKey << u"1a 2B 3c"_s << u"+0 -0 ~1"_s << u"~t"_s << u"1a 2B 3c"_s;
        QTest::newRow("a value that is gone")
            << byKey << u"1a 2 3c"_s << u"+0 -0 ~1"_s << u"~t"_s << u"1a 2 3c"_s;
        QTest::newRow("all at once") << byKey << u"4d 3C 1a"_s << u"+1 -1 ~1"_s << u"-1 ~t +1"_s
                                     << u"1a 3C 4d"_s;
        QTest::newRow("nothing left") << byKey << QString() << u"+0 -3 ~0"_s << u"-3"_s << QString();
        QTest::newRow("a changed row without a key")
            << byRow << u"1a 2B 3c"_s << u"+1 -1 ~0"_s << u"-1 +1"_s << u"1a 3c 2B"_s;
        QTest::newRow("equal rows added")
            << byRow << u"1a 1a 2b 1a 3c"_s << u"+2 -0 ~0"_s << u"+2"_s << u"1a 2b 3c 1a 1a"_s;
        QTest::newRow("an equal key added")
            << byKey << u"1a 1x 2b 3c"_s << u"+1 -0 ~0"_s << u"+1"_s << u"1a 2b 3c 1x"_s;
    }
    void bringsInDifferences()
    {
        QFETCH(const QList<int>, keys);
        QFETCH(const QString, now);
        QFETCH(const QString, counts);
        QFETCH(const QString, told);
        QFETCH(const QString, rows);
        const auto rowsOf = [](const QString &text) {
            Rows result;
            for (const QString &one : text.split(u' ', Qt::SkipEmptyParts)) {
                const QString value = one.sliced(1);
                result.append({one.first(1).toInt(), value.isEmpty() ? CellValue() : CellValue(value)});
            }
            return result;
        };
        MemoryTable table(u"t"_s, keyAndText);
        table.append(rowsOf(u"1a 2b 3c"_s));
        const ChangeLog log(table);

        const TableRefresh::Counts found = refresh(table, rowsOf(now), keys);

        QCOMPARE(countsText(found), counts);
        QCOMPARE(log.entries.join(u' '), told);
        QString text = texts(table).join(u' ').replace(u" | "_s, QString());
        QCOMPARE(text.replace(u"NULL"_s, QString()), rows);
    }

    void keepsRowsThatDoNotChange()
    {
        MemoryTable table(u"t"_s, keyAndText);
        table.append({{1, u"a"_s}, {2, u"b"_s}, {3, u"c"_s}});
        const Record first = table.row(0);
        const Record last = table.row(2);

        refresh(table, {{3, u"C"_s}, {1, u"a"_s}}, {0});

        QCOMPARE(table.row(0), first);
        QCOMPARE(table.row(1), last);
        QCOMPARE(table.liveRowCount(), 2);
    }

    void comparesStoredBits()
    {
        MemoryTable table(
            u"t"_s, {{u"id"_s, FieldType::Int}, {u"d"_s, FieldType::Double}, {u"x"_s, FieldType::XDecimal}});
        const double nan = std::numeric_limits<double>::quiet_NaN();
        table.append({{1, nan, xdecimal(1, 0)}, {2, 0.0, xdecimal(1, 0)}, {3, 1.0, xdecimal(1, 0)}});

        const Rows now{{1, nan, xdecimal(1, 0)}, {2, -0.0, xdecimal(1, 0)}, {3, 1.0, xdecimal(10, 1)}};
        QCOMPARE(countsText(refresh(table, now, {0})), u"+0 -0 ~2"_s);
        QCOMPARE(countsText(refresh(table, now, {0})), u"+0 -0 ~0"_s);
        QVERIFY(std::signbit(table.row(1).field(1).value<double>()));
    }

    void takesEveryTypeOver()
    {
        const QList<ColumnSpec> specs{{u"int"_s, FieldType::Int, true},
                                      {u"int64"_s, FieldType::Int64, true},
                                      {u"double"_s, FieldType::Double, true},
                                      {u"decimal"_s, FieldType::Decimal, true, 2},
                                      {u"xdecimal"_s, FieldType::XDecimal, true, 2},
                                      {u"varchar"_s, FieldType::VarChar, true, 5},
                                      {u"date"_s, FieldType::DateTime, true},
                                      {u"string"_s, FieldType::String, true},
                                      {u"raw"_s, FieldType::Raw, true, 3},
                                      {u"block"_s, FieldType::Block, true}};
        const Row values{1,      qint64(1) << 40, 2.5,    decimal(125), xdecimal(125, 2),
                         u"ä"_s, datetime(1000),  u"б"_s, "xyz"_ba,     sampleBlock()};
        MemoryTable table(u"t"_s, specs);
        MemoryTable other(u"other"_s, specs);
        other.append({values, Row(specs.size())});

        QCOMPARE(countsText(refresh(table, {values, Row(specs.size())}, {})), u"+2 -0 ~0"_s);
        QCOMPARE(texts(table), texts(other));
        QCOMPARE(table.row(0).field(8).toString(), other.row(0).field(8).toString());
        // Absent values and others are written over each other, whatever their types.
        QCOMPARE(countsText(refresh(table, {values, values}, {0})), u"+1 -1 ~0"_s);
        QCOMPARE(countsText(refresh(table, {values, values}, {})), u"+0 -0 ~0"_s);
    }

    void countsEqualRowsInTimeProportionalToThem()
    {
        // Looking at all equal rows for each would take hours.
        constexpr int count = 300000;
        MemoryTable table(u"t"_s, {{u"a"_s, FieldType::Int}});
        Rows rows;
        for (int i = 0; i < count; ++i)
            rows.append(Row{i % 2});
        table.append(rows);
        rows.removeFirst();
        rows += {Row{0}, Row{2}, Row{1}};

        QCOMPARE(countsText(refresh(table, rows, {})), u"+2 -0 ~0"_s);
        QCOMPARE(table.rowCount(), count + 2);
    }

    void refusesARowThatDoesNotFit()
    {
        MemoryTable table(u"t"_s, keyAndText);
        table.append({1, u"a"_s});
        TableRefresh refresh(table, {0});

        QVERIFY(!exceptionMessage([&] { refresh.add(Row{u"1"_s, u"a"_s}); }).isNull());
        QVERIFY(!exceptionMessage([&] { refresh.add(Row{1}); }).isNull());
        refresh.add(Row{1, u"b"_s});
        QCOMPARE(countsText(refresh.apply()), u"+0 -0 ~1"_s);
    }

    void touchesNothingOnceStopped()
    {
        MemoryTable table(u"t"_s, keyAndText);
        table.append({{1, u"a"_s}, {2, u"b"_s}});
        const parallel::StopSource stop;
        TableRefresh refresh(table, {0}, stop.token());
        refresh.add(Row{1, u"x"_s});

        stop.requestStop();

        QVERIFY_THROWS_EXCEPTION(parallel::Stopped, refresh.add(Row{3, u"c"_s}));
        QVERIFY_THROWS_EXCEPTION(parallel::Stopped, refresh.apply());
        QCOMPARE(texts(table), (QStringList{u"1 | a"_s, u"2 | b"_s}));
    }

    void agreesWithAFreshTable()
    {
        const quint64 seed = testSeed();
        QRandomGenerator random(quint32(seed ^ seed >> 32));
        const auto below = [&random](int bound) { return int(random.bounded(bound)); };
        for (int round = 0; round < 60; ++round) {
            const QList<int> keys = round % 3 == 0   ? QList<int>()
                                    : round % 3 == 1 ? QList<int>{0}
                                                     : QList<int>{1, 0};
            MemoryTable table(u"t"_s, {{u"a"_s, FieldType::Int, true},
                                       {u"b"_s, FieldType::VarChar, true, 3},
                                       {u"c"_s, FieldType::Int64}});
            // Few keys, so that some are equal.
            const auto randomRow = [&] {
                return Row{below(5) == 0 ? CellValue() : CellValue(qint32(below(40))),
                           below(5) == 0 ? CellValue() : CellValue(QString::number(below(3))),
                           qint64(below(3))};
            };
            Rows rows;
            for (int step = 0; step < 12; ++step) {
                const int kind = below(4);
                for (int i = below(40); kind == 0 && i > 0; --i)
                    rows.insert(below(int(rows.size()) + 1), randomRow());
                for (int i = below(40); kind == 1 && i > 0 && !rows.isEmpty(); --i)
                    rows.removeAt(below(int(rows.size())));
                for (int i = below(40); kind == 2 && i > 0 && !rows.isEmpty(); --i)
                    rows[below(int(rows.size()))][2] = qint64(below(3));
                for (int i = below(40); kind == 3 && i > 0 && !rows.isEmpty(); --i)
                    rows.swapItemsAt(below(int(rows.size())), below(int(rows.size())));

                const qint64 before = table.rowCount();
                const TableRefresh::Counts counts = refresh(table, rows, keys);
                MemoryTable fresh(u"t"_s, {{u"a"_s, FieldType::Int, true},
                                           {u"b"_s, FieldType::VarChar, true, 3},
                                           {u"c"_s, FieldType::Int64}});
                fresh.append(rows);

                const QByteArray message = seedMessage(seed, u"round %1, step %2"_s.arg(round).arg(step));
                QVERIFY2(sorted(texts(table)) == sorted(texts(fresh)), message.constData());
                QVERIFY2(before + counts.added - counts.removed == table.rowCount(), message.constData());
                QVERIFY2(!keys.isEmpty() || counts.changed == 0, message.constData());
                QVERIFY2(refresh(table, rows, keys) == TableRefresh::Counts(), message.constData());
            }
        }
    }
};

QTEST_GUILESS_MAIN(tst_Refresh)
#include "tst_refresh.moc"
