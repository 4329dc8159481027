// SPDX-License-Identifier: MIT
// A filter holds excluded keys. Its text is saved, and restores it.
#include <data/indexlist.h>
#include <data/record.h>
#include <database/memorytable.h>
#include <filterfuncs/filterfunc.h>
#include <hostkit/filters/columnsfilter.h>

#include <QTextStream>

using namespace Qt::StringLiterals;
using namespace sito;

QString shownRows(const MemoryTable &table, const FilterFunc &excluded)
{
    QStringList codes;
    for (unsigned char *row : *table.masterIndex()) {
        if (!excluded.filter(Record(row)))
            codes += table.dataPtr(row, 0).toString();
    }
    return codes.join(u' ');
}

int main()
{
    QTextStream out(stdout);
    MemoryTable quotes(u"quotes"_s, {{u"code"_s, FieldType::String}, {u"lot"_s, FieldType::Int}});
    quotes.append({{u"GAZP"_s, 10}, {u"SBER"_s, 10}, {u"VTBR"_s, 10000}});

    // The user hides the row of SBER.
    ColumnsFilter filter(quotes, {0});
    filter.addExcludedKey(filter.keyFromRecord(quotes.row(1)));
    const std::unique_ptr<FilterFunc> excluded(filter.createFilterFunc(nullptr));
    out << "shown: " << shownRows(quotes, *excluded) << '\n';

    // The value of the filter is a text. New rows are shown: only what is excluded was saved.
    const QString saved = filter.value();
    quotes.append({u"LKOH"_s, 1});
    ColumnsFilter restored(quotes, {0});
    restored.setValue(saved + u"|VTBR"_s);
    const std::unique_ptr<FilterFunc> excludedNow(restored.createFilterFunc(nullptr));
    out << "saved: " << saved << ", restored: " << restored.value() << '\n';
    out << "shown: " << shownRows(quotes, *excludedNow) << '\n';

    // A key of two columns hides their combination.
    ColumnsFilter pairs(quotes, {0, 1});
    pairs.addExcludedKey(pairs.keyFromRecord(quotes.row(0)));
    out << "a key of two columns: " << pairs.value() << '\n';
}
