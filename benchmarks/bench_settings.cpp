// SPDX-License-Identifier: MIT
// Filling and merging the settings tree, beside listing and reading the same store through QSettings alone.
//   fill/SHAPE       setSettings() of a fresh model
//   merge/SHAPE      refresh() of a filled model
//   list/SHAPE       listing all groups and keys and reading every value
// SHAPE: groups x keys in each; 1x1000 and 1x10000 are single groups.
#include <settings/settingsmodel.h>

#include <QApplication>
#include <QSettings>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <memory>

namespace {
/// A store of \a groups groups with \a keys keys each.
class Store
{
public:
    Store(qint64 groups, qint64 keys)
        : m_settings(m_directory.filePath(QStringLiteral("store.ini")), QSettings::IniFormat)
    {
        for (qint64 group = 0; group < groups; ++group) {
            m_settings.beginGroup(QStringLiteral("group%1").arg(group));
            for (qint64 key = 0; key < keys; ++key)
                m_settings.setValue(QStringLiteral("key%1").arg(key), QStringLiteral("value %1").arg(key));
            m_settings.endGroup();
        }
        m_settings.sync();
    }
    QSettings *settings() { return &m_settings; }

private:
    QTemporaryDir m_directory;
    QSettings m_settings;
};

void fill(benchmark::State &state)
{
    Store store(state.range(0), state.range(1));
    for (auto _ : state) {
        // The fill includes neither the model's icons nor its destruction.
        state.PauseTiming();
        auto model = std::make_unique<SettingsModel>();
        state.ResumeTiming();
        model->setSettings(store.settings());
        state.PauseTiming();
        if (model->rowCount({}) != state.range(0))
            state.SkipWithError("a group is missing");
        model.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(qint64(state.iterations()) * state.range(0) * state.range(1));
}

void merge(benchmark::State &state)
{
    Store store(state.range(0), state.range(1));
    SettingsModel model;
    model.setSettings(store.settings());
    for (auto _ : state)
        model.refresh();
    if (model.rowCount({}) != state.range(0))
        state.SkipWithError("a group is missing");
    state.SetItemsProcessed(qint64(state.iterations()) * state.range(0) * state.range(1));
}

qint64 read(QSettings &settings)
{
    qint64 count = 0;
    const QStringList groups = settings.childGroups();
    for (const QString &group : groups) {
        settings.beginGroup(group);
        count += read(settings);
        settings.endGroup();
    }
    const QStringList keys = settings.childKeys();
    for (const QString &key : keys)
        count += settings.value(key).isValid() ? 1 : 0;
    return count;
}

void list(benchmark::State &state)
{
    Store store(state.range(0), state.range(1));
    for (auto _ : state) {
        if (read(*store.settings()) != state.range(0) * state.range(1))
            state.SkipWithError("a key is missing");
    }
    state.SetItemsProcessed(qint64(state.iterations()) * state.range(0) * state.range(1));
}

void shapes(benchmark::internal::Benchmark *benchmark)
{
    benchmark->Args({10, 100})->Args({100, 100})->Args({1, 1000})->Args({1, 10'000});
}
} // namespace

BENCHMARK(fill)->Apply(shapes);
BENCHMARK(merge)->Apply(shapes);
BENCHMARK(list)->Apply(shapes);

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
