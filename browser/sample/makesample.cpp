// SPDX-License-Identifier: MIT
// sito-make-sample OUT.sqlite SCHEMA.sql TABLE.csv...
// Makes a SQLite database from a schema and one CSV file (RFC 4180, UTF-8, with a header line) per table,
// named by it. A field that is empty is an absent value; an empty text is a pair of quotes.
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QStringList>
#include <QTextStream>
#include <QVariant>

#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

[[noreturn]] void fail(const QString &message)
{
    QTextStream(stderr) << "sito-make-sample: " << message << '\n';
    std::exit(1);
}

QString readFile(const QString &name)
{
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly))
        fail(name + ": "_L1 + file.errorString());
    return QString::fromUtf8(file.readAll());
}

/// The fields of one line after the other, a null text for an absent value.
class CsvReader
{
public:
    explicit CsvReader(const QString &text) : m_text(text) {}

    bool atEnd() const { return m_position >= m_text.size(); }

    QStringList readLine()
    {
        QStringList fields;
        while (true) {
            fields.append(readField());
            const bool isMore = !atEnd() && m_text.at(m_position) == u',';
            ++m_position;
            if (!isMore)
                return fields;
        }
    }

private:
    QString readField()
    {
        if (atEnd() || m_text.at(m_position) != u'"') {
            qsizetype end = m_position;
            while (end < m_text.size() && m_text.at(end) != u',' && m_text.at(end) != u'\n')
                ++end;
            const QString field = m_text.mid(m_position, end - m_position);
            m_position = end;
            return field.isEmpty() ? QString() : field;
        }
        QString field = u""_s;
        while (true) {
            const qsizetype quote = m_text.indexOf(u'"', m_position + 1);
            if (quote < 0)
                fail(u"a quote is not closed"_s);
            field += QStringView(m_text).mid(m_position + 1, quote - m_position - 1);
            m_position = quote + 1;
            if (atEnd() || m_text.at(m_position) != u'"')
                return field;
            field += u'"';
        }
    }

    QString m_text;
    qsizetype m_position = 0;
};

void execute(QSqlQuery &query, const QString &statement)
{
    if (!query.exec(statement))
        fail(statement + ": "_L1 + query.lastError().text());
}

void import(const QSqlDatabase &connection, const QString &name)
{
    CsvReader reader(readFile(name));
    const QStringList header = reader.readLine();
    QSqlQuery query(connection);
    const QString statement = u"INSERT INTO %1 (%2) VALUES (%3)"_s.arg(
        QFileInfo(name).baseName(), header.join(u','), QStringList(header.size(), u"?"_s).join(u','));
    if (!query.prepare(statement))
        fail(statement + ": "_L1 + query.lastError().text());
    while (!reader.atEnd()) {
        const QStringList fields = reader.readLine();
        if (fields.size() != header.size())
            fail(name + ": a line has another number of fields than the header"_L1);
        for (qsizetype i = 0; i < fields.size(); ++i)
            query.bindValue(int(i), fields.at(i).isNull() ? QVariant() : QVariant(fields.at(i)));
        if (!query.exec())
            fail(name + ": "_L1 + query.lastError().text());
    }
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments().sliced(1);
    if (arguments.size() < 2)
        fail(u"usage: sito-make-sample OUT.sqlite SCHEMA.sql TABLE.csv..."_s);

    const QString temporary = arguments.at(0) + ".new"_L1;
    QFile::remove(temporary);
    {
        QSqlDatabase connection = QSqlDatabase::addDatabase(u"QSQLITE"_s);
        connection.setDatabaseName(temporary);
        if (!connection.open())
            fail(temporary + ": "_L1 + connection.lastError().text());
        QSqlQuery query(connection);
        execute(query, u"PRAGMA synchronous = OFF"_s);
        execute(query, u"BEGIN"_s);
        const QStringList statements = readFile(arguments.at(1)).split(u';');
        for (const QString &statement : statements) {
            if (!statement.trimmed().isEmpty())
                execute(query, statement);
        }
        for (const QString &table : arguments.sliced(2))
            import(connection, table);
        execute(query, u"COMMIT"_s);
        connection.close();
    }
    QFile::remove(arguments.at(0));
    if (!QFile::rename(temporary, arguments.at(0)))
        fail(u"cannot write "_s + arguments.at(0));
    return 0;
}
