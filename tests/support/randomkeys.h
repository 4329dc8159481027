// SPDX-License-Identifier: MIT
#pragma once

#include <data/keyvalue.h>
#include <database/memorytable.h>
#include <filters/valuefilter.h>

#include <QRandomGenerator>
#include <QStringList>

#include <cmath>
#include <iterator>
#include <limits>

/// A table with a column of every type that keys are made of, each once with and once without absent values.
inline QList<ColumnSpec> everyTypeColumns()
{
    using namespace Qt::StringLiterals;
    QList<ColumnSpec> columns;
    for (const bool nullable : {true, false}) {
        const QString mark = nullable ? QString() : u"!"_s;
        columns += {{u"int"_s + mark, FieldType::Int, nullable},
                    {u"int64"_s + mark, FieldType::Int64, nullable},
                    {u"double"_s + mark, FieldType::Double, nullable},
                    {u"decimal"_s + mark, FieldType::Decimal, nullable, 4},
                    {u"xdecimal"_s + mark, FieldType::XDecimal, nullable, 10},
                    {u"varchar"_s + mark, FieldType::VarChar, nullable, 7},
                    {u"datetime"_s + mark, FieldType::DateTime, nullable},
                    {u"string"_s + mark, FieldType::String, nullable}};
    }
    return columns;
}

/// Values that are hard to write down, and common ones.
class RandomValues
{
public:
    explicit RandomValues(quint64 seed)
        : m_random(std::initializer_list<quint32>{quint32(seed), quint32(seed >> 32)}.begin(), 2)
    {
    }

    QRandomGenerator &random() { return m_random; }
    int below(int bound) { return m_random.bounded(bound); }
    bool oneIn(int count) { return below(count) == 0; }

    QString text(int capacity)
    {
        static constexpr char16_t units[] = {
            u',',   u'|',   u'"',   u'\\',  u'\'',  u'\0',  u'\n',  u'\r',  u'\t',  u';',   u'=',
            u'%',   u'/',   u'@',   u'[',   u']',   u'{',   u'}',   u' ',   u'a',   u'Я',   u'ё',
            0x2400, 0xd800, 0xdbff, 0xdc00, 0xdfff, 0xfeff, 0xfffe, 0xffff, 0x2028, 0x202e, 0x7f,
            0x80,   0x300,  0xe000, 0x1b,   u'N',   u'u',   u'0',   0xa0,   0xad};
        QString result;
        const int length = below(capacity + 1);
        for (int i = 0; i < length; ++i) {
            const int kind = below(10);
            if (kind == 0)
                result += QChar(char16_t(m_random.bounded(0x10000)));
            else
                result += QChar(units[below(int(std::size(units)))]);
        }
        return result;
    }

    CellValue value(const ColumnSpec &column)
    {
        if (column.nullable && oneIn(6))
            return std::monostate();
        const auto bits = m_random.generate64();
        switch (column.type) {
        case FieldType::Int: {
            const qint32 some[] = {0,
                                   -1,
                                   std::numeric_limits<qint32>::min(),
                                   std::numeric_limits<qint32>::max(),
                                   qint32(quint32(bits)),
                                   qint32(bits % 50)};
            return some[below(6)];
        }
        case FieldType::Int64: {
            const qint64 some[] = {0,
                                   -1,
                                   std::numeric_limits<qint64>::min(),
                                   std::numeric_limits<qint64>::max(),
                                   qint64(bits),
                                   qint64(bits % 50)};
            return some[below(6)];
        }
        case FieldType::Double:
            return real(bits);
        case FieldType::Decimal: {
            const qint64 unscaled = oneIn(3) ? decimal::maxUnscaled : qint64(bits) >> (8 + below(50));
            return decimal::fromUnscaled(unscaled, short(below(8) - 3));
        }
        case FieldType::XDecimal: {
            QString digits = oneIn(2) ? QStringLiteral("-") : QString();
            for (int i = below(36) + 1; i > 0; --i)
                digits += QChar(u'0' + below(10));
            digits += u'e' + QString::number(below(40) - 10);
            const auto number = xdecimal::fromString(digits);
            return number ? *number : xdecimal();
        }
        case FieldType::VarChar: {
            QString result = text(column.length);
            while (result.endsWith(QChar(u'\0'))) // a VarChar column cannot hold them
                result.chop(1);
            return result;
        }
        case FieldType::DateTime: {
            const qint64 some[] = {0,
                                   -1,
                                   1,
                                   -62'135'596'800'001,
                                   253'402'300'800'000,
                                   std::numeric_limits<qint64>::min(),
                                   std::numeric_limits<qint64>::max(),
                                   qint64(bits),
                                   qint64(bits >> 22),
                                   qint64(bits >> 22) / 86'400'000 * 86'400'000};
            return datetime(some[below(10)]);
        }
        default:
            return text(20);
        }
    }

    QList<CellValue> row(const QList<ColumnSpec> &columns)
    {
        QList<CellValue> values;
        for (const ColumnSpec &column : columns)
            values.append(value(column));
        return values;
    }

private:
    double real(quint64 bits)
    {
        using Limits = std::numeric_limits<double>;
        const double some[] = {0.0,
                               -0.0,
                               0.1,
                               1e22,
                               Limits::infinity(),
                               -Limits::infinity(),
                               Limits::quiet_NaN(),
                               Limits::denorm_min(),
                               Limits::max(),
                               Limits::lowest(),
                               std::ldexp(double(bits >> 11), below(2000) - 1000),
                               double(bits % 10000) / 100};
        return some[below(12)];
    }

    QRandomGenerator m_random;
};

/// Whether one of the fields of \a keys equals every other of its type.
inline bool holdsNaN(const QList<KeyValue> &keys)
{
    for (const KeyValue &key : keys) {
        for (const FieldValue &field : key) {
            if (field.def->type == FieldType::Double && field.isPresent() &&
                std::isnan(field.value<double>()))
                return true;
        }
    }
    return false;
}

/// The fields of every key with their types, for comparison: exact, with absent values told apart.
inline QStringList exactTexts(const QList<KeyValue> &keys)
{
    QStringList result;
    for (const KeyValue &key : keys) {
        QString text;
        for (const FieldValue &field : key) {
            const QString value = field.toText();
            text += FieldType::typeName(field.def->type) + (field.isPresent() ? u'=' : u'-') +
                    QString::number(value.size()) + u':' + value + u' ';
        }
        result.append(text);
    }
    return result;
}

/// The difference between the keys of two filters; empty when there is none.
inline QString keyDifference(const ValueFilter &filter, const ValueFilter &original)
{
    const QList<KeyValue> &keys = filter.getAllExcludedKeys();
    const QList<KeyValue> &expected = original.getAllExcludedKeys();
    QStringList texts = exactTexts(keys);
    QStringList expectedTexts = exactTexts(expected);
    if (holdsNaN(expected)) { // such keys have no order
        texts.sort();
        expectedTexts.sort();
        return texts == expectedTexts ? QString() : QStringLiteral("other keys with a NaN among them");
    }
    if (texts != expectedTexts)
        return QStringLiteral("other keys: ") + texts.join(u'|') + QStringLiteral(" instead of ") +
               expectedTexts.join(u'|');
    for (qsizetype i = 0; i < keys.size(); ++i) {
        if (keys.at(i) < expected.at(i) || expected.at(i) < keys.at(i))
            return QStringLiteral("key %1 is not equal").arg(i);
    }
    return QString();
}
