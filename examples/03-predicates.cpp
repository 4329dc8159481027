// SPDX-License-Identifier: MIT
// Which predicate for which keys: few, many, over several columns, or over columns that compare as bytes.
#include <data/indexlist.h>
#include <data/keyvalue.h>
#include <data/record.h>
#include <database/memorytable.h>
#include <filterfuncs/filterfunc.h>
#include <filterfuncs/keyfilterfunc_fast.h>
#include <filterfuncs/keypredicates.h>

#include <QTextStream>

using namespace Qt::StringLiterals;

void tell(QTextStream &out, const MemoryTable &table, const FilterFunc &predicate)
{
    int rows = 0;
    for (unsigned char *row : *table.masterIndex())
        rows += predicate.filter(Record(row)) ? 1 : 0;
    out << predicate.toString() << ": " << rows << " of " << table.rowCount() << " rows\n";
}

int main()
{
    QTextStream out(stdout);
    MemoryTable trades(u"trades"_s, {{u"stock"_s, FieldType::Int},
                                     {u"session"_s, FieldType::Int},
                                     {u"price"_s, FieldType::Decimal, true, 2}});
    for (int number = 0; number < 1000; ++number)
        trades.append({number % 10, number / 10, decimal::fromUnscaled(150, 2)});

    // A key has one value for each of the columns, in their order.
    const QList<int> columns{0, 1};
    QList<KeyValue> keys;
    for (int row = 0; row < 500; ++row) {
        const Record record = trades.row(row);
        keys += KeyValue{FieldValue(record.field(0)), FieldValue(record.field(1))};
    }

    // Its choice depends on the number of keys; its answers do not.
    const std::unique_ptr<FilterFunc> few(keypredicates::makeQuickest(&trades, keys.mid(0, 3), columns));
    tell(out, trades, *few);
    const std::unique_ptr<FilterFunc> many(keypredicates::makeQuickest(&trades, keys, columns));
    tell(out, trades, *many);

    // The quickest one for up to some hundred keys, where it can be had, is for the host to choose.
    tell(out, trades, KeyFilterFunc_Fast(&trades, keys.mid(0, 3), columns));
    try {
        const QList<KeyValue> prices{KeyValue{FieldValue(trades.row(0).field(2))}};
        tell(out, trades, KeyFilterFunc_Fast(&trades, prices, {2}));
    } catch (const QString &why) {
        out << "KeyFilterFunc_Fast: " << why << '\n';
    }
}
