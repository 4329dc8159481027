// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingstext_p.h>

#include <hostkit/settings/settingscolortext_p.h>
#include <hostkit/settings/settingsescapes_p.h>
#include <hostkit/settings/settingsfonttext_p.h>
#include <hostkit/settings/settingsnumbertext_p.h>
#include <hostkit/settings/settingstexts_p.h>
#include <hostkit/settings/settingstimetext_p.h>

#include <QColor>
#include <QFont>
#include <QKeySequence>
#include <QUrl>
#include <QUuid>

#include <algorithm>
#include <array>
#include <type_traits>

namespace sito::SettingsText {

using namespace Qt::StringLiterals;

namespace {

QString plainText(const QString &text)
{
    return text;
}

std::optional<QString> anyText(const QString &text, QString * /*problem*/)
{
    return text;
}

QString characterText(QChar character)
{
    return escaped(character);
}

std::optional<QChar> characterOf(const QString &text, QString *problem)
{
    const auto plain = unescaped(text);
    if (plain && plain->size() == 1)
        return plain->at(0);
    *problem = Texts::tr("Здесь нужен ровно один символ");
    return std::nullopt;
}

QString keysText(const QKeySequence &keys)
{
    return keys.toString(QKeySequence::PortableText);
}

std::optional<QKeySequence> keysOf(const QString &text, QString *problem)
{
    const QKeySequence keys = QKeySequence::fromString(text.trimmed(), QKeySequence::PortableText);
    bool known = text.trimmed().isEmpty() || keys.count() > 0;
    for (int i = 0; i < keys.count(); ++i)
        known = known && keys[uint(i)].key() != Qt::Key_unknown;
    if (known)
        return keys;
    *problem = Texts::tr("Сочетание пишется так: Ctrl+Shift+F5");
    return std::nullopt;
}

QString uuidText(QUuid uuid)
{
    return uuid.toString();
}

std::optional<QUuid> uuidOf(const QString &text, QString *problem)
{
    const QUuid uuid = QUuid::fromString(text.trimmed());
    if (!uuid.isNull() || text.trimmed() == uuidText({}))
        return uuid;
    *problem = Texts::tr("UUID пишется так: %1").arg(uuidText({}));
    return std::nullopt;
}

QString urlText(const QUrl &url)
{
    return url.toString(QUrl::FullyEncoded);
}

std::optional<QUrl> urlOf(const QString &text, QString *problem)
{
    const QUrl url(text.trimmed(), QUrl::StrictMode);
    if (text.trimmed().isEmpty() || url.isValid())
        return url;
    *problem = Texts::tr("Это не адрес: %1").arg(url.errorString());
    return std::nullopt;
}

struct Type
{
    int id;
    QString (*toText)(const QVariant &value);
    std::optional<QVariant> (*fromText)(const QVariant &old, const QString &text, QString *problem);
};

/// A type with a function that writes its values and one that reads them, with the old value or without.
template <typename Value, auto write, auto read>
Type type()
{
    return {QMetaType::fromType<Value>().id(),
            [](const QVariant &value) { return write(value.value<Value>()); },
            [](const QVariant &old, const QString &text, QString *problem) {
                std::optional<Value> value;
                if constexpr (std::is_invocable_v<decltype(read), Value, QString, QString *>)
                    value = read(old.value<Value>(), text, problem);
                else
                    value = read(text, problem);
                return value ? std::optional(QVariant::fromValue(*value)) : std::nullopt;
            }};
}

template <typename Number>
Type number()
{
    return type<Number, numberText<Number>, numberOf<Number>>();
}

const Type *find(QMetaType wanted)
{
    static const std::array types{
        number<char>(),
        number<signed char>(),
        number<uchar>(),
        number<short>(),
        number<ushort>(),
        number<int>(),
        number<uint>(),
        number<long>(),
        number<ulong>(),
        number<qlonglong>(),
        number<qulonglong>(),
        number<float>(),
        number<double>(),
        type<QString, plainText, anyText>(),
        type<QChar, characterText, characterOf>(),
        type<QByteArray, bytesText, bytesOf>(),
        type<QDate, dateText, dateOf>(),
        type<QTime, timeText, timeOf>(),
        type<QDateTime, dateTimeText, dateTimeOf>(),
        type<QColor, colorText, colorOf>(),
        type<QFont, fontText, fontOf>(),
        type<QSize, sizeText<QSize>, pairOf<QSize, int>>(),
        type<QSizeF, sizeText<QSizeF>, pairOf<QSizeF, qreal>>(),
        type<QPoint, pointText<QPoint>, pairOf<QPoint, int>>(),
        type<QPointF, pointText<QPointF>, pairOf<QPointF, qreal>>(),
        type<QRect, rectText, rectOf>(),
        type<QRectF, exactRectText, exactRectOf>(),
        type<QKeySequence, keysText, keysOf>(),
        type<QUuid, uuidText, uuidOf>(),
        type<QUrl, urlText, urlOf>(),
    };
    const auto found = std::find_if(types.begin(), types.end(),
                                    [id = wanted.id()](const Type &type) { return type.id == id; });
    return found == types.end() ? nullptr : &*found;
}

} // namespace

bool isKnown(QMetaType type)
{
    return find(type);
}

QString fromValue(const QVariant &value)
{
    const Type *type = find(value.metaType());
    return type ? type->toText(value) : QString();
}

std::optional<QVariant> toValue(const QVariant &old, const QString &text, QString *problem)
{
    if (const Type *type = find(old.metaType()))
        return type->fromText(old, text, problem);
    *problem = Texts::tr("Значения этого типа не меняются");
    return std::nullopt;
}

} // namespace sito::SettingsText
