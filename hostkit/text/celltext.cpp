// SPDX-License-Identifier: MIT
#include <hostkit/text/celltext.h>

#include <data/fieldvalue.h>

#include <algorithm>

namespace sito {

std::optional<QString> cellText(const Field &field)
{
    if (!field.isPresent())
        return std::nullopt;
    switch (field.def->type) {
    case FieldType::String:
        // Not toString(), which may make a copy.
        return *reinterpret_cast<const QString *>(field.data);
    case FieldType::VarChar: {
        // toString() may leave out blanks at the end, but not where it is what the value is compared by.
        QString text = field.toString();
        if (text == field.asStaticString())
            return text;
        // A text form that begins with "␀" has one "␀" more.
        text = FieldValue(field).toText();
        return text.startsWith(u'␀') ? text.sliced(1) : text;
    }
    default:
        return FieldValue(field).toText();
    }
}

QString csvField(const std::optional<QString> &text)
{
    if (!text)
        return QString();
    const bool needsQuotes =
        text->isEmpty() || text->front().isSpace() || text->back().isSpace() ||
        std::any_of(text->begin(), text->end(), [](QChar character) {
            return character == u',' || character == u'"' || character == u'\n' || character == u'\r';
        });
    if (!needsQuotes)
        return *text;
    return u'"' + QString(*text).replace(u'"', QStringLiteral("\"\"")) + u'"';
}

} // namespace sito
