// SPDX-License-Identifier: MIT
#include <data/exception.h>

#include <QLoggingCategory>

namespace {
Q_LOGGING_CATEGORY(exceptionLog, "database.exception")
}

Exception::Exception(const QString &message) : m_message(message) {}

void Exception::dump() const
{
    qCWarning(exceptionLog).noquote().nospace()
        << "Exception: " << (QStringList(m_message) + m_lines).join(QStringLiteral("\n    "));
}
