// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVariant>

namespace sito {

/// The text of an INI file, split into the lines that QSettings reads. Single entries can be replaced;
/// everything else stays as it is, byte for byte.
///
/// **Threads.** A plain value: copies may be used in different threads.
///
/// **Cost.** The constructor and changed() look at the whole text. Looking for a path takes the logarithm of
/// their number; a value is read when it is asked for.
class HOSTKIT_EXPORT IniText
{
public:
    /// What a line is to QSettings.
    enum class Kind {
        Head,      ///< begins a section
        Entry,     ///< a key and its value
        Unreadable ///< nothing that QSettings reads
    };

    /// A line may go on over several rows of the text, and the rest of its last row may be a comment.
    /// Comments and blank rows are part of no line.
    struct Line
    {
        Kind kind = Kind::Unreadable;
        qsizetype row = 0;     ///< where its first row begins
        qsizetype begin = 0;   ///< the first character that counts
        qsizetype equals = -1; ///< the sign that ends the key of an entry
        qsizetype end = 0;     ///< behind the last character that counts
        qsizetype next = 0;    ///< behind its last row
        QString section;       ///< with a slash at the end, or empty
        QString path;          ///< of an entry
    };

    explicit IniText(const QByteArray &content = {});

    /// The whole text, as given.
    const QByteArray &content() const { return m_content; }
    /// The lines in their order.
    const QList<Line> &lines() const { return m_lines; }
    /// Whether this is the text of an INI file: it holds no NUL, and where lines cannot be read, others can,
    /// or all of those begin with "#".
    bool isIni() const;
    /// The numbers of the rows, counted from 1, in which lines begin that cannot be read, and heads that
    /// nothing ends.
    QList<qsizetype> unreadableRows() const;

    /// All paths, sorted.
    QStringList paths() const { return m_entries.keys(); }
    /// Whether there is an entry of \a path.
    bool contains(const QString &path) const { return m_entries.contains(path); }
    /// The value of \a path; invalid when there is none or it cannot be read.
    QVariant value(const QString &path) const;
    /// Whether a group or key has no name, or a name is both group and key. Code that finds entries by name
    /// would confuse them.
    bool isAmbiguous() const;

    /// The same without the entries of the paths \a removed and with the \a values, by path, in the form that
    /// QSettings gives them. A new entry comes last in its section, a new section last in the text. A section
    /// that has lost all its entries is removed, if nothing else is in it. Null if the result would not read
    /// as requested.
    QByteArray changed(const QStringList &removed, const QMap<QString, QVariant> &values) const;

private:
    void split();
    void name();
    qsizetype endOfLine(Line &line);
    qsizetype skipBlanks(qsizetype at) const;
    qsizetype skipRow(qsizetype at) const;
    qsizetype skipEscape(qsizetype at);
    QByteArray part(qsizetype begin, qsizetype end) const { return m_content.mid(begin, end - begin); }
    QByteArray replaced(const QStringList &removed, const QMap<QString, QByteArray> &texts) const;
    QByteArray extended(const QMap<QString, QByteArray> &texts) const;
    qsizetype endOfEmptied(qsizetype head, const QSet<qsizetype> &gone) const;

    QByteArray m_content;
    QList<Line> m_lines;
    QMap<QString, QByteArray> m_entries; ///< the texts of the values
    QByteArray m_unclosed;               ///< what has to end the last line before anything can follow it
};

} // namespace sito
