// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QRandomGenerator>
#include <QString>

/// The seed of a test's random script: different in each run, or the value of the environment variable
/// SITO_TEST_SEED, to repeat a failed run. A test prints it with every failure, see seedMessage().
inline quint64 testSeed()
{
    bool given = false;
    const quint64 seed = qgetenv("SITO_TEST_SEED").toULongLong(&given);
    return given ? seed : QRandomGenerator::global()->generate64();
}

/// The message for a failure of a random script: how to repeat it, and \a about.
inline QByteArray seedMessage(quint64 seed, const QString &about)
{
    return "SITO_TEST_SEED=" + QByteArray::number(seed) + ": " + about.toUtf8();
}
