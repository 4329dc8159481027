// SPDX-License-Identifier: MIT
#pragma once

#include <sources/csvtext_p.h>

#include <QCoreApplication>
#include <QString>
#include <QStringView>

#include <functional>
#include <vector>

namespace sito {

/// Divides the text of a CSV file into records and fields, as RFC 4180 has it. Lines end by CR, LF or both;
/// a quotation mark inside a field that does not begin with one is a character like others, and a field of
/// which something follows the closing mark counts as it is written.
class CsvRecords
{
    Q_DECLARE_TR_FUNCTIONS(CsvText)
    Q_DISABLE_COPY_MOVE(CsvRecords)
public:
    static constexpr int maxFields = 4096;

    struct Malformed
    {
        TextPlace place;
        QString message;
    };

    /// \a pieces gives the text, and nothing at its end.
    CsvRecords(std::function<QString()> pieces, QChar separator);

    /// Reads the next record; false at the end. Throws Malformed where a quotation mark is not closed and
    /// where a record is beyond all bounds.
    bool next();
    int size() const { return int(m_fields.size()); }
    /// Of the record that was read last; valid until the next one is read.
    QStringView field(int index) const
    {
        const Field &field = m_fields[size_t(index)];
        return QStringView(m_text).sliced(field.begin, field.end - field.begin);
    }
    /// Whether nothing stands there, not even quotation marks.
    bool isAbsent(int index) const
    {
        const Field &field = m_fields[size_t(index)];
        return field.begin == field.end && !field.isQuoted;
    }
    bool isEmptyLine() const { return m_fields.size() == 1 && isAbsent(0); }
    /// The line in which the record begins.
    qint64 line() const { return m_beginLine; }
    /// Whether something follows a closing quotation mark in a field of the record.
    bool isMarred() const { return m_isMarred; }

private:
    enum class End { Separator, Line, Text };

    struct Field
    {
        qsizetype begin = 0;
        qsizetype end = 0;
        bool isQuoted = false;
    };

    bool fill();
    End readField();
    End readPlain();
    void readQuoted(qsizetype begin);
    End takeEnd();
    void checkSize() const;
    qint64 position() const { return m_before + m_at; }
    void beginLine();

    const std::function<QString()> m_pieces;
    const QChar m_separator;
    QString m_piece;
    qsizetype m_at = 0;
    /// The units before the piece, and before the line that is being read.
    qint64 m_before = 0;
    qint64 m_lineBegin = 0;
    qint64 m_line = 1;
    qint64 m_beginLine = 1;
    bool m_isMarred = false;
    /// The fields of the record one behind the other.
    QString m_text;
    std::vector<Field> m_fields;
};

} // namespace sito
