// SPDX-License-Identifier: MIT
#include <sources/csvrecords_p.h>

#include <algorithm>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// In UTF-16 units; a mark that is not closed would make one record of the rest of the file.
constexpr qsizetype maxRecord = 1 << 26;
constexpr QChar quotationMark = u'"';

} // namespace

CsvRecords::CsvRecords(std::function<QString()> pieces, QChar separator)
    : m_pieces(std::move(pieces)), m_separator(separator)
{
}

/// Whether there is text left.
bool CsvRecords::fill()
{
    if (m_at < m_piece.size())
        return true;
    m_before += m_piece.size();
    m_at = 0;
    m_piece = m_pieces();
    return !m_piece.isEmpty();
}

bool CsvRecords::next()
{
    m_text.resize(0);
    m_fields.clear();
    m_isMarred = false;
    m_beginLine = m_line;
    if (!fill())
        return false;
    while (readField() == End::Separator)
        checkSize();
    return true;
}

CsvRecords::End CsvRecords::readField()
{
    Field field{.begin = m_text.size()};
    if (fill() && m_piece[m_at] == quotationMark) {
        field.isQuoted = true;
        readQuoted(field.begin);
    }
    const End end = readPlain();
    field.end = m_text.size();
    m_fields.push_back(field);
    return end;
}

/// Reads what is left of a field up to its end, and that, too.
CsvRecords::End CsvRecords::readPlain()
{
    while (fill()) {
        const QStringView rest = QStringView(m_piece).sliced(m_at);
        const auto found = std::find_if(rest.begin(), rest.end(), [this](QChar unit) {
            return unit == m_separator || unit == u'\n' || unit == u'\r';
        });
        m_text.append(rest.first(found - rest.begin()));
        m_at += found - rest.begin();
        if (found != rest.end())
            return takeEnd();
        // Which the caller refuses.
        if (m_text.size() > maxRecord)
            return End::Separator;
    }
    return End::Text;
}

CsvRecords::End CsvRecords::takeEnd()
{
    const QChar unit = m_piece[m_at++];
    if (unit == m_separator)
        return End::Separator;
    if (unit == u'\r' && fill() && m_piece[m_at] == u'\n')
        ++m_at;
    beginLine();
    return End::Line;
}

void CsvRecords::beginLine()
{
    ++m_line;
    m_lineBegin = position();
}

/// Reads a field from its quotation mark up to the one that closes it. Where something else follows, all of
/// it counts as it is written.
void CsvRecords::readQuoted(qsizetype begin)
{
    TextPlace place{.line = m_line, .column = position() - m_lineBegin + 1};
    TextPlace end = place;
    const auto consume = [this, &end](qsizetype size) {
        const QStringView taken = QStringView(m_piece).sliced(m_at, size);
        end.advance(taken);
        m_at += size;
        return taken;
    };
    consume(1);
    for (;;) {
        if (!fill())
            throw Malformed{place, tr("кавычка не закрыта")};
        const qsizetype found = m_piece.indexOf(quotationMark, m_at);
        m_text.append(consume((found < 0 ? m_piece.size() : found) - m_at));
        if (m_text.size() > maxRecord)
            throw Malformed{place, tr("запись слишком длинна")};
        if (found < 0)
            continue;
        consume(1);
        if (!fill() || m_piece[m_at] != quotationMark)
            break;
        m_text.append(consume(1));
    }
    m_line = end.line;
    m_lineBegin = position() - end.column + 1;
    if (!fill() || m_piece[m_at] == m_separator || m_piece[m_at] == u'\n' || m_piece[m_at] == u'\r')
        return;
    m_isMarred = true;
    const QString content = m_text.sliced(begin);
    m_text.truncate(begin);
    m_text += quotationMark + QString(content).replace(quotationMark, u"\"\""_s) + quotationMark;
}

void CsvRecords::checkSize() const
{
    const TextPlace place{.line = m_line, .column = position() - m_lineBegin};
    if (m_text.size() > maxRecord)
        throw Malformed{place, tr("запись слишком длинна")};
    if (size() >= maxFields)
        throw Malformed{place, tr("в записи больше полей, чем %1").arg(maxFields)};
}

} // namespace sito
