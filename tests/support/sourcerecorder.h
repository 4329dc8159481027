// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sourceconnection.h>

#include <QObject>
#include <QStringList>

#include <algorithm>

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
                    names.append(table.name);
                events.append(QStringLiteral("opened ") + names.join(u','));
                countsAtOpening = countsOf(tables);
                isConsistent = isConsistent && tables == connection.tables() && !connection.isBusy();
            });
        QObject::connect(&connection, &SourceConnection::counted, &connection,
                         [this, &connection](const QString &table, qint64 rowCount) {
                             const auto tables = connection.tables();
                             const auto isTold = [&](const SourceConnection::TableInfo &info) {
                                 return info.name == table && info.rowCount == rowCount && !info.isEstimate;
                             };
                             isConsistent = isConsistent && !connection.isBusy() &&
                                            std::count_if(tables.begin(), tables.end(), isTold) == 1;
                             counts.append(QStringLiteral("%1 %2").arg(table, QString::number(rowCount)));
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
        QObject::connect(&connection, &SourceConnection::bytesFetched, &connection,
                         [this](const QString &table, int column, const QByteArray &fetched) {
                             events.append(QStringLiteral("fetched %1 %2").arg(table).arg(column));
                             bytes = fetched;
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

    /// "a ≈2,b,c 3": estimates are marked, and of b nothing is known.
    static QString countsOf(const QList<SourceConnection::TableInfo> &tables)
    {
        QStringList texts;
        for (const SourceConnection::TableInfo &table : tables) {
            QString text = table.name;
            if (table.rowCount >= 0)
                text += QLatin1Char(' ') + QString(table.isEstimate ? QStringLiteral("≈") : QString()) +
                        QString::number(table.rowCount);
            texts.append(text);
        }
        return texts.join(u',');
    }

    QStringList events;
    /// What was fetched last.
    QByteArray bytes;
    /// What counted() has told, apart from the rest: it depends on the machine how many of them come between
    /// two operations.
    QStringList counts;
    QString countsAtOpening;
    int steps = 0;
    QString lastTable;
    qint64 lastRead = 0;
    /// The next load may begin with the table that the last one was reading.
    bool isLoadOver = false;
    bool isConsistent = true;
};
