// SPDX-License-Identifier: MIT
#pragma once

#include <browser/parts/commandline.h>

#include <data/record.h>

#include <QCoreApplication>
#include <QString>
#include <QTextStream>

#include <memory>
#include <vector>

class FilterFunc;
class MemoryTable;
class ValueFilter;

namespace sito {

class SampleDatabase;
class TableExport;
class TableLoader;

/// Carries out a command line without any window: lists tables, or passes the rows of one through filters and
/// prints or exports what is left. Tables are loaded into the process-wide MemoryDatabase.
///
/// Failures are thrown: Exception, QString or std::exception, whatever went wrong beneath.
class HeadlessReport
{
    Q_DECLARE_TR_FUNCTIONS(HeadlessReport)
    Q_DISABLE_COPY_MOVE(HeadlessReport)
public:
    HeadlessReport(const CommandLine &commandLine, QTextStream &out);
    ~HeadlessReport();

    /// Returns whether everything could be read; a list names the tables that could not.
    bool run();

private:
    /// What one walk over the rows found.
    struct Pass
    {
        qint64 shown = 0;
        qint64 hidden = 0;
        qint64 nanoseconds = 0;
        /// The first shown rows, as many as were asked for.
        std::vector<Record> rows;
    };

    void openDatabase();
    bool list();
    Pass pass(const MemoryTable &table, qint64 wantedRows) const;
    void printRows(const MemoryTable &table, const std::vector<Record> &rows);
    void exportRows(const MemoryTable &table, const std::vector<Record> &rows) const;
    void exportToOutput(const TableExport &rows) const;
    bool isExportedToOutput() const;

    const CommandLine m_commandLine;
    QTextStream &m_out;
    std::unique_ptr<SampleDatabase> m_sample;
    /// The database, where it is a file.
    QString m_file;
    std::unique_ptr<TableLoader> m_loader;
    std::vector<std::unique_ptr<ValueFilter>> m_filters;
    /// Those of the filters; a row is shown when none of them answers true.
    std::vector<std::unique_ptr<FilterFunc>> m_predicates;
};

} // namespace sito
