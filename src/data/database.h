// SPDX-License-Identifier: MIT
#pragma once

#include <data/database_export.h>

#include <QString>

class Table;

/// The catalogue of open tables.
class DATABASE_EXPORT Database
{
public:
    /// The table of that name, exactly written, or null when there is none. Owned by the database library.
    virtual Table *tableByName(const QString &name) = 0;

protected:
    Database() = default;
    virtual ~Database() = default;
};
