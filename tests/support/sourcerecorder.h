// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sourceconnection.h>

#include <QObject>
#include <QStringList>

using namespace sito;

/// Writes down what a connection signals, but for the progress, which it counts and checks.
class SourceRecorder
{
public:
    explicit SourceRecorder(SourceConnection &connection)
    {
        const auto join = [](const QStringList &names) { return names.join(u','); };
        QObject::connect(
            &connection, &SourceConnection::opened, &connection, [this, &connection](const auto &tables) {
                QStringList names;
                for (const SourceConnection::TableInfo &table : tables)
                    names.append(QStringLiteral("%1(%2)").arg(table.name, QString::number(table.rowCount)));
                events.append(QStringLiteral("opened ") + names.join(u','));
                isConsistent = isConsistent && tables == connection.tables() && !connection.isBusy();
            });
        QObject::connect(&connection, &SourceConnection::loaded, &connection,
                         [this, join](const QStringList &tables) {
                             events.append(QStringLiteral("loaded ") + join(tables));
                             isLoadOver = true;
                         });
        QObject::connect(&connection, &SourceConnection::refreshed, &connection,
                         [this](const QList<SourceConnection::RefreshedTable> &tables) {
                             QStringList texts;
                             for (const SourceConnection::RefreshedTable &table : tables)
                                 texts.append(textOf(table));
                             events.append(QStringLiteral("refreshed ") + texts.join(u','));
                             isLoadOver = true;
                         });
        QObject::connect(&connection, &SourceConnection::cancelled, &connection, [this] {
            events.append(QStringLiteral("cancelled"));
            isLoadOver = true;
        });
        QObject::connect(&connection, &SourceConnection::failed, &connection, [this](const QString &message) {
            events.append(QStringLiteral("failed ") + message);
            isLoadOver = true;
        });
        QObject::connect(&connection, &SourceConnection::progress, &connection,
                         [this, &connection](const QString &table, qint64 rowsRead, qint64 rowsTotal) {
                             isConsistent = isConsistent && connection.isBusy() &&
                                            (rowsTotal < 0 || rowsRead <= rowsTotal) &&
                                            (isLoadOver || table != lastTable || rowsRead >= lastRead);
                             isLoadOver = false;
                             lastTable = table;
                             lastRead = rowsRead;
                             ++steps;
                         });
    }

    static QString textOf(const SourceConnection::RefreshedTable &table)
    {
        if (table.isReshaped)
            return table.name + QStringLiteral(" reshaped");
        return QStringLiteral("%1 +%2 -%3 ~%4")
            .arg(table.name, QString::number(table.counts.added), QString::number(table.counts.removed),
                 QString::number(table.counts.changed));
    }

    QStringList take() { return std::exchange(events, {}); }

    QStringList events;
    int steps = 0;
    QString lastTable;
    qint64 lastRead = 0;
    /// The next load may begin with the table that the last one was reading.
    bool isLoadOver = false;
    bool isConsistent = true;
};
