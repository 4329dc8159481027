// SPDX-License-Identifier: MIT
#pragma once

#include <data/database_export.h>

#include <QString>
#include <QStringList>

/// The exception of the database library and of value conversions. Thrown by value, caught by reference.
///
/// An exception reports itself through dump() when it is destroyed, also after it was caught and handled. A
/// copy is an exception of its own.
///
/// **Threads.** Copies may be used in different threads; one object must not be changed while another thread
/// uses it.
///
/// **Cost.** A copy shares the texts, but is reported like any other when it is destroyed.
class DATABASE_EXPORT Exception
{
public:
    explicit Exception(const QString &message);
    Exception(const Exception &other) = default;
    Exception &operator=(const Exception &other) = default;
    virtual ~Exception() { dump(); }

    /// What went wrong, as given at construction; valid as long as this object.
    const QString &message() const { return m_message; }
    /// Further lines that say where it happened, outermost last; usually none.
    const QStringList &lines() const { return m_lines; }
    /// Adds \a line behind those that are there; for code that lets the exception pass and knows where it is.
    void addLine(const QString &line) { m_lines.append(line); }

    /// The database library's report of this exception: message and lines.
    void dump() const;

private:
    QString m_message;
    QStringList m_lines;
};
