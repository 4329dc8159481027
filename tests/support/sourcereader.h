// SPDX-License-Identifier: MIT
#pragma once

#include <support/sourcerecorder.h>

#include <QTest>

/// A connection whose answers are waited for, and what it has signalled.
class SourceReader
{
public:
    /// Opens \a location, then loads \a tables, one after the other; whether all was answered.
    bool read(const SourceLocation &location, const QStringList &tables = {})
    {
        connection.open(location);
        bool isAnswered = settle();
        for (const QString &table : tables) {
            connection.load({table});
            isAnswered = settle() && isAnswered;
        }
        return isAnswered;
    }
    bool settle()
    {
        return QTest::qWaitFor([this] { return !connection.isBusy(); }, 30'000);
    }

    SourceConnection connection;
    SourceRecorder recorder{connection};
};
