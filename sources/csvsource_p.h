// SPDX-License-Identifier: MIT
#pragma once

#include <sources/csvshape_p.h>
#include <sources/sourcelocation.h>
#include <sources/tablesource_p.h>

namespace sito {

/// A CSV file: one table, named after it.
class CsvSource : public TableSource
{
public:
    /// Looks at the file, as CsvShape::find() does.
    CsvSource(const SourceLocation &location, const parallel::StopToken &stop);

    QString errorText(const QString &error, const QString &table) const override;
    bool isAlive() const override { return true; }
    bool declaresTypes() const override { return false; }
    QList<Table> tables() const override;
    QList<Column> columns(const Table &table) const override;
    std::optional<SourceColumn> sourceColumn(const Column &column, bool isStrict) const override;
    QHash<QString, KnownCount> knownCounts(const QList<Table> &tables) const override;
    std::optional<qint64> rowCount(const Table &table, const CountLimits &limits) const override;
    std::unique_ptr<SourceRows> rows(const Table &table, const QList<Column> &declared,
                                     const std::vector<SourceColumn> &columns) const override;
    QStringList notes(const Table &) const override { return m_shape.notes; }
    QString changeMark() const override { return QStringLiteral("file"); }
    std::function<void()> beginSnapshot() const override;

private:
    void look() const;

    const SourceLocation m_location;
    const parallel::StopToken m_stop;
    /// Of the file as it was when its columns were asked for last.
    mutable CsvShape m_shape;
    mutable std::vector<SourceColumn> m_columns;
};

} // namespace sito
