// SPDX-License-Identifier: MIT
#include <hostkit/text/keytext.h>

#include <data/exception.h>
#include <data/keyvalue.h>
#include <data/table.h>
#include <filters/valuefilter.h>

#include <QCoreApplication>

#include <algorithm>
#include <utility>

#include <hostkit/text/celltext.h>
#include <hostkit/text/jsontext_p.h>
#include <hostkit/text/keychecks_p.h>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

constexpr QChar absentMark(u'\u2400');

bool isText(FieldType::Type type)
{
    return type == FieldType::VarChar || type == FieldType::String;
}

void appendField(QString &json, const FieldValue &field)
{
    if (const std::optional<QString> text = cellText(field))
        jsontext::appendString(json, *text);
    else
        json += u"null";
}

/// \a entry of a key as text, for a message.
QString entryText(const QJsonValue &entry)
{
    QString json;
    if (entry.isString())
        jsontext::appendString(json, entry.toString());
    else
        json = u"null"_s;
    return json;
}

QString keyText(const QJsonArray &entries)
{
    QStringList texts;
    for (const auto &entry : entries)
        texts.append(entryText(entry));
    return u'[' + texts.join(u',') + u']';
}

FieldValue readField(const ValueFilter &filter, int column, const QJsonArray &key, qsizetype position)
{
    const Table &table = *filter.table();
    const QJsonValue entry = key.at(position);
    FieldValue field(filter.table(), column);
    if (entry.isNull()) {
        if (!table.columnDef(column)->nullable)
            keychecks::requireNullable(table, column, keyText(key));
        return field;
    }

    QString text = entry.toString();
    if (isText(field.def->type) && text.startsWith(absentMark))
        text.prepend(absentMark);
    field.fromText(text);
    // Users cannot type a NaN, but rows may hold one.
    const bool isNotANumber = field.def->type == FieldType::Double && text == "nan"_L1;
    if (!field.isPresent() || !(isNotANumber || keychecks::isFaithful(field, text)))
        keychecks::refuseValue(table, column, entry.toString(), keyText(key));
    return field;
}

} // namespace

QString keysToJson(const ValueFilter &filter)
{
    QString json(u'[');
    for (const KeyValue &key : filter.getAllExcludedKeys()) {
        json += json.size() > 1 ? u",[" : u"[";
        const qsizetype start = json.size();
        for (const FieldValue &field : key) {
            if (json.size() > start)
                json += u',';
            appendField(json, field);
        }
        json += u']';
    }
    json += u']';
    return json;
}

void keysFromJson(ValueFilter &filter, const QString &json)
{
    const QList<int> &columns = filter.columns();
    keychecks::requireComparable(*filter.table(), columns);
    const QJsonArray array = jsontext::readArray(json);
    QList<KeyValue> keys;
    keys.reserve(array.size());
    for (const auto &entry : array) {
        const auto fits = [](const QJsonValue &value) { return value.isString() || value.isNull(); };
        const QJsonArray fields = entry.toArray();
        if (!entry.isArray() || !std::all_of(fields.begin(), fields.end(), fits)) {
            throw Exception(QCoreApplication::translate("KeyText", "Ключ %1 записан не списком строк и null")
                                .arg(keys.size() + 1));
        }
        if (fields.size() != columns.size())
            keychecks::requireFieldCount(fields.size(), columns.size(), keyText(fields));
        KeyValue key;
        key.reserve(columns.size());
        for (qsizetype i = 0; i < columns.size(); ++i)
            key.append(readField(filter, columns.at(i), fields, i));
        keys.append(std::move(key));
    }
    filter.setAllExcludedKeys(keys);
}

} // namespace sito
