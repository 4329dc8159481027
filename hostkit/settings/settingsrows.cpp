// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingsrows_p.h>

#include <hostkit/settings/settingsvalue.h>

#include <settings/settingsmodel.h>

#include <QList>

namespace sito {

void visitSettingsRows(const SettingsModel &model,
                       const std::function<void(const QModelIndex &, const QString &)> &visit)
{
    struct Row
    {
        QModelIndex index;
        QString path;
    };
    QList<Row> pending;
    const auto addChildren = [&](const QModelIndex &parent, const QString &prefix) {
        for (int row = model.rowCount(parent) - 1; row >= 0; --row) {
            const QModelIndex index = model.index(row, 0, parent);
            pending.append({index, prefix + index.data().toString()});
        }
    };
    addChildren({}, {});
    while (!pending.isEmpty()) {
        const Row row = pending.takeLast();
        visit(row.index, row.path);
        addChildren(row.index, row.path + u'/');
    }
}

QHash<QString, QVariant> settingsRowValues(const SettingsModel &model)
{
    constexpr int valueColumn = 2;
    QHash<QString, QVariant> values;
    visitSettingsRows(model, [&values](const QModelIndex &index, const QString &path) {
        values.insert(path, settingsValue(index.siblingAtColumn(valueColumn)));
    });
    return values;
}

} // namespace sito
