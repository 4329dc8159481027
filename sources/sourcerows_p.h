// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

#include <optional>

namespace sito {

/// The rows of a table of a source, one after the other, never all in memory at once.
class SourceRows
{
    Q_DISABLE_COPY_MOVE(SourceRows)
public:
    virtual ~SourceRows() = default;

    /// Once, first. False on an error.
    virtual bool open() = 0;
    /// False after the last row and on an error.
    virtual bool next() = 0;
    virtual QVariant value(int column) const = 0;
    /// Whether \a column has no value in this row, whatever value() gives.
    virtual bool isNull(int column) const = 0;
    /// The bytes that the source holds when they are no text, and \a text, the value of \a column in this
    /// row, is only what was made of them; none when they cannot be read.
    virtual std::optional<QByteArray> strayBytes(int column, const QString &text);
    /// What went wrong, if anything did.
    virtual std::optional<QString> error() const { return std::nullopt; }
    /// After the last row, or when no more are wanted.
    virtual void close() {}

protected:
    SourceRows() = default;
};

inline std::optional<QByteArray> SourceRows::strayBytes(int, const QString &)
{
    return std::nullopt;
}

} // namespace sito
