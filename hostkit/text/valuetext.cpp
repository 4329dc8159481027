// SPDX-License-Identifier: MIT
#include <hostkit/text/valuetext_p.h>

#include <hostkit/text/celltext.h>
#include <hostkit/text/shortenedtext.h>

#include <filters/valuefilter.h>

#include <QCoreApplication>

#include <algorithm>
#include <cmath>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

struct Words
{
    Q_DECLARE_TR_FUNCTIONS(ValueListFilter)
};

bool isControl(QChar character)
{
    switch (character.category()) {
    case QChar::Other_Control:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        return false;
    }
}

QString inOneLine(QString text)
{
    if (std::none_of(text.cbegin(), text.cend(), isControl))
        return text;
    text.replace(u"\r\n"_s, u"\n"_s);
    for (QChar &character : text) {
        if (character == u'\n' || character == u'\u2028' || character == u'\u2029')
            character = u'↵';
        else if (character == u'\t')
            character = u' ';
        else if (isControl(character))
            character = QChar::ReplacementCharacter;
    }
    return text;
}

/// The text of a present field; that of a VarChar with the blanks at its end.
QString wholeText(const Field &field)
{
    return field.def->type == FieldType::VarChar ? *cellText(field) : field.toString();
}

bool isNoDate(const Field &field)
{
    return field.def->type == FieldType::DateTime && field.value<qint64>() == 0;
}

bool isNaN(const Field &field)
{
    return field.def->type == FieldType::Double && std::isnan(field.value<double>());
}

} // namespace

QString valuetext::shown(const Field &field)
{
    if (!field.isPresent())
        return Words::tr("(нет значения)");
    if (isNoDate(field))
        return Words::tr("(нет даты)");
    if (isNaN(field))
        return Words::tr("(не число)");
    return shownText(wholeText(field));
}

QString valuetext::shownText(const QString &text)
{
    return text.isEmpty() ? Words::tr("(пусто)") : inOneLine(text);
}

QString valuetext::shown(const KeyValue &key)
{
    QStringList fields;
    for (const FieldValue &field : key)
        fields.append(shown(field));
    return joined(fields);
}

bool valuetext::isUnwritten(const Field &field)
{
    return !field.isPresent() || isNoDate(field) || isNaN(field) ||
           ((field.def->type == FieldType::String || field.def->type == FieldType::VarChar) &&
            wholeText(field).isEmpty());
}

QString valuetext::joined(const QStringList &fields)
{
    return fields.join(u" · "_s);
}

QString valuetext::summary(const ValueFilter &filter)
{
    constexpr qsizetype enoughUnits = 60;
    constexpr qsizetype longestKey = 40;
    const QList<KeyValue> &keys = filter.getAllExcludedKeys();
    QStringList texts;
    qsizetype units = 0;
    for (const KeyValue &key : keys) {
        const QString text = shortenedText(filter.keyToText(key), longestKey);
        units += text.size() + 2;
        if (!texts.isEmpty() && units > enoughUnits)
            break;
        texts.append(text);
    }
    QString joinedTexts = texts.join(u", "_s);
    if (texts.size() == keys.size())
        return joinedTexts;
    return Words::tr("%1 (ещё %2)").arg(joinedTexts, QString::number(keys.size() - texts.size()));
}

} // namespace sito
