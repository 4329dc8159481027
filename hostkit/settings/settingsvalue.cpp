// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingsvalue.h>

#include <hostkit/settings/settingstext_p.h>
#include <hostkit/settings/settingsviewproxy.h>
#include <hostkit/text/shortenedtext.h>
#include <settings/settingsmodel.h>
#include <settings/settingsmodelitem.h>

#include <QAbstractProxyModel>
#include <QCoreApplication>
#include <QFont>
#include <QKeySequence>
#include <QUrl>

#include <algorithm>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(SettingsValue)
};

/// With the mark of what is cut off.
constexpr qsizetype longest = 501;

/// A map, sorted or not.
bool isMap(const QVariant &value)
{
    return value.typeId() == QMetaType::QVariantMap || value.typeId() == QMetaType::QVariantHash;
}

/// Control characters as the pictures that Unicode has of them.
QString visible(QString text)
{
    for (QChar &c : text) {
        if (c == u'\n' || c == QChar::LineSeparator || c == QChar::ParagraphSeparator)
            c = u'↵';
        else if (c.unicode() < 0x20)
            c = QChar(ushort(0x2400 + c.unicode()));
        else if (c.unicode() == 0x7f)
            c = u'␡';
    }
    return text;
}

/// The text of an item among others.
QString shownItem(const QVariant &item)
{
    const QString text = settingsValueText(item);
    if (SettingsText::isList(item))
        return u'[' + text + u']';
    const bool plain = item.typeId() != QMetaType::QString ||
                       (!text.isEmpty() && text.trimmed() == text && !text.contains(u',') &&
                        !text.contains(u'"') && !text.contains(u'['));
    return plain ? text : u'"' + QString(text).replace(u'"', u"\\\""_s) + u'"';
}

/// The index of the uppermost SettingsViewProxy, or that of the model below all proxies when there is none.
QModelIndex behindProxies(QModelIndex index)
{
    const auto *proxy = qobject_cast<const QAbstractProxyModel *>(index.model());
    while (proxy && !qobject_cast<const SettingsViewProxy *>(proxy)) {
        index = proxy->mapToSource(index);
        proxy = qobject_cast<const QAbstractProxyModel *>(index.model());
    }
    return index;
}

} // namespace

QString settingsPath(const QModelIndex &index)
{
    const QModelIndex source = behindProxies(index);
    if (qobject_cast<const SettingsViewProxy *>(source.model()))
        return source.data(SettingsViewProxy::PathRole).toString();
    QStringList names;
    for (QModelIndex row = index; row.isValid(); row = row.parent())
        names += row.siblingAtColumn(0).data().toString();
    std::reverse(names.begin(), names.end());
    return names.join(u'/');
}

QVariant settingsValue(const QModelIndex &index)
{
    constexpr int valueColumn = 2;
    const QModelIndex source = behindProxies(index);
    if (source.isValid() && source.column() == valueColumn) {
        if (qobject_cast<const SettingsViewProxy *>(source.model()))
            return source.data(SettingsViewProxy::ValueRole);
        // The roles of the model join the items of a list. Its indexes point to the items of its tree.
        if (qobject_cast<const SettingsModel *>(source.model()))
            return static_cast<const SettingsModelItem *>(source.internalPointer())->value;
    }
    return index.data(Qt::EditRole);
}

QString settingsValueText(const QVariant &value)
{
    QString text;
    if (!value.isValid())
        return text;
    if (value.typeId() == QMetaType::Bool) {
        text = value.toBool() ? Texts::tr("Да") : Texts::tr("Нет");
    } else if (value.typeId() == QMetaType::QString) {
        text = value.toString().left(longest + 1);
    } else if (value.typeId() == QMetaType::QFont) {
        const QFont font = value.value<QFont>();
        text = font.pointSizeF() > 0 ? Texts::tr("%1, %2 пт").arg(font.family()).arg(font.pointSizeF())
                                     : Texts::tr("%1, %2 пикс.").arg(font.family()).arg(font.pixelSize());
        if (font.bold())
            text += Texts::tr(", жирный");
        if (font.italic())
            text += Texts::tr(", курсив");
    } else if (value.typeId() == QMetaType::QKeySequence) {
        text = value.value<QKeySequence>().toString(QKeySequence::NativeText);
    } else if (value.typeId() == QMetaType::QUrl) {
        text = value.toUrl().toDisplayString();
    } else if (SettingsText::isKnown(value.metaType())) {
        text = SettingsText::fromValue(value);
        if (value.typeId() == QMetaType::QDateTime)
            text.replace(text.indexOf(u'T'), 1, u" "_s);
    } else if (SettingsText::isList(value)) {
        const QVariantList items = value.toList();
        for (const QVariant &item : items) {
            text += (text.isNull() ? QString() : u", "_s) + shownItem(item);
            if (text.size() > longest)
                break;
        }
        if (items.isEmpty())
            text = Texts::tr("(пустой список)");
    } else if (isMap(value)) {
        QStringList items;
        const QVariantMap map = value.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it)
            items += it.key() + u": "_s + shownItem(it.value());
        text = u'{' + items.join(u", "_s) + u'}';
    } else if (value.canConvert<QString>()) {
        text = value.toString();
    } else {
        text = u'<' + QString::fromLatin1(value.metaType().name()) + u'>';
    }
    return visible(shortenedText(text, longest));
}

bool isSameSettingsValue(const QVariant &left, const QVariant &right)
{
    if (left.metaType() != right.metaType())
        return false;
    switch (left.typeId()) {
    // What `==` takes for equal when it is nearly so, or in another form.
    case QMetaType::Float:
    case QMetaType::Double:
    case QMetaType::QDateTime:
    case QMetaType::QColor:
    case QMetaType::QSizeF:
    case QMetaType::QPointF:
    case QMetaType::QRectF:
        return SettingsText::fromValue(left) == SettingsText::fromValue(right);
    default:
        break;
    }
    if (SettingsText::isList(left)) {
        const QVariantList one = left.toList();
        const QVariantList other = right.toList();
        return std::equal(one.begin(), one.end(), other.begin(), other.end(), isSameSettingsValue);
    }
    if (isMap(left)) {
        const QVariantMap one = left.toMap();
        const QVariantMap other = right.toMap();
        const auto same = [](const std::pair<QString, QVariant> &item,
                             const std::pair<QString, QVariant> &its) {
            return item.first == its.first && isSameSettingsValue(item.second, its.second);
        };
        return std::equal(one.constKeyValueBegin(), one.constKeyValueEnd(), other.constKeyValueBegin(),
                          other.constKeyValueEnd(), same);
    }
    return left == right;
}

} // namespace sito
