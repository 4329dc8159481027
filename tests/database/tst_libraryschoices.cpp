// SPDX-License-Identifier: MIT
//
// What the in-memory database library does where the interface leaves the choice to the library.
#include <data/exception.h>
#include <data/fieldtype.h>
#include <database/memorytable.h>

#include <support/exceptions.h>

#include <QTest>

#include <array>

namespace {

const QList<ColumnSpec> columns{{QStringLiteral("id"), FieldType::Int},
                                {QStringLiteral("name"), FieldType::String}};

QStringList reports;

void collect(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    reports.append(
        QStringLiteral("%1 %2 %3").arg(int(type)).arg(QString::fromLatin1(context.category), message));
}

} // namespace

class LibrarysChoicesTest : public QObject
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

    void keepsZerosBehindItsCount()
    {
        MemoryTable table(QStringLiteral("t"), columns);
        const auto filler = [](const Record &record) {
            quint32 result = 1;
            memcpy(&result, record.row() + 4, sizeof result);
            return result;
        };
        Record record(&table);
        const Record copy = record;

        QCOMPARE(filler(record), 0u);
        // Used again: freed blocks are chained through their first words.
        const Record other(&table);
        unsigned char *block = Record(&table).row();
        record = Record(&table);
        QCOMPARE(record.row(), block);
        QCOMPARE(filler(record), 0u);
        QCOMPARE(filler(table.append({qint32(-1), QStringLiteral("x")})), 0u);
    }

    void readsVarCharInPlace()
    {
        MemoryTable table(QStringLiteral("t"), {{QStringLiteral("a"), FieldType::VarChar, false, 5}});
        const Record record(&table);
        const Field field = record.field(0);
        FieldType::stringToVarChar(field.data, field.def->length, u"abc");

        const QString text = field.asStaticString();

        QCOMPARE(text, QStringLiteral("abc"));
        QCOMPARE(static_cast<const void *>(text.constData()), static_cast<const void *>(field.data));
    }

    void comparesVarCharsOfDifferentCapacity()
    {
        MemoryTable table(QStringLiteral("t"), {{QStringLiteral("a"), FieldType::VarChar, false, 3},
                                                {QStringLiteral("b"), FieldType::VarChar, false, 12}});
        const Record record = table.append({QStringLiteral("abc"), QStringLiteral("abc")});

        QCOMPARE(record.field(0).compare(record.field(1)), 0);
    }

    void reportsExceptionsInItsCategory()
    {
        const QtMessageHandler before = qInstallMessageHandler(collect);
        {
            Exception exception(QStringLiteral("broken %1"));
            exception.addLine(QStringLiteral("inner"));
            exception.addLine(QStringLiteral("outer"));
        }
        qInstallMessageHandler(before);

        QCOMPARE(reports, QStringList(QStringLiteral(
                              "1 database.exception Exception: broken %1\n    inner\n    outer")));
    }
};

QTEST_APPLESS_MAIN(LibrarysChoicesTest)
#include "tst_libraryschoices.moc"
