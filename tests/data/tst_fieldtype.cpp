// SPDX-License-Identifier: MIT
#include <data/fieldtype.h>

#include <support/exceptions.h>

#include <QTest>

#include <array>

static_assert(FieldType::Raw == 0 && FieldType::Int == 1 && FieldType::Int64 == 2 && FieldType::Double == 3);
static_assert(FieldType::Decimal == 4 && FieldType::XDecimal == 5 && FieldType::VarChar == 6);
static_assert(FieldType::DateTime == 7 && FieldType::String == 8 && FieldType::Block == 9);
static_assert(sizeof(FieldType::Type) == 4);

class FieldTypeTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { failOnAnyWarning(); }

    void namesEveryCode()
    {
        QStringList names;
        for (int code = -1; code <= 10; ++code)
            names.append(FieldType::typeName(FieldType::Type(code)));

        QCOMPARE(names.join(QChar(u' ')),
                 QStringLiteral(
                     "Unknown Raw Int Int64 Double Decimal XDecimal VarChar DateTime String Block Unknown"));
    }

    void fillsVarCharBehindTheText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("stored");

        QTest::newRow("empty") << QString() << QStringLiteral("____");
        QTest::newRow("short") << QStringLiteral("ab") << QStringLiteral("ab__");
        QTest::newRow("at capacity") << QStringLiteral("abcd") << QStringLiteral("abcd");
        QTest::newRow("too long") << QStringLiteral("abcde") << QStringLiteral("abcd");
        QTest::newRow("pair at the end") << QStringLiteral("ab\U0001F600") << QStringLiteral("ab\U0001F600");
        QTest::newRow("pair across the end") << QStringLiteral("abc\U0001F600") << QStringLiteral("abc_");
        QTest::newRow("lone high surrogate at the end")
            << QStringLiteral("abc") + QChar(char16_t(0xD83D)) + QStringLiteral("x")
            << QStringLiteral("abc") + QChar(char16_t(0xD83D));
    }
    void fillsVarCharBehindTheText()
    {
        QFETCH(const QString, text);
        QFETCH(QString, stored);
        std::array<char16_t, 5> buffer;
        buffer.fill(u'x');

        FieldType::stringToVarChar(reinterpret_cast<unsigned char *>(buffer.data()), 4, text);

        stored.replace(QChar(u'_'), QChar(u'\0'));
        QCOMPARE(QString::fromUtf16(buffer.data(), 4), stored);
        QCOMPARE(int(buffer[4]), int(u'x'));
    }
};

QTEST_APPLESS_MAIN(FieldTypeTest)
#include "tst_fieldtype.moc"
