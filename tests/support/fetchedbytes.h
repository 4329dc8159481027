// SPDX-License-Identifier: MIT
#pragma once

#include <support/sourcereader.h>

#include <sources/bytesreader.h>

#include <data/exception.h>
#include <database/memorydatabase.h>
#include <database/memorytable.h>

#include <QByteArray>
#include <QList>
#include <QTest>

#include <future>
#include <memory>
#include <utility>

/// Values of every size that matters: none, of one piece, and with all bytes that there are; in the row
/// "numbers" of a test also many and of several pieces, which take their time. Null stands for a cell that is
/// empty.
inline QList<QByteArray> bytesOfManySizes()
{
    QList<QByteArray> values{QByteArray(""), QByteArray()};
    QList<int> sizes{1, 16, 17, 256};
    if (QByteArrayView(QTest::currentDataTag()) == "numbers")
        sizes += {1'000'000, (4 << 20) + 1};
    for (const int size : std::as_const(sizes)) {
        QByteArray bytes(size, Qt::Uninitialized);
        for (int i = 0; i < size; ++i)
            bytes[i] = char(i + i / 256);
        values.append(bytes);
    }
    return values;
}

/// INSERT statements for \a values in the column b of \a table, beside their numbers in the column id, or
/// what \a key makes of these. \a literal writes hexadecimal digits as a value.
inline QStringList insertions(const QString &table, const QList<QByteArray> &values, const QString &literal,
                              const QString &key = QStringLiteral("%1"))
{
    QStringList statements;
    for (qsizetype i = 0; i < values.size(); ++i) {
        const QString value = values.at(i).isNull() ? QStringLiteral("NULL")
                                                    : literal.arg(QString::fromLatin1(values.at(i).toHex()));
        statements.append(QStringLiteral("INSERT INTO %1 (id, b) VALUES (").arg(table) +
                          key.arg(QString::number(i)) + QStringLiteral(", ") + value + QLatin1Char(')'));
    }
    return statements;
}

/// What \a reader, which has loaded \a table, says when it fetches the cell: "" or what went wrong. The bytes
/// are in its recorder.
inline QString fetchError(SourceReader &reader, const QString &table, qint64 row, const QString &column,
                          qint64 limit = 100'000'000)
{
    MemoryTable &loaded = *MemoryDatabase::instance().table(table);
    const int index = loaded.columnIndex(column);
    reader.recorder.take();
    reader.connection.fetchBytes(loaded.row(row), index, limit);
    if (!reader.settle())
        return QStringLiteral("no answer");
    const QString event = reader.recorder.take().join(QLatin1Char(';'));
    return event == QStringLiteral("fetched %1 %2").arg(table).arg(index) ? QString() : event;
}

/// The bytes that another connection reads in another thread in the rows of \a table, or what went wrong.
inline QList<QByteArray> bytesReadAside(const SourceReader &reader, const QString &table, qint64 rows,
                                        const QString &column, qint64 limit = 100'000'000)
{
    const MemoryTable &loaded = *MemoryDatabase::instance().table(table);
    std::unique_ptr<BytesReader> bytesReader = reader.connection.bytesReader(table);
    const auto read = [&] {
        // It ends where it was used.
        const std::unique_ptr<BytesReader> own = std::move(bytesReader);
        QList<QByteArray> result;
        for (qint64 row = 0; row < rows; ++row) {
            try {
                result.append(
                    own->read(loaded.row(row), loaded.columnIndex(column), limit).value_or("other"));
            } catch (const Exception &exception) {
                result.append("failed " + exception.message().toUtf8());
            }
        }
        return result;
    };
    return std::async(std::launch::async, read).get();
}

/// The numbers of rows whose column b does not give the same of \a values, or what went wrong.
inline QString wrongBytes(SourceReader &reader, const QString &table, const QList<QByteArray> &values)
{
    QStringList wrong;
    if (bytesReadAside(reader, table, values.size(), QStringLiteral("b")) != values)
        wrong.append(QStringLiteral("aside"));
    for (qsizetype i = 0; i < values.size(); ++i) {
        const QString error = fetchError(reader, table, i, QStringLiteral("b"));
        const QByteArray &got = reader.recorder.bytes;
        if (!error.isEmpty() || got != values.at(i) || got.isNull() != values.at(i).isNull())
            wrong.append(QStringLiteral("%1 %2 %3").arg(i).arg(error).arg(got.size()));
    }
    return wrong.join(QLatin1Char('\n'));
}
