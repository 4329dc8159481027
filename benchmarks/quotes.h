// SPDX-License-Identifier: MIT
#pragma once

#include <data/keyvalue.h>
#include <data/record.h>
#include <database/memorytable.h>

#include <QList>
#include <QString>

#include <cstdlib>

/// The table that the predicates are measured on: quotes of 1,000 stocks, in as many sessions as needed.
namespace quotes {
enum Column { StockId, SessId, Code, Name, Price, Volume, Time };

inline qint64 rowCount()
{
    const qint64 wanted = qEnvironmentVariableIntValue("SITO_BENCHMARK_ROWS");
    return wanted > 0 ? wanted : 1'000'000;
}

constexpr int stocks = 1000;

inline QString code(qint64 number)
{
    return QStringLiteral("S%1").arg(number, 8, 10, QChar(u'0'));
}

inline QString name(qint64 number)
{
    return QStringLiteral("Company %1 plc").arg(number, 8, 10, QChar(u'0'));
}

inline QList<CellValue> row(qint64 number)
{
    return {qint32(number % stocks),
            qint32(number / stocks),
            code(number),
            name(number),
            decimal(1000 + number),
            number % 10 ? CellValue(qint32(number % 5000)) : CellValue(),
            datetime(1'483'401'600'000 + number * 60'000)};
}

/// The table and a handle on each of its rows, in index order.
struct Data
{
    Data()
        : table(QStringLiteral("quotes"), {{QStringLiteral("stock_id"), FieldType::Int},
                                           {QStringLiteral("sess_id"), FieldType::Int},
                                           {QStringLiteral("code"), FieldType::VarChar, false, 12},
                                           {QStringLiteral("name"), FieldType::String},
                                           {QStringLiteral("price"), FieldType::Decimal, false, 0},
                                           {QStringLiteral("volume"), FieldType::Int, true},
                                           {QStringLiteral("time"), FieldType::DateTime}})
    {
        const qint64 count = rowCount();
        records.reserve(count);
        for (qint64 i = 0; i < count; ++i)
            records.append(table.append(row(i)));
    }

    MemoryTable table;
    QList<Record> records;
};

inline Data &data()
{
    static Data result;
    return result;
}

/// \a count keys over \a columns that no row of the table holds.
inline QList<KeyValue> keys(qint64 count, const QList<int> &columns)
{
    MemoryTable &table = data().table;
    QList<KeyValue> result;
    result.reserve(count);
    const Record scratch(&table);
    for (qint64 i = 0; i < count; ++i) {
        // The values of rows after the last one of the table.
        const qint64 number = 100'000'000 + i * 7;
        const QList<CellValue> values = row(number);
        for (int column = 0; column < values.size(); ++column)
            table.update(scratch, column, column == Volume ? CellValue(qint32(number)) : values[column]);
        KeyValue key;
        key.reserve(columns.size());
        for (const int column : columns)
            key.append(FieldValue(scratch.field(column)));
        result.append(key);
    }
    return result;
}
} // namespace quotes
