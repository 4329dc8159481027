// SPDX-License-Identifier: MIT
#include <hostkit/views/tableexport.h>

#include <hostkit/filters/filterlist.h>
#include <hostkit/parallel/stopsource.h>
#include <hostkit/parallel/tablelock.h>
#include <hostkit/table/tablemodel.h>

#include <hostkit/filters/columnsfilter.h>

#include <support/exceptions.h>
#include <support/otherlocker.h>
#include <support/seed.h>

#include <support/randomkeys.h>

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QHeaderView>
#include <QItemSelection>
#include <QMimeData>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <thread>

#include <sys/stat.h>

using namespace sito;

Q_DECLARE_METATYPE(CellValue)

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// A field as a reader understands it: nothing where there was nothing, not even quotes.
using ReadField = std::optional<QString>;
using ReadLine = QList<ReadField>;

/// Reads fields between \a separator, in quotes or not, in lines ended by \a lineEnd; stops with a line
/// "broken" where the text is no such thing. Written from the rules alone: a field that begins with a quote
/// ends at the next lone one.
QList<ReadLine> readFields(const QString &text, QChar separator, const QString &lineEnd, bool lastLineIsOpen)
{
    QList<ReadLine> lines;
    ReadLine line;
    qsizetype i = 0;
    const auto isAt = [&text, &i](const QString &what) { return QStringView(text).mid(i).startsWith(what); };
    const QList<ReadLine> broken{{u"broken"_s}};
    while (i < text.size() || !line.isEmpty()) { // a line may end with an empty field
        ReadField field;
        if (i < text.size() && text.at(i) == u'"') {
            field = u""_s;
            for (++i;; ++i) {
                if (i >= text.size())
                    return broken;
                if (text.at(i) == u'"') {
                    if (i + 1 >= text.size() || text.at(i + 1) != u'"')
                        break;
                    ++i;
                }
                *field += text.at(i);
            }
            ++i;
        } else {
            for (; i < text.size() && text.at(i) != separator && !isAt(lineEnd); ++i) {
                if (text.at(i) == u'"')
                    return broken;
                field = field.value_or(QString()) + text.at(i);
            }
        }
        line.append(field);
        if (i < text.size() && text.at(i) == separator) {
            ++i;
        } else if (isAt(lineEnd)) {
            i += lineEnd.size();
            lines.append(std::exchange(line, {}));
        } else if (i == text.size() && lastLineIsOpen) {
            lines.append(std::exchange(line, {}));
        } else {
            return broken;
        }
    }
    return lines;
}

/// The whole text of a present field: its text form without the mark of texts that begin with "␀".
QString exactText(const Field &field)
{
    const QString text = FieldValue(field).toText();
    const bool isText = field.def->type == FieldType::VarChar || field.def->type == FieldType::String;
    return isText && text.startsWith(u'␀') ? text.sliced(1) : text;
}

/// \a text with U+FFFD in the place of what has no UTF-8.
QString withWholePairs(QString text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool isPair =
            text.at(i).isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
        if (isPair)
            ++i;
        else if (text.at(i).isSurrogate())
            text[i] = QChar(QChar::ReplacementCharacter);
    }
    return text;
}

QString csvOf(const TableExport &rows)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    rows.writeCsv(buffer);
    return QString::fromUtf8(buffer.data());
}

QString shownLines(const QList<ReadLine> &lines)
{
    QStringList result;
    for (const ReadLine &line : lines) {
        QStringList fields;
        for (const ReadField &field : line)
            fields.append(field ? u'<' + *field + u'>' : u"-"_s);
        result.append(fields.join(u' '));
    }
    return result.join(u'\n');
}

/// A device that calls somebody for each piece that it takes.
class CalledDevice : public QIODevice
{
public:
    explicit CalledDevice(std::function<void()> call) : m_call(std::move(call))
    {
        open(WriteOnly | Unbuffered);
    }

protected:
    qint64 readData(char *, qint64) override { return -1; }
    qint64 writeData(const char *, qint64 size) override
    {
        m_call();
        return size;
    }

private:
    const std::function<void()> m_call;
};

template <typename Work>
bool isStopped(const Work &work)
{
    try {
        work();
        return false;
    } catch (const parallel::Stopped &) {
        return true;
    }
}

/// A device that takes so many bytes.
class FullDevice : public QIODevice
{
public:
    explicit FullDevice(qint64 room) : m_room(room) { open(WriteOnly); }

protected:
    qint64 readData(char *, qint64) override { return -1; }
    qint64 writeData(const char *, qint64 size) override
    {
        const qint64 taken = std::min(size, m_room);
        m_room -= taken;
        if (taken < size)
            setErrorString(u"full"_s);
        return taken;
    }

private:
    qint64 m_room;
};

} // namespace

class tst_TableExport : public QObject
{
    Q_OBJECT
private:
    static QList<ColumnSpec> columns()
    {
        return {{u"id"_s, FieldType::Int},
                {u"a,\"b\"\tc"_s, FieldType::String, true},
                {u"price"_s, FieldType::Decimal, true, 2},
                {u"time"_s, FieldType::DateTime, true}};
    }
    void fill(MemoryTable &table, const QStringList &texts)
    {
        qint32 id = 0;
        for (const QString &text : texts) {
            table.append({++id, text == "NULL"_L1 ? CellValue() : CellValue(text),
                          decimal::fromUnscaled(150 * id, 2), datetime(u"2017.01.31"_s)});
        }
    }
    static void fillNumbers(MemoryTable &table, qint32 count)
    {
        QList<QList<CellValue>> content;
        for (qint32 i = 0; i < count; ++i)
            content.append(QList<CellValue>{i});
        table.append(content);
    }
    static void addForms()
    {
        QTest::addColumn<int>("form");
        QTest::newRow("CSV") << 0;
        QTest::newRow("text") << 1;
        QTest::newRow("HTML") << 2;
    }
    static TableExport all(const MemoryTable &table, const QList<int> &columnList)
    {
        std::vector<Record> rows;
        for (int row = 0; row < int(table.rowCount()); ++row)
            rows.push_back(table.row(row));
        return {table, columnList, std::move(rows)};
    }

private Q_SLOTS:
    void init() { failOnAnyWarning(); }

    void writesCsv()
    {
        MemoryTable table(u"t"_s, columns());
        fill(table, {u"plain"_s, u"a,b"_s, u"say \"no\""_s, u""_s, u"NULL"_s, u"two\r\nlines"_s, u" edge"_s,
                     u"Ясно"_s, u"=1+1"_s});
        TableExport rows = all(table, {1, 0, 2, 3});

        QCOMPARE(csvOf(rows), u"\"a,\"\"b\"\"\tc\",id,price,time\r\n"
                              "plain,1,1.50,2017.01.31 00:00:00.000\r\n"
                              "\"a,b\",2,3.00,2017.01.31 00:00:00.000\r\n"
                              "\"say \"\"no\"\"\",3,4.50,2017.01.31 00:00:00.000\r\n"
                              "\"\",4,6.00,2017.01.31 00:00:00.000\r\n"
                              ",5,7.50,2017.01.31 00:00:00.000\r\n"
                              "\"two\r\nlines\",6,9.00,2017.01.31 00:00:00.000\r\n"
                              "\" edge\",7,10.50,2017.01.31 00:00:00.000\r\n"
                              "Ясно,8,12.00,2017.01.31 00:00:00.000\r\n"
                              "=1+1,9,13.50,2017.01.31 00:00:00.000\r\n"_s);

        rows = all(table, {0});
        rows.setHeaders(false);
        QVERIFY(!rows.hasHeaders());
        QVERIFY(!rows.hasByteOrderMark());
        rows.setByteOrderMark(true);
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        rows.writeCsv(buffer);
        QCOMPARE(buffer.data(), QByteArray("\xEF\xBB\xBF"
                                           "1\r\n2\r\n3\r\n4\r\n5\r\n6\r\n7\r\n8\r\n9\r\n"));
    }

    void writesTablesWithoutRows()
    {
        MemoryTable table(u"t"_s, columns());
        TableExport rows = all(table, {0, 2});
        QCOMPARE(csvOf(rows), u"id,price\r\n"_s);
        QCOMPARE(rows.clipboardText(), u"id\tprice"_s);

        rows.setHeaders(false);
        QCOMPARE(csvOf(rows), QString());
        QCOMPARE(rows.clipboardText(), QString());
        QVERIFY(rows.mimeData() != nullptr);
    }

    void writesTextForSpreadsheets()
    {
        MemoryTable table(u"t"_s, columns());
        fill(table, {u"plain"_s, u"a,b"_s, u"say \"no\""_s, u""_s, u"NULL"_s, u"two\nlines"_s, u"a\tb"_s,
                     u"\r"_s, u" edge "_s});
        TableExport rows = all(table, {1, 0});

        QCOMPARE(rows.clipboardText(),
                 u"\"a,\"\"b\"\"\tc\"\tid\nplain\t1\na,b\t2\n\"say \"\"no\"\"\"\t3\n\"\"\t4\n\t5\n"
                 "\"two\nlines\"\t6\n\"a\tb\"\t7\n\"\r\"\t8\n edge \t9\n"_s);
    }

    void endsASingleLineOfTextWithoutABreak()
    {
        MemoryTable table(u"t"_s, columns());
        fill(table, {u"one"_s, u"two"_s});
        TableExport rows(table, {1, 0}, {table.row(1)});
        rows.setHeaders(false);

        QCOMPARE(rows.clipboardText(), u"two\t2"_s);
        rows.setHeaders(true);
        QCOMPARE(rows.clipboardText(), u"\"a,\"\"b\"\"\tc\"\tid\ntwo\t2\n"_s);
    }

    void givesSpreadsheetsTypedCells_data()
    {
        using Limits = std::numeric_limits<double>;
        QTest::addColumn<int>("type");
        QTest::addColumn<CellValue>("value");
        QTest::addColumn<QString>("cell");
        const auto number = [](const char *text) {
            return u"<td align=\"right\" sdval=\"%1\" sdnum=\"1033;\" x:num=\"%1\">%1</td>"_s.arg(
                QString::fromLatin1(text));
        };
        const auto text = [](const QString &shown) {
            return u"<td class=\"t\" sdnum=\"1033;0;@\">"_s + shown + u"</td>"_s;
        };
        const auto date = [](const char *day, const char *shown) {
            return u"<td class=\"d\" sdval=\"%1\" sdnum=\"1033;1033;YYYY-MM-DD HH:MM:SS\" x:num=\"%1\">%2</td>"_s
                .arg(QString::fromLatin1(day), QString::fromLatin1(shown));
        };
        const auto row = [](const char *name, FieldType::Type type, const CellValue &value,
                            const QString &cell) { QTest::newRow(name) << int(type) << value << cell; };
        row("Int", FieldType::Int, qint32(-2147483647 - 1), number("-2147483648"));
        row("Int64 of 15 digits", FieldType::Int64, qint64(-999999999999999), number("-999999999999999"));
        row("Int64 of 16 digits", FieldType::Int64, qint64(1000000000000000), text(u"1000000000000000"_s));
        row("double", FieldType::Double, 0.1, number("0.1"));
        row("infinite", FieldType::Double, Limits::infinity(), text(u"inf"_s));
        row("not a number", FieldType::Double, Limits::quiet_NaN(), text(u"nan"_s));
        row("decimal", FieldType::Decimal, decimal::fromUnscaled(-150, 2), number("-1.50"));
        row("decimal of zeros", FieldType::Decimal, decimal::fromUnscaled(1, 20),
            number("0.00000000000000000001"));
        row("decimal of 16 digits", FieldType::Decimal, decimal::fromUnscaled(1234567890123456, 2),
            text(u"12345678901234.56"_s));
        row("decimal with zeros behind", FieldType::Decimal, decimal::fromUnscaled(15, -20), number("15e20"));
        row("xdecimal", FieldType::XDecimal, xdecimal(u"1.5"_s), number("1.5"));
        row("long xdecimal", FieldType::XDecimal, xdecimal(u"1.234567890123456"_s),
            text(u"1.234567890123456"_s));
        row("text of digits", FieldType::String, u"007"_s, text(u"007"_s));
        row("formula", FieldType::VarChar, u"=1+1"_s, text(u"=1+1"_s));
        row("markup", FieldType::String, u"<b a=\"1\">&amp;"_s,
            text(u"&lt;b a=&quot;1&quot;&gt;&amp;amp;"_s));
        row("lines", FieldType::String, u"a\r\nb\rc\nd\te"_s, text(u"a<br>b<br>c<br>d\te"_s));
        row("control characters", FieldType::String, u"a\u0001b"_s + QChar(0), text(u"a\uFFFDb\uFFFD"_s));
        row("percent signs", FieldType::String, u"%1"_s, text(u"%1"_s));
        row("empty text", FieldType::String, u""_s, text(QString()));
        row("absent text", FieldType::String, CellValue(), u"<td></td>"_s);
        row("absent number", FieldType::Int, CellValue(), u"<td></td>"_s);
        row("date", FieldType::DateTime, datetime(u"2017.01.31"_s), date("42766", "2017.01.31 00:00:00.000"));
        row("date and time", FieldType::DateTime, datetime(u"2017.01.31 18:00:00.000"_s),
            date("42766.75", "2017.01.31 18:00:00.000"));
        row("first date", FieldType::DateTime, datetime(u"1900.03.01"_s),
            date("61", "1900.03.01 00:00:00.000"));
        row("earlier date", FieldType::DateTime, datetime(u"1900.02.28"_s),
            text(u"1900.02.28 00:00:00.000"_s));
        row("last date", FieldType::DateTime, datetime(u"9999.12.31"_s),
            date("2958465", "9999.12.31 00:00:00.000"));
        row("later date", FieldType::DateTime, datetime(253'402'300'800'000), text(u"@253402300800000"_s));
        row("no date", FieldType::DateTime, datetime(), text(QString()));
    }
    void givesSpreadsheetsTypedCells()
    {
        QFETCH(int, type);
        QFETCH(CellValue, value);
        QFETCH(QString, cell);
        const bool isVarChar = type == FieldType::VarChar;
        MemoryTable table(u"t"_s, {{u"c<"_s, FieldType::Type(type), true, isVarChar ? 9 : 0}});
        table.append({value});

        const QString page = all(table, {0}).html();

        QVERIFY(page.startsWith(u"<html xmlns:x=\"urn:schemas-microsoft-com:office:excel\">\n<head>"_s));
        QCOMPARE(page.section(u"<body>"_s, 1), u"<table border=\"1\">\n<tr><th>c&lt;</th></tr>\n<tr>"_s +
                                                   cell + u"</tr>\n</table></body></html>\n"_s);
        TableExport rows = all(table, {0});
        rows.setHeaders(false);
        QVERIFY(!rows.html().contains(u"<th>"_s));
    }

    void offersThreeForms()
    {
        MemoryTable table(u"t"_s, columns());
        fill(table, {u"a"_s, u"Я"_s});
        const TableExport rows = all(table, {1, 0});

        const std::unique_ptr<QMimeData> data = rows.mimeData();

        QCOMPARE(data->formats(), QStringList({u"text/plain"_s, u"text/html"_s, u"text/csv"_s}));
        QCOMPARE(data->text(), rows.clipboardText());
        QCOMPARE(data->html(), rows.html());
        QCOMPARE(data->data(u"text/csv"_s), csvOf(rows).toUtf8());
    }

    void isReadBackAsItWas()
    {
        const quint64 seed = testSeed();
        RandomValues values(seed);
        for (int round = 0; round < 40; ++round) {
            const QList<ColumnSpec> specs = everyTypeColumns();
            MemoryTable table(u"t"_s, specs);
            QList<QList<CellValue>> content;
            for (int rows = values.below(40); rows > 0; --rows)
                content.append(values.row(specs));
            table.append(content);
            QList<int> sections;
            for (int count = 2 + values.below(6); count > 0; --count)
                sections.append(values.below(int(specs.size())));
            QList<ReadLine> expected{{}};
            for (const int column : sections)
                expected[0].append(specs.at(column).name);
            for (int row = 0; row < int(table.rowCount()); ++row) {
                ReadLine line;
                for (const int column : sections) {
                    const Field field = table.row(row).field(column);
                    if (field.isPresent())
                        line.append(withWholePairs(exactText(field)));
                    else
                        line.append(std::nullopt);
                }
                expected.append(line);
            }
            const TableExport rows = all(table, sections);

            const QList<ReadLine> csv = readFields(csvOf(rows), u',', u"\r\n"_s, false);
            const QList<ReadLine> tabs =
                readFields(withWholePairs(rows.clipboardText()), u'\t', u"\n"_s, expected.size() == 1);

            QVERIFY2(csv == expected,
                     seedMessage(seed, shownLines(csv) + u"\nnot\n"_s + shownLines(expected)).constData());
            QVERIFY2(tabs == expected,
                     seedMessage(seed, shownLines(tabs) + u"\nnot\n"_s + shownLines(expected)).constData());
        }
    }

    void takesTheShownRowsAndSections()
    {
        MemoryTable table(u"t"_s, columns());
        fill(table, {u"c"_s, u"b"_s, u"a"_s, u"hidden"_s});
        FilterList filters(table);
        auto *filter = new ColumnsFilter(table, {1});
        filter->setValue(u"hidden"_s);
        filter->setEnabled(true);
        filters.add(filter);
        TableModel model(table, {2, 1, 0});
        model.setFilters(&filters);
        model.setSortKeys({{1, Qt::AscendingOrder}});
        model.waitForPass();
        QTableView view;
        view.setModel(&model);
        view.horizontalHeader()->moveSection(2, 0);
        view.setColumnHidden(0, true);

        const QList<int> sections = TableExport::shownSections(*view.horizontalHeader());
        const TableExport rows = TableExport::shown(model, sections);

        QCOMPARE(sections, QList<int>({2, 1}));
        QCOMPARE(rows.columns(), QList<int>({0, 1}));
        QCOMPARE(rows.rowCount(), 3);
        QCOMPARE(csvOf(rows), u"id,\"a,\"\"b\"\"\tc\"\r\n3,a\r\n2,b\r\n1,c\r\n"_s);

        // What is shown later does not matter.
        filter->setEnabled(false);
        model.waitForPass();
        QCOMPARE(rows.rowCount(), 3);
        QCOMPARE(TableExport::shown(model, sections).rowCount(), 4);
    }

    void takesSelectedRowsAndSections()
    {
        MemoryTable table(u"t"_s, columns());
        fill(table, {u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s});
        TableModel model(table, {0, 1, 2});
        const auto range = [&model](int top, int left, int bottom, int right) {
            return QItemSelectionRange(model.index(top, left), model.index(bottom, right));
        };
        const auto taken = [&model](const QItemSelection &selection) {
            TableExport rows = TableExport::selected(model, {2, 0, 1}, selection);
            rows.setHeaders(false);
            return rows.clipboardText();
        };

        QCOMPARE(taken(QItemSelection{range(1, 1, 1, 1)}), u"b"_s);
        QCOMPARE(taken(QItemSelection{range(3, 0, 4, 0), range(0, 0, 1, 0)}), u"1\n2\n4\n5\n"_s);
        QCOMPARE(taken(QItemSelection{range(1, 0, 3, 0), range(2, 2, 2, 2)}),
                 u"3.00\t2\n4.50\t3\n6.00\t4\n"_s);
        QCOMPARE(taken(QItemSelection()), QString());
    }

    void takesRowsOfOverlappingRangesOnce()
    {
        MemoryTable table(u"t"_s, columns());
        fill(table, {u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s, u"f"_s});
        TableModel model(table, {0, 1, 2});
        const auto range = [&model](int top, int bottom) {
            return QItemSelectionRange(model.index(top, 1), model.index(bottom, 1));
        };
        const auto taken = [&model](const QItemSelection &selection) {
            TableExport rows = TableExport::selected(model, {0, 1, 2}, selection);
            rows.setHeaders(false);
            return rows.clipboardText().replace(u'\n', u' ');
        };

        QCOMPARE(taken(QItemSelection{range(0, 3), range(1, 1), range(2, 4)}), u"a b c d e "_s);
        QCOMPARE(taken(QItemSelection{range(2, 4), range(0, 5), range(1, 3)}), u"a b c d e f "_s);
        QCOMPARE(taken(QItemSelection{range(1, 2), range(1, 2)}), u"b c "_s);
    }

    void tellsItsProgress()
    {
        MemoryTable table(u"t"_s, {{u"a"_s, FieldType::Int}});
        fillNumbers(table, 1700);
        const TableExport rows = all(table, {0});
        QList<qint64> done;
        parallel::Progress progress;
        parallel::Context context;
        context.progress = &progress;

        CalledDevice device([&] {
            done.append(progress.done);
            QCOMPARE(progress.total, 1700);
        });
        rows.writeCsv(device, context);
        QVERIFY(done.size() > 1);
        QVERIFY(std::is_sorted(done.begin(), done.end()));
        QCOMPARE(progress.done, 1700);

        for (const int form : {0, 1, 2}) {
            progress.done = 0;
            if (form == 0)
                rows.clipboardText(context);
            else if (form == 1)
                rows.html(context);
            else
                rows.mimeData(context);
            QCOMPARE(progress.total, form == 2 ? 3 * 1700 : 1700);
            QCOMPARE(progress.done, progress.total);
        }
    }

    void givesUp()
    {
        MemoryTable table(u"t"_s, {{u"a"_s, FieldType::Int}});
        fillNumbers(table, 3000);
        const TableExport rows = all(table, {0});
        const parallel::StopSource stop;
        parallel::Context context;
        context.stop = stop.token();
        int calls = 0;
        CalledDevice device([&] {
            if (++calls == 2)
                stop.requestStop();
        });

        QVERIFY(isStopped([&] { rows.writeCsv(device, context); }));
        QCOMPARE(calls, 2);
        QVERIFY(isStopped([&] { rows.clipboardText(context); }));
        QVERIFY(isStopped([&] { rows.html(context); }));
        QVERIFY(isStopped([&] { rows.mimeData(context); }));
    }

    void givesUpWhileSomebodyElseHoldsTheLock_data() { addForms(); }
    void givesUpWhileSomebodyElseHoldsTheLock()
    {
        QFETCH(const int, form);
        MemoryTable table(u"t"_s, columns());
        fill(table, {u"text"_s});
        const TableExport rows = all(table, {1});
        const parallel::StopSource stop;
        parallel::Context context;
        context.stop = stop.token();
        std::atomic<int> result = 0;
        std::unique_lock lock(table);

        std::jthread worker([&] {
            result = isStopped([&] {
                CalledDevice device([] {});
                if (form == 0)
                    rows.writeCsv(device, context);
                else if (form == 1)
                    rows.clipboardText(context);
                else
                    rows.html(context);
            })
                         ? 1
                         : -1;
        });
        QTest::qWait(20); // it may wait for the lock by now
        stop.requestStop();

        QTRY_COMPARE_WITH_TIMEOUT(result, 1, 3000);
        lock.unlock();
        parallel::waitForWaiters(table);
    }

    void worksInAnotherThread()
    {
        MemoryTable table(u"t"_s, columns());
        fill(table, QStringList(2000, u"text"_s));
        const TableExport rows = all(table, {0, 1, 2, 3});
        const QString expected = csvOf(rows);
        table.clear(); // the rows live on

        QString csv;
        std::atomic<bool> done = false;
        std::thread worker([&rows, &csv, &done] {
            csv = csvOf(rows);
            done = true;
        });
        while (!done)
            table.append({1, u"new"_s, std::monostate(), std::monostate()});
        worker.join();

        QCOMPARE(csv, expected);
    }

    void readsNothingWhileSomebodyElseHoldsTheLock_data() { addForms(); }
    void readsNothingWhileSomebodyElseHoldsTheLock()
    {
        QFETCH(const int, form);
        MemoryTable table(u"t"_s, columns());
        fill(table, {u"old"_s, u"old"_s});
        const TableExport rows = all(table, {1});
        QString text;
        std::atomic<bool> done = false;
        std::unique_lock lock(table);

        std::jthread worker([&rows, &text, &done, form] {
            text = form == 0 ? csvOf(rows) : form == 1 ? rows.clipboardText() : rows.html();
            done = true;
        });
        // Time enough to read two rows.
        QTest::qWait(150);
        QVERIFY(!done);
        for (qint64 row = 0; row < table.rowCount(); ++row)
            table.update(table.row(row), 1, u"new"_s);
        lock.unlock();
        worker.join();

        QCOMPARE(text.count(u"new"_s), 2);
        QCOMPARE(text.count(u"old"_s), 0);
    }

    void callsNobodyWithTheLockHeld()
    {
        MemoryTable table(u"t"_s, columns());
        fill(table, QStringList(1200, u"text"_s));
        QList<bool> isFree;
        CalledDevice device([&table, &isFree] {
            std::jthread([&table, &isFree] {
                isFree.append(table.tryLock());
                if (isFree.constLast())
                    table.unlock();
            }).join();
        });

        all(table, {0, 1, 2, 3}).writeCsv(device);

        QVERIFY(isFree.size() > 1);
        QCOMPARE(isFree, QList<bool>(isFree.size(), true));
    }

    void asksForTheTextsOfCells()
    {
        MemoryTable table(u"t"_s, columns());
        QStringList names;
        for (int i = 0; i < 1200; ++i)
            names.append(i % 3 == 0 ? u"NULL"_s : QString::number(i));
        fill(table, names);
        TableExport rows = all(table, {1, 0, 1});
        const QString shown = csvOf(rows);
        QStringList asked;
        bool isFree = true;
        rows.setCellText({1, 2}, [&](const Record &row, int column, const QString &text, const auto &) {
            isFree = isFree && OtherLocker(table).gets(10s);
            asked.append(u"%1 %2 %3"_s.arg(row.row() == table.row(text.toInt()).row()).arg(column).arg(text));
            return text == "1"_L1 ? std::nullopt : std::optional(u"\"%1\""_s.arg(text));
        });

        QStringList expectedCalls;
        QString expected = u"\"a,\"\"b\"\"\tc\",id,\"a,\"\"b\"\"\tc\"\r\n"_s;
        for (int i = 0; i < names.size(); ++i) {
            const QString cell = i % 3 == 0 || i == 1 ? QString() : u"\"\"\"%1\"\"\""_s.arg(i);
            expected += u"%1,%2,%1\r\n"_s.arg(cell, QString::number(i + 1));
            if (i % 3 != 0)
                expectedCalls += QStringList(2, u"1 1 %1"_s.arg(i));
        }
        QCOMPARE(csvOf(rows), expected);
        QVERIFY(isFree);
        QCOMPARE(asked, expectedCalls);
        QCOMPARE(rows.clipboardText(), all(table, {1, 0, 1}).clipboardText());

        rows.setCellText({1}, [](const Record &, int, const QString &, const auto &) -> QString {
            throw Exception(u"no text"_s);
        });
        QCOMPARE(exceptionMessage([&] { csvOf(rows); }), u"no text"_s);
        rows.setCellText({}, {});
        QCOMPARE(csvOf(rows), shown);
    }

    void asksForNoTextAfterAStop()
    {
        MemoryTable table(u"t"_s, columns());
        fill(table, {u"a"_s, u"b"_s, u"c"_s});
        TableExport rows = all(table, {1});
        parallel::StopSource stop;
        int asked = 0;
        rows.setCellText({1}, [&](const Record &, int, const QString &text, const auto &token) {
            ++asked;
            stop.requestStop();
            return token.isStopRequested() ? text : QString();
        });
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        parallel::Context context;
        context.stop = stop.token();

        QVERIFY_THROWS_EXCEPTION(parallel::Stopped, rows.writeCsv(buffer, context));

        QCOMPARE(asked, 1);
    }

    void reportsADeviceThatTakesNoMore()
    {
        MemoryTable table(u"t"_s, columns());
        fill(table, QStringList(2000, u"text"_s));
        FullDevice device(5000);

        QCOMPARE(exceptionMessage([&] { all(table, {0, 1}).writeCsv(device); }), u"full"_s);
    }

    void writesAFile()
    {
        const QTemporaryDir directory;
        const QString name = directory.filePath(u"выписка 1.csv"_s);
        MemoryTable table(u"t"_s, columns());
        fill(table, {u"a"_s, u"b"_s});

        exportCsvFile(name, all(table, {0, 1}));
        exportCsvFile(name, all(table, {0, 2}));

        QFile file(name);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("id,price\r\n1,1.50\r\n2,3.00\r\n"));
        QCOMPARE(QDir(directory.path()).entryList(QDir::Files).size(), 1);
    }

    void leavesTheOldFileWhenItGivesUp()
    {
        const QTemporaryDir directory;
        const QString name = directory.filePath(u"a.csv"_s);
        QFile file(name);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("old");
        file.close();
        MemoryTable table(u"t"_s, columns());
        fill(table, QStringList(2000, u"text"_s));

        const parallel::StopSource stop;
        parallel::Progress progress;
        const parallel::Context context{.stop = stop.token(), .progress = &progress};

        {
            std::unique_lock lock(table);
            std::atomic<bool> wasStopped = false;
            std::jthread worker([&] {
                wasStopped = isStopped([&] { exportCsvFile(name, all(table, {0}), QString(), context); });
            });
            QTRY_COMPARE(progress.total, 2000); // it has begun
            stop.requestStop();
            QTRY_VERIFY(wasStopped);
        }
        parallel::waitForWaiters(table);
        QVERIFY(isStopped(
            [&] { exportCsvFile(directory.filePath(u"b.csv"_s), all(table, {0}), QString(), context); }));

        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("old"));
        QCOMPARE(QDir(directory.path()).entryList(QDir::Files), QStringList{u"a.csv"_s});
    }

    void refusesWhatIsNoFile()
    {
        const QTemporaryDir directory;
        const QString pipe = directory.filePath(u"pipe"_s);
        QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        MemoryTable table(u"t"_s, columns());
        const TableExport rows = all(table, {0});
        const auto refused = [&rows](const QString &name) {
            return exceptionMessage([&] { exportCsvFile(name, rows); });
        };

        QCOMPARE(refused(pipe), u"«%1» - не обычный файл"_s.arg(pipe));
        QCOMPARE(refused(directory.path()), u"«%1» - не обычный файл"_s.arg(directory.path()));
        QCOMPARE(refused(u"/dev/null"_s), u"«/dev/null» - не обычный файл"_s);
        const QString nowhere = directory.filePath(u"no/such.csv"_s);
        QVERIFY2(refused(nowhere).startsWith(u"Не удалось записать «%1»: "_s.arg(nowhere)),
                 qPrintable(refused(nowhere)));
        QVERIFY(!QFileInfo(pipe).isFile());
    }

    void refusesTheDatabaseItself()
    {
        const QTemporaryDir directory;
        const QString name = directory.filePath(u"db.sqlite"_s);
        const QString link = directory.filePath(u"link.csv"_s);
        QFile file(name);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("data");
        file.close();
        QVERIFY(QFile::link(name, link));
        MemoryTable table(u"t"_s, columns());
        const TableExport rows = all(table, {0});

        QCOMPARE(exceptionMessage([&] { exportCsvFile(name, rows, name); }),
                 u"«%1» - сама база данных"_s.arg(name));
        QCOMPARE(exceptionMessage([&] { exportCsvFile(link, rows, name); }),
                 u"«%1» - сама база данных"_s.arg(link));
        const QString roundabout =
            directory.filePath(u"../"_s + QFileInfo(directory.path()).fileName() + u"/db.sqlite"_s);
        QCOMPARE(exceptionMessage([&] { exportCsvFile(roundabout, rows, name); }),
                 u"«%1» - сама база данных"_s.arg(roundabout));
        exportCsvFile(directory.filePath(u"other.csv"_s), rows, name);
        // A database that is not there any more is no other file, old or new.
        const QString missing = directory.filePath(u"missing.sqlite"_s);
        exportCsvFile(directory.filePath(u"new.csv"_s), rows, missing);
        exportCsvFile(directory.filePath(u"other.csv"_s), rows, missing);
        QCOMPARE(exceptionMessage([&] { exportCsvFile(missing, rows, missing); }),
                 u"«%1» - сама база данных"_s.arg(missing));

        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("data"));
    }
};

QTEST_MAIN(tst_TableExport)
#include "tst_tableexport.moc"
