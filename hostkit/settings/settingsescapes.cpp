// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingsescapes_p.h>

#include <hostkit/settings/settingstexts_p.h>

#include <QByteArray>
#include <QRegularExpression>

namespace sito::SettingsText {

using namespace Qt::StringLiterals;

QString bytesText(const QByteArray &bytes)
{
    QString text;
    for (const char byte : bytes) {
        if (byte == '\\')
            text += u"\\\\"_s;
        else if (byte >= ' ' && byte <= '~')
            text += QLatin1Char(byte);
        else
            text += u"\\x%1"_s.arg(uint(uchar(byte)), 2, 16, QLatin1Char('0'));
    }
    return text;
}

std::optional<QByteArray> bytesOf(const QString &text, QString *problem)
{
    QByteArray bytes;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t c = text.at(i).unicode();
        if (c == u'\\' && text.mid(i + 1, 1) == u"\\"_s) {
            bytes += '\\';
            ++i;
        } else if (c == u'\\') {
            bool ok = false;
            const QString digits = text.mid(i + 2, 2);
            const uint byte = digits.toUInt(&ok, 16);
            if (text.mid(i + 1, 1) != u"x"_s || digits.size() != 2 || !ok ||
                !digits.at(0).isLetterOrNumber()) {
                *problem = Texts::tr("После «\\» пишется x и две шестнадцатеричные цифры или ещё одна «\\»");
                return std::nullopt;
            }
            bytes += char(byte);
            i += 3;
        } else if (c >= u' ' && c <= u'~') {
            bytes += char(c);
        } else {
            *problem = Texts::tr("Символ «%1» пишется байтами, как \\x0a").arg(text.at(i));
            return std::nullopt;
        }
    }
    return bytes;
}

bool isLostInTextFields(QChar c)
{
    const char16_t code = c.unicode();
    return (!c.isPrint() && code != u'\n' && code != u'\t') || code == QChar::LineSeparator ||
           code == QChar::ParagraphSeparator || code == QChar::ObjectReplacementCharacter;
}

QString escaped(const QString &text)
{
    QString result;
    for (const QChar c : text) {
        switch (c.unicode()) {
        case u'\\':
            result += u"\\\\"_s;
            break;
        case u'\n':
            result += u"\\n"_s;
            break;
        case u'\r':
            result += u"\\r"_s;
            break;
        case u'\t':
            result += u"\\t"_s;
            break;
        default:
            if (!isLostInTextFields(c))
                result += c;
            else
                result += u"\\u%1"_s.arg(uint(c.unicode()), 4, 16, QLatin1Char('0'));
        }
    }
    return result;
}

std::optional<QString> unescaped(const QString &text)
{
    QString result;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text.at(i) != u'\\') {
            result += text.at(i);
            continue;
        }
        if (++i == text.size())
            return std::nullopt;
        switch (text.at(i).unicode()) {
        case u'\\':
            result += u'\\';
            break;
        case u'n':
            result += u'\n';
            break;
        case u'r':
            result += u'\r';
            break;
        case u't':
            result += u'\t';
            break;
        case u'u': {
            static const QRegularExpression four(u"^[0-9a-fA-F]{4}$"_s);
            const QString digits = text.mid(i + 1, 4);
            if (!four.match(digits).hasMatch())
                return std::nullopt;
            result += QChar(ushort(digits.toUInt(nullptr, 16)));
            i += 4;
            break;
        }
        default:
            return std::nullopt;
        }
    }
    return result;
}

} // namespace sito::SettingsText
