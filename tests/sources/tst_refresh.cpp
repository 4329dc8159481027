// SPDX-License-Identifier: MIT
#include <sources/tablerefresh.h>

#include <hostkit/parallel/stopsource.h>
#include <sources/sourcedatabase.h>

#include <database/memorydatabase.h>
#include <database/memorytable.h>

#include <data/tablechanges.h>

#include <support/exceptions.h>
#include <support/loadedtables.h>
#include <support/seed.h>
#include <support/sourcereader.h>
#include <support/sqlitefile.h>

#include <QDateTime>
#include <QFile>
#include <QLoggingCategory>
#include <QRandomGenerator>
#include <QTemporaryDir>
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
private:
    QString makeFile(const QString &name, const QStringList &statements) const
    {
        return makeSqliteFile(m_directory->filePath(name), statements);
    }
    /// Carries out \a statements in the source, over another connection.
    void change(const QStringList &statements) const { makeSqliteFile(m_file, statements); }
    /// Loads \a tables of a new file that \a statements make.
    bool load(const QStringList &tables, const QStringList &statements)
    {
        m_file = makeFile(u"source.sqlite"_s, statements);
        if (!m_reader->read(SourceLocation::fromFile(m_file)))
            return false;
        m_reader->connection.load(tables);
        return m_reader->settle() && m_reader->connection.loadedTables() == tables;
    }
    /// What the connection signals when \a tables are refreshed.
    QStringList refreshed(const QStringList &tables, bool ifChanged = false)
    {
        m_reader->recorder.take();
        m_reader->recorder.steps = 0;
        m_reader->connection.refresh(tables, ifChanged);
        return m_reader->settle() ? m_reader->recorder.take() : QStringList(u"no answer"_s);
    }
    /// From now on an exception that becomes a signal is no warning of its own.
    static void expectExceptions() { QLoggingCategory::setFilterRules(u"database.exception=false"_s); }
    bool hasRead() const { return m_reader->recorder.steps > 0; }
    static MemoryTable &table(const QString &name) { return *MemoryDatabase::instance().table(name); }
    /// The rows of \a name as a new load gives them.
    QStringList freshTexts(const QString &name) const
    {
        const SourceDatabase database(SourceLocation::fromFile(m_file));
        return sorted(texts(*TableLoader(database.connection()).load(name)));
    }

    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<SourceReader> m_reader;
    QString m_file;

private Q_SLOTS:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        m_directory = std::make_unique<QTemporaryDir>();
        m_reader = std::make_unique<SourceReader>();
    }
    void cleanup()
    {
        m_reader->connection.closeTables();
        m_reader.reset();
        QLoggingCategory::setFilterRules({});
    }

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

    void appendsRowsAsTheyCome()
    {
        MemoryTable table(u"t"_s, keyAndText);
        table.append({{1, u"a"_s}, {2, u"b"_s}, {3, u"c"_s}});
        constexpr int rows = 10'000;
        TableRefresh refresh(table, {0}, {}, TableRefresh::Additions::AsTheyCome);
        refresh.add(Row{1, u"a"_s});
        refresh.add(Row{3, u"C"_s});
        for (int i = 0; i < rows; ++i) {
            QVERIFY(table.rowCount() > i - rows / 2);
            refresh.add(Row{4 + i, u"new"_s});
        }
        QVERIFY(table.rowCount() < 3 + rows);

        QCOMPARE(countsText(refresh.apply()), u"+10000 -1 ~1"_s);

        QStringList expected{u"1 | a"_s, u"3 | C"_s};
        for (int i = 0; i < rows; ++i)
            expected.append(QString::number(4 + i) + u" | new"_s);
        QCOMPARE(texts(table), expected);
    }

    void keepsRowsThatWereNotAdded()
    {
        MemoryTable table(u"t"_s, keyAndText);
        table.append({{1, u"a"_s}, {2, u"b"_s}, {3, u"c"_s}});
        TableRefresh refresh(table, {0});
        refresh.add(Row{4, u"d"_s});
        refresh.add(Row{2, u"B"_s});
        refresh.add(Row{3, u"c"_s});

        QCOMPARE(refresh.newRows(), 1);
        QCOMPARE(countsText(refresh.apply(TableRefresh::Others::Kept)), u"+1 -0 ~1"_s);

        QCOMPARE(texts(table), (QStringList{u"1 | a"_s, u"2 | B"_s, u"3 | c"_s, u"4 | d"_s}));
    }

    void keepsRowsByTheirKeys()
    {
        MemoryTable table(u"t"_s, {{u"t"_s, FieldType::String}, {u"id"_s, FieldType::Int}});
        table.append({{u"a"_s, 1}, {u"b"_s, 2}, {u"c"_s, 3}, {u"d"_s, 4}});
        TableRefresh refresh(table, {1});
        refresh.add(Row{u"D"_s, 4});
        refresh.add(Row{u"e"_s, 5});

        // In another order than that of the table, those that were added among them.
        QCOMPARE(refresh.keep(Row{4}), true);
        QCOMPARE(refresh.keep(Row{5}), false);
        QCOMPARE(refresh.keep(Row{1}), true);
        QCOMPARE(refresh.keep(Row{2}), true);
        QVERIFY(!exceptionMessage([&] { refresh.keep(Row{u"1"_s}); }).isNull());

        QCOMPARE(countsText(refresh.apply()), u"+1 -1 ~1"_s);
        QCOMPARE(texts(table), (QStringList{u"a | 1"_s, u"b | 2"_s, u"D | 4"_s, u"e | 5"_s}));
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

    void readsTheSourceAgain()
    {
        QVERIFY(load({u"k"_s, u"n"_s}, {u"CREATE TABLE k (id INTEGER PRIMARY KEY, t TEXT)"_s,
                                        u"INSERT INTO k VALUES (1, 'a'), (2, 'b'), (3, 'c')"_s,
                                        u"CREATE TABLE n (id INTEGER, t TEXT)"_s,
                                        u"INSERT INTO n VALUES (1, 'a'), (1, 'a'), (2, 'b')"_s}));
        const QDateTime before = m_reader->connection.asOf(u"k"_s);
        QVERIFY(before.isValid());
        QTRY_VERIFY(QDateTime::currentDateTimeUtc() > before);
        const ChangeLog log(table(u"k"_s));
        QCOMPARE(refreshed({u"k"_s, u"n"_s}), (QStringList{u"refreshed k +0 -0 ~0,n +0 -0 ~0"_s}));
        QCOMPARE(log.entries, QStringList());
        QVERIFY(m_reader->connection.asOf(u"k"_s) > before);

        change({u"UPDATE k SET t = 'B' WHERE id = 2"_s, u"DELETE FROM k WHERE id = 1"_s,
                u"INSERT INTO k VALUES (0, 'z'), (9, NULL)"_s, u"UPDATE n SET t = 'A' WHERE rowid = 1"_s});

        QCOMPARE(refreshed({u"k"_s, u"n"_s}), (QStringList{u"refreshed k +2 -1 ~1,n +1 -1 ~0"_s}));
        QCOMPARE(texts(table(u"k"_s)), (QStringList{u"2 | B"_s, u"3 | c"_s, u"0 | z"_s, u"9 | NULL"_s}));
        QCOMPARE(log.entries, (QStringList{u"-1"_s, u"~t"_s, u"+2"_s}));
        QCOMPARE(sorted(texts(table(u"n"_s))), freshTexts(u"n"_s));
        QVERIFY(m_reader->recorder.isConsistent);
    }

    void readsNothingWhileNothingHasChanged_data()
    {
        QTest::addColumn<QString>("mode");
        QTest::newRow("journal") << u"DELETE"_s;
        // The file itself is not written then.
        QTest::newRow("write-ahead log") << u"WAL"_s;
    }
    void readsNothingWhileNothingHasChanged()
    {
        QFETCH(const QString, mode);
        QVERIFY(load({u"a"_s}, {u"PRAGMA journal_mode = "_s + mode,
                                u"CREATE TABLE a (id INTEGER PRIMARY KEY, t TEXT)"_s,
                                u"INSERT INTO a VALUES (1, 'a')"_s, u"CREATE TABLE b (id INTEGER)"_s,
                                u"CREATE VIEW v AS SELECT id FROM a"_s}));
        // Another connection keeps the log from being brought into the file.
        const SourceDatabase other(SourceLocation::fromFile(m_file));

        QCOMPARE(refreshed({u"a"_s}, true), (QStringList{u"refreshed a +0 -0 ~0"_s}));
        QVERIFY(!hasRead());
        QCOMPARE(refreshed({u"a"_s}, false), (QStringList{u"refreshed a +0 -0 ~0"_s}));
        QVERIFY(hasRead());
        change({u"UPDATE a SET t = 'b'"_s});
        QCOMPARE(refreshed({u"a"_s}, true), (QStringList{u"refreshed a +0 -0 ~1"_s}));
        QVERIFY(hasRead());
        QCOMPARE(refreshed({u"a"_s}, true), (QStringList{u"refreshed a +0 -0 ~0"_s}));
        QVERIFY(!hasRead());

        // What a view computes may depend on more than its tables.
        m_reader->connection.load({u"v"_s});
        QVERIFY(m_reader->settle());
        QCOMPARE(refreshed({u"v"_s}, true), (QStringList{u"refreshed v +0 -0 ~0"_s}));
        QVERIFY(hasRead());
    }

    void readsTheFileThatHasTakenThePlace()
    {
        const QStringList made{u"CREATE TABLE a (id INTEGER PRIMARY KEY)"_s, u"INSERT INTO a VALUES (1)"_s};
        QVERIFY(load({u"a"_s}, made));
        const QString other = makeFile(u"other"_s, made + QStringList{u"INSERT INTO a VALUES (2)"_s});
        // Files are told apart by time and size.
        QFile file(other);
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.setFileTime(QDateTime::currentDateTime().addSecs(-3600), QFile::FileModificationTime));
        file.close();

        QVERIFY(QFile::rename(m_file, m_file + u".old"_s) && QFile::rename(other, m_file));

        QCOMPARE(refreshed({u"a"_s}, true), (QStringList{u"refreshed a +1 -0 ~0"_s}));
        QCOMPARE(texts(table(u"a"_s)), (QStringList{u"1"_s, u"2"_s}));
    }

    void tellsThatTheFileIsGoneAndReadsItWhenItIsBack()
    {
        QVERIFY(load({u"a"_s}, {u"CREATE TABLE a (id INTEGER)"_s, u"INSERT INTO a VALUES (1)"_s}));
        QVERIFY(QFile::rename(m_file, m_file + u".away"_s));
        expectExceptions();

        for (const bool ifChanged : {false, true})
            QCOMPARE(refreshed({u"a"_s}, ifChanged), QStringList(u"failed Файла «%1» нет"_s.arg(m_file)));
        QCOMPARE(texts(table(u"a"_s)), QStringList(u"1"_s));

        QVERIFY(QFile::rename(m_file + u".away"_s, m_file));
        change({u"INSERT INTO a VALUES (2)"_s});
        QCOMPARE(refreshed({u"a"_s}, true), (QStringList{u"refreshed a +1 -0 ~0"_s}));
    }

    void tellsThatATableHasAnotherShape_data()
    {
        QTest::addColumn<QString>("changed");
        QTest::newRow("a column more") << u"ALTER TABLE a ADD COLUMN x INTEGER"_s;
        QTest::newRow("a column renamed") << u"ALTER TABLE a RENAME COLUMN t TO u"_s;
        QTest::newRow("a value that does not fit") << u"UPDATE a SET n = 'many' WHERE id = 2"_s;
        QTest::newRow("a value that needs room") << u"UPDATE a SET n = 5000000000 WHERE id = 2"_s;
    }
    void tellsThatATableHasAnotherShape()
    {
        QFETCH(const QString, changed);
        QVERIFY(load({u"a"_s, u"b"_s},
                     {u"CREATE TABLE a (id INTEGER PRIMARY KEY, t TEXT, n INTEGER)"_s,
                      u"INSERT INTO a VALUES (1, 'a', 1), (2, 'b', 2)"_s, u"CREATE TABLE b (id INTEGER)"_s}));
        const QStringList before = texts(table(u"a"_s));
        change({changed, u"INSERT INTO b VALUES (1)"_s});

        QCOMPARE(refreshed({u"a"_s, u"b"_s}), (QStringList{u"refreshed a reshaped,b +1 -0 ~0"_s}));
        QCOMPARE(texts(table(u"a"_s)), before);
        QCOMPARE(refreshed({u"a"_s}, true), QStringList(u"refreshed a reshaped"_s));

        MemoryDatabase::instance().dropTable(u"a"_s);
        m_reader->connection.load({u"a"_s});
        QVERIFY(m_reader->settle());
        QCOMPARE(refreshed({u"a"_s}), QStringList(u"refreshed a +0 -0 ~0"_s));
    }

    void keepsColumnsThatWereWidened()
    {
        QVERIFY(load({u"a"_s}, {u"CREATE TABLE a (id INTEGER PRIMARY KEY, p DECIMAL(5,2), n INTEGER)"_s,
                                u"INSERT INTO a VALUES (1, 1.2345, 1), (2, 2, 'some')"_s}));

        change({u"UPDATE a SET p = 1.5, n = 3"_s});

        QCOMPARE(refreshed({u"a"_s}), QStringList(u"refreshed a +0 -0 ~2"_s));
        QCOMPARE(table(u"a"_s).columnSpec(1).length, 4);
        QCOMPARE(texts(table(u"a"_s)), (QStringList{u"1 | 1.5000 | 3"_s, u"2 | 1.5000 | 3"_s}));
    }

    void matchesByRowWhereKeysNeedNotDiffer()
    {
        // Of long bytes only the first are shown, and SQLite admits NULL in a key.
        QVERIFY(load({u"b"_s, u"n"_s},
                     {u"CREATE TABLE b (id BLOB PRIMARY KEY, t TEXT)"_s,
                      u"INSERT INTO b VALUES (zeroblob(99) || x'01', 'a'), (zeroblob(99) || x'02', 'b')"_s,
                      u"CREATE TABLE n (id TEXT PRIMARY KEY, t TEXT)"_s,
                      u"INSERT INTO n VALUES (NULL, 'a'), (NULL, 'b')"_s}));

        change({u"UPDATE b SET t = 'c' WHERE t = 'b'"_s, u"UPDATE n SET t = 'c' WHERE t = 'a'"_s});

        QCOMPARE(refreshed({u"b"_s, u"n"_s}), (QStringList{u"refreshed b +1 -1 ~0,n +1 -1 ~0"_s}));
        for (const QString &name : {u"b"_s, u"n"_s})
            QCOMPARE(sorted(texts(table(name))), freshTexts(name));
    }

    void readsAFileOfTextsAgain()
    {
        const QString name = m_directory->filePath(u"prices.csv"_s);
        const auto write = [&name](const QByteArray &content) {
            QFile file(name);
            return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
        };
        QVERIFY(write("id,name,price\n1,a,1.25\n2,b,2.5\n"));
        QVERIFY(m_reader->read(SourceLocation::fromFile(name), {u"prices"_s}));
        QCOMPARE(refreshed({u"prices"_s}, true), QStringList(u"refreshed prices +0 -0 ~0"_s));
        QVERIFY(!hasRead());

        QVERIFY(write("id,name,price\n2,b,2.5\n3,c,3.75\n10,x,1\n"));
        QCOMPARE(refreshed({u"prices"_s}, true), QStringList(u"refreshed prices +2 -1 ~0"_s));
        QCOMPARE(texts(table(u"prices"_s)),
                 (QStringList{u"2 | b | 2.50"_s, u"3 | c | 3.75"_s, u"10 | x | 1.00"_s}));

        QVERIFY(write("id,name,price\n2,b,2.5\n3,c,many\n"));
        QCOMPARE(refreshed({u"prices"_s}, true), QStringList(u"refreshed prices reshaped"_s));
        QVERIFY(write("id,name\n2,b\n"));
        QCOMPARE(refreshed({u"prices"_s}, true), QStringList(u"refreshed prices reshaped"_s));
        QVERIFY(QFile::remove(name));
        expectExceptions();
        QVERIFY(refreshed({u"prices"_s}, true).constFirst().startsWith(u"failed "_s));
        QCOMPARE(table(u"prices"_s).rowCount(), 3);
    }

    void refusesTablesThatAreNotLoaded()
    {
        QCOMPARE(refreshed({u"a"_s}), QStringList(u"failed База данных не открыта"_s));
        QVERIFY(load({u"a"_s}, {u"CREATE TABLE a (id INTEGER)"_s, u"CREATE TABLE b (id INTEGER)"_s}));
        QCOMPARE(refreshed({u"a"_s, u"b"_s}),
                 QStringList(u"failed Таблица «b» не загружена из этого источника"_s));
        change({u"DROP TABLE a"_s});
        expectExceptions();
        QCOMPARE(refreshed({u"a"_s}), QStringList(u"failed В базе данных нет таблицы «a»"_s));
    }

    void loadsTheBeginningAndThenTheRest_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<int>("rows");
        for (const char *key : {"INTEGER PRIMARY KEY", "INTEGER"}) {
            for (const int rows : {0, 1, 10'000, 10'001, 33'000})
                QTest::addRow("%s, %d rows", key, rows) << QString::fromLatin1(key) << rows;
        }
    }
    void loadsTheBeginningAndThenTheRest()
    {
        QFETCH(const QString, key);
        QFETCH(const int, rows);
        constexpr int beginning = SourceConnection::rowsOfBeginning;
        m_file = makeFile(u"source.sqlite"_s,
                          {u"CREATE TABLE a (id %1, t TEXT)"_s.arg(key), u"CREATE TABLE b (id INTEGER)"_s,
                           u"INSERT INTO b VALUES (7)"_s,
                           u"INSERT INTO a WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n "
                           "WHERE i < %1) SELECT i, i || 'th' FROM n WHERE i <= %1"_s.arg(rows)});
        QVERIFY(m_reader->read(SourceLocation::fromFile(m_file)));
        SourceConnection &connection = m_reader->connection;
        QVERIFY(!connection.isComplete(u"a"_s));

        connection.load({u"a"_s, u"b"_s}, SourceConnection::Extent::Beginning);
        QVERIFY(m_reader->settle());

        QCOMPARE(table(u"a"_s).rowCount(), std::min(rows, beginning));
        QCOMPARE(connection.isComplete(u"a"_s), rows <= beginning);
        QVERIFY(connection.isComplete(u"b"_s));
        // It is read though nothing has changed.
        const int rest = std::max(0, rows - beginning);
        QCOMPARE(refreshed({u"a"_s}, true), QStringList(u"refreshed a +%1 -0 ~0"_s.arg(rest)));
        QVERIFY(connection.isComplete(u"a"_s));
        const SourceDatabase database(SourceLocation::fromFile(m_file));
        QCOMPARE(texts(table(u"a"_s)), texts(*TableLoader(database.connection()).load(u"a"_s)));
        QCOMPARE(refreshed({u"a"_s}, true), QStringList(u"refreshed a +0 -0 ~0"_s));
        QVERIFY(!hasRead());
    }

    void readsTheRestOfWhatHasChangedMeanwhile_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<QString>("answer");
        const auto row = [](const char *name, const QString &change, const QString &answer) {
            QTest::newRow(name) << change << answer;
        };
        row("rows changed", u"UPDATE a SET t = 'x' WHERE id % 5000 = 0"_s, u"a +10000 -0 ~2"_s);
        row("rows removed", u"DELETE FROM a WHERE id % 5000 = 0"_s, u"a +9998 -2 ~0"_s);
        row("a row in front", u"INSERT INTO a VALUES (-1, 'x')"_s, u"a +10001 -0 ~0"_s);
        row("a value that does not fit", u"UPDATE a SET n = 'x' WHERE id = 15000"_s, u"a reshaped"_s);
        row("another column", u"ALTER TABLE a ADD COLUMN c INTEGER"_s, u"a reshaped"_s);
    }
    void readsTheRestOfWhatHasChangedMeanwhile()
    {
        QFETCH(const QString, change);
        QFETCH(const QString, answer);
        m_file =
            makeFile(u"source.sqlite"_s,
                     {u"CREATE TABLE a (id INTEGER PRIMARY KEY, t TEXT, n INTEGER)"_s,
                      u"INSERT INTO a (id) WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n "
                      "WHERE i < 20000) SELECT i FROM n"_s});
        QVERIFY(m_reader->read(SourceLocation::fromFile(m_file)));
        m_reader->connection.load({u"a"_s}, SourceConnection::Extent::Beginning);
        QVERIFY(m_reader->settle());

        const QString columns = change.contains("VALUES"_L1) ? u" (id, t)"_s : QString();
        this->change({QString(change).replace(u"INTO a"_s, u"INTO a"_s + columns)});

        QCOMPARE(refreshed({u"a"_s}), QStringList(u"refreshed "_s + answer));
        const bool isReshaped = answer.endsWith("reshaped"_L1);
        QCOMPARE(m_reader->connection.isComplete(u"a"_s), !isReshaped);
        if (!isReshaped)
            QCOMPARE(sorted(texts(table(u"a"_s))), freshTexts(u"a"_s));
    }

    void notesWhatTheRestHolds()
    {
        m_file = makeFile(u"source.sqlite"_s,
                          {u"CREATE TABLE a (id INTEGER PRIMARY KEY, t TEXT)"_s,
                           u"INSERT INTO a WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n "
                           "WHERE i < 12000) SELECT i, CASE i WHEN 11000 THEN CAST(x'4ae9' AS TEXT) ELSE 'a' "
                           "END FROM n"_s});
        QVERIFY(m_reader->read(SourceLocation::fromFile(m_file)));
        m_reader->connection.load({u"a"_s}, SourceConnection::Extent::Beginning);
        QVERIFY(m_reader->settle());
        QCOMPARE(m_reader->connection.columnNotes(u"a"_s), QStringList());

        QCOMPARE(refreshed({u"a"_s}), QStringList(u"refreshed a +2000 -0 ~0"_s));

        const SourceDatabase database(SourceLocation::fromFile(m_file));
        const TableLoader loader(database.connection());
        QVERIFY(loader.load(u"a"_s));
        QCOMPARE(m_reader->connection.columnNotes(u"a"_s).size(), 1);
        QCOMPARE(m_reader->connection.columnNotes(u"a"_s), loader.columnNotes(u"a"_s));
        // Nothing is read now, and the notes stay.
        QCOMPARE(refreshed({u"a"_s}, true), QStringList(u"refreshed a +0 -0 ~0"_s));
        QCOMPARE(m_reader->connection.columnNotes(u"a"_s), loader.columnNotes(u"a"_s));
    }

    void goesOnAfterTheRestWasCancelled()
    {
        const QStringList statements{u"CREATE TABLE a (id INTEGER)"_s,
                                     u"INSERT INTO a WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 "
                                     "FROM n WHERE i < 200000) SELECT i / 3 FROM n"_s};
        m_file = makeFile(u"source.sqlite"_s, statements);
        QVERIFY(m_reader->read(SourceLocation::fromFile(m_file)));
        SourceConnection &connection = m_reader->connection;
        connection.load({u"a"_s}, SourceConnection::Extent::Beginning);
        QVERIFY(m_reader->settle());
        for (int i = 0; i < 3; ++i) {
            connection.refresh({u"a"_s});
            // The progress is told before the answer.
            const auto cancelled = connect(&connection, &SourceConnection::progress, this,
                                           [&](const QString &, qint64 rowsRead) {
                                               if (rowsRead > 20'000 * (i + 1))
                                                   connection.cancel();
                                           });
            QVERIFY(m_reader->settle());
            disconnect(cancelled);
            QVERIFY(!connection.isComplete(u"a"_s));
        }

        connection.refresh({u"a"_s}, true);
        QVERIFY(m_reader->settle());

        QVERIFY(connection.isComplete(u"a"_s));
        QCOMPARE(sorted(texts(table(u"a"_s))), freshTexts(u"a"_s));
    }

    void readsOnlyRowsThatHaveGrown_data()
    {
        QTest::addColumn<QStringList>("made");
        QTest::addColumn<QString>("column");
        QTest::addColumn<QStringList>("changes");
        QTest::addColumn<QString>("answer");
        const auto row = [](const char *name, const QStringList &made, const QString &column,
                            const QStringList &changes, const QString &answer) {
            QTest::newRow(name) << made << column << changes << answer;
        };
        const QStringList keyed{u"CREATE TABLE k (id INTEGER PRIMARY KEY, t TEXT, v INTEGER, d TIMESTAMP)"_s};
        const QStringList loose{u"CREATE TABLE k (id INTEGER, t TEXT, v INTEGER, d TIMESTAMP)"_s};
        const QStringList view{
            u"CREATE TABLE b (id INTEGER, v INTEGER)"_s,
            u"CREATE VIEW k (id, t, v, d) AS SELECT id, 'row ' || id, v, NULL FROM b"_s,
            u"CREATE TRIGGER i INSTEAD OF INSERT ON k BEGIN INSERT INTO b VALUES (new.id, new.v); END"_s};
        const QString added = u"INSERT INTO k VALUES (101, 'new', 101, '2026-02-01 00:00:00')"_s;
        const QString removed = u"DELETE FROM k WHERE id = 1"_s;
        const QString written = u"UPDATE k SET t = 'x', v = 101 WHERE id < 4"_s;
        const QString doubled = u"INSERT INTO k SELECT * FROM k WHERE v = 100"_s;
        row("no promise", keyed, {}, {added}, u"+1 -0 ~0 of 101"_s);
        // The row with the largest value is read again.
        row("nothing", keyed, u"id"_s, {}, u"+0 -0 ~0 of 1"_s);
        row("rows added", keyed, u"id"_s, {added}, u"+1 -0 ~0 of 2"_s);
        row("rows written", keyed, u"v"_s, {written}, u"+0 -0 ~3 of 4"_s);
        row("values taken away", keyed, u"v"_s, {u"UPDATE k SET t = 'x', v = NULL WHERE id = 9"_s},
            u"+0 -0 ~1 of 2"_s);
        row("the largest value", keyed, u"v"_s, {u"UPDATE k SET t = 'x', v = 100 WHERE id < 4"_s},
            u"+0 -0 ~3 of 4"_s);
        row("moments", keyed, u"d"_s, {added}, u"+1 -0 ~0 of 2"_s);
        row("rows removed", keyed, u"v"_s, {removed, written}, u"+0 -1 ~2 of 102"_s);
        row("as many added as removed", keyed, u"id"_s, {removed, added}, u"+1 -1 ~0 of 102"_s);
        row("rows added without a key", loose, u"id"_s, {added}, u"+1 -0 ~0 of 2"_s);
        row("rows written without a key", loose, u"v"_s, {written}, u"+3 -3 ~0 of 104"_s);
        row("equal rows without a key", loose, u"v"_s, {doubled, doubled}, u"+3 -0 ~0 of 4"_s);
        row("moments without a key", loose, u"d"_s, {added}, u"+1 -0 ~0 of 101"_s);
        row("texts", keyed, u"t"_s, {added}, u"+1 -0 ~0 of 101"_s);
        row("no such column", keyed, u"w"_s, {added}, u"+1 -0 ~0 of 101"_s);
        row("a view", view, u"v"_s, {added}, u"+1 -0 ~0 of 2"_s);
        row("a broken promise", keyed, u"v"_s, {u"UPDATE k SET t = 'x' WHERE id < 4"_s}, u"+0 -0 ~0 of 1"_s);
    }
    void readsOnlyRowsThatHaveGrown()
    {
        QFETCH(const QStringList, made);
        QFETCH(const QString, column);
        QFETCH(const QStringList, changes);
        QFETCH(const QString, answer);
        qint64 read = -1;
        connect(&m_reader->connection, &SourceConnection::refreshed, this,
                [&read](const auto &tables) { read = tables.first().rowsRead; });
        const auto told = [&] {
            const QString events = refreshed({u"k"_s}).join(u'\n');
            return events + u" of "_s + QString::number(read);
        };
        const QString fill =
            u"INSERT INTO k WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 100) "
            "SELECT i, 'row ' || i, i, datetime('2026-01-01', '+' || i || ' minutes') FROM n"_s;
        QVERIFY(load({u"k"_s}, made + QStringList{fill}));
        m_reader->connection.setGrowingColumn(u"k"_s, column);
        QCOMPARE(m_reader->connection.growingColumn(u"k"_s), column);
        // The first time, all rows are read.
        QCOMPARE(told(), u"refreshed k +0 -0 ~0 of 100"_s);

        change(changes);

        QCOMPARE(told(), u"refreshed k "_s + answer);
        const bool isBroken = QLatin1String(QTest::currentDataTag()) == "a broken promise"_L1;
        QCOMPARE(sorted(texts(table(u"k"_s))) != freshTexts(u"k"_s), isBroken);
        // Without the promise, all rows are read.
        m_reader->connection.setGrowingColumn(u"k"_s, {});
        QCOMPARE(told(),
                 u"refreshed k +0 -0 ~%1 of %2"_s.arg(isBroken ? 3 : 0).arg(table(u"k"_s).rowCount()));
        QCOMPARE(sorted(texts(table(u"k"_s))), freshTexts(u"k"_s));
    }

    void letsGoOfTablesWhenItIsCancelled_data()
    {
        QTest::addColumn<bool>("isClosed");
        QTest::newRow("cancelled") << false;
        QTest::newRow("closed") << true;
    }
    void letsGoOfTablesWhenItIsCancelled()
    {
        QFETCH(const bool, isClosed);
        QVERIFY(load({u"a"_s}, {u"CREATE TABLE a (id INTEGER)"_s,
                                u"INSERT INTO a WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 "
                                "FROM n WHERE i < 50000) SELECT i FROM n"_s}));
        change({u"UPDATE a SET id = id + 1"_s});
        m_reader->recorder.take();
        // At different places of the work; the sanitizers see whoever touches a table that is gone.
        for (int step = 0; step < 4; ++step) {
            m_reader->connection.refresh({u"a"_s});
            if (step > 0)
                QTRY_VERIFY(m_reader->recorder.steps > step || !m_reader->connection.isBusy());
            const bool wasBusy = m_reader->connection.isBusy();
            if (isClosed)
                m_reader->connection.closeTables();
            else
                m_reader->connection.cancel();
            QVERIFY(m_reader->settle());
            QTRY_VERIFY(!m_reader->recorder.events.isEmpty());
            QCOMPARE(m_reader->recorder.take().last().section(u' ', 0, 0),
                     wasBusy ? u"cancelled"_s : u"refreshed"_s);
            QVERIFY(!isClosed || m_reader->connection.loadedTables().isEmpty());
            m_reader->connection.load({u"a"_s});
            QVERIFY(m_reader->settle());
            m_reader->recorder.take();
        }
        QCOMPARE(refreshed({u"a"_s}).size(), 1);
        QCOMPARE(sorted(texts(table(u"a"_s))), freshTexts(u"a"_s));
    }

    void agreesWithAFreshLoadWhileColumnsGrow()
    {
        const quint64 seed = testSeed();
        QRandomGenerator random(quint32(seed ^ seed >> 32));
        const QStringList names{u"keyed"_s, u"loose"_s};
        QVERIFY(load(names, {u"CREATE TABLE keyed (a TEXT PRIMARY KEY NOT NULL, b REAL, v INTEGER)"_s,
                             u"CREATE TABLE loose (a TEXT, b REAL, v INTEGER)"_s}));
        for (const QString &name : names)
            m_reader->connection.setGrowingColumn(name, u"v"_s);
        int version = 0;
        for (int step = 0; step < 40; ++step) {
            QStringList statements{u"BEGIN"_s};
            for (const QString &name : names) {
                for (int i = random.bounded(8); i > 0; --i) {
                    version += random.bounded(2);
                    const QString value = random.bounded(9) == 0 ? u"NULL"_s : QString::number(version);
                    const QString key = QString::number(random.bounded(60));
                    const QStringList kinds{u"INSERT OR REPLACE INTO %1 VALUES (%2, 1, %3)"_s,
                                            u"UPDATE %1 SET b = b + 1, v = %3 WHERE a = '%2'"_s,
                                            u"UPDATE OR IGNORE %1 SET a = a + 1, v = %3 WHERE a = '%2'"_s,
                                            u"DELETE FROM %1 WHERE a = '%2' AND 0 <> coalesce(%3, 1)"_s};
                    statements.append(kinds.at(random.bounded(step % 3 == 0 ? 4 : 2)).arg(name, key, value));
                }
            }
            change(statements + QStringList{u"COMMIT"_s});

            const QByteArray message = seedMessage(seed, u"step %1"_s.arg(step));
            const QStringList answer = refreshed(names, step % 2 == 0);
            QVERIFY2(answer.size() == 1 && answer.first().startsWith(u"refreshed"_s), message.constData());
            for (const QString &name : names)
                QVERIFY2(sorted(texts(table(name))) == freshTexts(name), message.constData());
        }
    }

    void agreesWithAFreshLoad()
    {
        const quint64 seed = testSeed();
        QRandomGenerator random(quint32(seed ^ seed >> 32));
        const auto number = [&random](int bound) { return QString::number(random.bounded(bound)); };
        const QStringList names{u"one"_s, u"two"_s, u"none"_s};
        QVERIFY(load(names, {u"CREATE TABLE one (a TEXT PRIMARY KEY NOT NULL, b INTEGER, c REAL)"_s,
                             u"CREATE TABLE two (a INTEGER, b INTEGER, c REAL, PRIMARY KEY (b, a))"_s,
                             u"CREATE TABLE none (a INTEGER, b INTEGER, c REAL)"_s}));
        for (int step = 0; step < 25; ++step) {
            QStringList statements{u"BEGIN"_s};
            for (const QString &name : names) {
                for (int i = random.bounded(12); i > 0; --i)
                    statements.append(u"INSERT OR IGNORE INTO %1 VALUES (%2, %3, %4 / 2.0)"_s.arg(
                        name, number(30), number(5), number(9)));
                statements.append(
                    u"UPDATE %1 SET c = c + 1 WHERE a % %2 = 0"_s.arg(name, QString::number(step % 7 + 1)));
                statements.append(u"UPDATE OR IGNORE %1 SET b = %2, c = NULL WHERE a = %3"_s.arg(
                    name, number(5), number(30)));
                statements.append(
                    u"DELETE FROM %1 WHERE a = %2 OR b = %3"_s.arg(name, number(30), number(20)));
            }
            change(statements + QStringList{u"COMMIT"_s});

            const QByteArray message = seedMessage(seed, u"step %1"_s.arg(step));
            const QStringList answer = refreshed(names, step % 2 == 0);
            QVERIFY2(answer.size() == 1 && answer.first().startsWith(u"refreshed"_s), message.constData());
            for (const QString &name : names)
                QVERIFY2(sorted(texts(table(name))) == freshTexts(name), message.constData());
        }
    }
};

QTEST_GUILESS_MAIN(tst_Refresh)
#include "tst_refresh.moc"
