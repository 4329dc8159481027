// SPDX-License-Identifier: MIT
#include <hostkit/settings/inicodec.h>

#include <QDataStream>
#include <QIODevice>
#include <QPoint>
#include <QRect>
#include <QSize>
#include <QStringDecoder>
#include <QStringEncoder>
#include <QStringList>

#include <algorithm>
#include <array>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

constexpr auto bytesTag = "@ByteArray("_L1;
constexpr auto textTag = "@String("_L1;
constexpr auto variantTag = "@Variant("_L1;
constexpr auto timeTag = "@DateTime("_L1;
constexpr auto rectTag = "@Rect("_L1;
constexpr auto sizeTag = "@Size("_L1;
constexpr auto pointTag = "@Point("_L1;
constexpr auto noneTag = "@Invalid()"_L1;

// Those that QSettings has; files of all versions are in them.
constexpr auto variantVersion = QDataStream::Qt_4_0;
constexpr auto timeVersion = QDataStream::Qt_5_6;

constexpr std::array<std::pair<char, char>, 11> escapes{{{'a', '\a'},
                                                         {'b', '\b'},
                                                         {'f', '\f'},
                                                         {'n', '\n'},
                                                         {'r', '\r'},
                                                         {'t', '\t'},
                                                         {'v', '\v'},
                                                         {'"', '"'},
                                                         {'?', '?'},
                                                         {'\'', '\''},
                                                         {'\\', '\\'}}};

/// The digit that \a c is in \a base, 8 or 16; -1 when it is none.
int digit(char16_t c, int base)
{
    if (c >= u'0' && c <= u'9')
        return c - u'0' < base ? c - u'0' : -1;
    const char16_t lower = c | 0x20;
    return base == 16 && lower >= u'a' && lower <= u'f' ? lower - u'a' + 10 : -1;
}

bool isPlain(char16_t c)
{
    const char16_t lower = c | 0x20;
    return (c >= u'0' && c <= u'9') || (lower >= u'a' && lower <= u'z') || c == u'_' || c == u'-' ||
           c == u'.';
}

/// \a tag, \a bytes as so many characters, and the bracket.
QString coded(QLatin1StringView tag, const QByteArray &bytes)
{
    return tag + QLatin1StringView(bytes) + u')';
}

QString streamed(QLatin1StringView tag, const QVariant &value, int version)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(version);
    stream << value;
    return coded(tag, bytes);
}

/// The text of a value that is no list, before anything is escaped.
QString itemText(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::UnknownType:
        return noneTag;
    case QMetaType::QByteArray:
        return coded(bytesTag, value.toByteArray());
    case QMetaType::QString:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Bool:
    case QMetaType::Float:
    case QMetaType::Double:
    case QMetaType::QKeySequence: {
        const QString text = value.toString();
        if (text.contains(QChar::Null))
            return textTag + text + u')';
        return text.startsWith(u'@') ? u'@' + text : text;
    }
    case QMetaType::QRect: {
        const QRect rect = value.toRect();
        return rectTag + u"%1 %2 %3 %4)"_s.arg(rect.x()).arg(rect.y()).arg(rect.width()).arg(rect.height());
    }
    case QMetaType::QSize:
        return sizeTag + u"%1 %2)"_s.arg(value.toSize().width()).arg(value.toSize().height());
    case QMetaType::QPoint:
        return pointTag + u"%1 %2)"_s.arg(value.toPoint().x()).arg(value.toPoint().y());
    case QMetaType::QDateTime:
        return streamed(timeTag, value, timeVersion);
    default:
        return streamed(variantTag, value, variantVersion);
    }
}

/// \a text as it may stand behind a key.
QByteArray escaped(const QString &text)
{
    const bool bytes = text.startsWith(bytesTag) || text.startsWith(variantTag) || text.startsWith(timeTag);
    QStringEncoder toUtf8(QStringEncoder::Utf8);
    QByteArray result;
    bool quoted = false;
    // A digit would be taken for one more of the escape before it.
    bool afterNumber = false;
    for (const QChar qchar : text) {
        const char16_t c = qchar.unicode();
        quoted = quoted || c == u';' || c == u',' || c == u'=';
        const bool named = c != u'?' && c != u'\'' &&
                           std::any_of(escapes.begin(), escapes.end(),
                                       [c](const auto &escape) { return char16_t(escape.second) == c; });
        if (afterNumber && digit(c, 16) >= 0) {
            result += "\\x" + QByteArray::number(uint(c), 16);
            continue;
        }
        afterNumber = false;
        if (c == u'\0') {
            result += "\\0";
            afterNumber = true;
        } else if (named) {
            const auto *escape = std::find_if(escapes.begin(), escapes.end(),
                                              [c](const auto &each) { return char16_t(each.second) == c; });
            result += '\\';
            result += escape->first;
        } else if (c < 0x20 || (bytes && c >= 0x7f)) {
            result += "\\x" + QByteArray::number(uint(c), 16);
            afterNumber = true;
        } else {
            result += QByteArray(toUtf8(QStringView(&qchar, 1)));
        }
    }
    if (quoted || result.startsWith(' ') || result.endsWith(' '))
        result = '"' + result + '"';
    return result;
}

/// Reads the text behind a key, item by item.
class ValueReader
{
public:
    explicit ValueReader(QByteArrayView text) : m_text(text) {}

    /// One item for a text without a comma outside of quotes.
    QStringList items()
    {
        skipSpaces();
        while (m_at < m_text.size()) {
            const char c = m_text.at(m_at);
            if (c == '\\') {
                if (!readEscape())
                    return m_items << m_item;
            } else if (c == '"') {
                ++m_at;
                m_wasQuoted = true;
                m_quoted = !m_quoted;
                m_kept = m_item.size();
                if (!m_quoted)
                    skipSpaces();
            } else if (c == ',' && !m_quoted) {
                endItem();
                ++m_at;
                skipSpaces();
            } else {
                readPlain();
            }
        }
        endItem();
        return m_items;
    }

private:
    void skipSpaces()
    {
        while (m_at < m_text.size() && (m_text.at(m_at) == ' ' || m_text.at(m_at) == '\t'))
            ++m_at;
        m_kept = m_item.size();
    }

    void endItem()
    {
        // Spaces that were escaped stay.
        qsizetype size = m_item.size();
        while (!m_wasQuoted && size > m_kept && (m_item.at(size - 1) == u' ' || m_item.at(size - 1) == u'\t'))
            --size;
        m_items << m_item.left(size);
        m_item.clear();
        m_wasQuoted = false;
        m_kept = 0;
    }

    void readPlain()
    {
        const qsizetype begin = m_at++;
        while (m_at < m_text.size() && m_text.at(m_at) != '\\' && m_text.at(m_at) != '"' &&
               m_text.at(m_at) != ',')
            ++m_at;
        m_item += QString(m_fromUtf8(m_text.sliced(begin, m_at - begin)));
    }

    /// False at the end of the text, where nothing more is to be done to the item.
    bool readEscape()
    {
        ++m_at;
        if (m_at >= m_text.size())
            return false;
        const char c = m_text.at(m_at++);
        const auto *escape =
            std::find_if(escapes.begin(), escapes.end(), [c](const auto &each) { return each.first == c; });
        if (escape != escapes.end()) {
            m_item += QLatin1Char(escape->second);
        } else if (c == 'x') {
            if (m_at >= m_text.size())
                return false;
            if (digit(uchar(m_text.at(m_at)), 16) >= 0)
                return readNumber(16);
        } else if (digit(uchar(c), 8) >= 0) {
            --m_at;
            return readNumber(8);
        } else if ((c == '\n' || c == '\r') && m_at < m_text.size()) {
            const char next = m_text.at(m_at);
            if ((next == '\n' || next == '\r') && next != c)
                ++m_at;
        }
        m_kept = m_item.size();
        return true;
    }

    bool readNumber(int base)
    {
        char16_t code = 0;
        for (; m_at < m_text.size(); ++m_at) {
            const int value = digit(uchar(m_text.at(m_at)), base);
            if (value < 0)
                break;
            code = char16_t(code * base + value);
        }
        m_item += QChar(code);
        m_kept = m_item.size();
        return m_at < m_text.size();
    }

    const QByteArrayView m_text;
    QStringDecoder m_fromUtf8{QStringDecoder::Utf8};
    qsizetype m_at = 0;
    QString m_item;
    qsizetype m_kept = 0; ///< so much of the item is not cut
    bool m_quoted = false;
    bool m_wasQuoted = false;
    QStringList m_items;
};

QVariant unstreamed(QStringView text, int version)
{
    const QByteArray bytes = text.toLatin1();
    QDataStream stream(bytes);
    stream.setVersion(version);
    QVariant value;
    stream >> value;
    return value;
}

/// The numbers of "@Type(1 2)", as many as \a count; none when there are fewer or more. A bracket that is not
/// the last ends a number, too, and the next one goes on with its digits.
QList<int> numbers(QStringView arguments, qsizetype count)
{
    QList<int> result;
    QString number;
    for (const QChar c : arguments) {
        if (c != u' ' && c != u')') {
            number += c;
            continue;
        }
        result += number.toInt();
        if (c == u' ')
            number.clear();
    }
    result += number.toInt();
    return result.size() == count ? result : QList<int>();
}

/// The value of the text of one item.
QVariant itemValue(const QString &text)
{
    if (!text.startsWith(u'@'))
        return text;
    if (text.endsWith(u')')) {
        const auto arguments = [&text](QLatin1StringView tag) {
            return QStringView(text).sliced(tag.size()).chopped(1);
        };
        if (text.startsWith(bytesTag))
            return arguments(bytesTag).toLatin1();
        if (text.startsWith(textTag))
            return arguments(textTag).toString();
        if (text.startsWith(variantTag))
            return unstreamed(arguments(variantTag), variantVersion);
        if (text.startsWith(timeTag))
            return unstreamed(arguments(timeTag), timeVersion);
        if (text.startsWith(rectTag)) {
            if (const QList<int> n = numbers(arguments(rectTag), 4); !n.isEmpty())
                return QRect(n.at(0), n.at(1), n.at(2), n.at(3));
        } else if (text.startsWith(sizeTag)) {
            if (const QList<int> n = numbers(arguments(sizeTag), 2); !n.isEmpty())
                return QSize(n.at(0), n.at(1));
        } else if (text.startsWith(pointTag)) {
            if (const QList<int> n = numbers(arguments(pointTag), 2); !n.isEmpty())
                return QPoint(n.at(0), n.at(1));
        } else if (text == noneTag) {
            return {};
        }
    }
    return text.startsWith("@@"_L1) ? text.mid(1) : text;
}

} // namespace

QByteArray IniCodec::keyText(const QString &key)
{
    QByteArray result;
    for (const QChar qchar : key) {
        const char16_t c = qchar.unicode();
        if (c == u'/')
            result += '\\';
        else if (isPlain(c))
            result += char(c);
        else if (c <= 0xff)
            result += '%' + QByteArray::number(uint(c), 16).rightJustified(2, '0').toUpper();
        else
            result += "%U" + QByteArray::number(uint(c), 16).rightJustified(4, '0').toUpper();
    }
    return result;
}

QString IniCodec::key(QByteArrayView text)
{
    const QString decoded = QString::fromUtf8(text.trimmed());
    QString result;
    for (qsizetype i = 0; i < decoded.size();) {
        const QChar c = decoded.at(i++);
        if (c == u'\\') {
            result += u'/';
            continue;
        }
        const bool isLong = c == u'%' && i < decoded.size() && decoded.at(i) == u'U';
        const qsizetype digits = isLong ? i + 1 : i;
        const qsizetype count = isLong ? 4 : 2;
        bool coded = c == u'%' && digits + count <= decoded.size();
        const ushort code =
            coded ? QStringView(decoded).sliced(digits, count).toUShort(&coded, 16) : ushort(0);
        if (coded)
            i = digits + count;
        result += coded ? QChar(code) : c;
    }
    return result;
}

QByteArray IniCodec::headText(const QString &section)
{
    const QByteArray text = keyText(section);
    if (text.isEmpty())
        return QByteArrayLiteral("[General]");
    if (text.compare("general", Qt::CaseInsensitive) == 0)
        return QByteArrayLiteral("[%General]");
    return '[' + text + ']';
}

QString IniCodec::prefix(QByteArrayView text)
{
    const qsizetype end = text.indexOf(']');
    const QByteArrayView name = (end < 0 ? text : text.first(end)).sliced(1).trimmed();
    if (name.compare("general", Qt::CaseInsensitive) == 0)
        return {};
    if (name.compare("%general", Qt::CaseInsensitive) == 0)
        return QString::fromLatin1(name.sliced(1)) + u'/';
    return key(name) + u'/';
}

QByteArray IniCodec::valueText(const QVariant &value)
{
    const bool isList = value.typeId() == QMetaType::QStringList ||
                        // A list of one item of any type would be read as that item.
                        (value.typeId() == QMetaType::QVariantList && value.toList().size() != 1);
    if (!isList)
        return escaped(itemText(value));
    QByteArrayList texts;
    const QVariantList items = value.toList();
    for (const QVariant &item : items)
        texts += escaped(itemText(item));
    return texts.isEmpty() ? QByteArray(noneTag.data(), noneTag.size()) : texts.join(", ");
}

QVariant IniCodec::value(QByteArrayView text)
{
    QStringList items = ValueReader(text).items();
    if (items.size() == 1)
        return itemValue(items.constFirst());
    const bool areTexts = std::all_of(items.begin(), items.end(), [](const QString &item) {
        return !item.startsWith(u'@') || item.startsWith("@@"_L1);
    });
    if (!areTexts) {
        QVariantList values;
        for (const QString &item : std::as_const(items))
            values += itemValue(item);
        return values;
    }
    for (QString &item : items) {
        if (item.startsWith(u'@'))
            item.remove(0, 1);
    }
    return items;
}

} // namespace sito
