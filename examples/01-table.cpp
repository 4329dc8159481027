// SPDX-License-Identifier: MIT
// A table in memory, and a predicate that answers a question about each of its rows.
#include <data/indexlist.h>
#include <data/record.h>
#include <database/memorytable.h>
#include <filterfuncs/lambdafilterfunc.h>

#include <QTextStream>

using namespace Qt::StringLiterals;

int main()
{
    QTextStream out(stdout);

    // Two columns always hold a value. The third one, for texts of up to 12 characters, admits absent values.
    MemoryTable quotes(u"quotes"_s, {{u"code"_s, FieldType::String},
                                     {u"price"_s, FieldType::Double},
                                     {u"remark"_s, FieldType::VarChar, true, 12}});
    quotes.append({u"GAZP"_s, 161.5, u"split"_s});
    quotes.append({u"SBER"_s, 255.25, std::monostate()});
    quotes.append({u"VTBR"_s, 0.5, std::monostate()});

    // What "true" means is for the caller to decide: here, that the row is cheap.
    const int price = quotes.requireColumn(u"price"_s);
    const LambdaFilterFunc isCheap(
        [price](const Record &row) { return row.field(price).value<double>() < 200; });

    for (unsigned char *row : *quotes.masterIndex()) {
        const Record record(row);
        const Field remark = record.field(2);
        out << record.field(0).toString() << (isCheap.filter(record) ? ": cheap" : ": dear")
            << (remark.isPresent() ? ", "_L1 + remark.toString() : QString()) << '\n';
    }
}
