// SPDX-License-Identifier: MIT
#include <sources/sourcelocation.h>
#include <sources/tableloader.h>

#include <database/memorytable.h>

#include <support/exceptions.h>
#include <support/loadedtables.h>
#include <support/seed.h>

#include <hostkit/parallel/stopsource.h>

#include <QFile>
#include <QRandomGenerator>
#include <QStringEncoder>
#include <QTemporaryDir>
#include <QTest>

#include <array>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

QByteArray utf16(const QString &text, QStringConverter::Encoding encoding)
{
    QStringEncoder encoder(encoding, QStringConverter::Flag::WriteBom);
    return encoder(text);
}

} // namespace

/// Loads CSV files and compares the columns, the cells and the notes with what they are to be.
class tst_Csv : public QObject
{
    Q_OBJECT
private:
    QString write(const QByteArray &bytes, const QString &name = u"quotes.csv"_s) const
    {
        const QString fileName = m_directory.filePath(name);
        QFile file(fileName);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("%s", qPrintable(file.errorString()));
        return fileName;
    }
    SourceLocation located(const QByteArray &bytes, const QString &parameters = {}) const
    {
        return SourceLocation::fromText(write(bytes) + parameters);
    }
    /// The columns and the rows, or the message of the failure, in which the folder is left out.
    QStringList shown(const SourceLocation &location) const
    {
        QStringList result;
        QString message = exceptionMessage([&] {
            const TableLoader loader(location);
            const auto table = loader.load(loader.tableNames().value(0));
            QStringList types;
            for (int i = 0; i < table->columnCount(); ++i)
                types.append(typeText(table->columnSpec(i)).remove(u"(0)"_s).chopped(1));
            result = QStringList(types.join(u", "_s)) + texts(*table);
        });
        return message.isNull() ? result : QStringList(message.remove(m_directory.path() + u'/'));
    }

    const QTemporaryDir m_directory;

private Q_SLOTS:
    void init() { failOnAnyWarning(); }

    void isShownAsWritten_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("parameters");
        QTest::addColumn<QStringList>("expected");
        const auto row = [](const char *name, const QByteArray &bytes, const QStringList &expected,
                            const char *parameters = "") {
            QTest::newRow(name) << bytes << QString::fromUtf8(parameters) << expected;
        };
        const QStringList simple{u"id Int, name String"_s, u"1 | Ёж"_s, u"2 | NULL"_s};
        row("UTF-8", "id,name\n1,Ёж\n2,\n", simple);
        row("UTF-8 with a mark", "\xEF\xBB\xBFid,name\n1,Ёж\n2,\n", simple);
        row("Windows-1251", "id,name\n1,\xA8\xE6\n2,\n", simple);
        row("UTF-16LE", utf16(u"id,name\n1,Ёж\n2,\n"_s, QStringConverter::Utf16LE), simple);
        row("UTF-16BE", utf16(u"id,name\n1,Ёж\n2,\n"_s, QStringConverter::Utf16BE), simple);
        row("UTF-16 without a mark", utf16(u"id,name\n1,Ёж\n2,\n"_s, QStringConverter::Utf16LE).sliced(2),
            simple);
        row("Windows-1251 that happens to be UTF-8", "id,name\n1,\xD0\x81\n",
            {u"id Int, name String"_s, u"1 | РЃ"_s}, "?encoding=windows-1251");
        row("Windows-1251 far behind the beginning", "name\n" + QByteArray("x\n").repeated(3) + "\xA8\n",
            {u"name String"_s, u"x"_s, u"x"_s, u"x"_s, u"Ё"_s});
        row("semicolons", "id;name\n1;Ёж\n2;\n", simple);
        row("tabs", "id\tname\n1\tЁж\n2\t\n", simple);
        row("semicolons beside commas in numbers", "a;b\n1,5;2,5\n3,5;4,5\n",
            {u"a String, b String"_s, u"1,5 | 2,5"_s, u"3,5 | 4,5"_s});
        row("a separator that is given", "a;b,c\n1;2,3\n", {u"a;b String, c Int"_s, u"1;2 | 3"_s},
            "?separator=,");
        row("CRLF", "id,name\r\n1,Ёж\r\n2,\r\n", simple);
        row("CR, and none at the end", "id,name\r1,Ёж\r2,", simple);
        row("without a header", "1,a\n2,b\n", {u"c1 Int, c2 String"_s, u"1 | a"_s, u"2 | b"_s});
        row("a header that is none", "x,a\ny,b\n", {u"c1 String, c2 String"_s, u"x | a"_s, u"y | b"_s},
            "?header=no");
        row("a header of numbers", "2016,2017\n1,2\n", {u"2016 Int, 2017 Int"_s, u"1 | 2"_s}, "?header=yes");
        row("nothing but a header", "id,name\n", {u"id String, name String"_s});
        row("columns without a name and of the same", "a,,a\n1,2,3\n",
            {u"a Int, без имени Int, a (2) Int"_s, u"1 | 2 | 3"_s}, "?header=yes");

        row("marks", "a,b\n\"x,\"\"y\"\"\r\nz\",\"\"\n,\n",
            {u"a String, b String"_s, u"x,\"y\"\r\nz | "_s, u"NULL | NULL"_s});
        row("a mark inside", "a,b\n5\" disk,x\"\"y\n", {u"a String, b String"_s, u"5\" disk | x\"\"y"_s});
        row("more behind a mark", "a,b\n\"x\"\"y\" z,1\n", {u"a String, b Int"_s, u"\"x\"\"y\" z | 1"_s});
        row("a mark that is not closed", "a,b\n1,2\n3,\"x\ny\n",
            {u"Файл «quotes.csv», строка 3, знак 3: кавычка не закрыта"_s});
        row("no UTF-8, though told so", "a,b\r\n1,Ё\xA8\n",
            {u"Файл «quotes.csv», строка 2, знак 4: байты не составляют текста в этой кодировке"_s},
            "?encoding=utf-8");
        row("half a unit", QByteArray("a\0,\0b\0\n\0001", 9),
            {u"Файл «quotes.csv», строка 2, знак 1: байты не составляют текста в этой кодировке"_s});
        row("empty", "", {u"Файл «quotes.csv» пуст"_s});
        row("fewer and more fields", "a,b\n1\n2,3\n4,5,6\n",
            {u"a Int, b Int, c3 Int"_s, u"1 | NULL | NULL"_s, u"2 | 3 | NULL"_s, u"4 | 5 | 6"_s});
        row("empty lines among several columns", "\na,b\n\n1,2\n\n", {u"a Int, b Int"_s, u"1 | 2"_s});
        row("empty lines in one column", "a\n1\n\n2\n", {u"a Int"_s, u"1"_s, u"NULL"_s, u"2"_s});

        row("integers", "a,b,c\n0,-1,-9223372036854775808\n2147483647,2147483648,9223372036854775807\n",
            {u"a Int, b Int64, c Int64"_s, u"0 | -1 | -9223372036854775808"_s,
             u"2147483647 | 2147483648 | 9223372036854775807"_s});
        row("in marks", "a,b\n\"1\",\"2.5\"\n", {u"a Int, b Decimal(1)"_s, u"1 | 2.5"_s});
        row("not as they would be printed", "a,b,c,d,e,f\n007,+7,1e5,-0, 1,1.\n1,1,1,1,1,1\n",
            {u"a String, b String, c String, d String, e String, f String"_s,
             u"007 | +7 | 1e5 | -0 |  1 | 1."_s, u"1 | 1 | 1 | 1 | 1 | 1"_s});
        row("decimals", "a,b,c\n1.50,1,0.1\n10.00,2.125,-0.12\n",
            {u"a Decimal(2), b Decimal(3), c Decimal(2)"_s, u"1.50 | 1.000 | 0.10"_s,
             u"10.00 | 2.125 | -0.12"_s});
        row("long numbers", "a,b\n9223372036854775808,0.1234567890123456789\n1.5,12345678901234567\n",
            {u"a XDecimal(1), b XDecimal(19)"_s, u"9223372036854775808.0 | 0.1234567890123456789"_s,
             u"1.5 | 12345678901234567.0000000000000000000"_s});
        row("too long for a number", "a\n1\n1234567890123456789012345678901234567\n",
            {u"a String"_s, u"1"_s, u"1234567890123456789012345678901234567"_s});
        row("numbers and a word", "a\n1\nN/A\n", {u"a String"_s, u"1"_s, u"N/A"_s});
        row("a text that is empty among numbers", "a,b\n1,1\n\"\",1\n",
            {u"a String, b Int"_s, u"1 | 1"_s, u" | 1"_s});
        row("dates", "a,b\n2017-01-31,2017-01-31 14:30\n1970-01-01,2017-01-31T14:30:00.125\n",
            {u"a VarChar(10), b DateTime"_s, u"2017-01-31 | 2017.01.31 14:30:00.000"_s,
             u"1970-01-01 | 2017.01.31 14:30:00.125"_s});
        row("zones",
            "a,b\n2017-01-31T14:30:00Z,2017-01-31T14:30:00Z\n2017-01-31T14:30:01Z,"
            "2017-01-31T14:30:00\n",
            {u"a DateTime, b String"_s, u"2017.01.31 14:30:00.000 | 2017-01-31T14:30:00Z"_s,
             u"2017.01.31 14:30:01.000 | 2017-01-31T14:30:00"_s});
        row("no dates", "a,b,c,d\n2017-02-29,1970-01-01 00:00,2017-01-31 14:30:00.1234,2017-01-31\n,,,1\n",
            {u"a String, b String, c String, d String"_s,
             u"2017-02-29 | 1970-01-01 00:00 | 2017-01-31 14:30:00.1234 | 2017-01-31"_s,
             u"NULL | NULL | NULL | 1"_s});
    }
    void isShownAsWritten()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, parameters);
        QFETCH(QStringList, expected);

        QCOMPARE(shown(located(bytes, parameters)), expected);
    }

    void laterRowsCount()
    {
        QByteArray bytes = "n,w,t\n";
        for (int i = 0; i < 3000; ++i)
            bytes += QByteArray::number(i) + ",1,a\n";
        bytes += "0.25,x,Ё,4\n";
        bytes.replace("Ё", "\xA8");
        const TableLoader loader(located(bytes));
        QCOMPARE(typeTexts(loader.columns(u"quotes"_s)),
                 QStringList({u"n Int(0)?"_s, u"w Int(0)?"_s, u"t String(0)?"_s, u"c4 String(0)?"_s}));

        const auto table = loader.load(u"quotes"_s);

        QCOMPARE(loader.rowCount(u"quotes"_s), 3001);
        QCOMPARE(typeText(table->columnSpec(0)), u"n Decimal(2)?"_s);
        QCOMPARE(texts(*table).last(), u"0.25 | x | Ё | 4"_s);
        QCOMPARE(texts(*table).at(2999), u"2999.00 | 1 | a | NULL"_s);
        QCOMPARE(loader.columnNotes(u"quotes"_s),
                 QStringList({u"Столбец «w» показан как текст из-за значения 'x' в строке 3001"_s,
                              u"Записей, в которых полей больше, чем в первой: 1 (первая такая - в строке "
                              "файла 3002); для лишних добавлены столбцы"_s}));
    }

    void notesTellOfOddRecords()
    {
        const TableLoader loader(located("a,b\n1\n2,\"x\" y\n\"3\n\"\n"));
        loader.load(u"quotes"_s);

        QCOMPARE(
            loader.columnNotes(u"quotes"_s),
            QStringList({u"Столбец «a» показан как текст из-за значения '3\uFFFD' в строке 3"_s,
                         u"Записей, в которых полей меньше, чем столбцов: 2 (первая - в строке файла 2); "
                         "недостающие значения пусты"_s,
                         u"Записей, в которых после закрывающей кавычки стоит не разделитель: 1 (первая "
                         "- в строке файла 3); такие поля показаны, как записаны"_s}));
    }

    void strictHostsGetTheSame()
    {
        TableLoader loader(located("a,b\n1,2\nx,3\n"));
        loader.setStrict(true);

        QCOMPARE(texts(*loader.load(u"quotes"_s)), QStringList({u"1 | 2"_s, u"x | 3"_s}));
    }

    void aFileThatGrewIsReadAnew()
    {
        const SourceLocation location = located("a\n1\n");
        const TableLoader loader(location);
        QCOMPARE(texts(*loader.load(u"quotes"_s)), QStringList(u"1"_s));

        write("a,b\n1,x\n2.5,y\n");

        QCOMPARE(texts(*loader.load(u"quotes"_s)), QStringList({u"1.0 | x"_s, u"2.5 | y"_s}));
    }

    void otherFilesAreRefused()
    {
        const auto message = [](const QString &fileName) {
            return exceptionMessage([&] { const TableLoader loader(SourceLocation::fromFile(fileName)); });
        };
        const QString missing = m_directory.filePath(u"none.csv"_s);
        QCOMPARE(message(missing), u"Файла «%1» нет"_s.arg(missing));
        const QString folder = m_directory.filePath(u"folder.csv"_s);
        QVERIFY(QDir().mkdir(folder));
        QCOMPARE(message(folder), u"«%1» - каталог, а не файл"_s.arg(folder));
        QCOMPARE(message(u"/dev/null/x.csv"_s), u"Файла «/dev/null/x.csv» нет"_s);
    }

    void aWideRecordIsRefused()
    {
        QCOMPARE(shown(located("a,b\n" + QByteArray(5000, ',') + '\n')),
                 QStringList(u"Файл «quotes.csv», строка 2, знак 4096: в записи больше полей, чем 4096"_s));
    }

    void lookingStops()
    {
        const SourceLocation location = located("a\n1\n");
        const parallel::StopSource stop;
        stop.requestStop();

        QVERIFY_THROWS_EXCEPTION(parallel::Stopped, TableLoader(location, stop.token()));
    }

    /// Random tables of texts, written in random ways by a plain writer, come back cell by cell.
    void whatWasWrittenIsRead()
    {
        const quint64 seed = testSeed();
        const std::array<quint32, 2> words{quint32(seed), quint32(seed >> 32)};
        QRandomGenerator random(words.data(), words.data() + words.size());
        const auto pick = [&random](int bound) { return int(random.bounded(bound)); };
        const QStringList parts{u"a"_s,  u"\""_s, u"\"\""_s, u","_s, u";"_s, u"\t"_s, u"\n"_s,
                                u"\r"_s, u"Ёж"_s, u" "_s,    u"1"_s, u"-"_s, u"."_s};
        for (int round = 0; round < 150; ++round) {
            const QString separator = QStringList{u","_s, u";"_s, u"\t"_s}.at(pick(3));
            const QString lineEnd = QStringList{u"\n"_s, u"\r\n"_s, u"\r"_s}.at(pick(3));
            const int width = 1 + pick(4);
            QStringList expected;
            QString text;
            const int rows = 1 + pick(20);
            for (int row = 0; row < rows; ++row) {
                QStringList values;
                QStringList fields;
                for (int column = 0; column < width; ++column) {
                    QString value;
                    // The first one is a text always, so that no column is one of numbers.
                    for (int i = row == 0 ? 2 : pick(4); i > 0; --i)
                        value += parts.at(pick(int(parts.size())));
                    if (row == 0)
                        value += u'x';
                    const bool isAbsent = value.isEmpty() && pick(2) == 0;
                    const bool isPlain = !value.isEmpty() && !value.contains(u'"') &&
                                         !value.contains(separator) && !value.contains(u'\n') &&
                                         !value.contains(u'\r');
                    values.append(isAbsent ? u"NULL"_s : value);
                    fields.append(isAbsent || (isPlain && pick(2) == 0)
                                      ? value
                                      : u'"' + QString(value).replace(u'"', u"\"\""_s) + u'"');
                }
                // An empty line is a row only where there is one column.
                expected.append(values.join(u" | "_s));
                text += fields.join(separator) + lineEnd;
            }
            if (pick(2) == 0 && !text.endsWith(lineEnd + lineEnd) && !text.endsWith(separator + lineEnd))
                text.chop(lineEnd.size());
            const int encoding = pick(4);
            QByteArray bytes = text.toUtf8();
            if (encoding == 1)
                bytes.prepend("\xEF\xBB\xBF");
            else if (encoding > 1)
                bytes = utf16(text, encoding == 2 ? QStringConverter::Utf16LE : QStringConverter::Utf16BE);
            SourceLocation location = SourceLocation::fromFile(write(bytes));
            location.separator = separator;
            location.header = u"no"_s;

            QStringList found = shown(location);
            found.removeFirst();

            const QString about =
                QStringList{text, found.join(u" // "_s), expected.join(u" // "_s)}.join(u"\n--- "_s);
            QVERIFY2(found == expected, seedMessage(seed, about).constData());
        }
    }
};

QTEST_GUILESS_MAIN(tst_Csv)
#include "tst_csv.moc"
