// SPDX-License-Identifier: MIT
#include <sources/csvtext_p.h>

#include <data/exception.h>

#include <QFileInfo>
#include <QStringDecoder>
#include <QUtf8StringView>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 pieceSize = 1 << 20;
constexpr qint64 startSize = 1 << 16;

const QByteArray utf8Mark = "\xEF\xBB\xBF"_ba;
const QByteArray littleEndianMark = "\xFF\xFE"_ba;
const QByteArray bigEndianMark = "\xFE\xFF"_ba;

/// The upper half of Windows-1251; the one byte without a character stands for itself.
constexpr char16_t upperHalf[] =
    u"\u0402\u0403\u201A\u0453\u201E\u2026\u2020\u2021\u20AC\u2030\u0409\u2039\u040A\u040C\u040B\u040F"
    u"\u0452\u2018\u2019\u201C\u201D\u2022\u2013\u2014\x98\u2122\u0459\u203A\u045A\u045C\u045B\u045F"
    u"\u00A0\u040E\u045E\u0408\u00A4\u0490\u00A6\u00A7\u0401\u00A9\u0404\u00AB\u00AC\u00AD\u00AE\u0407"
    u"\u00B0\u00B1\u0406\u0456\u0491\u00B5\u00B6\u00B7\u0451\u2116\u0454\u00BB\u0458\u0405\u0455\u0457";

QString decodedWindows1251(const QByteArray &bytes)
{
    QString text(bytes.size(), Qt::Uninitialized);
    std::transform(bytes.begin(), bytes.end(), text.begin(), [](char byte) {
        const auto code = uchar(byte);
        if (code < 0x80)
            return QChar(char16_t(code));
        return code < 0xC0 ? QChar(upperHalf[code - 0x80]) : QChar(char16_t(0x0410 + code - 0xC0));
    });
    return text;
}

/// How many bytes at the end of \a bytes begin a character of UTF-8 that is not there as a whole.
qsizetype unfinished(const QByteArray &bytes)
{
    for (qsizetype i = 1; i <= 3 && i <= bytes.size(); ++i) {
        const auto byte = uchar(bytes[bytes.size() - i]);
        if ((byte & 0xC0) == 0x80)
            continue;
        const qsizetype length = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
        return length > i ? i : 0;
    }
    return 0;
}

/// The length of the character that \a bytes, which are not empty, begin with; 0 if they begin with none.
qsizetype utf8Size(QByteArrayView bytes)
{
    if (uchar(bytes[0]) < 0x80)
        return 1;
    for (qsizetype size = 2; size <= 4 && size <= bytes.size(); ++size) {
        if (QUtf8StringView(bytes.first(size)).isValidUtf8())
            return size;
    }
    return 0;
}

/// Where \a bytes cease to be UTF-8.
qsizetype endOfUtf8(QByteArrayView bytes)
{
    qsizetype end = 0;
    while (end < bytes.size()) {
        const qsizetype size = utf8Size(bytes.sliced(end));
        if (size == 0)
            break;
        end += size;
    }
    return end;
}

qint64 markSize(CsvEncoding encoding, const QByteArray &start)
{
    switch (encoding) {
    case CsvEncoding::Utf8:
        return start.startsWith(utf8Mark) ? utf8Mark.size() : 0;
    case CsvEncoding::Utf16LittleEndian:
        return start.startsWith(littleEndianMark) ? littleEndianMark.size() : 0;
    case CsvEncoding::Utf16BigEndian:
        return start.startsWith(bigEndianMark) ? bigEndianMark.size() : 0;
    case CsvEncoding::Windows1251:
        break;
    }
    return 0;
}

void openFile(QFile &file)
{
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        throw Exception(CsvText::tr("Не удалось открыть «%1»: %2").arg(file.fileName(), file.errorString()));
}

} // namespace

void TextPlace::advance(QStringView text)
{
    for (const QChar unit : text) {
        if (unit == u'\n' && isAfterReturn) {
            isAfterReturn = false;
            continue;
        }
        isAfterReturn = unit == u'\r';
        if (isAfterReturn || unit == u'\n') {
            ++line;
            column = 1;
        } else {
            ++column;
        }
    }
}

CsvText::Start CsvText::start(const QString &fileName)
{
    const QFileInfo info(fileName);
    if (!info.exists())
        throw Exception(tr("Файла «%1» нет").arg(fileName));
    if (info.isDir())
        throw Exception(tr("«%1» - каталог, а не файл").arg(fileName));
    // To open a pipe could last until somebody writes into it.
    if (!info.isFile())
        throw Exception(tr("«%1» - не обычный файл").arg(fileName));
    QFile file(fileName);
    openFile(file);
    const qint64 size = file.size();
    Start result{.bytes = file.read(startSize), .size = size};
    if (file.error() != QFileDevice::NoError)
        throw Exception(tr("Не удалось прочитать «%1»: %2").arg(fileName, file.errorString()));
    return result;
}

std::optional<CsvEncoding> CsvText::encodingOf(const Start &start)
{
    const QByteArray &bytes = start.bytes;
    if (bytes.startsWith(utf8Mark))
        return CsvEncoding::Utf8;
    if (bytes.startsWith(littleEndianMark))
        return CsvEncoding::Utf16LittleEndian;
    if (bytes.startsWith(bigEndianMark))
        return CsvEncoding::Utf16BigEndian;
    // Separators, digits and line ends have a byte 0 in UTF-16, always on the same side.
    std::array<qsizetype, 2> zeros = {};
    for (qsizetype i = 0; i < bytes.size(); ++i)
        zeros[size_t(i % 2)] += bytes[i] == '\0' ? 1 : 0;
    const qsizetype many = bytes.size() / 20;
    if (zeros[0] == 0 && zeros[1] > many)
        return CsvEncoding::Utf16LittleEndian;
    if (zeros[1] == 0 && zeros[0] > many)
        return CsvEncoding::Utf16BigEndian;
    return std::nullopt;
}

CsvText::CsvText(const QString &fileName, CsvEncoding encoding, qint64 size)
    : m_fileName(fileName), m_encoding(encoding), m_file(fileName), m_size(size)
{
    openFile(m_file);
    const qint64 mark = markSize(encoding, m_file.peek(utf8Mark.size()));
    m_file.seek(mark);
}

QString CsvText::next()
{
    while (!isBroken()) {
        const qint64 left = std::max<qint64>(m_size - m_file.pos(), 0);
        const QByteArray read = m_file.read(std::min(pieceSize, left));
        if (m_file.error() != QFileDevice::NoError)
            throw Exception(tr("Не удалось прочитать «%1»: %2").arg(m_fileName, m_file.errorString()));
        const bool isEnd = read.isEmpty();
        if (isEnd && left > 0)
            throw Exception(tr("Файл «%1» изменился во время чтения").arg(m_fileName));
        if (isEnd) {
            if (!m_rest.isEmpty())
                m_brokenAt = m_file.pos() - m_rest.size();
            return {};
        }
        QString text = decoded(std::exchange(m_rest, {}) + read);
        if (!text.isEmpty())
            return text;
    }
    return {};
}

QString CsvText::decoded(const QByteArray &bytes)
{
    switch (m_encoding) {
    case CsvEncoding::Utf8:
        return decodedUtf8(bytes);
    case CsvEncoding::Utf16LittleEndian:
    case CsvEncoding::Utf16BigEndian:
        return decodedUtf16(bytes);
    case CsvEncoding::Windows1251:
        break;
    }
    return decodedWindows1251(bytes);
}

QString CsvText::decodedUtf8(const QByteArray &bytes)
{
    m_rest = bytes.last(unfinished(bytes));
    const QByteArrayView whole = QByteArrayView(bytes).chopped(m_rest.size());
    if (!QUtf8StringView(whole).isValidUtf8()) {
        m_brokenAt = m_file.pos() - bytes.size() + endOfUtf8(whole);
        return {};
    }
    // In the middle of a file U+FEFF is a character like others.
    QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::ConvertInitialBom);
    return decoder(whole);
}

QString CsvText::decodedUtf16(const QByteArray &bytes)
{
    m_rest = bytes.last(bytes.size() % 2);
    QString text(bytes.size() / 2, Qt::Uninitialized);
    if (m_encoding == CsvEncoding::Utf16LittleEndian)
        qFromLittleEndian<char16_t>(bytes.constData(), text.size(), text.data());
    else
        qFromBigEndian<char16_t>(bytes.constData(), text.size(), text.data());
    return text;
}

void CsvText::failBroken() const
{
    TextPlace place;
    CsvText before(m_fileName, m_encoding, m_brokenAt);
    for (QString piece = before.next(); !piece.isEmpty(); piece = before.next())
        place.advance(piece);
    throw Exception(messageAt(m_fileName, place, tr("байты не составляют текста в этой кодировке")));
}

QString CsvText::messageAt(const QString &fileName, const TextPlace &place, const QString &message)
{
    return tr("Файл «%1», строка %2, знак %3: %4")
        .arg(fileName, QString::number(place.line), QString::number(place.column), message);
}

} // namespace sito
