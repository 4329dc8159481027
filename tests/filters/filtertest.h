// SPDX-License-Identifier: MIT
#pragma once

#include "filterfixtures.h"

#include <database/memorytable.h>
#include <support/exceptions.h>

#include <QObject>

#include <memory>

/// A test program over filters: every test has a new table with filters over it, and fails on warnings.
class FilterTest : public QObject
{
    Q_OBJECT
protected:
    explicit FilterTest(const QList<ColumnSpec> &twoColumns) : m_columns(twoColumns) {}

    /// "quotes", with the two columns and no rows.
    std::unique_ptr<MemoryTable> m_table;
    /// Over the first column.
    std::unique_ptr<PlainFilter> m_filter;
    /// Over both columns.
    std::unique_ptr<PlainFilter> m_pairs;

protected Q_SLOTS:
    void init()
    {
        failOnAnyWarning();
        m_table = std::make_unique<MemoryTable>(QStringLiteral("quotes"), m_columns);
        m_filter = std::make_unique<PlainFilter>(*m_table, 0, nullptr);
        m_pairs = std::make_unique<PlainFilter>(*m_table, 0, QList<int>{0, 1}, 0, nullptr);
    }
    void cleanup()
    {
        m_pairs.reset();
        m_filter.reset();
        m_table.reset();
    }

private:
    const QList<ColumnSpec> m_columns;
};
