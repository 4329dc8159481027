// SPDX-License-Identifier: MIT
#include <hostkit/settings/initext.h>

#include <hostkit/settings/inicodec.h>

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

#ifdef Q_OS_WIN
const QByteArray systemRowEnd = QByteArrayLiteral("\r\n");
#else
const QByteArray systemRowEnd = QByteArrayLiteral("\n");
#endif

/// How rows of \a content end.
QByteArray rowEndOf(const QByteArray &content)
{
    const auto *at = std::find_if(content.begin(), content.end(), isRowEnd);
    if (at == content.end())
        return systemRowEnd;
    const bool both = *at == '\r' && at + 1 != content.end() && at[1] == '\n';
    return both ? QByteArrayLiteral("\r\n") : QByteArray(1, *at);
}

struct Edit
{
    qsizetype begin;
    qsizetype end;
    QByteArray text;
};

/// Of edits that overlap, the one that begins first counts.
QByteArray withEdits(const QByteArray &content, QList<Edit> edits)
{
    std::stable_sort(edits.begin(), edits.end(),
                     [](const Edit &left, const Edit &right) { return left.begin < right.begin; });
    QByteArray result;
    qsizetype at = 0;
    for (const Edit &edit : std::as_const(edits)) {
        if (edit.end < at || (edit.end == at && edit.begin < at))
            continue;
        const qsizetype begin = std::max(edit.begin, at);
        result += content.mid(at, begin - at) + edit.text;
        at = edit.end;
    }
    return result + content.mid(at);
}

/// Where QSettings puts a new entry \a path, with a slash at the end, or empty.
QString sectionOf(const QString &path)
{
    return path.left(path.indexOf(u'/') + 1);
}

} // namespace

IniText::IniText(const QByteArray &content) : m_content(content)
{
    split();
    name();
}

/// As QSettings does it, peculiarities included.
void IniText::split()
{
    const qsizetype size = m_content.size();
    qsizetype at = m_content.startsWith(byteOrderMark) ? byteOrderMark.size() : 0;
    for (;;) {
        Line line;
        line.row = at;
        line.begin = skipBlanks(at);
        at = endOfLine(line);
        if (at == line.begin)
            return;
        line.end = at;
        if (m_content.at(line.begin) == '[')
            line.kind = Kind::Head;
        else if (line.equals >= 0)
            line.kind = Kind::Entry;
        for (qsizetype i = line.begin; i > line.row; --i) {
            if (isRowEnd(m_content.at(i - 1)))
                line.row = i;
        }
        line.next = skipRow(line.end);
        if (line.next < size)
            line.next += m_content.mid(line.next, 2) == "\r\n" ? 2 : 1;
        m_lines += line;
    }
}

/// A semicolon ends a line anywhere outside quotes, and only where a line begins it makes a comment, behind
/// which the line begins again.
qsizetype IniText::endOfLine(Line &line)
{
    bool quoted = false;
    qsizetype at = line.begin;
    while (at < m_content.size()) {
        const char c = m_content.at(at);
        if (c == ';' && at == line.begin) {
            at = line.begin = skipBlanks(skipRow(at));
            continue;
        }
        if (!quoted && (c == ';' || isRowEnd(c)))
            break;
        if (c == '\\') {
            at = skipEscape(at);
            continue;
        }
        if (c == '"')
            quoted = !quoted;
        else if (c == '=' && !quoted && line.equals < 0)
            line.equals = at;
        ++at;
    }
    if (quoted)
        m_unclosed += '"';
    return at;
}

qsizetype IniText::skipBlanks(qsizetype at) const
{
    while (at < m_content.size() && isBlank(m_content.at(at)))
        ++at;
    return at;
}

/// Not behind the end of the row.
qsizetype IniText::skipRow(qsizetype at) const
{
    while (at < m_content.size() && !isRowEnd(m_content.at(at)))
        ++at;
    return at;
}

qsizetype IniText::skipEscape(qsizetype at)
{
    const qsizetype escaped = at + 1;
    if (escaped == m_content.size()) {
        m_unclosed = rowEndOf(m_content);
        return escaped;
    }
    const bool isOfTwo = escaped + 1 < m_content.size() && isRowEnd(m_content.at(escaped)) &&
                         isRowEnd(m_content.at(escaped + 1)) &&
                         m_content.at(escaped) != m_content.at(escaped + 1);
    return escaped + (isOfTwo ? 2 : 1);
}

void IniText::name()
{
    // Where sections make up the same path, the last one counts in this order.
    QMap<QString, QMap<QString, QByteArray>> sections;
    QString section;
    for (Line &line : m_lines) {
        if (line.kind == Kind::Head)
            section = IniCodec::prefix(part(line.begin, line.end));
        line.section = section;
        if (line.kind != Kind::Entry)
            continue;
        line.path = section + IniCodec::key(part(line.begin, line.equals));
        sections[section].insert(line.path, part(line.equals + 1, line.end));
    }
    for (const QMap<QString, QByteArray> &entries : std::as_const(sections))
        m_entries.insert(entries);
}

bool IniText::isIni() const
{
    const auto isUnreadable = [](const Line &line) { return line.kind == Kind::Unreadable; };
    const auto isRemark = [this](const Line &line) { return m_content.at(line.begin) == '#'; };
    const auto isEnded = [this](const Line &line) {
        return line.kind == Kind::Entry || part(line.begin, line.end).contains(']');
    };
    return !m_content.contains('\0') && (std::none_of(m_lines.begin(), m_lines.end(), isUnreadable) ||
                                         std::all_of(m_lines.begin(), m_lines.end(), isRemark) ||
                                         std::any_of(m_lines.begin(), m_lines.end(), [&](const Line &line) {
                                             return !isUnreadable(line) && isEnded(line);
                                         }));
}

QList<qsizetype> IniText::unreadableRows() const
{
    QList<qsizetype> rows;
    qsizetype row = 1;
    qsizetype at = 0;
    for (const Line &line : m_lines) {
        for (; at < line.row; ++at) {
            const bool isFirstOfTwo =
                m_content.at(at) == '\r' && at + 1 < m_content.size() && m_content.at(at + 1) == '\n';
            row += isRowEnd(m_content.at(at)) && !isFirstOfTwo ? 1 : 0;
        }
        const bool isHead = line.kind == Kind::Head;
        if (line.kind == Kind::Unreadable || (isHead && !part(line.begin, line.end).contains(']')))
            rows += row;
    }
    return rows;
}

QVariant IniText::value(const QString &path) const
{
    const auto entry = m_entries.constFind(path);
    return entry == m_entries.cend() ? QVariant() : IniCodec::value(*entry);
}

bool IniText::isAmbiguous() const
{
    QSet<QString> groups;
    for (auto entry = m_entries.keyBegin(); entry != m_entries.keyEnd(); ++entry) {
        if (entry->split(u'/').contains(QString()))
            return true;
        for (qsizetype end = entry->lastIndexOf(u'/'); end > 0; end = entry->lastIndexOf(u'/', end - 1))
            groups.insert(entry->left(end));
    }
    return std::any_of(groups.begin(), groups.end(),
                       [this](const QString &group) { return contains(group); });
}

QByteArray IniText::changed(const QStringList &removed, const QMap<QString, QVariant> &values) const
{
    QMap<QString, QByteArray> texts;
    QMap<QString, QByteArray> added;
    for (auto it = values.begin(); it != values.end(); ++it) {
        texts.insert(it.key(), IniCodec::valueText(it.value()));
        if (!contains(it.key()))
            added.insert(it.key(), texts.value(it.key()));
    }
    const IniText result(IniText(replaced(removed, texts)).extended(added));

    QMap<QString, QByteArray> wanted = m_entries;
    for (const QString &path : removed)
        wanted.remove(path);
    wanted.insert(texts);
    const auto isSame = [](const QByteArray &one, const QByteArray &other) {
        return one.trimmed() == other.trimmed() || IniCodec::value(one) == IniCodec::value(other);
    };
    const bool isWanted = std::equal(wanted.keyBegin(), wanted.keyEnd(), result.m_entries.keyBegin(),
                                     result.m_entries.keyEnd()) &&
                          std::equal(wanted.begin(), wanted.end(), result.m_entries.begin(), isSame);
    if (!isWanted)
        return {};
    return result.content().isNull() ? QByteArray("") : result.content();
}

/// Without the entries \a removed, and with the \a texts in the place of the values that are there.
QByteArray IniText::replaced(const QStringList &removed, const QMap<QString, QByteArray> &texts) const
{
    const QSet<QString> absent(removed.begin(), removed.end());
    QSet<QString> used;
    for (auto path = texts.keyBegin(); path != texts.keyEnd(); ++path) {
        if (!contains(*path))
            used.insert(sectionOf(*path));
    }
    QList<Edit> edits;
    QSet<std::pair<QString, QString>> done;
    QSet<qsizetype> gone;
    // The last line of a path counts, within a section: of sections that make up the same paths, QSettings
    // may prefer any.
    for (qsizetype i = m_lines.size() - 1; i >= 0; --i) {
        const Line &line = m_lines.at(i);
        const auto text = line.kind == Kind::Entry ? texts.constFind(line.path) : texts.cend();
        if (text != texts.cend()) {
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
            edits += {begin, end, *text};
        } else if (line.kind == Kind::Entry && absent.contains(line.path)) {
            edits += {line.row, line.next, {}};
            gone.insert(i);
        }
    }
    qsizetype last = m_content.size();
    for (qsizetype head = m_lines.size() - 1; head >= 0; --head) {
        if (m_lines.at(head).kind != Kind::Head || used.contains(m_lines.at(head).section))
            continue;
        const qsizetype end = endOfEmptied(head, gone);
        if (end < 0)
            continue;
        qsizetype begin = m_lines.at(head).row;
        // The blank rows before it do not become the end of the text.
        const qsizetype before = head > 0 ? m_lines.at(head - 1).next : begin;
        if (end >= last && part(before, begin).trimmed().isEmpty())
            begin = before;
        last = end >= last ? begin : last;
        edits += {begin, end, {}};
    }
    return withEdits(m_content, edits);
}

/// Where the section of \a head ends if nothing but blank rows is left of it without the lines \a gone; else
/// -1.
qsizetype IniText::endOfEmptied(qsizetype head, const QSet<qsizetype> &gone) const
{
    const Line &line = m_lines.at(head);
    qsizetype from = line.next;
    const auto isBlankUpTo = [&](qsizetype to) { return part(from, to).trimmed().isEmpty(); };
    bool isEmpty = part(line.end, line.next).trimmed().isEmpty();
    qsizetype next = head + 1;
    for (; isEmpty && next < m_lines.size() && m_lines.at(next).kind != Kind::Head; ++next) {
        isEmpty = gone.contains(next) && isBlankUpTo(m_lines.at(next).row);
        from = m_lines.at(next).next;
    }
    const qsizetype end = next < m_lines.size() ? m_lines.at(next).row : m_content.size();
    return isEmpty && next > head + 1 && isBlankUpTo(end) ? end : -1;
}

/// With new entries.
QByteArray IniText::extended(const QMap<QString, QByteArray> &texts) const
{
    QHash<QString, qsizetype> endOf;
    for (const Line &line : m_lines) {
        if (line.kind != Kind::Unreadable)
            endOf.insert(line.section, line.next);
    }
    const QByteArray end = rowEndOf(m_content);
    QMap<qsizetype, QByteArray> insertions;
    QMap<QString, QByteArray> sections;
    for (auto it = texts.begin(); it != texts.end(); ++it) {
        const QString section = sectionOf(it.key());
        const QByteArray entry = IniCodec::keyText(it.key().mid(section.size())) + '=' + it.value();
        if (endOf.contains(section))
            insertions[endOf.value(section)] += entry + end;
        else
            sections[section] += entry + end;
    }
    QByteArray appended;
    for (auto it = sections.begin(); it != sections.end(); ++it)
        appended += end + IniCodec::headText(it.key().chopped(it.key().isEmpty() ? 0 : 1)) + end + it.value();

    QByteArray tail = insertions.take(m_content.size());
    const bool isEmpty = m_content.isEmpty() || m_content == byteOrderMark;
    const bool isUnended = !isEmpty && (!m_unclosed.isEmpty() || !isRowEnd(m_content.back()));
    if (isUnended && !(tail.isEmpty() && appended.isEmpty())) {
        // A text that does not end its last row does not begin to.
        if (appended.isEmpty() && m_unclosed.isEmpty())
            tail.chop(end.size());
        tail.prepend(m_unclosed + end);
    }
    const bool isParted = m_content.endsWith(end + end) && tail.isEmpty();
    if (!appended.isEmpty() && ((isEmpty && tail.isEmpty()) || isParted))
        appended.remove(0, end.size());
    QList<Edit> edits;
    for (auto it = insertions.begin(); it != insertions.end(); ++it)
        edits += {it.key(), it.key(), it.value()};
    return withEdits(m_content, edits) + tail + appended;
}

} // namespace sito
