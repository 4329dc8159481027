// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QSettings>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <optional>

namespace sito {

/// The text of an INI file, taken apart into the lines that QSettings reads, so that single entries can be
/// replaced and everything else stays as it is, byte for byte.
class IniText
{
public:
    /// A line may go on over several rows of the text, and the rest of its last row may be a comment.
    struct Line
    {
        qsizetype row = 0;     ///< where its first row begins
        qsizetype begin = 0;   ///< the first character that counts
        qsizetype equals = -1; ///< the sign that ends the key; -1 in the head of a section
        qsizetype end = 0;     ///< behind the last character that counts
        qsizetype next = 0;    ///< behind its last row
        QString section;       ///< with a slash at the end, or empty
        QString path;          ///< empty in the head of a section

        bool isHead() const { return equals < 0; }
    };

    IniText(const QByteArray &content, QSettings::Format format);

    /// Whether all lines could be named.
    bool isValid() const { return m_valid; }
    const QList<Line> &lines() const { return m_lines; }
    /// The same without the entries of the paths \a removed and with the \a values, by path, in the
    /// form that QSettings gives them. No value when that cannot be done. Whether QSettings reads the result as
    /// is wanted is for the caller to see.
    std::optional<QByteArray> changed(const QStringList &removed,
                                      const QMap<QString, QVariant> &values) const;

private:
    void split();
    void name();
    QByteArray part(qsizetype begin, qsizetype end) const { return m_content.mid(begin, end - begin); }

    const QByteArray m_content;
    const QSettings::Format m_format;
    QList<Line> m_lines;
    bool m_valid = false;
};

} // namespace sito
