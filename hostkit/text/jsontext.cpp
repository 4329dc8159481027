// SPDX-License-Identifier: MIT
#include <hostkit/text/jsontext_p.h>

#include <data/exception.h>

#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonParseError>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// Whether stores, terminals and editors keep \a character as it is.
bool isSafe(QChar character)
{
    switch (character.category()) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Other_Surrogate:
    case QChar::Other_PrivateUse:
    case QChar::Other_NotAssigned:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return false;
    default:
        return true;
    }
}

void appendEscaped(QString &json, QChar character)
{
    json += u"\\u";
    for (int shift = 12; shift >= 0; shift -= 4)
        json += QChar(u"0123456789abcdef"[character.unicode() >> shift & 0xf]);
}

} // namespace

void jsontext::appendString(QString &json, const QString &text)
{
    json += u'"';
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar character = text.at(i);
        if (character == u'"' || character == u'\\') {
            json += u'\\';
            json += character;
        } else if (isSafe(character)) {
            json += character;
        } else if (character.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) {
            json += character;
            json += text.at(++i);
        } else {
            appendEscaped(json, character);
        }
    }
    json += u'"';
}

QString jsontext::fromStrings(const QStringList &texts)
{
    QString json(u'[');
    for (const QString &text : texts) {
        if (json.size() > 1)
            json += u',';
        appendString(json, text);
    }
    json += u']';
    return json;
}

QJsonArray jsontext::readArray(const QString &json)
{
    const QByteArray bytes = json.toUtf8();
    // Half a surrogate pair that is not escaped would be read as another character.
    if (QString::fromUtf8(bytes) != json) {
        throw Exception(QCoreApplication::translate("KeyText", "Ошибка в JSON: %1").arg(u"illegal UTF-16"_s));
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError)
        throw Exception(QCoreApplication::translate("KeyText", "Ошибка в JSON: %1").arg(error.errorString()));
    if (!document.isArray())
        throw Exception(QCoreApplication::translate("KeyText", "В JSON не список"));
    return document.array();
}

QStringList jsontext::readStrings(const QString &json)
{
    const QJsonArray array = readArray(json);
    QStringList texts;
    for (const auto &entry : array) {
        if (!entry.isString())
            throw Exception(QCoreApplication::translate("KeyText", "В JSON не список строк"));
        texts.append(entry.toString());
    }
    return texts;
}

} // namespace sito
