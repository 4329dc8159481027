// SPDX-License-Identifier: MIT
// Tables of an SQLite file are listed and loaded in the background.
#include <database/memorydatabase.h>
#include <database/memorytable.h>
#include <sources/sourceconnection.h>

#include <QCoreApplication>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTextStream>

using namespace Qt::StringLiterals;
using namespace sito;

void makeFile(const QString &fileName)
{
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"made"_s);
        database.setDatabaseName(fileName);
        database.open();
        QSqlQuery query(database);
        query.exec(u"CREATE TABLE quotes (code VARCHAR(12), price DECIMAL(10,2))"_s);
        query.exec(u"INSERT INTO quotes VALUES ('GAZP', 161.5), ('SBER', 255.125)"_s);
    }
    QSqlDatabase::removeDatabase(u"made"_s);
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QTextStream out(stdout);
    const QTemporaryDir directory;
    makeFile(directory.filePath(u"quotes.sqlite"_s));

    SourceConnection connection;
    QObject::connect(&connection, &SourceConnection::opened, &connection,
                     [&](const QList<SourceConnection::TableInfo> &tables) {
                         for (const SourceConnection::TableInfo &table : tables)
                             out << table.name << ": " << table.columns.size() << " columns\n";
                         connection.load({u"quotes"_s});
                     });
    QObject::connect(&connection, &SourceConnection::loaded, &connection, [&](const QStringList &names) {
        const MemoryTable *table = MemoryDatabase::instance().table(names.first());
        for (qint64 row = 0; row < table->rowCount(); ++row)
            out << table->row(row).field(0).toString() << ' ' << table->row(row).field(1).toString() << '\n';
        for (const QString &note : connection.columnNotes(table->name()))
            out << note << '\n';
        QCoreApplication::quit();
    });
    QObject::connect(&connection, &SourceConnection::failed, &connection, [&](const QString &message) {
        out << message << '\n';
        QCoreApplication::exit(1);
    });

    // A server: SourceLocation::fromUrl(u"postgresql://trader@localhost/quotes"_s), its password in PGPASSWORD.
    connection.open(SourceLocation::fromFile(directory.filePath(u"quotes.sqlite"_s)));
    const int result = QCoreApplication::exec();
    // Only when no model, filter or record refers to the tables any more:
    connection.closeTables();
    return result;
}
