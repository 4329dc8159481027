// SPDX-License-Identifier: MIT
#include <browser/settings/initext.h>

#include <hostkit/settings/scratchstore.h>

#include <QHash>
#include <QSet>

#include <algorithm>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

const QByteArray byteOrderMark = QByteArrayLiteral("\xef\xbb\xbf");

bool isRowEnd(char c)
{
    return c == '\n' || c == '\r';
}

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || isRowEnd(c);
}

/// How rows of \a content end; empty when none does.
QByteArray rowEndOf(const QByteArray &content)
{
    const auto *at = std::find_if(content.begin(), content.end(), isRowEnd);
    if (at == content.end())
        return {};
    const bool both = *at == '\r' && at + 1 != content.end() && at[1] == '\n';
    return both ? QByteArrayLiteral("\r\n") : QByteArray(1, *at);
}

struct Edit
{
    qsizetype begin;
    qsizetype end;
    QByteArray text;
};

} // namespace

IniText::IniText(const QByteArray &content, QSettings::Format format) : m_content(content), m_format(format)
{
    split();
    name();
}

/// As QSettings does it, peculiarities included: a semicolon ends a line anywhere outside quotes, and only
/// where a line begins it makes a comment.
void IniText::split()
{
    const qsizetype size = m_content.size();
    qsizetype at = m_content.startsWith(byteOrderMark) ? byteOrderMark.size() : 0;
    for (;;) {
        Line line;
        line.row = at;
        while (at < size && isBlank(m_content.at(at)))
            ++at;
        line.begin = at;
        bool quoted = false;
        bool ended = false;
        while (at < size && !ended) {
            const char c = m_content.at(at++);
            const bool first = at == line.begin + 1;
            if (c == '=' && !quoted && line.equals < 0) {
                line.equals = at - 1;
            } else if (isRowEnd(c) && first) {
                ++line.begin;
            } else if ((isRowEnd(c) || (c == ';' && !first)) && !quoted) {
                --at;
                ended = true;
            } else if (c == ';' && first) {
                while (at < size && !isRowEnd(m_content.at(at)))
                    ++at;
                while (at < size && isBlank(m_content.at(at)))
                    ++at;
                line.begin = at;
            } else if (c == '\\' && at < size) {
                const char escaped = m_content.at(at++);
                if (at < size && isRowEnd(escaped) && isRowEnd(m_content.at(at)) &&
                    m_content.at(at) != escaped)
                    ++at;
            } else if (c == '"') {
                quoted = !quoted;
            }
        }
        if (at == line.begin)
            return;
        line.end = at;
        if (m_content.at(line.begin) == '[')
            line.equals = -1;
        for (qsizetype i = line.begin; i > line.row; --i) {
            if (isRowEnd(m_content.at(i - 1)))
                line.row = i;
        }
        line.next = line.end;
        while (line.next < size && !isRowEnd(m_content.at(line.next)))
            ++line.next;
        if (line.next < size)
            line.next += m_content.mid(line.next, 2) == "\r\n" ? 2 : 1;
        m_lines += line;
    }
}

/// QSettings itself decodes the names, in stores whose keys and sections are the numbers of the lines.
void IniText::name()
{
    QByteArray heads;
    QByteArray keys;
    for (qsizetype i = 0; i < m_lines.size(); ++i) {
        const Line &line = m_lines.at(i);
        const QByteArray number = QByteArray::number(i);
        if (line.isHead())
            heads += part(line.begin, line.end) + '\n' + number + "=\n";
        else
            keys += "[n" + number + "]\n" + part(line.begin, line.equals) + "=\n";
    }
    QHash<qsizetype, QString> names;
    const QStringList headNames = ScratchStore(heads, m_format)->allKeys();
    for (const QString &name : headNames) {
        const qsizetype cut = name.lastIndexOf(u'/') + 1;
        names.insert(QStringView(name).mid(cut).toLongLong(), name.left(cut));
    }
    const QStringList keyNames = ScratchStore(keys, m_format)->allKeys();
    for (const QString &name : keyNames) {
        const qsizetype cut = name.indexOf(u'/');
        if (cut > 0)
            names.insert(QStringView(name).mid(1, cut - 1).toLongLong(), name.mid(cut + 1));
    }
    QString section;
    for (qsizetype i = 0; i < m_lines.size(); ++i) {
        Line &line = m_lines[i];
        if (!names.contains(i) || (line.isHead() && m_content.at(line.begin) != '['))
            return;
        if (line.isHead())
            section = names.value(i);
        else
            line.path = section + names.value(i);
        line.section = section;
    }
    m_valid = true;
}

std::optional<QByteArray> IniText::changed(const QStringList &removed,
                                           const QMap<QString, QVariant> &values) const
{
    ScratchStore store({}, m_format);
    for (auto it = values.begin(); it != values.end(); ++it)
        store->setValue(it.key(), it.value());
    const IniText texts(values.isEmpty() ? QByteArray() : store.content(), m_format);
    if (!m_valid || !texts.isValid())
        return {};
    QMap<QString, QByteArray> wanted;
    for (const Line &line : texts.lines()) {
        if (!line.isHead())
            wanted.insert(line.path, texts.part(line.equals + 1, line.end));
    }
    if (!std::equal(wanted.keyBegin(), wanted.keyEnd(), values.keyBegin(), values.keyEnd()))
        return {};

    const QSet<QString> absent(removed.begin(), removed.end());
    QList<Edit> edits;
    // The last line of a path counts, within a section: of sections that make up the same paths, QSettings may
    // prefer any.
    QSet<std::pair<QString, QString>> done;
    QSet<QString> found;
    QSet<qsizetype> gone;
    QHash<QString, qsizetype> lastOf;
    for (qsizetype i = m_lines.size() - 1; i >= 0; --i) {
        const Line &line = m_lines.at(i);
        if (!lastOf.contains(line.section))
            lastOf.insert(line.section, i);
        if (line.isHead())
            continue;
        if (wanted.contains(line.path)) {
            found.insert(line.path);
            const auto key = std::make_pair(line.section, line.path);
            if (done.contains(key))
                continue;
            done.insert(key);
            qsizetype begin = line.equals + 1;
            while (begin < line.end && isBlank(m_content.at(begin)))
                ++begin;
            qsizetype end = line.end;
            // The space before a comment.
            const bool commented = end < m_content.size() && m_content.at(end) == ';';
            while (commented && end > begin && isBlank(m_content.at(end - 1)))
                --end;
            edits += {begin, end, wanted.value(line.path)};
        } else if (absent.contains(line.path)) {
            edits += {line.row, line.next, {}};
            gone.insert(i);
        }
    }

    QByteArray rowEnd = rowEndOf(m_content);
    if (rowEnd.isEmpty())
        rowEnd = rowEndOf(texts.m_content);
    const bool unended = !m_content.isEmpty() && !isRowEnd(m_content.back()) && m_content != byteOrderMark;
    QMap<qsizetype, QByteArray> insertions;
    QByteArray appended;
    QSet<QString> kept;
    bool headed = false;
    for (const Line &line : texts.lines()) {
        if (line.isHead()) {
            headed = false;
            continue;
        }
        if (found.contains(line.path))
            continue;
        const QByteArray entry = texts.part(line.begin, line.end);
        if (const qsizetype last = lastOf.value(line.section, -1); last >= 0) {
            const qsizetype at = m_lines.at(last).next;
            const bool open = at == m_content.size() && unended;
            insertions[at] += open ? rowEnd + entry : entry + rowEnd;
            kept.insert(line.section);
        } else {
            if (!std::exchange(headed, true)) {
                const auto head =
                    std::find_if(texts.lines().begin(), texts.lines().end(), [&](const Line &each) {
                        return each.isHead() && each.section == line.section;
                    });
                if (head == texts.lines().end())
                    return {};
                appended += rowEnd + texts.part(head->begin, head->end) + rowEnd;
            }
            appended += entry + rowEnd;
        }
    }
    for (auto it = insertions.begin(); it != insertions.end(); ++it)
        edits += {it.key(), it.key(), it.value()};

    // A section of which nothing but blank rows is left goes, too.
    for (qsizetype i = 0; i < m_lines.size(); ++i) {
        const Line &head = m_lines.at(i);
        if (!head.isHead() || kept.contains(head.section))
            continue;
        qsizetype next = i + 1;
        qsizetype from = head.next;
        bool left = part(head.end, head.next).trimmed().size() > 0;
        const auto isBlankUpTo = [&](qsizetype to) { return part(from, to).trimmed().isEmpty(); };
        for (; next < m_lines.size() && !m_lines.at(next).isHead(); ++next) {
            left = left || !gone.contains(next) || !isBlankUpTo(m_lines.at(next).row);
            from = m_lines.at(next).next;
        }
        const qsizetype end = next < m_lines.size() ? m_lines.at(next).row : m_content.size();
        if (!left && next > i + 1 && isBlankUpTo(end))
            edits += {head.row, end, {}};
    }

    std::stable_sort(edits.begin(), edits.end(),
                     [](const Edit &left, const Edit &right) { return left.begin < right.begin; });
    QByteArray result;
    qsizetype at = 0;
    for (const Edit &edit : std::as_const(edits)) {
        if (edit.begin < at)
            continue;
        result += part(at, edit.begin) + edit.text;
        at = edit.end;
    }
    result += m_content.mid(at);
    if (!appended.isEmpty()) {
        if (!result.isEmpty() && !isRowEnd(result.back()) && result != byteOrderMark)
            result += rowEnd;
        // No blank row in front of all.
        if (result.isEmpty() || result == byteOrderMark)
            appended.remove(0, rowEnd.size());
        result += appended;
    }
    return result;
}

} // namespace sito
