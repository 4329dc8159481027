// SPDX-License-Identifier: MIT
#pragma once

#include <QDebug>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QString>
#include <QStringList>

/// The statement that makes the rows of \a table unreadable: SQLite refuses to compute the absolute value.
inline QString spoiling(const QString &table)
{
    return QStringLiteral("ALTER TABLE %1 ADD COLUMN spoilt INTEGER AS (abs(-9223372036854775807 - 1))")
        .arg(table);
}

/// Carries out \a statements in the SQLite file \a file, which is made if there is none; warns of those that
/// fail. Returns the file, or nothing when it cannot be opened.
inline QString makeSqliteFile(const QString &file, const QStringList &statements)
{
    bool isOpen = false;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), file);
        database.setDatabaseName(file);
        isOpen = database.open();
        for (const QString &statement : statements) {
            QSqlQuery query(database);
            if (!query.exec(statement))
                qWarning().noquote() << query.lastError().text();
        }
    }
    QSqlDatabase::removeDatabase(file);
    return isOpen ? file : QString();
}
