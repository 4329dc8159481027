// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QCoreApplication>
#include <QFile>
#include <QString>
#include <QStringView>

#include <optional>

namespace sito {

enum class CsvEncoding { Utf8, Utf16LittleEndian, Utf16BigEndian, Windows1251 };

/// A place in a text: the line, and the UTF-16 unit in it, both counted from 1. Lines end as those of CSV
/// files do, by CR, LF or both.
struct TextPlace
{
    qint64 line = 1;
    qint64 column = 1;
    bool isAfterReturn = false;

    void advance(QStringView text);
};

/// The text of a file, a piece at a time. What fails throws Exception with the file and the place.
class CsvText
{
    Q_DECLARE_TR_FUNCTIONS(CsvText)
    Q_DISABLE_COPY_MOVE(CsvText)
public:
    /// What is at the beginning of the file that the encoding may be told by.
    struct Start
    {
        QByteArray bytes;
        qint64 size = 0;
    };

    static Start start(const QString &fileName);
    /// The encoding that the mark or the zeros in \a start tell; nothing if none.
    static std::optional<CsvEncoding> encodingOf(const Start &start);

    /// Reads the first \a size bytes of \a fileName, but for a mark of the encoding.
    CsvText(const QString &fileName, CsvEncoding encoding, qint64 size);

    /// Empty at the end and where bytes are no text, see isBroken().
    QString next();
    /// Whether the reading has met bytes that are no text.
    bool isBroken() const { return m_brokenAt >= 0; }
    /// Tells where. Only if isBroken().
    [[noreturn]] void failBroken() const;
    /// \a message, about a place in the file.
    static QString messageAt(const QString &fileName, const TextPlace &place, const QString &message);

private:
    QString decoded(const QByteArray &bytes);
    QString decodedUtf8(const QByteArray &bytes);
    QString decodedUtf16(const QByteArray &bytes);

    const QString m_fileName;
    const CsvEncoding m_encoding;
    QFile m_file;
    const qint64 m_size;
    /// Bytes of a character whose others are still to come.
    QByteArray m_rest;
    qint64 m_brokenAt = -1;
};

} // namespace sito
