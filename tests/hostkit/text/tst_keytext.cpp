// SPDX-License-Identifier: MIT
#include <hostkit/text/keytext.h>

#include <hostkit/filters/columnsfilter.h>

#include <data/fieldconstvalue.h>

#include <filters/filterfixtures.h>
#include <support/exceptions.h>
#include <support/seed.h>

#include <support/randomkeys.h>
#include <support/typenames.h>

#include <QTest>

using namespace sito;
using namespace Qt::StringLiterals;

class tst_KeyText : public QObject
{
    Q_OBJECT
private:
    MemoryTable m_table{u"quotes"_s,
                        everyTypeColumns() + QList<ColumnSpec>{{u"raw"_s, FieldType::Raw, false, 2},
                                                               {u"block"_s, FieldType::Block}}};

    int column(const QString &name) const { return m_table.requireColumn(name); }

private Q_SLOTS:
    void init() { failOnAnyWarning(); }

    void writesAnArrayOfArrays()
    {
        PlainFilter filter(m_table, 0, {column(u"int"_s), column(u"string"_s)}, 1, nullptr);
        QCOMPARE(keysToJson(filter), u"[]"_s);

        m_table.clear();
        QList<QList<CellValue>> rows;
        for (const QString &text : {u"a,b|c"_s, QString(), u"␀"_s, u"\"\\"_s}) {
            RandomValues values(1);
            QList<CellValue> row =
                values.row(everyTypeColumns()) + QList<CellValue>{QByteArray(2, 'x'), QByteArray(404, 'x')};
            row[column(u"int"_s)] = rows.isEmpty() ? CellValue() : qint32(rows.size());
            row[column(u"string"_s)] = text;
            rows.append(row);
        }
        rows[1][column(u"string"_s)] = std::monostate();
        rows.append(rows.constLast());
        rows.last()[column(u"string"_s)] = QString();
        m_table.append(rows);
        for (int row = 0; row < int(rows.size()); ++row)
            filter.addExcludedKey(filter.keyFromRecord(m_table.row(row)));

        QCOMPARE(keysToJson(filter),
                 u"[[null,\"a,b|c\"],[\"1\",null],[\"2\",\"␀\"],[\"3\",\"\"],[\"3\",\"\\\"\\\\\"]]"_s);
        m_table.clear();
    }

    void escapesWhatIsNotForTheEye()
    {
        ColumnsFilter filter(m_table, {column(u"string"_s)});
        KeyValue key;
        FieldValue field(&m_table, column(u"string"_s));
        QString text = u"a?\n"_s + QChar(0xd83d) + QChar(0xde00) + QChar(0xd800) + u'z' + QChar(0xdc00) +
                       QChar(0x2028) + QChar(0xfeff) + QChar(0x7f) + u'Я';
        text[1] = QChar(0);
        field.fromText(text);
        key.append(field);
        filter.addExcludedKey(key);

        const QString json = keysToJson(filter);

        QCOMPARE(json, u"[[\"a\\u0000\\u000a\U0001F600\\ud800z\\udc00\\u2028\\ufeff\\u007fЯ\"]]"_s);
        ColumnsFilter other(m_table, filter.columns());
        keysFromJson(other, json);
        QCOMPARE(other.getAllExcludedKeys().constFirst().constFirst().toString(), text);
    }

    void keepsEveryKey()
    {
        const quint64 seed = testSeed();
        RandomValues values(seed);
        const QList<ColumnSpec> specs = everyTypeColumns();
        MemoryTable table(u"random"_s, specs);
        for (int round = 0; round < 400; ++round) {
            QList<int> columns;
            for (int count = 1 + values.below(4); count > 0; --count)
                columns.append(values.below(int(specs.size())));
            PlainFilter filter(table, 0, columns, 1, nullptr);
            table.clear();
            for (int rows = values.below(12); rows > 0; --rows) {
                const Record record = table.append(values.row(specs));
                filter.addExcludedKey(filter.keyFromRecord(record));
            }
            if (values.oneIn(4)) // equal keys, which only this keeps
                filter.setAllExcludedKeys(filter.getAllExcludedKeys() + filter.getAllExcludedKeys());

            PlainFilter other(table, 0, columns, 1, nullptr);
            other.setValue(QString());
            const QString json = keysToJson(filter);
            QString difference;
            try {
                keysFromJson(other, json);
                difference = keyDifference(other, filter);
            } catch (const Exception &exception) {
                announce(exception);
                difference = exception.message();
            }

            QVERIFY2(difference.isEmpty(), seedMessage(seed, json + u": "_s + difference).constData());
            if (!holdsNaN(filter.getAllExcludedKeys()))
                QCOMPARE(keysToJson(other), json);
        }
    }

    void givesKeysTheTypesOfTheColumns()
    {
        PlainFilter filter(m_table, 0, {column(u"int64"_s), column(u"varchar"_s)}, 1, nullptr);
        KeyValue key;
        key.append(FieldConstValue(5));
        key.append(FieldConstValue(QChar(u'\u2400')));
        filter.addExcludedKey(key);

        PlainFilter other(m_table, 0, filter.columns(), 1, nullptr);
        keysFromJson(other, keysToJson(filter));

        QCOMPARE(exactTexts(other.getAllExcludedKeys()),
                 QStringList{withTypeNames(u"Int64=1:5 VarChar=2:␀␀ "_s)});
    }

    void replacesTheSet()
    {
        ColumnsFilter filter(m_table, {column(u"int"_s)});
        filter.setValue(u"1|2"_s);

        keysFromJson(filter, u" [ [\"7\"] ,\n [\"5\"], [\"07\"] ] "_s);
        QCOMPARE(filter.value(), u"5|7|7"_s);

        keysFromJson(filter, u"[]"_s);
        QVERIFY(!filter.hasValue());
    }

    void isNoMatterOfTheSwitch()
    {
        ColumnsFilter filter(m_table, {column(u"int"_s)});

        keysFromJson(filter, u"[[\"1\"]]"_s);

        QVERIFY(!filter.isEnabled());
    }

    void refuses_data()
    {
        QTest::addColumn<QString>("columns");
        QTest::addColumn<QString>("json");
        QTest::addColumn<QString>("message");
        const auto row = [](const char *name, const char *columns, const char *json, const char *message) {
            QTest::newRow(name) << QString::fromUtf8(columns) << QString::fromUtf8(json)
                                << QString::fromUtf8(message);
        };
        const auto wrong = [&row](const char *name, const char *columnName, const char *text,
                                  const char *type) {
            const QString key = u"[\"%1\"]"_s.arg(QString::fromUtf8(text));
            const QString message = u"Ключ «%1»: «%2» не может быть значением столбца «%3» типа %4"_s.arg(
                key, QString::fromUtf8(text), QString::fromUtf8(columnName), QString::fromUtf8(type));
            row(name, columnName, qUtf8Printable(u'[' + key + u']'), qUtf8Printable(message));
        };
        wrong("no number", "int", "abc", "Int");
        wrong("empty text where a number stands", "int", "", "Int");
        wrong("the mark of absent values", "int", "␀", "Int");
        wrong("fraction", "int", "1.5", "Int");
        wrong("Int out of range", "int", "2147483648", "Int");
        wrong("Int64 out of range", "int64", "9223372036854775808", "Int64");
        wrong("no double", "double", "1.5x", "Double");
        wrong("not a number in another form", "double", "NaN", "Double");
        wrong("no decimal", "decimal", "1.2.3", "Decimal");
        wrong("empty text where a decimal stands", "decimal", "", "Decimal");
        wrong("digits that the column lacks", "decimal", "1.00005", "Decimal");
        wrong("digits that the xdecimal column lacks", "xdecimal", "0.00000000001", "XDecimal");
        wrong("long text", "varchar", "abcdefgh", "VarChar");
        wrong("no date", "datetime", "yesterday", "DateTime");
        wrong("no absent date", "datetime", "␀", "DateTime");
        wrong("empty text where a double stands", "double", "", "Double");
        row("absent where required", "int!", "[[null]]",
            "Ключ «[null]»: столбец «int!» не допускает пустых значений");
        row("absent text where required", "int,string!", "[[\"1\",null]]",
            "Ключ «[\"1\",null]»: столбец «string!» не допускает пустых значений");
        row("second key", "int", "[[\"1\"],[\"x\"]]",
            "Ключ «[\"x\"]»: «x» не может быть значением столбца «int» типа Int");
        row("too few fields", "int,string", "[[\"1\"]]",
            "Ключ «[\"1\"]»: число значений (1) не равно числу столбцов (2)");
        row("too many fields", "int", "[[\"1\",null]]",
            "Ключ «[\"1\",null]»: число значений (2) не равно числу столбцов (1)");
        row("no fields", "int", "[[]]", "Ключ «[]»: число значений (0) не равно числу столбцов (1)");
        row("number for a text", "int", "[[\"1\"],[1]]", "Ключ 2 записан не списком строк и null");
        row("text for a key", "int", "[\"1\"]", "Ключ 1 записан не списком строк и null");
        row("true for a text", "int", "[[true]]", "Ключ 1 записан не списком строк и null");
        row("object", "int", "{}", "В JSON не список");
        row("empty text", "int", "", "Ошибка в JSON: illegal value");
        row("cut off", "int", "[[\"1\"]", "Ошибка в JSON: unterminated array");
        row("Raw column", "raw", "[]",
            "Столбец «raw» таблицы «quotes» имеет тип Raw: его значения не сравниваются");
        row("Block column", "int,block", "[]",
            "Столбец «block» таблицы «quotes» имеет тип Block: его значения не сравниваются");
    }
    void refuses()
    {
        QFETCH(QString, columns);
        QFETCH(QString, json);
        QFETCH(QString, message);
        const QList<int> indexes = ColumnsFilter::columnsByName(m_table, columns.split(u','));
        PlainFilter filter(m_table, 0, indexes, 1, nullptr);
        filter.setAllExcludedKeys({intKey({1, 2, 3})});

        QCOMPARE(exceptionMessage([&] { keysFromJson(filter, json); }), withTypeNames(message));

        QCOMPARE(filter.getAllExcludedKeys().size(), 1);
        QCOMPARE(filter.getAllExcludedKeys().constFirst().size(), 3);
    }

    void refusesHalfAPairInItsOwnForm()
    {
        ColumnsFilter filter(m_table, {column(u"string"_s)});
        const QString json = u"[[\""_s + QChar(0xd800) + u"\"]]"_s;

        QCOMPARE(exceptionMessage([&] { keysFromJson(filter, json); }), u"Ошибка в JSON: illegal UTF-16"_s);
    }
};

QTEST_GUILESS_MAIN(tst_KeyText)
#include "tst_keytext.moc"
