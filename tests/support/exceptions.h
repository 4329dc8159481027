// SPDX-License-Identifier: MIT
#pragma once

#include <data/exception.h>

#include <QRegularExpression>
#include <QString>
#include <QTest>

/// Announces a report of the database library that holds \a message, however it is worded.
inline void announceReport(const QString &message)
{
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QRegularExpression::escape(message)));
}

/// Announces the report of an exception, which is about to be destroyed.
inline void announce(const Exception &exception)
{
    announceReport(exception.message());
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
