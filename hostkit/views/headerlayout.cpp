// SPDX-License-Identifier: MIT
#include <hostkit/views/headerlayout.h>

#include <hostkit/table/tablemodel.h>

#include <data/table.h>

#include <QHeaderView>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace sito {

using namespace Qt::StringLiterals;

QString HeaderLayout::toText(const QHeaderView &header, const TableModel &model)
{
    QJsonArray columns;
    for (int visual = 0; visual < header.count(); ++visual) {
        const int section = header.logicalIndex(visual);
        QJsonObject column{{u"name"_s, model.table()->columnName(model.columns().at(section))}};
        if (header.isSectionHidden(section))
            column.insert(u"hidden"_s, true);
        else
            column.insert(u"width"_s, header.sectionSize(section));
        columns.append(column);
    }
    QJsonArray sorting;
    const QList<TableModel::SortKey> keys = model.sortKeys();
    for (const TableModel::SortKey &key : keys) {
        sorting.append(QJsonObject{{u"name"_s, model.table()->columnName(key.column)},
                                   {u"descending"_s, key.order == Qt::DescendingOrder}});
    }
    return QString::fromUtf8(QJsonDocument(QJsonObject{{u"columns"_s, columns}, {u"sorting"_s, sorting}})
                                 .toJson(QJsonDocument::Compact));
}

void HeaderLayout::restore(QHeaderView &header, TableModel &model, const QString &text)
{
    const QJsonObject layout = QJsonDocument::fromJson(text.toUtf8()).object();
    const QJsonArray columns = layout.value("columns"_L1).toArray();
    int visual = 0;
    int shown = header.count();
    for (const auto &value : columns) {
        const QJsonObject column = value.toObject();
        const int section = model.section(model.table()->columnIndex(column.value("name"_L1).toString()));
        if (section < 0)
            continue;
        header.moveSection(header.visualIndex(section), visual++);
        const int width = column.value("width"_L1).toInt();
        if (width > 0)
            header.resizeSection(section, width);
        if (column.value("hidden"_L1).toBool() && shown > 1) {
            header.hideSection(section);
            --shown;
        }
    }
    QList<TableModel::SortKey> keys;
    const QJsonArray sorting = layout.value("sorting"_L1).toArray();
    for (const auto &value : sorting) {
        const QJsonObject key = value.toObject();
        const int column = model.table()->columnIndex(key.value("name"_L1).toString());
        if (column >= 0) {
            keys.append(
                {column, key.value("descending"_L1).toBool() ? Qt::DescendingOrder : Qt::AscendingOrder});
        }
    }
    model.setSortKeys(keys);
}

} // namespace sito
