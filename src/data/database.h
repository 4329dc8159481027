// SPDX-License-Identifier: MIT
#pragma once

#include <data/database_export.h>

#include <QString>

class Table;

/// The catalogue of open tables.
///
/// **Threads.** The database library's choice; the in-memory library may be asked from any thread.
///
/// **Cost.** The database library's choice; the in-memory library compares the name with those of the tables,
/// one after the other.
class DATABASE_EXPORT Database
{
public:
    /// The table of that name, exactly written, or null when there is none. Owned by the database library.
    virtual Table *tableByName(const QString &name) = 0;

protected:
    Database() = default;
    virtual ~Database() = default;
};
