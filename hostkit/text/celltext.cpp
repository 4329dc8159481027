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
    case FieldType::VarChar:
    case FieldType::String:
        return field.toString();
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
