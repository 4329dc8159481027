// SPDX-License-Identifier: MIT
#pragma once

#include <data/database_export.h>

class Database;

/// The process-wide core of the database library.
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
