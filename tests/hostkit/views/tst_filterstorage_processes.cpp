// SPDX-License-Identifier: MIT
#include <hostkit/views/filterstorage.h>

#include <hostkit/filters/columnsfilter.h>
#include <hostkit/filters/filterlist.h>

#include <database/memorytable.h>

#include <QCoreApplication>
#include <QMap>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <vector>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

constexpr int changes = 200;

/// What is stored, by names of views, or of sets of the view "quotes": the only key of the only filter.
struct Stored
{
    QMap<QString, QString> views;
    QMap<QString, QString> sets;

    bool operator==(const Stored &) const = default;
};

/// Makes the changes of \a writer in \a storage, if that is not null, and returns what it leaves.
Stored makeChanges(const QString &writer, FilterStorage *storage)
{
    MemoryTable table(u"quotes"_s, {{.name = u"stock_id"_s, .type = FieldType::Int}});
    FilterList filters(table);
    auto *filter = new ColumnsFilter(table, {0});
    filters.add(filter);
    Stored result;
    for (int i = 0; i < changes; ++i) {
        // All keys are of one length: a file that has changed need not differ in size.
        const QString key = QString::number(1000 + i);
        const QString set = u"%1 %2"_s.arg(writer).arg(i % 7);
        filter->setValue(key);
        if (i % 3 == 0) {
            result.views.insert(writer, key);
            if (storage)
                storage->save(writer, filters);
        } else if (i % 5 == 0) {
            result.sets.remove(set);
            if (storage)
                storage->removeSet(u"quotes"_s, set);
        } else {
            result.sets.insert(set, key);
            if (storage)
                storage->saveSet(u"quotes"_s, set, filters);
        }
    }
    return result;
}

Stored read(const QString &file, const QStringList &writers)
{
    QSettings store(file, QSettings::IniFormat);
    FilterStorage storage(store);
    storage.registerHostKinds();
    MemoryTable table(u"quotes"_s, {{.name = u"stock_id"_s, .type = FieldType::Int}});
    FilterList filters(table);
    const auto text = [&filters](const QStringList &messages) {
        if (!messages.isEmpty() || filters.filters().size() != 1)
            return messages.join(u' ') + u" filters: "_s + QString::number(filters.filters().size());
        return static_cast<const ColumnsFilter *>(filters.filters().constFirst())->value();
    };
    Stored result;
    for (const QString &writer : writers)
        result.views.insert(writer, text(storage.restore(writer, filters)));
    const QStringList names = storage.setNames(u"quotes"_s);
    for (const QString &name : names)
        result.sets.insert(name, text(storage.restoreSet(u"quotes"_s, name, filters)));
    return result;
}

} // namespace

/// Several windows, each a process, over one store.
class tst_FilterStorageProcesses : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void nobodyOverwritesWhatAnotherChanged()
    {
        const QTemporaryDir directory;
        const QString file = directory.filePath(u"store.ini"_s);
        const QStringList writers{u"first"_s, u"second"_s};
        std::vector<std::unique_ptr<QProcess>> processes;
        for (const QString &writer : writers) {
            processes.push_back(std::make_unique<QProcess>());
            processes.back()->setProcessChannelMode(QProcess::ForwardedChannels);
            processes.back()->start(QCoreApplication::applicationFilePath(), {u"write"_s, file, writer});
        }
        for (const auto &process : processes) {
            QVERIFY(process->waitForFinished(120'000));
            QCOMPARE(process->exitStatus(), QProcess::NormalExit);
            QCOMPARE(process->exitCode(), 0);
        }

        const Stored stored = read(file, writers);
        Stored expected;
        for (const QString &writer : writers) {
            const Stored own = makeChanges(writer, nullptr);
            expected.views.insert(own.views);
            expected.sets.insert(own.sets);
        }
        QCOMPARE(stored.views, expected.views);
        QCOMPARE(stored.sets, expected.sets);
        QVERIFY(expected.sets.size() > 6);
    }
};

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == "write"_L1) {
        QSettings store(arguments.value(2), QSettings::IniFormat);
        FilterStorage storage(store);
        storage.registerHostKinds();
        makeChanges(arguments.value(3), &storage);
        return 0;
    }
    tst_FilterStorageProcesses test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_filterstorage_processes.moc"
