// SPDX-License-Identifier: MIT
#include <hostkit/text/celltext.h>

#include <database/memorytable.h>

#include <data/record.h>

#include <support/exceptions.h>

#include <QTest>

using namespace sito;
using namespace Qt::StringLiterals;

class tst_CellText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }

    void tellsValuesExactly()
    {
        MemoryTable table(u"t"_s, {{.name = u"int"_s, .type = FieldType::Int},
                                   {.name = u"int64"_s, .type = FieldType::Int64},
                                   {.name = u"double"_s, .type = FieldType::Double},
                                   {.name = u"decimal"_s, .type = FieldType::Decimal, .length = 2},
                                   {.name = u"xdecimal"_s, .type = FieldType::XDecimal, .length = 1},
                                   {.name = u"varchar"_s, .type = FieldType::VarChar, .length = 4},
                                   {.name = u"string"_s, .type = FieldType::String},
                                   {.name = u"time"_s, .type = FieldType::DateTime},
                                   {.name = u"raw"_s, .type = FieldType::Raw, .length = 2}});
        const Record row =
            table.append({qint32(-5), qint64(1) << 62, 0.1, decimal::fromUnscaled(150, 2), xdecimal(-7, 1),
                          u"a,\"b"_s, u"␀ is a text"_s, datetime(1'483'401'600'123), QByteArray("\x01\xff")});

        QStringList texts;
        for (int column = 0; column < table.columnCount(); ++column)
            texts.append(cellText(row.field(column)).value());

        QCOMPARE(texts, QStringList({u"-5"_s, u"4611686018427387904"_s, u"0.1"_s, u"1.50"_s, u"-0.7"_s,
                                     u"a,\"b"_s, u"␀ is a text"_s, u"2017.01.03 00:00:00.123"_s, u"01ff"_s}));
    }

    void keepsVarCharsAsTheyAre_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("empty") << u""_s;
        QTest::newRow("blanks at the end") << u"a  "_s;
        QTest::newRow("blanks alone") << u"  "_s;
        QTest::newRow("as long as it may be") << u"abcd"_s;
        QTest::newRow("mark of absent texts") << u"␀"_s;
        QTest::newRow("mark in front") << u"␀␀a"_s;
    }
    void keepsVarCharsAsTheyAre()
    {
        QFETCH(QString, text);
        MemoryTable table(u"t"_s, {{.name = u"varchar"_s, .type = FieldType::VarChar, .length = 4}});

        QCOMPARE(cellText(table.append({text}).field(0)), std::optional(text));
    }

    void tellsAbsentFromEmpty()
    {
        MemoryTable table(u"t"_s,
                          {{.name = u"text"_s, .type = FieldType::VarChar, .nullable = true, .length = 3},
                           {.name = u"number"_s, .type = FieldType::Int, .nullable = true}});
        const Record empty = table.append({u""_s, qint32(0)});
        const Record absent = table.append({std::monostate(), std::monostate()});

        QCOMPARE(cellText(empty.field(0)), std::optional(QString()));
        QCOMPARE(cellText(empty.field(1)), std::optional(u"0"_s));
        QVERIFY(!cellText(absent.field(0)));
        QVERIFY(!cellText(absent.field(1)));
    }

    void quotesFieldsThatCouldBeMisread_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("field");
        QTest::newRow("plain") << u"GAZP"_s << u"GAZP"_s;
        QTest::newRow("inner space") << u"a b"_s << u"a b"_s;
        QTest::newRow("empty") << u""_s << u"\"\""_s;
        QTest::newRow("comma") << u"a,b"_s << u"\"a,b\""_s;
        QTest::newRow("quote") << u"a\"b"_s << u"\"a\"\"b\""_s;
        QTest::newRow("line feed") << u"a\nb"_s << u"\"a\nb\""_s;
        QTest::newRow("carriage return") << u"a\rb"_s << u"\"a\rb\""_s;
        QTest::newRow("space in front") << u" a"_s << u"\" a\""_s;
        QTest::newRow("space behind") << u"a "_s << u"\"a \""_s;
    }
    void quotesFieldsThatCouldBeMisread()
    {
        QFETCH(QString, text);

        QTEST(csvField(text), "field");
    }

    void leavesAnAbsentFieldEmpty() { QCOMPARE(csvField(std::nullopt), QString()); }
};

QTEST_GUILESS_MAIN(tst_CellText)
#include "tst_celltext.moc"
