// SPDX-License-Identifier: MIT
#pragma once

#include <support/postgresconnection.h>

#include <QRandomGenerator>
#include <QString>
#include <QStringList>

#include <array>
#include <utility>

/// What two connections do at random to the tables "plain" and "parted" of a server, in transactions that
/// stay open over several steps and are ended or taken back, as parts of them are.
class TransactionScript
{
public:
    TransactionScript(const SourceLocation &location, quint64 seed)
        : m_random(quint32(seed ^ seed >> 32)),
          m_writers{PostgresConnection(location), PostgresConnection(location)}
    {
        write(0, QStringLiteral("CREATE TABLE plain (id integer PRIMARY KEY, t text, n integer)"));
        write(0, QStringLiteral("CREATE TABLE parted (id integer PRIMARY KEY, t text, n integer) "
                                "PARTITION BY RANGE (id)"));
        write(0, QStringLiteral("CREATE TABLE low PARTITION OF parted FOR VALUES FROM (0) TO (30)"));
        write(0, QStringLiteral("CREATE TABLE high PARTITION OF parted FOR VALUES FROM (30) TO (2000)"));
        for (const QString &name : tables())
            write(0, m_fill.arg(name));
    }

    static QStringList tables() { return {QStringLiteral("plain"), QStringLiteral("parted")}; }
    /// Of a statement, the first of them; empty when all went well.
    QString error() const { return m_error; }

    /// Writes some rows. Only when \a isRemoving may rows vanish, transactions end and tables be altered.
    void step(bool isRemoving)
    {
        if (isRemoving && m_random.bounded(3) == 0) {
            end(0);
            end(1);
            alter(tables().at(m_random.bounded(2)));
        }
        for (int i = m_random.bounded(6); i >= 0; --i)
            work(m_random.bounded(2), isRemoving);
    }

private:
    void work(int writer, bool isRemoving)
    {
        const QString table = tables().at(m_random.bounded(2));
        if (!std::exchange(m_isOpen[size_t(writer)], true))
            write(writer, QStringLiteral("BEGIN"));
        const bool isPart = m_random.bounded(3) == 0;
        if (isPart)
            write(writer, QStringLiteral("SAVEPOINT part"));
        writeRow(writer, table, isRemoving);
        if (isPart) {
            write(writer, m_random.bounded(2) == 0 ? QStringLiteral("ROLLBACK TO part")
                                                   : QStringLiteral("RELEASE part"));
        }
        if (isRemoving && m_random.bounded(3) == 0)
            end(writer);
    }

    void writeRow(int writer, const QString &table, bool isRemoving)
    {
        const QStringList statements{
            QStringLiteral("INSERT INTO %1 SELECT DISTINCT id, 'new', %4 FROM unnest(ARRAY[%2, %3]) id "
                           "ON CONFLICT (id) DO UPDATE SET n = %4"),
            QStringLiteral("UPDATE %1 SET n = %4 WHERE id IN (%2, %3)"),
            QStringLiteral(
                "INSERT INTO %1 SELECT id, 'many', %4 FROM generate_series(least(%2, %3), 58, 6) id "
                "ON CONFLICT (id) DO NOTHING"),
            QStringLiteral("UPDATE %1 SET id = %2, n = %4 WHERE id = %3 "
                           "AND NOT EXISTS (SELECT FROM %1 WHERE id = %2)"),
            QStringLiteral("DELETE FROM %1 WHERE id IN (%2, %3) AND %4 >= 0")};
        // Each writer has keys of its own, so that none waits for the other.
        const int one = m_random.bounded(30) * 2 + writer;
        const int other = m_random.bounded(30) * 2 + writer;
        write(writer, statements.at(m_random.bounded(isRemoving ? 5 : 3))
                          .arg(table, QString::number(one), QString::number(other),
                               QString::number(m_random.bounded(1000))));
    }

    void alter(const QString &table)
    {
        switch (m_random.bounded(6)) {
        case 0:
            write(0, QStringLiteral("BEGIN; TRUNCATE %1; %2; COMMIT").arg(table, m_fill.arg(table)));
            break;
        case 1:
            // No row is written by that.
            write(0, QStringLiteral("ALTER TABLE %1 DROP n, ADD extra integer").arg(table));
            write(0, QStringLiteral("ALTER TABLE %1 DROP extra, ADD n integer DEFAULT %2")
                         .arg(table, QString::number(m_random.bounded(9))));
            break;
        case 2:
            write(0, QStringLiteral("ALTER TABLE %1 ALTER n TYPE integer USING n + 1").arg(table));
            break;
        case 3:
            write(0, QStringLiteral("VACUUM FREEZE %1").arg(table));
            break;
        case 4:
            write(0, QStringLiteral("VACUUM FULL %1").arg(table));
            break;
        default:
            write(0, QStringLiteral("ALTER TABLE parted DETACH PARTITION low"));
            write(0, QStringLiteral("UPDATE low SET n = 5; DELETE FROM low WHERE id % 2 = 0"));
            write(0, QStringLiteral("ALTER TABLE parted ATTACH PARTITION low FOR VALUES FROM (0) TO (30)"));
        }
    }

    void end(int writer)
    {
        if (std::exchange(m_isOpen[size_t(writer)], false))
            write(writer, m_random.bounded(4) == 0 ? QStringLiteral("ROLLBACK") : QStringLiteral("COMMIT"));
    }

    void write(int writer, const QString &statement)
    {
        const QString error = m_writers[size_t(writer)].execute(statement);
        if (m_error.isEmpty())
            m_error = error;
    }

    /// Rows that only alter() touches.
    const QString m_fill =
        QStringLiteral("INSERT INTO %1 SELECT i, 'row', 0 FROM generate_series(1000, 1200) i");
    QRandomGenerator m_random;
    std::array<PostgresConnection, 2> m_writers;
    std::array<bool, 2> m_isOpen{};
    QString m_error;
};
