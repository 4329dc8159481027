// SPDX-License-Identifier: MIT
#pragma once

#include <support/exceptions.h>

#include <hostkit/parallel/stopsource.h>
#include <sources/tableloader.h>

#include <database/memorytable.h>

#include <data/fieldvalue.h>

#include <QElapsedTimer>
#include <QString>
#include <QStringList>
#include <QTest>

#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>

using namespace sito;

/// What tests of the loader read from tables that it has made, and the rows of their data.

/// A loader for hosts that want columns as they are declared, or an error.
class StrictLoader : public TableLoader
{
public:
    explicit StrictLoader(const QSqlDatabase &connection) : TableLoader(connection) { setStrict(true); }
};

inline QString cellText(const MemoryTable &table, qint64 row, int column)
{
    const Field field = table.row(row).field(column);
    return field.isPresent() ? FieldValue(field).toText() : QStringLiteral("NULL");
}

inline QString typeText(const ColumnSpec &column)
{
    return QStringLiteral("%1 %2(%3)%4")
        .arg(column.name, FieldType::typeName(column.type), QString::number(column.length),
             column.nullable ? QStringLiteral("?") : QString());
}

inline QStringList typeTexts(const QList<ColumnSpec> &columns)
{
    QStringList result;
    for (const ColumnSpec &column : columns)
        result.append(typeText(column));
    return result;
}

/// The values of \a table, row by row, as their stored texts.
inline QStringList texts(const MemoryTable &table)
{
    QStringList result;
    for (qint64 row = 0; row < table.rowCount(); ++row) {
        QStringList line;
        for (int column = 0; column < table.columnCount(); ++column)
            line.append(cellText(table, row, column));
        result.append(line.join(QStringLiteral(" | ")));
    }
    return result;
}

/// What loading \a table gives: its values, or the message of the failure.
inline QStringList outcome(const TableLoader &loader, const QString &table)
{
    QStringList result;
    const QString message = exceptionMessage([&] { result = texts(*loader.load(table)); });
    return message.isNull() ? result : QStringList(message);
}

/// Bytes that are all different from their neighbours.
inline QByteArray sampleBlock()
{
    QByteArray block(FieldType::blockSize, '\0');
    for (qsizetype i = 0; i < block.size(); ++i)
        block[i] = char(i * 7);
    return block;
}

/// The block in the first cell of \a table.
inline QByteArray firstBlock(const MemoryTable &table)
{
    const Field field = table.row(0).field(0);
    return {reinterpret_cast<const char *>(field.data), FieldType::blockSize};
}

/// The data of a test over values: the declared type, the value as SQL, and what comes of it, in UTF-8.
class CellRows
{
public:
    explicit CellRows(const char *result)
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>(result);
    }
    void operator()(const char *name, const char *type, const char *value, const char *result) const
    {
        // A decoder would take the character at the start for a mark of the encoding.
        QTest::newRow(name) << QString::fromUtf8(type) << QString::fromUtf8(value)
                            << QString::fromUtf8(result).replace(QStringLiteral("U+FEFF"), QChar(0xFEFF));
    }
};

/// Counts the rows of \a table ten times and stops each count at a tenth of \a whole, the time of a complete
/// one. Returns the shortest time to the end, in nanoseconds; \a whole when none was stopped. (Other programs
/// may delay either.)
inline qint64 shortestStoppedCount(const TableLoader &loader, const QString &table, qint64 whole)
{
    qint64 shortest = whole;
    for (int i = 0; i < 10; ++i) {
        const parallel::StopSource stop;
        const std::jthread stopper([&] {
            std::this_thread::sleep_for(std::chrono::nanoseconds(whole / 10));
            stop.requestStop();
        });
        QElapsedTimer timer;
        timer.start();
        if (!loader.rowCount(table, stop.token()))
            shortest = std::min(shortest, timer.nsecsElapsed());
    }
    return shortest;
}
