// SPDX-License-Identifier: MIT
//
// That programs which were linked with the shipped database library run over the second one where that is found first,
// and that it keeps what is every library's duty. Fails over the shipped library.
#include <data/exception.h>
#include <data/fieldtype.h>
#include <data/fieldvalue.h>
#include <data/indexlist.h>
#include <database/memorytable.h>

#include <QTest>

#include <cstring>

using namespace Qt::StringLiterals;

namespace {

const QList<ColumnSpec> columns{{u"a"_s, FieldType::Int},         {u"b"_s, FieldType::VarChar, false, 3},
                                {u"c"_s, FieldType::Int64, true}, {u"d"_s, FieldType::String, true},
                                {u"e"_s, FieldType::Block},       {u"f"_s, FieldType::DateTime}};

} // namespace

class TestSubstitution : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void isAnotherLibrary();
    void placesColumnsAtMultiplesOfEight();
    void keepsFillerInAFixedState();
    void keepsPresenceOfNeighboursApart();
    void readsBackNumbersThatItShowsOtherwise();
};

void TestSubstitution::isAnotherLibrary()
{
    const MemoryTable table(u"t"_s, columns);

    QCOMPARE(FieldType::typeName(FieldType::Int), u"int32"_s);
    QVERIFY(table.columnDef(0)->offset != 0);
    QVERIFY(decimal(QStringView(u"1.5")).toString() == decimal(QStringView(u"1.50")).toString());
}

void TestSubstitution::placesColumnsAtMultiplesOfEight()
{
    const MemoryTable table(u"t"_s, columns);

    for (int column = 1; column < table.columnCount(); ++column) {
        const ColumnDef *before = table.columnDef(column - 1);
        QCOMPARE(before->offset % 8, 0u);
        QCOMPARE(table.columnDef(column)->offset, before->offset + (before->size + 7) / 8 * 8);
    }
}

void TestSubstitution::keepsFillerInAFixedState()
{
    MemoryTable table(u"t"_s, {{u"a"_s, FieldType::Int}, {u"b"_s, FieldType::VarChar, false, 3}});
    const Record once = table.append({qint32(-1), u"xyz"_s});
    table.update(once, 1, u"x"_s);
    table.update(once, 0, qint32(7));

    const Record atOnce = table.append({qint32(7), u"x"_s});

    const auto from = qsizetype(sizeof(RowHeader));
    const auto bytes = size_t(table.rowBlockSize() - from);
    QCOMPARE(std::memcmp(once.row() + from, atOnce.row() + from, bytes), 0);
}

void TestSubstitution::keepsPresenceOfNeighboursApart()
{
    MemoryTable table(u"t"_s, columns);
    const Record record(&table);
    Field first = record.field(2);
    Field second = record.field(3);

    QVERIFY(record.field(0).isPresent() && !first.isPresent() && !second.isPresent());
    first.setPresent();
    QVERIFY(first.isPresent() && !second.isPresent());
    second.setPresent();
    first.setAbsent();
    QVERIFY(!first.isPresent() && second.isPresent());
}

void TestSubstitution::readsBackNumbersThatItShowsOtherwise()
{
    MemoryTable table(u"t"_s,
                      {{u"a"_s, FieldType::Decimal, false, 2}, {u"b"_s, FieldType::XDecimal, false, 2}});
    const Record record = table.append({decimal(QStringView(u"-1.50")), xdecimal(QStringView(u"15e3"))});
    FieldValue number(&table, 0);
    FieldValue wide(&table, 1);

    number.fromText(FieldValue(record.field(0)).toText());
    wide.fromText(FieldValue(record.field(1)).toText());

    QCOMPARE(record.field(0).toString(), u"-1.5"_s);
    QCOMPARE(number.value<qint64>(), decimal(QStringView(u"-1.50")).word());
    QCOMPARE(record.field(1).toString(), u"15000"_s);
    QCOMPARE(xdecimal::fromData(wide.data).scale(), short(-3));
}

QTEST_APPLESS_MAIN(TestSubstitution)
#include "tst_substitution.moc"
