// SPDX-License-Identifier: MIT
#include <hostkit/views/filterstorage.h>

#include <hostkit/filters/columnsfilter.h>
#include <hostkit/filters/filterlist.h>
#include <hostkit/values/showonlyfilter.h>
#include <hostkit/values/valuelistfilter.h>
#include <hostkit/values/valuelistwidget.h>

#include <database/memorydatabase.h>
#include <filterfuncs/filterfunc.h>
#include <filters/securitiessessionfilter.h>

#include <support/exceptions.h>
#include <support/seed.h>

#include <support/randomkeys.h>
#include <support/typenames.h>

#include <QAbstractItemView>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <stdexcept>

#include <unistd.h>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

/// A filter of a host's own kind.
class OddFilter : public ColumnsFilter
{
    Q_OBJECT
public:
    using ColumnsFilter::ColumnsFilter;
};

/// Of no kind that is registered by itself.
class DerivedFilter : public OddFilter
{
    Q_OBJECT
public:
    using OddFilter::OddFilter;
};

/// A filter of a host's own kind whose predicate does not take every key that can be read.
class PickyFilter : public ColumnsFilter
{
    Q_OBJECT
public:
    using ColumnsFilter::ColumnsFilter;
    FilterFunc *createFilterFunc(QObject *parent) const override
    {
        if (value().contains(u"bad"_s))
            throw Exception(u"Ключ «bad» не годится"_s);
        return ColumnsFilter::createFilterFunc(parent);
    }
};

/// Not a value filter.
class OtherFilter : public Filter
{
public:
    OtherFilter() : Filter(0, nullptr) {}
    FilterFunc *createFilterFunc(QObject *) const override { return nullptr; }
    QWidget *createFilterWidget(QWidget *) override { return nullptr; }
    void apply(QWidget *) override {}
    void init(QWidget *) override {}
    QString text() const override { return QString(); }
    QString name() const override { return u"other"_s; }
};

/// Gives up the rights of the super-user over files for as long as it lives.
class PlainUser
{
    Q_DISABLE_COPY_MOVE(PlainUser)
public:
    PlainUser() : m_wasRoot(::geteuid() == 0)
    {
        if (m_wasRoot && ::seteuid(65534) != 0)
            qFatal("cannot become another user");
    }
    ~PlainUser()
    {
        if (m_wasRoot && ::seteuid(0) != 0)
            qFatal("cannot become the super-user again");
    }

private:
    bool m_wasRoot;
};

/// Every filter of \a filters in a line: class, columns, switch, keys.
QStringList shownFilters(const FilterList &filters)
{
    QStringList lines;
    for (const Filter *filter : filters.filters()) {
        const auto *valueFilter = qobject_cast<const ValueFilter *>(filter);
        QStringList columns;
        for (const int column : valueFilter->columns())
            columns.append(QString::number(column));
        lines.append(QString::fromLatin1(filter->metaObject()->className()).remove(u"sito::"_s) + u' ' +
                     columns.join(u',') + (filter->isEnabled() ? u" on "_s : u" off "_s) + filter->value());
    }
    return lines;
}

/// Calls \a restore and announces the exceptions that became messages.
template <typename Restore>
QStringList restored(int exceptions, Restore &&restore)
{
    static const QRegularExpression any(u"."_s);
    for (int i = 0; i < exceptions; ++i)
        QTest::ignoreMessage(QtWarningMsg, any);
    return restore();
}

} // namespace

class tst_FilterStorage : public QObject
{
    Q_OBJECT
private:
    static QList<ColumnSpec> quoteColumns()
    {
        return {{u"stock_id"_s, FieldType::Int},
                {u"code"_s, FieldType::String, true},
                {u"price"_s, FieldType::Decimal, true, 2},
                {u"raw"_s, FieldType::Raw, true, 2}};
    }

    Filter *add(FilterList &filters, const QList<int> &columns, const QString &value, bool enabled)
    {
        auto *filter = new ColumnsFilter(*filters.table(), columns);
        filter->setValue(value);
        filter->setEnabled(enabled);
        filters.add(filter);
        return filter;
    }

    QString fileName() const { return m_directory->filePath(u"store.ini"_s); }
    QByteArray fileContent() const
    {
        QFile file(fileName());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    /// A store that has seen nothing of what others did to the file.
    std::unique_ptr<QSettings> open() const
    {
        return std::make_unique<QSettings>(fileName(), QSettings::IniFormat);
    }
    /// Changes the stored first filter over "code" by hand, after three filters were saved.
    void spoil(const QString &key, const QVariant &value,
               const QString &group = u"filters/quotes/current/2/"_s)
    {
        FilterList filters(m_table);
        add(filters, {0}, u"1"_s, true);
        add(filters, {1}, u"a"_s, true);
        add(filters, {2}, u"1.50"_s, false);
        const auto store = open();
        FilterStorage storage(*store);
        storage.registerHostKinds();
        storage.save(u"quotes"_s, filters);
        if (value.isValid())
            store->setValue(group + key, value);
        else
            store->remove(group + key);
    }

    MemoryTable m_table{u"quotes"_s, quoteColumns()};
    std::unique_ptr<QTemporaryDir> m_directory;

private Q_SLOTS:
    void init()
    {
        failOnAnyWarning();
        MemoryDatabase::instance().clear();
        m_directory = std::make_unique<QTemporaryDir>();
    }

    void restoresWhatItSaved_data()
    {
        QTest::addColumn<int>("format");
        QTest::newRow("INI") << int(QSettings::IniFormat);
        QTest::newRow("native") << int(QSettings::NativeFormat);
    }
    void restoresWhatItSaved()
    {
        QFETCH(int, format);
        const auto openStore = [&] {
            return std::make_unique<QSettings>(fileName(), QSettings::Format(format));
        };
        FilterList filters(m_table);
        add(filters, {2, 0}, u"1.50,7|,8"_s, true);
        add(filters, {1}, u"␀|a"_s, false);
        add(filters, {0}, QString(), true);
        {
            const auto store = openStore();
            FilterStorage storage(*store);
            storage.registerHostKinds();
            storage.save(u"quotes"_s, filters);
        }

        const auto store = openStore();
        FilterStorage storage(*store);
        storage.registerHostKinds();
        FilterList others(m_table);
        add(others, {1}, u"gone"_s, true);
        const QStringList messages = storage.restore(u"quotes"_s, others);

        QCOMPARE(messages, QStringList());
        QCOMPARE(shownFilters(others), QStringList({u"ColumnsFilter 2,0 on ,8|1.50,7"_s,
                                                    u"ColumnsFilter 1 off ␀|a"_s, u"ColumnsFilter 0 on "_s}));
        QCOMPARE(shownFilters(others), shownFilters(filters));
    }

    void writesAReadableFile()
    {
        FilterList filters(m_table);
        add(filters, {0, 1}, u"1,a"_s, true);
        const auto store = open();
        store->setValue(u"window/width"_s, 800);
        FilterStorage storage(*store);
        storage.registerHostKinds();

        storage.save(u"quotes"_s, filters);

        QCOMPARE(QString::fromUtf8(fileContent()),
                 u"[filters]\n"
                 "quotes\\current\\1\\columns=\"[\\\"stock_id\\\",\\\"code\\\"]\"\n"
                 "quotes\\current\\1\\enabled=true\n"
                 "quotes\\current\\1\\keys=\"[[\\\"1\\\",\\\"a\\\"]]\"\n"
                 "quotes\\current\\1\\kind=columns\n"
                 "quotes\\current\\1\\text=\"1,a\"\n"
                 "quotes\\current\\1\\version=1\n"
                 "quotes\\current\\size=1\n"
                 "\n"
                 "[window]\n"
                 "width=800\n"_s);
    }

    void staysInTheGroupOfTheStore()
    {
        FilterList filters(m_table);
        add(filters, {0}, u"1"_s, true);
        const auto store = open();
        FilterStorage storage(*store);
        storage.registerHostKinds();

        store->beginGroup(u"host"_s);
        storage.save(u"quotes"_s, filters);
        FilterList others(m_table);
        storage.restore(u"quotes"_s, others);

        QCOMPARE(store->group(), u"host"_s);
        QCOMPARE(shownFilters(others), shownFilters(filters));
        store->endGroup();
        QVERIFY(store->contains(u"host/filters/quotes/current/size"_s));
    }

    void losesNoKeyInAnyStore_data() { restoresWhatItSaved_data(); }
    void losesNoKeyInAnyStore()
    {
        QFETCH(int, format);
        const quint64 seed = testSeed();
        RandomValues values(seed);
        const QList<ColumnSpec> specs = everyTypeColumns();
        MemoryTable table(u"random"_s, specs);
        FilterList filters(table);
        for (int i = 0; i < 60; ++i) {
            QList<int> columns;
            for (int count = 1 + values.below(4); count > 0; --count) {
                const int column = values.below(int(specs.size()));
                if (!columns.contains(column))
                    columns.append(column);
            }
            auto *filter = new ColumnsFilter(table, columns);
            for (int rows = values.below(8); rows > 0; --rows)
                filter->addExcludedKey(filter->keyFromRecord(table.append(values.row(specs))));
            // Some decimals have no room in their columns; a list with such a key shows nothing anyway.
            try {
                delete filter->createFilterFunc(nullptr);
            } catch (const Exception &exception) {
                announce(exception);
                delete filter;
                continue;
            }
            filter->setEnabled(values.oneIn(2));
            filters.add(filter);
        }
        QVERIFY(filters.filters().size() > 10);
        {
            QSettings store(fileName(), QSettings::Format(format));
            FilterStorage storage(store);
            storage.registerHostKinds();
            storage.save(u"random"_s, filters);
        }

        QSettings store(fileName(), QSettings::Format(format));
        FilterStorage storage(store);
        storage.registerHostKinds();
        FilterList others(table);
        const QStringList messages = storage.restore(u"random"_s, others);

        QVERIFY2(messages.isEmpty(), seedMessage(seed, messages.join(u'\n')).constData());
        QCOMPARE(others.filters().size(), filters.filters().size());
        for (qsizetype i = 0; i < filters.filters().size(); ++i) {
            const auto *filter = qobject_cast<ColumnsFilter *>(others.filters().at(i));
            const auto *original = qobject_cast<ColumnsFilter *>(filters.filters().at(i));
            QCOMPARE(filter->columns(), original->columns());
            QCOMPARE(filter->isEnabled(), original->isEnabled());
            const QString difference = keyDifference(*filter, *original);
            QVERIFY2(difference.isEmpty(), seedMessage(seed, difference).constData());
        }
    }

    void tellsNoFiltersFromNothing()
    {
        const auto store = open();
        FilterStorage storage(*store);
        storage.registerHostKinds();
        FilterList none(m_table);
        FilterList filters(m_table);
        add(filters, {0}, u"1"_s, true);
        const QStringList before = shownFilters(filters);

        QVERIFY(!storage.contains(u"quotes"_s));
        QCOMPARE(storage.restore(u"quotes"_s, filters), QStringList());
        QCOMPARE(shownFilters(filters), before);

        storage.save(u"quotes"_s, none);
        QVERIFY(storage.contains(u"quotes"_s));
        QCOMPARE(storage.restore(u"quotes"_s, filters), QStringList());
        QCOMPARE(shownFilters(filters), QStringList());

        storage.remove(u"quotes"_s);
        QVERIFY(!storage.contains(u"quotes"_s));
        QVERIFY(store->allKeys().isEmpty());
    }

    void tellsOfWhichKindsTheStoredFiltersAre()
    {
        const auto store = open();
        FilterStorage storage(*store);
        storage.registerHostKinds();
        FilterList none(m_table);
        FilterList filters(m_table);
        add(filters, {0}, u"1"_s, false);
        QVERIFY(!storage.containsKind(u"quotes"_s, u"columns"_s));

        storage.save(u"quotes"_s, filters);
        QVERIFY(storage.containsKind(u"quotes"_s, u"columns"_s));
        QVERIFY(!storage.containsKind(u"quotes"_s, u"values"_s));
        QVERIFY(!storage.containsKind(u"other"_s, u"columns"_s));
        storage.save(u"quotes"_s, none);
        QVERIFY(!storage.containsKind(u"quotes"_s, u"columns"_s));

        storage.saveSet(u"quotes"_s, u"empty"_s, none);
        storage.saveSet(u"quotes"_s, u"Some Set"_s, filters);
        QVERIFY(storage.containsKind(u"quotes"_s, u"columns"_s));
        storage.removeSet(u"quotes"_s, u"Some Set"_s);
        QVERIFY(!storage.containsKind(u"quotes"_s, u"columns"_s));
    }

    void tellsOfTheKindOfAFilterThatDoesNotFit()
    {
        spoil(u"kind"_s, u"later"_s);
        const auto store = open();
        FilterStorage storage(*store);

        QVERIFY(storage.containsKind(u"quotes"_s, u"later"_s));
        QVERIFY(storage.containsKind(u"quotes"_s, u"columns"_s));
    }

    void replacesWhatWasStored()
    {
        const auto store = open();
        FilterStorage storage(*store);
        storage.registerHostKinds();
        FilterList filters(m_table);
        Filter *first = add(filters, {0}, u"1"_s, true);
        add(filters, {1}, u"a"_s, true);
        storage.save(u"quotes"_s, filters);

        filters.remove(first);
        storage.save(u"quotes"_s, filters);

        FilterList others(m_table);
        QCOMPARE(storage.restore(u"quotes"_s, others), QStringList());
        QCOMPARE(shownFilters(others), QStringList{u"ColumnsFilter 1 on a"_s});
        QCOMPARE(store->value(u"filters/quotes/current/size"_s).toInt(), 1);
        QVERIFY(!store->contains(u"filters/quotes/current/2/kind"_s));
    }

    void keepsNamesApart()
    {
        const QStringList names{u""_s,
                                u"_"_s,
                                u"a"_s,
                                u"A"_s,
                                u"a/b"_s,
                                u"a//b"_s,
                                u"/a"_s,
                                u"a/"_s,
                                u"a b"_s,
                                u"a%20b"_s,
                                u"%"_s,
                                u"a_b"_s,
                                u"a_0020b"_s,
                                u"Котировки"_s,
                                u"котировки"_s,
                                u"a\\b"_s,
                                u"current"_s,
                                u"sets"_s,
                                u"size"_s,
                                u"a=b"_s,
                                u"[a]"_s,
                                u"General"_s,
                                u"general"_s,
                                u"\U0001F600"_s,
                                QString(QChar(0xd800)),
                                QString(QChar(0)),
                                u"a\nb"_s,
                                u" "_s,
                                u"é"_s,
                                u"e\u0301"_s};
        {
            const auto store = open();
            FilterStorage storage(*store);
            storage.registerHostKinds();
            for (qsizetype i = 0; i < names.size(); ++i) {
                FilterList filters(m_table);
                add(filters, {0}, QString::number(i), true);
                storage.save(names.at(i), filters);
                storage.saveSet(names.at(names.size() - 1 - i), names.at(i), filters);
                storage.saveSet(u"all"_s, names.at(i), filters);
            }
        }

        const auto store = open();
        FilterStorage storage(*store);
        storage.registerHostKinds();
        for (qsizetype i = 0; i < names.size(); ++i) {
            const QStringList expected{u"ColumnsFilter 0 on "_s + QString::number(i)};
            FilterList filters(m_table);
            QCOMPARE(storage.restore(names.at(i), filters), QStringList());
            QCOMPARE(shownFilters(filters), expected);
            QCOMPARE(storage.setNames(names.at(names.size() - 1 - i)), QStringList{names.at(i)});
            filters.clear();
            QCOMPARE(storage.restoreSet(names.at(names.size() - 1 - i), names.at(i), filters), QStringList());
            QCOMPARE(shownFilters(filters), expected);
            filters.clear();
            storage.restoreSet(u"all"_s, names.at(i), filters);
            QCOMPARE(shownFilters(filters), expected);
        }
        QStringList sorted = names;
        sorted.sort();
        QCOMPARE(storage.setNames(u"all"_s), sorted);

        // No two names differ in their case alone where a store does not see it.
        QStringList keys = store->allKeys();
        const auto count = keys.size();
        for (QString &key : keys)
            key = key.toLower();
        keys.removeDuplicates();
        QCOMPARE(keys.size(), count);
    }

    void keepsSetsBesideTheFilters()
    {
        const auto store = open();
        FilterStorage storage(*store);
        storage.registerHostKinds();
        FilterList filters(m_table);
        QCOMPARE(storage.setNames(u"quotes"_s), QStringList());
        storage.saveSet(u"quotes"_s, u"пустой"_s, filters);
        QVERIFY(!storage.contains(u"quotes"_s));
        add(filters, {0}, u"1"_s, true);
        storage.saveSet(u"quotes"_s, u"мой"_s, filters);
        add(filters, {1}, u"a"_s, true);
        storage.save(u"quotes"_s, filters);

        QCOMPARE(storage.setNames(u"quotes"_s), QStringList({u"мой"_s, u"пустой"_s}));
        QCOMPARE(storage.setNames(u"Quotes"_s), QStringList());
        QCOMPARE(storage.restoreSet(u"quotes"_s, u"мой"_s, filters), QStringList());
        QCOMPARE(shownFilters(filters), QStringList{u"ColumnsFilter 0 on 1"_s});
        QCOMPARE(storage.restoreSet(u"quotes"_s, u"пустой"_s, filters), QStringList());
        QCOMPARE(shownFilters(filters), QStringList());
        storage.restore(u"quotes"_s, filters);
        QCOMPARE(filters.filters().size(), 2);

        storage.remove(u"quotes"_s);
        storage.removeSet(u"quotes"_s, u"мой"_s);
        QCOMPARE(storage.setNames(u"quotes"_s), QStringList{u"пустой"_s});
        QCOMPARE(storage.restoreSet(u"quotes"_s, u"мой"_s, filters),
                 QStringList{u"Вид «quotes», набор «мой»: такого набора нет"_s});
        QCOMPARE(filters.filters().size(), 2);
    }

    void restoresTheFiltersOfHosts()
    {
        MemoryTable table(u"quotes"_s, quoteColumns());
        table.append({1, u"a"_s, std::monostate(), std::monostate()});
        table.append({2, u"c"_s, std::monostate(), std::monostate()});
        table.append({3, u"b"_s, std::monostate(), std::monostate()});
        FilterList filters(table);
        auto *values = new ValueListFilter(table, {1});
        values->addExcludedKey(values->keyFromRecord(table.row(0)));
        values->setEnabled(true);
        filters.add(values);
        auto *only = new ShowOnlyFilter(table, {0, 1});
        only->addExcludedKey(only->keyFromRecord(table.row(2)));
        only->setEnabled(true);
        filters.add(only);
        const auto store = open();
        FilterStorage storage(*store);
        storage.registerHostKinds();

        storage.save(u"quotes"_s, filters);
        FilterList others(table);
        QCOMPARE(storage.restore(u"quotes"_s, others), QStringList());

        QCOMPARE(shownFilters(others),
                 QStringList({u"ValueListFilter 1 on a"_s, u"ShowOnlyFilter 0,1 on 3,b"_s}));
        const auto shownRows = [&table](const FilterList &list) {
            QList<qint32> ids;
            const auto funcs = list.createFilterFuncs();
            for (int row = 0; row < 3; ++row) {
                const Record record = table.row(row);
                if (std::none_of(funcs.begin(), funcs.end(),
                                 [&record](const auto &func) { return func->filter(record); }))
                    ids.append(record.field(0).value<qint32>());
            }
            return ids;
        };
        QCOMPARE(shownRows(others), QList<qint32>{3});
        QCOMPARE(shownRows(others), shownRows(filters));
        // The values offered are those that the other restored filter leaves.
        auto *list = qobject_cast<ValueListFilter *>(others.filters().constFirst());
        const std::unique_ptr<QWidget> widget(list->createFilterWidget(nullptr));
        list->init(widget.get());
        auto *valueWidget = qobject_cast<ValueListWidget *>(widget.get());
        QTRY_VERIFY(valueWidget->isReady());
        QCOMPARE(widget->findChild<QAbstractItemView *>()->model()->rowCount(), 2);
    }

    void takesTheMostDerivedKind()
    {
        const auto store = open();
        FilterStorage storage(*store);
        storage.registerKind(u"odd"_s, OddFilter::staticMetaObject,
                             [](Table &table, const QList<int> &columns) {
                                 return std::make_unique<OddFilter>(table, columns);
                             });
        storage.registerHostKinds();
        FilterList filters(m_table);
        add(filters, {0}, u"1"_s, true);
        filters.add(new OddFilter(m_table, {1}));
        filters.add(new DerivedFilter(m_table, {2}));

        storage.save(u"quotes"_s, filters);

        FilterList others(m_table);
        storage.restore(u"quotes"_s, others);
        QCOMPARE(shownFilters(others),
                 QStringList({u"ColumnsFilter 0 on 1"_s, u"OddFilter 1 off "_s, u"OddFilter 2 off "_s}));
    }

    void replacesAKind()
    {
        const auto store = open();
        FilterStorage storage(*store);
        storage.registerHostKinds();
        FilterList filters(m_table);
        add(filters, {0}, u"1"_s, true);
        storage.save(u"quotes"_s, filters);

        storage.registerKind(u"columns"_s, ColumnsFilter::staticMetaObject,
                             [](Table &table, const QList<int> &columns) {
                                 return std::make_unique<OddFilter>(table, columns);
                             });

        QCOMPARE(storage.restore(u"quotes"_s, filters), QStringList());
        QCOMPARE(shownFilters(filters), QStringList{u"OddFilter 0 on 1"_s});
    }

    void refusesFiltersOfNoKind()
    {
        const auto store = open();
        FilterStorage storage(*store);
        storage.registerHostKinds();
        FilterList filters(m_table);
        add(filters, {0}, u"1"_s, true);
        storage.save(u"quotes"_s, filters);
        const QByteArray before = fileContent();

        add(filters, {1}, u"a"_s, true);
        filters.add(new OtherFilter);
        QCOMPARE(exceptionMessage([&] { storage.save(u"quotes"_s, filters); }),
                 u"Фильтр «other» нельзя сохранить: его вид не зарегистрирован"_s);
        FilterStorage bare(*store);
        FilterList plain(m_table);
        add(plain, {0, 1}, QString(), true);
        QCOMPARE(exceptionMessage([&] { bare.save(u"quotes"_s, plain); }),
                 u"Фильтр «stock_id,code» нельзя сохранить: его вид не зарегистрирован"_s);

        store->sync();
        QCOMPARE(fileContent(), before);
    }

    void makesSessionFiltersAnew()
    {
        MemoryTable *sessions = MemoryDatabase::instance().createTable(
            u"sessions"_s, {{u"stock_id"_s, FieldType::Int}, {u"sess_id"_s, FieldType::Int}});
        sessions->append({1, 5});
        MemoryTable table(u"t"_s,
                          {{u"s"_s, FieldType::Int}, {u"n"_s, FieldType::Int}, {u"x"_s, FieldType::Int}});
        const auto store = open();
        FilterStorage storage(*store);
        storage.registerHostKinds();
        FilterList filters(table);
        auto *filter = new SecuritiesSessionFilter(table, 1, {1, 0}, 0, nullptr);
        filter->setEnabled(true);
        filters.add(filter);
        QCOMPARE(filter->value(), u"1,5"_s);

        storage.save(u"t"_s, filters);
        sessions->append({1, 6});
        FilterList others(table);
        QCOMPARE(storage.restore(u"t"_s, others), QStringList());

        QCOMPARE(shownFilters(others), QStringList{u"SecuritiesSessionFilter 1,0 on 1,6"_s});
        QCOMPARE(others.filters().constFirst()->firstId(), 1);
        QCOMPARE(others.filters().constFirst()->secondId(), 0);

        MemoryDatabase::instance().dropTable(u"sessions"_s);
        QCOMPARE(restored(1, [&] { return storage.restore(u"t"_s, others); }),
                 QStringList{u"Вид «t»: фильтр 1 («n, s») не восстановлен. There is no table 'sessions'."_s});
        QCOMPARE(shownFilters(others), QStringList());
        MemoryDatabase::instance()
            .createTable(u"sessions"_s, {{u"stock_id"_s, FieldType::Int}, {u"sess_id"_s, FieldType::Int}})
            ->append({3, 4});
        QCOMPARE(storage.restore(u"t"_s, others), QStringList());
        QCOMPARE(shownFilters(others), QStringList{u"SecuritiesSessionFilter 1,0 on 3,4"_s});
        store->setValue(u"filters/t/current/1/columns"_s, u"[\"x\"]"_s);
        QCOMPARE(
            restored(1, [&] { return storage.restore(u"t"_s, others); }),
            QStringList{
                u"Вид «t»: фильтр 1 («x») не восстановлен. Фильтр последних сессий бывает только по двум столбцам"_s});
        MemoryDatabase::instance().clear();
    }

    void findsColumnsByName()
    {
        spoil(u"kind"_s, u"columns"_s);
        QList<ColumnSpec> columns = quoteColumns();
        std::reverse(columns.begin(), columns.end());
        columns[3].type = FieldType::Int64; // wider
        columns[2].type = FieldType::VarChar;
        columns[2].length = 3;
        columns[1].length = 4;
        MemoryTable table(u"other"_s, columns);
        const auto store = open();
        FilterStorage storage(*store);
        storage.registerHostKinds();
        FilterList filters(table);

        QCOMPARE(storage.restore(u"quotes"_s, filters), QStringList());

        QCOMPARE(shownFilters(filters), QStringList({u"ColumnsFilter 3 on 1"_s, u"ColumnsFilter 2 on a"_s,
                                                     u"ColumnsFilter 1 off 1.50"_s}));
        QCOMPARE(qobject_cast<ValueFilter *>(filters.filters().constFirst())
                     ->getAllExcludedKeys()
                     .at(0)
                     .at(0)
                     .def->type,
                 FieldType::Int64);
    }

    void keepsWhatDoesNotFit_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("message");
        const auto row = [](const char *name, const QString &key, const QVariant &value, const char *reason,
                            const char *columns = "code") {
            QTest::newRow(name) << key << value
                                << u"Вид «quotes»: фильтр 2 («%1») не восстановлен. %2"_s.arg(
                                       QString::fromUtf8(columns), QString::fromUtf8(reason));
        };
        row("unknown kind", u"kind"_s, u"magic"_s, "Вид фильтра «magic» неизвестен");
        row("no kind", u"kind"_s, QVariant(), "Вид фильтра «» неизвестен");
        row("missing column", u"columns"_s, u"[\"stock_id\",\"gone\"]"_s,
            "В таблице «quotes» нет столбца «gone»", "stock_id, gone");
        row("column in another case", u"columns"_s, u"[\"Code\"]"_s, "В таблице «quotes» нет столбца «Code»",
            "Code");
        row("column twice", u"columns"_s, u"[\"code\",\"code\"]"_s, "Столбец «code» назван дважды",
            "code, code");
        row("no columns", u"columns"_s, u"[]"_s, "Столбцы не названы", "[]");
        row("columns that are no JSON", u"columns"_s, u"code"_s, "Ошибка в JSON: illegal value", "code");
        row("columns that are no names", u"columns"_s, u"[1]"_s, "В JSON не список строк", "1");
        row("columns missing", u"columns"_s, QVariant(), "Ошибка в JSON: illegal value", "");
        row("other number of columns", u"columns"_s, u"[\"code\",\"price\"]"_s,
            "Ключ «[\"a\"]»: число значений (1) не равно числу столбцов (2)", "code, price");
        row("column of another type", u"columns"_s, u"[\"stock_id\"]"_s,
            "Ключ «[\"a\"]»: «a» не может быть значением столбца «stock_id» типа Int", "stock_id");
        row("Raw column", u"columns"_s, u"[\"raw\"]"_s,
            "Столбец «raw» таблицы «quotes» имеет тип Raw: его значения не сравниваются", "raw");
        row("keys that are no JSON", u"keys"_s, u"[[\"a\"]"_s, "Ошибка в JSON: unterminated array");
        row("keys missing", u"keys"_s, QVariant(), "Ошибка в JSON: illegal value");
        row("later version", u"version"_s, 2, "Запись версии «2» не читается");
        row("no version", u"version"_s, QVariant(), "Запись версии «» не читается");
    }
    void keepsWhatDoesNotFit()
    {
        QFETCH(QString, key);
        QFETCH(QVariant, value);
        QFETCH(QString, message);
        spoil(key, value);
        QMap<QString, QVariant> entry;
        {
            // What another program has added stays as well.
            const auto store = open();
            store->setValue(u"filters/quotes/current/2/note/deep"_s, u"mine"_s);
            store->beginGroup(u"filters/quotes/current/2"_s);
            for (const QString &name : store->allKeys())
                entry.insert(name, store->value(name));
        }
        const QStringList fitting{u"ColumnsFilter 0 on 1"_s, u"ColumnsFilter 2 off 1.50"_s};

        // Restored, saved after each of three starts, with more and less filters.
        for (int start = 0; start < 3; ++start) {
            const auto store = open();
            FilterStorage storage(*store);
            storage.registerHostKinds();
            FilterList filters(m_table);
            const QStringList messages = restored(1, [&] { return storage.restore(u"quotes"_s, filters); });
            QCOMPARE(messages, QStringList{withTypeNames(message)});
            QCOMPARE(shownFilters(filters).mid(0, 2), fitting);
            if (start == 0)
                add(filters, {1, 2}, u"x,"_s, true);
            storage.save(u"quotes"_s, filters);
            store->beginGroup(u"filters/quotes/current/2"_s);
            QMap<QString, QVariant> now;
            for (const QString &name : store->allKeys())
                now.insert(name, store->value(name));
            store->endGroup();
            QCOMPARE(now.keys(), entry.keys());
            for (auto i = entry.cbegin(); i != entry.cend(); ++i)
                QCOMPARE(now.value(i.key()).toString(), i.value().toString());
            QCOMPARE(store->value(u"filters/quotes/current/size"_s).toInt(), 4);
        }

        // Without any restore before, and for an empty list.
        const auto store = open();
        FilterStorage storage(*store);
        storage.registerHostKinds();
        FilterList none(m_table);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"."_s));
        storage.save(u"quotes"_s, none);
        QCOMPARE(restored(1, [&] { return storage.restore(u"quotes"_s, none); }),
                 QStringList{withTypeNames(message).replace(u"фильтр 2"_s, u"фильтр 1"_s)});
    }

    void restoresWhatFitsAgain()
    {
        spoil(u"kind"_s, u"odd"_s);
        const auto store = open();
        FilterStorage storage(*store);
        storage.registerHostKinds();
        FilterList filters(m_table);
        QCOMPARE(restored(1, [&] { return storage.restore(u"quotes"_s, filters); }).size(), 1);
        storage.save(u"quotes"_s, filters);

        storage.registerKind(u"odd"_s, OddFilter::staticMetaObject,
                             [](Table &table, const QList<int> &columns) {
                                 return std::make_unique<OddFilter>(table, columns);
                             });

        QCOMPARE(storage.restore(u"quotes"_s, filters), QStringList());
        QCOMPARE(shownFilters(filters), QStringList({u"ColumnsFilter 0 on 1"_s, u"OddFilter 1 on a"_s,
                                                     u"ColumnsFilter 2 off 1.50"_s}));
    }

    void keepsWhatTheListDoesNotHaveWhenItFitsAgain_data()
    {
        QTest::addColumn<bool>("isSet");
        QTest::addColumn<bool>("isRewritten");
        QTest::newRow("the filters of the view") << false << false;
        QTest::newRow("a set") << true << false;
        QTest::newRow("a file that another program has replaced") << false << true;
    }
    void keepsWhatTheListDoesNotHaveWhenItFitsAgain()
    {
        QFETCH(bool, isSet);
        QFETCH(bool, isRewritten);
        MemoryDatabase &database = MemoryDatabase::instance();
        const auto makeSessions = [&database] {
            database
                .createTable(u"sessions"_s, {{u"stock_id"_s, FieldType::Int}, {u"sess_id"_s, FieldType::Int}})
                ->append({1, 5});
        };
        makeSessions();
        MemoryTable table(u"t"_s, {{u"stock_id"_s, FieldType::Int}, {u"sess_id"_s, FieldType::Int}});
        const auto store = open();
        FilterStorage storage(*store);
        storage.registerHostKinds();
        const auto save = [&](const FilterList &list) {
            if (isSet)
                storage.saveSet(u"t"_s, u"mine"_s, list);
            else
                storage.save(u"t"_s, list);
        };
        const auto restore = [&](FilterList &list) {
            return isSet ? storage.restoreSet(u"t"_s, u"mine"_s, list) : storage.restore(u"t"_s, list);
        };
        FilterList filters(table);
        filters.add(new SecuritiesSessionFilter(table, 0, {0, 1}, 1, nullptr));
        filters.filters().constFirst()->setEnabled(true);
        add(filters, {0}, u"7"_s, true);
        save(filters);
        const QStringList all = shownFilters(filters);

        // What was refused fits again before the list is saved, more than once.
        database.dropTable(u"sessions"_s);
        QCOMPARE(restored(1, [&] { return restore(filters); }).size(), 1);
        QCOMPARE(shownFilters(filters), QStringList{u"ColumnsFilter 0 on 7"_s});
        makeSessions();
        if (isRewritten) {
            const auto other = open();
            other->setValue(u"other"_s, 1);
            other->sync();
            store->sync();
        }
        save(filters);
        save(filters);
        QCOMPARE(restore(filters), QStringList());
        QCOMPARE(shownFilters(filters), all);

        // The list has it: now it is replaced as all others are.
        filters.remove(filters.filters().constFirst());
        save(filters);
        QCOMPARE(restore(filters), QStringList());
        QCOMPARE(shownFilters(filters), QStringList{u"ColumnsFilter 0 on 7"_s});
        database.clear();
    }

    void replacesWhatTheListHasAgain()
    {
        MemoryDatabase &database = MemoryDatabase::instance();
        const auto makeSessions = [&database] {
            database.createTable(u"sessions"_s,
                                 {{u"stock_id"_s, FieldType::Int}, {u"sess_id"_s, FieldType::Int}});
        };
        makeSessions();
        MemoryTable table(u"t"_s, {{u"stock_id"_s, FieldType::Int}, {u"sess_id"_s, FieldType::Int}});
        const auto store = open();
        FilterStorage storage(*store);
        storage.registerHostKinds();
        FilterList filters(table);
        filters.add(new SecuritiesSessionFilter(table, 0, {0, 1}, 1, nullptr));
        storage.save(u"t"_s, filters);
        database.dropTable(u"sessions"_s);
        QCOMPARE(restored(1, [&] { return storage.restore(u"t"_s, filters); }).size(), 1);
        makeSessions();

        filters.add(new SecuritiesSessionFilter(table, 0, {0, 1}, 1, nullptr));
        storage.save(u"t"_s, filters);

        QCOMPARE(store->value(u"filters/t/current/size"_s).toInt(), 1);
        storage.remove(u"t"_s);
        QVERIFY(store->allKeys().isEmpty());
        database.clear();
    }

    void takesWhateverAMakerDoes()
    {
        const auto store = open();
        FilterStorage storage(*store);
        storage.registerHostKinds();
        FilterList filters(m_table);
        add(filters, {0}, u"1"_s, true);
        storage.save(u"quotes"_s, filters);
        const auto messageOf = [&](const FilterStorage::Maker &maker, int exceptions) {
            storage.registerKind(u"columns"_s, ColumnsFilter::staticMetaObject, maker);
            const QStringList messages =
                restored(exceptions, [&] { return storage.restore(u"quotes"_s, filters); });
            return messages.size() == 1 ? messages.constFirst().section(u". "_s, 1) : QString();
        };
        using Made = std::unique_ptr<ValueFilter>;

        QCOMPARE(messageOf([](Table &, const QList<int> &) -> Made { throw Exception(u"one"_s); }, 1),
                 u"one"_s);
        QCOMPARE(messageOf([](Table &, const QList<int> &) -> Made { throw u"two"_s; }, 0), u"two"_s);
        QCOMPARE(messageOf([](Table &, const QList<int> &) -> Made { throw std::runtime_error("three"); }, 0),
                 u"three"_s);
        QCOMPARE(messageOf([](Table &, const QList<int> &) -> Made { return nullptr; }, 1),
                 u"Фильтр не создан"_s);
        QVERIFY(storage.contains(u"quotes"_s));
    }

    void refusesKeysThatNoPredicateTakes()
    {
        spoil(u"keys"_s, u"[[\"99999999999999999\"]]"_s, u"filters/quotes/current/3/"_s);
        const auto store = open();
        FilterStorage storage(*store);
        storage.registerHostKinds();
        FilterList filters(m_table);

        const QStringList messages = restored(1, [&] { return storage.restore(u"quotes"_s, filters); });

        QCOMPARE(messages.size(), 1);
        QVERIFY2(messages.constFirst().startsWith(u"Вид «quotes»: фильтр 3 («price») не восстановлен. "_s),
                 qPrintable(messages.constFirst()));
        QCOMPARE(shownFilters(filters), QStringList({u"ColumnsFilter 0 on 1"_s, u"ColumnsFilter 1 on a"_s}));
        filters.createFilterFuncs();
    }

    void refusesKeysThatReadWellButMakeNoPredicate_data()
    {
        QTest::addColumn<bool>("enabled");
        QTest::newRow("switched on") << true;
        QTest::newRow("switched off, and on again later") << false;
    }
    void refusesKeysThatReadWellButMakeNoPredicate()
    {
        QFETCH(const bool, enabled);
        const auto store = open();
        FilterStorage storage(*store);
        storage.registerHostKinds();
        storage.registerKind(u"picky"_s, PickyFilter::staticMetaObject,
                             [](Table &table, const QList<int> &columns) {
                                 return std::make_unique<PickyFilter>(table, columns);
                             });
        FilterList filters(m_table);
        add(filters, {0}, u"1"_s, true);
        for (const int column : {1, 2}) {
            auto *filter = new PickyFilter(m_table, {column});
            filter->setValue(column == 1 ? u"good"_s : u"1.50"_s);
            filter->setEnabled(enabled);
            filters.add(filter);
        }
        storage.save(u"quotes"_s, filters);
        store->setValue(u"filters/quotes/current/2/keys"_s, u"[[\"bad\"]]"_s);
        FilterList others(m_table);

        const QStringList messages = restored(1, [&] { return storage.restore(u"quotes"_s, others); });

        QCOMPARE(messages, QStringList{u"Вид «quotes»: фильтр 2 («code») не восстановлен. "
                                       "Ключ «bad» не годится"_s});
        const QString state = enabled ? u"on"_s : u"off"_s;
        QCOMPARE(shownFilters(others),
                 QStringList({u"ColumnsFilter 0 on 1"_s, u"PickyFilter 2 %1 1.50"_s.arg(state)}));
        for (Filter *filter : others.filters())
            filter->setEnabled(true);
        QCOMPARE(others.createFilterFuncs().size(), size_t(2));
    }

    void ownsUpToEveryMisfitOfASet()
    {
        const auto store = open();
        FilterStorage storage(*store);
        storage.registerHostKinds();
        FilterList filters(m_table);
        add(filters, {0}, u"1"_s, true);
        add(filters, {1}, u"a"_s, true);
        add(filters, {2}, u"1.50"_s, true);
        storage.saveSet(u"quotes"_s, u"мой"_s, filters);
        MemoryTable table(u"other"_s, {{u"code"_s, FieldType::String, true}});
        FilterList others(table);
        const QString place = u"Вид «quotes», набор «мой»: фильтр "_s;
        const QStringList expected{
            place + u"1 («stock_id») не восстановлен. В таблице «other» нет столбца «stock_id»"_s,
            place + u"3 («price») не восстановлен. В таблице «other» нет столбца «price»"_s};

        QCOMPARE(restored(2, [&] { return storage.restoreSet(u"quotes"_s, u"мой"_s, others); }), expected);
        QCOMPARE(shownFilters(others), QStringList{u"ColumnsFilter 0 on a"_s});
        storage.saveSet(u"quotes"_s, u"мой"_s, others);

        QCOMPARE(storage.restoreSet(u"quotes"_s, u"мой"_s, filters), QStringList());
        QCOMPARE(shownFilters(filters), QStringList({u"ColumnsFilter 0 on 1"_s, u"ColumnsFilter 1 on a"_s,
                                                     u"ColumnsFilter 2 on 1.50"_s}));
        storage.removeSet(u"quotes"_s, u"мой"_s);
        QCOMPARE(store->allKeys(), QStringList());
    }

    void standsHandsInTheStore()
    {
        spoil(u"size"_s, QVariant(), u"filters/quotes/current/"_s);
        const auto store = open();
        FilterStorage storage(*store);
        storage.registerHostKinds();
        FilterList filters(m_table);
        QVERIFY(storage.contains(u"quotes"_s));
        QCOMPARE(storage.restore(u"quotes"_s, filters), QStringList());
        QCOMPARE(filters.filters().size(), 3);

        store->setValue(u"filters/quotes/current/size"_s, 2'000'000'000);
        store->remove(u"filters/quotes/current/2"_s);
        store->setValue(u"filters/quotes/current/x/kind"_s, u"columns"_s);
        store->setValue(u"filters/quotes/current/0/kind"_s, u"columns"_s);
        store->setValue(u"filters/quotes/sets/Name/size"_s, 0);
        store->setValue(u"filters/quotes/sets/_12/size"_s, 0);
        QCOMPARE(storage.restore(u"quotes"_s, filters), QStringList());
        QCOMPARE(shownFilters(filters),
                 QStringList({u"ColumnsFilter 0 on 1"_s, u"ColumnsFilter 2 off 1.50"_s}));
        QCOMPARE(storage.setNames(u"quotes"_s), QStringList());

        store->setValue(u"filters/quotes/current/size"_s, 1);
        storage.restore(u"quotes"_s, filters);
        QCOMPARE(shownFilters(filters), QStringList{u"ColumnsFilter 0 on 1"_s});
    }

    void tellsTheListOnceItKnowsAll()
    {
        spoil(u"kind"_s, u"magic"_s);
        const auto store = open();
        FilterStorage storage(*store);
        storage.registerHostKinds();
        FilterList filters(m_table);
        add(filters, {0}, u"7"_s, true);
        QStringList events;
        connect(&filters, &FilterList::aboutToBeRemoved, this,
                [&](Filter *filter) { events += u"- "_s + filter->value(); });
        connect(&filters, &FilterList::added, this, [&](Filter *filter) {
            events += u"+ "_s + filter->value() + (filter->isEnabled() ? u" on"_s : u" off"_s);
        });
        const QSignalSpy changes(&filters, &FilterList::filterChanged);

        restored(1, [&] { return storage.restore(u"quotes"_s, filters); });

        QCOMPARE(events, QStringList({u"- 7"_s, u"+ 1 on"_s, u"+ 1.50 off"_s}));
        QCOMPARE(changes.count(), 0);
    }

    void reportsAStoreThatCannotBeWritten()
    {
        FilterList filters(m_table);
        add(filters, {0}, u"1"_s, true);
        QVERIFY(QFile::setPermissions(m_directory->path(), QFile::Permissions(0x7777)));
        {
            const auto store = open();
            FilterStorage storage(*store);
            storage.registerHostKinds();
            storage.save(u"quotes"_s, filters);
        }
        const QByteArray before = fileContent();
        QVERIFY(QFile::setPermissions(fileName(), QFile::Permissions(0x4444)));
        add(filters, {1}, u"a"_s, true);
        const QString message = u"Не удалось записать «%1»"_s.arg(fileName());

        const auto store = open();
        FilterStorage storage(*store);
        storage.registerHostKinds();
        {
            const PlainUser user;
            QCOMPARE(exceptionMessage([&] { storage.save(u"quotes"_s, filters); }), message);
            QCOMPARE(exceptionMessage([&] { storage.saveSet(u"quotes"_s, u"a"_s, filters); }), message);
            QCOMPARE(exceptionMessage([&] { storage.remove(u"quotes"_s); }), message);
            QCOMPARE(exceptionMessage([&] { storage.removeSet(u"quotes"_s, u"a"_s); }), message);
            FilterList others(m_table);
            QCOMPARE(storage.restore(u"quotes"_s, others), QStringList());
            QCOMPARE(others.filters().size(), 1);
        }
        QCOMPARE(fileContent(), before);

        // The file may be written, but not the directory, which only writing itself finds out.
        QVERIFY(QFile::setPermissions(fileName(), QFile::Permissions(0x6666)));
        QVERIFY(QFile::setPermissions(m_directory->path(), QFile::Permissions(0x5555)));
        {
            const PlainUser user;
            QCOMPARE(exceptionMessage([&] { storage.save(u"quotes"_s, filters); }), message);
        }
        QCOMPARE(fileContent(), before);

        QVERIFY(QFile::setPermissions(m_directory->path(), QFile::Permissions(0x7777)));
        add(filters, {2}, u"3"_s, true);
        storage.save(u"quotes"_s, filters);
        FilterList others(m_table);
        storage.restore(u"quotes"_s, others);
        QCOMPARE(others.filters().size(), 3);
        QVERIFY(fileContent().contains("\\3\\kind"));
    }

    void reportsAStoreThatCannotBeRead()
    {
        QVERIFY(QFile::setPermissions(m_directory->path(), QFile::Permissions(0x7777)));
        spoil(u"kind"_s, u"columns"_s);
        const QString name = m_directory->filePath(u"unread.ini"_s); // nothing of it is remembered
        QVERIFY(QFile::copy(fileName(), name));
        QVERIFY(QFile::setPermissions(name, QFile::Permissions()));
        const QString message = u"Не удалось прочитать «%1»"_s.arg(name);
        FilterList filters(m_table);
        add(filters, {0}, u"7"_s, true);
        {
            const PlainUser user;
            QSettings store(name, QSettings::IniFormat);
            FilterStorage storage(store);
            storage.registerHostKinds();

            QCOMPARE(storage.restore(u"quotes"_s, filters), QStringList{message});
            QCOMPARE(storage.restoreSet(u"quotes"_s, u"a"_s, filters), QStringList{message});
            QCOMPARE(exceptionMessage([&] { storage.save(u"quotes"_s, filters); }), message);
        }

        QCOMPARE(shownFilters(filters), QStringList{u"ColumnsFilter 0 on 7"_s});
        QVERIFY(QFile::setPermissions(name, QFile::Permissions(0x6666)));
        QFile file(name);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), fileContent());
    }

    void keepsWhatAnotherProgramWroteAtTheSameMoment()
    {
        FilterList filters(m_table);
        add(filters, {0}, u"7"_s, true);
        const auto store = open();
        store->setValue(u"other/number"_s, 111);
        FilterStorage storage(*store);
        storage.registerHostKinds();
        storage.save(u"quotes"_s, filters);
        const QDateTime moment = QFileInfo(fileName()).lastModified();
        QByteArray content = fileContent();
        QVERIFY(content.contains("number=111"));

        // As long as before, and within one tick of the clock.
        QFile file(fileName());
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.write(content.replace("number=111", "number=222")) > 0);
        QVERIFY(file.flush());
        QVERIFY(file.setFileTime(moment, QFileDevice::FileModificationTime));
        file.close();
        storage.save(u"quotes"_s, filters);

        QVERIFY(fileContent().contains("number=222"));
    }

    void leavesAForeignFileAlone()
    {
        QFile file(fileName());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("[filters]\nthis is no setting\n");
        file.close();
        const QByteArray before = fileContent();
        const QString message = u"Не удалось прочитать «%1»"_s.arg(fileName());
        FilterList filters(m_table);
        add(filters, {0}, u"7"_s, true);
        {
            const auto store = open();
            FilterStorage storage(*store);
            storage.registerHostKinds();
            QCOMPARE(exceptionMessage([&] { storage.save(u"quotes"_s, filters); }), message);
            QCOMPARE(storage.restore(u"quotes"_s, filters), QStringList{message});
        }
        QCOMPARE(fileContent(), before);
    }
};

QTEST_MAIN(tst_FilterStorage)
#include "tst_filterstorage.moc"
