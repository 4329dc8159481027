// SPDX-License-Identifier: MIT
#pragma once

#include <data/exception.h>

#include <QRegularExpression>
#include <QString>
#include <QTest>

/// Announces the report of an exception with this message, which is about to be destroyed.
inline void announce(const Exception &exception)
{
    QTest::ignoreMessage(QtWarningMsg, qPrintable(QStringLiteral("Exception: ") + exception.message()));
}

/// Calls \a function and returns the message of the Exception it throws; a null text when it throws none.
template <typename Function>
QString exceptionMessage(Function &&function)
{
    QString message;
    try {
        function();
    } catch (const Exception &exception) {
        message = exception.message();
        announce(exception);
    }
    return message;
}

/// Calls \a function and returns the QString it throws; a null text when it throws none.
template <typename Function>
QString thrownText(Function &&function)
{
    try {
        function();
    } catch (const QString &text) {
        return text;
    }
    return QString();
}

/// For init(): from here on a warning that nobody announced fails the test.
inline void failOnAnyWarning()
{
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
}

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
