// SPDX-License-Identifier: MIT
#pragma once

#include <data/database_export.h>

class Database;

/// The process-wide core of the database library.
///
/// **Threads.** The database library's choice; both functions of the in-memory library may be called from any
/// thread.
///
/// **Cost.** The database library's choice; constant in the in-memory library.
class DATABASE_EXPORT ICore
{
public:
    /// The one core; never null.
    static ICore *instance();

    /// The catalogue of open tables; never null.
    virtual Database *database() = 0;

protected:
    ICore() = default;
    virtual ~ICore() = default;
};
