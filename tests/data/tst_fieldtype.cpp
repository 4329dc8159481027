// SPDX-License-Identifier: MIT
#include <data/fieldtype.h>
#include <database/memorytable.h>

#include <support/exceptions.h>

#include <QTest>

#include <cstring>

static_assert(FieldType::Raw == 0 && FieldType::Int == 1 && FieldType::Int64 == 2 && FieldType::Double == 3);
static_assert(FieldType::Decimal == 4 && FieldType::XDecimal == 5 && FieldType::VarChar == 6);
static_assert(FieldType::DateTime == 7 && FieldType::String == 8 && FieldType::Block == 9);
static_assert(sizeof(FieldType::Type) == 4);

class FieldTypeTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { failOnAnyWarning(); }

    void namesEveryType()
    {
        QStringList names;
        for (int code = 0; code <= 9; ++code)
            names.append(FieldType::typeName(FieldType::Type(code)));

        names.removeDuplicates();
        QCOMPARE(names.size(), 10);
        QVERIFY(!names.contains(QString()));
        QVERIFY(!FieldType::typeName(FieldType::Type(10)).isEmpty());
    }

    void storesTextsInVarChars_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("stored");

        QTest::newRow("empty") << QString() << QString();
        QTest::newRow("short") << QStringLiteral("ab") << QStringLiteral("ab");
        QTest::newRow("at capacity") << QStringLiteral("abЯd") << QStringLiteral("abЯd");
        QTest::newRow("too long") << QStringLiteral("abcde") << QStringLiteral("abcd");
        QTest::newRow("pair at the end") << QStringLiteral("ab\U0001F600") << QStringLiteral("ab\U0001F600");
        QTest::newRow("pair across the end") << QStringLiteral("abc\U0001F600") << QStringLiteral("abc");
        QTest::newRow("lone high surrogate at the end")
            << QStringLiteral("abc") + QChar(char16_t(0xD83D)) + QStringLiteral("x")
            << QStringLiteral("abc") + QChar(char16_t(0xD83D));
    }
    void storesTextsInVarChars()
    {
        QFETCH(const QString, text);
        QFETCH(const QString, stored);
        MemoryTable table(QStringLiteral("t"), {{QStringLiteral("a"), FieldType::VarChar, false, 4}});
        const Field field = table.append({QStringLiteral("xxxx")}).field(0);
        const Field fresh = table.append({QString()}).field(0);

        FieldType::stringToVarChar(field.data, field.def->length, text);
        FieldType::stringToVarChar(fresh.data, fresh.def->length, text);

        QCOMPARE(field.toString(), stored);
        // What stood there before leaves no trace: equal texts are equal bytes.
        QCOMPARE(std::memcmp(field.data, fresh.data, size_t(field.def->size)), 0);
    }
};

QTEST_APPLESS_MAIN(FieldTypeTest)
#include "tst_fieldtype.moc"
