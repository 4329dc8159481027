// SPDX-License-Identifier: MIT
// A filter of one's own: with a predicate, a text for its keys, and a kind by which it is stored.
#include <data/indexlist.h>
#include <data/keyvalue.h>
#include <data/record.h>
#include <database/memorytable.h>
#include <filterfuncs/lambdafilterfunc.h>
#include <hostkit/filters/columnsfilter.h>
#include <hostkit/filters/filterlist.h>
#include <hostkit/views/filterstorage.h>

#include <QSettings>
#include <QTemporaryDir>
#include <QTextStream>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace sito;

/// Hides the rows of which the text begins with one of the keys.
class BeginningsFilter : public ColumnsFilter
{
    Q_OBJECT // FilterStorage knows the kinds by their classes
public:
    using ColumnsFilter::ColumnsFilter;
    FilterFunc *createFilterFunc(QObject *parent) const override
    {
        QStringList beginnings;
        for (const KeyValue &key : getAllExcludedKeys())
            beginnings += key.first().toString();
        // Called for each row, by several threads at once: it keeps nothing between the calls.
        const auto hides = [beginnings, column = columns().first()](const Record &record) {
            const QString text = record.field(column).toString();
            return std::ranges::any_of(beginnings, [&](const QString &one) { return text.startsWith(one); });
        };
        return new LambdaFilterFunc(hides, parent);
    }
    QString keyToText(const KeyValue &key) const override { return key.first().toString() + u'…'; }
};

int main()
{
    QTextStream out(stdout);
    MemoryTable bonds(u"bonds"_s, {{u"code"_s, FieldType::String}, {u"lot"_s, FieldType::Int}});
    bonds.append({{u"SU26207"_s, 1}, {u"SU29006"_s, 1}, {u"RU000A0"_s, 10}});

    const QTemporaryDir directory;
    QSettings store(directory.filePath(u"views.ini"_s), QSettings::IniFormat);
    FilterStorage storage(store);
    const auto make = [](auto &...all) { return std::make_unique<BeginningsFilter>(all...); };
    storage.registerKind(u"beginnings"_s, BeginningsFilter::staticMetaObject, make);

    FilterList filters(bonds);
    auto *beginnings = new BeginningsFilter(bonds, {0});
    beginnings->setValue(u"SU26|XS"_s);
    beginnings->setEnabled(true);
    filters.add(beginnings); // the list owns it
    storage.save(u"bonds"_s, filters);

    FilterList restored(bonds);
    storage.restore(u"bonds"_s, restored);
    out << restored.filters().first()->name() << ": " << restored.filters().first()->text() << '\n';
    const auto excluded = restored.createFilterFuncs().front();
    for (unsigned char *row : *bonds.masterIndex())
        out << bonds.dataPtr(row, 0).toString() << (excluded->filter(Record(row)) ? " hidden\n" : "\n");
}

#include "07-own-filter.moc"
