// SPDX-License-Identifier: MIT
#include <hostkit/filters/columnsfilter.h>

#include <database/memorytable.h>
#include <filterfuncs/filterfunc.h>
#include <filterfuncs/keyfilterfunc_hash.h>

#include <support/exceptions.h>
#include <support/typenames.h>

#include <QTest>

#include <memory>

using namespace sito;
using namespace Qt::StringLiterals;

class tst_ColumnsFilter : public QObject
{
    Q_OBJECT
private:
    MemoryTable m_table{u"quotes"_s,
                        {{.name = u"id"_s, .type = FieldType::Int},
                         {.name = u"number"_s, .type = FieldType::Int64, .nullable = true},
                         {.name = u"real"_s, .type = FieldType::Double, .nullable = true},
                         {.name = u"price"_s, .type = FieldType::Decimal, .nullable = true, .length = 2},
                         {.name = u"exact"_s, .type = FieldType::XDecimal, .nullable = true, .length = 2},
                         {.name = u"code"_s, .type = FieldType::VarChar, .length = 3},
                         {.name = u"name"_s, .type = FieldType::String, .nullable = true},
                         {.name = u"time"_s, .type = FieldType::DateTime, .nullable = true},
                         {.name = u"raw"_s, .type = FieldType::Raw, .length = 2},
                         {.name = u"block"_s, .type = FieldType::Block}}};

private Q_SLOTS:
    void init() { failOnAnyWarning(); }

    void findsColumnsByName()
    {
        QCOMPARE(ColumnsFilter::columnsByName(m_table, {u"code"_s, u"id"_s}), QList<int>({5, 0}));
        QCOMPARE(exceptionMessage([&] {
                     ColumnsFilter::columnsByName(m_table, {u"id"_s, u"Code"_s});
                 }),
                 u"В таблице «quotes» нет столбца «Code»"_s);
        QCOMPARE(exceptionMessage([&] { ColumnsFilter::columnsByName(m_table, {QString()}); }),
                 u"В таблице «quotes» нет столбца «»"_s);
        QCOMPARE(exceptionMessage([&] {
                     ColumnsFilter::columnsByName(m_table, {u"id"_s, u"id"_s});
                 }),
                 u"Столбец «id» назван дважды"_s);
    }

    void isAFilterWithoutWidget()
    {
        ColumnsFilter filter(m_table, {5, 0}, this);

        QCOMPARE(filter.name(), u"code,id"_s);
        QCOMPARE(filter.createFilterWidget(nullptr), nullptr);
        filter.setValue(u"abc,1"_s);
        filter.apply(nullptr);
        filter.init(nullptr);
        QCOMPARE(filter.value(), u"abc,1"_s);
        QCOMPARE(filter.firstId(), 5);
        QCOMPARE(filter.secondId(), -1);
        QCOMPARE(filter.parent(), this);
    }

    void refusesColumnsThatAreNeverCompared()
    {
        QCOMPARE(
            exceptionMessage([&] {
                ColumnsFilter(m_table, {0, 8}, nullptr);
            }),
            withTypeNames(u"Столбец «raw» таблицы «quotes» имеет тип Raw: его значения не сравниваются"_s));
        QCOMPARE(exceptionMessage([&] { ColumnsFilter(m_table, {9}, nullptr); }),
                 withTypeNames(
                     u"Столбец «block» таблицы «quotes» имеет тип Block: его значения не сравниваются"_s));
    }

    void takesKeysOfItsColumns_data()
    {
        QTest::addColumn<QString>("column");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("value");
        const auto row = [](const char *name, const char *column, const char *text, const char *value) {
            QTest::newRow(name) << QString::fromUtf8(column) << QString::fromUtf8(text)
                                << QString::fromUtf8(value);
        };
        row("Int", "id", "-5|3", "-5|3");
        row("absent number", "number", "|7", "|7");
        row("double", "real", "1.50|-inf", "-inf|1.5");
        row("double in another form", "real", "15e-1", "1.5");
        row("decimal with fewer digits", "price", "1.5", "1.5");
        row("decimal with zeros behind", "price", "1.5000", "1.5000");
        row("xdecimal", "exact", "0.07", "0.07");
        row("text of full length", "code", "abc", "abc");
        row("empty text", "code", "|", "");
        row("absent text", "name", "␀|a", "␀|a");
        row("date", "time", "2017-01-31", "2017.01.31 00:00:00.000");
        row("no date", "time", "|2017.01.31", "|2017.01.31 00:00:00.000");
        row("absent date", "time", "␀", "␀");
    }
    void takesKeysOfItsColumns()
    {
        QFETCH(QString, column);
        QFETCH(QString, text);
        QFETCH(QString, value);
        ColumnsFilter filter(m_table, ColumnsFilter::columnsByName(m_table, {column}), nullptr);

        filter.setValue(text);

        QCOMPARE(filter.value(), value);
        QVERIFY(filter.hasValue());
    }

    void refusesWhatCannotBeAValue_data()
    {
        QTest::addColumn<QString>("columns");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("message");
        const auto wrong = [](const char *name, const char *column, const char *key, const char *type) {
            QTest::newRow(name) << QString::fromUtf8(column) << QString::fromUtf8(key)
                                << u"Ключ «%1»: «%1» не может быть значением столбца «%2» типа %3"_s.arg(
                                       QString::fromUtf8(key), QString::fromUtf8(column),
                                       QString::fromUtf8(type));
        };
        wrong("no number", "id", "abc", "Int");
        wrong("fraction", "id", "1.5", "Int");
        wrong("Int out of range", "id", "2147483648", "Int");
        wrong("Int64 out of range", "number", "9223372036854775808", "Int64");
        wrong("no double", "real", "1.5x", "Double");
        wrong("double out of range", "real", "1e999", "Double");
        wrong("not a number", "real", "nan", "Double");
        wrong("no decimal", "price", "1.2.3", "Decimal");
        wrong("decimal with digits that the column lacks", "price", "1.005", "Decimal");
        wrong("xdecimal with digits that the column lacks", "exact", "1.005", "XDecimal");
        wrong("long text", "code", "abcd", "VarChar");
        wrong("no date", "time", "yesterday", "DateTime");
        wrong("day that is not", "time", "2017-02-29", "DateTime");
        QTest::newRow("too few parts")
            << u"id,code"_s << u"1"_s << u"Ключ «1»: число значений (1) не равно числу столбцов (2)"_s;
        QTest::newRow("too many parts")
            << u"id"_s << u"1,2"_s << u"Ключ «1,2»: число значений (2) не равно числу столбцов (1)"_s;
        QTest::newRow("absent where required")
            << u"id,number"_s << u",1"_s << u"Ключ «,1»: столбец «id» не допускает пустых значений"_s;
        QTest::newRow("absent text where required")
            << u"code"_s << u"␀"_s << u"Ключ «␀»: столбец «code» не допускает пустых значений"_s;
    }
    void refusesWhatCannotBeAValue()
    {
        QFETCH(QString, columns);
        QFETCH(QString, key);
        QFETCH(QString, message);
        ColumnsFilter filter(m_table, ColumnsFilter::columnsByName(m_table, columns.split(u',')), nullptr);

        QCOMPARE(exceptionMessage([&] { filter.valueToKey(key); }), withTypeNames(message));
        QCOMPARE(exceptionMessage([&] { filter.setValue(key); }), withTypeNames(message));
        QVERIFY(!filter.hasValue());
    }

    void makesAPredicateOfItsKeys()
    {
        MemoryTable table(u"t"_s,
                          {{.name = u"a"_s, .type = FieldType::Int},
                           {.name = u"b"_s, .type = FieldType::Decimal, .nullable = true, .length = 2}});
        const Record first = table.append({CellValue(qint32(1)), CellValue(decimal::fromUnscaled(150, 2))});
        const Record second = table.append({CellValue(qint32(1)), CellValue()});
        ColumnsFilter filter(table, {0, 1}, nullptr);
        filter.setValue(u"1,1.5|2,"_s);

        const std::unique_ptr<FilterFunc> func(filter.createFilterFunc(nullptr));

        QVERIFY(func->filter(first));
        QVERIFY(!func->filter(second));
    }

    void looksManyKeysUpByTheirHash()
    {
        MemoryTable table(u"t"_s, {{.name = u"a"_s, .type = FieldType::Int}});
        QStringList keys;
        for (int i = 0; i < 1000; ++i)
            keys += QString::number(2 * i);
        ColumnsFilter filter(table, {0}, nullptr);
        filter.setValue(keys.join(u'|'));

        const std::unique_ptr<FilterFunc> func(filter.createFilterFunc(&filter));

        QVERIFY(qobject_cast<KeyFilterFunc_Hash *>(func.get()));
        QCOMPARE(func->parent(), &filter);
        for (int i = 0; i < 2000; ++i)
            QCOMPARE(func->filter(table.append({CellValue(qint32(i))})), i % 2 == 0);
    }
};

QTEST_GUILESS_MAIN(tst_ColumnsFilter)
#include "tst_columnsfilter.moc"
