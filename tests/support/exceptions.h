// SPDX-License-Identifier: MIT
#pragma once

#include <data/exception.h>

#include <QRegularExpression>
#include <QString>
#include <QTest>

/// The message of the Exception that \a action throws, whose report is expected; a null text when it throws
/// none, and then the test fails for the report that did not come.
template <typename Action>
QString messageOf(Action action)
{
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^Exception: ")));
    try {
        action();
    } catch (const Exception &exception) {
        return exception.message();
    }
    return {};
}

/// The text that \a action throws as a QString; a null text when it throws none.
template <typename Action>
QString refusalOf(Action action)
{
    try {
        action();
    } catch (const QString &refusal) {
        return refusal;
    }
    return {};
}
