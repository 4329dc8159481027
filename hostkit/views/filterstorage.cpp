// SPDX-License-Identifier: MIT
#include <hostkit/views/filterstorage.h>

#include <hostkit/filters/columnsfilter.h>
#include <hostkit/filters/filterlist.h>
#include <hostkit/text/exceptiontext.h>
#include <hostkit/text/keytext.h>
#include <hostkit/values/showonlyfilter.h>
#include <hostkit/values/valuelistfilter.h>

#include <data/exception.h>
#include <data/table.h>
#include <filterfuncs/filterfunc.h>
#include <filters/securitiessessionfilter.h>

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QMap>
#include <QSettings>
#include <QVariant>

#include <algorithm>
#include <limits>
#include <utility>

#include <hostkit/text/jsontext_p.h>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// The number of the form that this code writes. A later form is left alone.
constexpr int formVersion = 1;

const QString sizeKey = u"size"_s;
const QString versionKey = u"version"_s;
const QString kindKey = u"kind"_s;
const QString columnsKey = u"columns"_s;
const QString enabledKey = u"enabled"_s;
const QString keysKey = u"keys"_s;
const QString textKey = u"text"_s;

/// \a name as a part of a key. Every store accepts it, and no other name has the same, also in stores that
/// ignore case: small letters and digits of ASCII as they are, everything else as "_" and four digits.
QString encoded(const QString &name)
{
    if (name.isEmpty())
        return u"_"_s;
    QString result;
    for (const QChar character : name) {
        const char16_t unit = character.unicode();
        if ((unit >= u'a' && unit <= u'z') || (unit >= u'0' && unit <= u'9'))
            result += character;
        else
            result += u'_' + QString::number(unit, 16).rightJustified(4, u'0');
    }
    return result;
}

/// The name from which encoded() makes \a part; null when there is none.
QString decoded(const QString &part)
{
    if (part == "_"_L1)
        return u""_s;
    QString name;
    for (qsizetype i = 0; i < part.size(); ++i) {
        if (part.at(i) == u'_') {
            name += QChar(char16_t(QStringView(part).mid(i + 1, 4).toUShort(nullptr, 16)));
            i += 4;
        } else {
            name += part.at(i);
        }
    }
    return encoded(name) == part ? name : QString();
}

QString viewGroup(const QString &view)
{
    return u"filters/"_s + encoded(view) + u'/';
}

QString currentGroup(const QString &view)
{
    return viewGroup(view) + u"current/"_s;
}

QString setsGroup(const QString &view)
{
    return viewGroup(view) + u"sets/"_s;
}

QString setGroup(const QString &view, const QString &name)
{
    return setsGroup(view) + encoded(name) + u'/';
}

/// The groups right below \a group of \a store.
QStringList groupsBelow(QSettings &store, const QString &group)
{
    store.beginGroup(group);
    QStringList groups = store.childGroups();
    store.endGroup();
    return groups;
}

std::unique_ptr<ValueFilter> makeSessionFilter(Table &table, const QList<int> &columns)
{
    if (columns.size() != 2) {
        throw Exception(QCoreApplication::translate(
            "FilterStorage", "Фильтр последних сессий бывает только по двум столбцам"));
    }
    return std::make_unique<SecuritiesSessionFilter>(table, columns.constFirst(), columns,
                                                     columns.constLast(), nullptr);
}

bool isStored(QSettings &store, const QString &group)
{
    return store.contains(group + sizeKey) || !groupsBelow(store, group).isEmpty();
}

} // namespace

struct FilterStorage::Kind
{
    QString name;
    const QMetaObject *type;
    Maker maker;
    Keys keys;
};

/// One stored filter.
struct FilterStorage::Entry
{
    /// Its number in the store, from 1.
    int number = 0;
    /// Everything that is stored of it, known or not.
    QMap<QString, QVariant> values;

    QString text(const QString &key) const { return values.value(key).toString(); }
    /// Whether \a other has the same content; a store may return numbers and switches as texts.
    bool isLike(const Entry &other) const
    {
        const auto isSame = [](const QVariant &one, const QVariant &two) {
            return one == two || (!one.toString().isEmpty() && one.toString() == two.toString());
        };
        if (values.size() != other.values.size())
            return false;
        for (auto one = values.begin(), two = other.values.begin(); one != values.end(); ++one, ++two) {
            if (one.key() != two.key() || !isSame(one.value(), two.value()))
                return false;
        }
        return true;
    }
    /// The columns for people to read, whatever is stored.
    QString columnsText() const
    {
        const QJsonArray names = QJsonDocument::fromJson(text(columnsKey).toUtf8()).array();
        return names.isEmpty() ? text(columnsKey)
                               : QVariant(names.toVariantList()).toStringList().join(u", "_s);
    }
};

FilterStorage::FilterStorage(QSettings &store) : m_store(store) {}

FilterStorage::~FilterStorage() = default;

void FilterStorage::registerKind(const QString &kind, const QMetaObject &type, Maker maker, Keys keys)
{
    std::erase_if(m_kinds, [&kind](const Kind &known) { return known.name == kind; });
    m_kinds.insert(m_kinds.begin(), {kind, &type, std::move(maker), keys}); // the newest is found first
}

void FilterStorage::registerHostKinds()
{
    registerKind(u"columns"_s, ColumnsFilter::staticMetaObject, [](Table &table, const QList<int> &columns) {
        return std::make_unique<ColumnsFilter>(table, columns);
    });
    registerKind(u"only"_s, ShowOnlyFilter::staticMetaObject, [](Table &table, const QList<int> &columns) {
        return std::make_unique<ShowOnlyFilter>(table, columns);
    });
    registerKind(u"values"_s, ValueListFilter::staticMetaObject, [](Table &table, const QList<int> &columns) {
        return std::make_unique<ValueListFilter>(table, columns);
    });
    registerKind(u"session"_s, SecuritiesSessionFilter::staticMetaObject, makeSessionFilter, Keys::Made);
}

void FilterStorage::save(const QString &view, const FilterList &filters)
{
    saveTo(currentGroup(view), filters);
}

bool FilterStorage::contains(const QString &view) const
{
    return isStored(m_store, currentGroup(view));
}

bool FilterStorage::containsKind(const QString &view, const QString &kind) const
{
    const auto hasKind = [this, &kind](const QString &group) {
        const QList<Entry> entries = read(group);
        return std::any_of(entries.begin(), entries.end(),
                           [&kind](const Entry &entry) { return entry.text(kindKey) == kind; });
    };
    if (hasKind(currentGroup(view)))
        return true;
    const QStringList names = setNames(view);
    return std::any_of(names.begin(), names.end(),
                       [&](const QString &name) { return hasKind(setGroup(view, name)); });
}

QStringList FilterStorage::restore(const QString &view, FilterList &filters)
{
    return restoreFrom(currentGroup(view), tr("Вид «%1»").arg(view), filters);
}

void FilterStorage::remove(const QString &view)
{
    removeGroup(currentGroup(view));
}

QStringList FilterStorage::setNames(const QString &view) const
{
    QStringList names;
    const QString sets = setsGroup(view);
    const QStringList groups = groupsBelow(m_store, sets);
    for (const QString &group : groups) {
        const QString name = decoded(group);
        if (!name.isNull())
            names.append(name);
    }
    names.sort();
    return names;
}

void FilterStorage::saveSet(const QString &view, const QString &name, const FilterList &filters)
{
    saveTo(setGroup(view, name), filters);
}

QStringList FilterStorage::restoreSet(const QString &view, const QString &name, FilterList &filters)
{
    const QString place = tr("Вид «%1», набор «%2»").arg(view, name);
    const QString group = setGroup(view, name);
    if (!isStored(m_store, group)) {
        const QString error = readingError();
        return {error.isEmpty() ? tr("%1: такого набора нет").arg(place) : error};
    }
    return restoreFrom(group, place, filters);
}

void FilterStorage::removeSet(const QString &view, const QString &name)
{
    removeGroup(setGroup(view, name));
}

const FilterStorage::Kind *FilterStorage::kindOf(const QMetaObject &type) const
{
    for (const QMetaObject *meta = &type; meta; meta = meta->superClass()) {
        const auto kind = std::find_if(m_kinds.begin(), m_kinds.end(),
                                       [meta](const Kind &known) { return known.type == meta; });
        if (kind != m_kinds.end())
            return &*kind;
    }
    return nullptr;
}

std::unique_ptr<ValueFilter> FilterStorage::make(const Entry &entry, Table &table) const
{
    bool isNumber = false;
    const int version = entry.text(versionKey).toInt(&isNumber);
    if (!isNumber || version != formVersion)
        throw Exception(tr("Запись версии «%1» не читается").arg(entry.text(versionKey)));
    const QString name = entry.text(kindKey);
    const auto kind = std::find_if(m_kinds.begin(), m_kinds.end(),
                                   [&name](const Kind &known) { return known.name == name; });
    if (kind == m_kinds.end())
        throw Exception(tr("Вид фильтра «%1» неизвестен").arg(name));
    const QStringList names = jsontext::readStrings(entry.text(columnsKey));
    if (names.isEmpty())
        throw Exception(tr("Столбцы не названы"));

    const QList<int> columns = ColumnsFilter::columnsByName(table, names);
    std::unique_ptr<ValueFilter> filter = kind->maker(table, columns);
    if (!filter)
        throw Exception(tr("Фильтр не создан"));
    if (kind->keys == Keys::Stored)
        keysFromJson(*filter, entry.text(keysKey));
    // A predicate may refuse a key that was read without error, and would fail every pass over the rows.
    const std::unique_ptr<FilterFunc> func(filter->createFilterFunc(nullptr));
    filter->setEnabled(entry.values.value(enabledKey, true).toBool());
    return filter;
}

QString FilterStorage::attempt(const Entry &entry, Table &table, std::unique_ptr<ValueFilter> &filter) const
{
    try {
        filter = make(entry, table);
        return QString();
    } catch (...) {
        return currentExceptionText();
    }
}

QList<FilterStorage::Entry> FilterStorage::read(const QString &group) const
{
    bool hasSize = false;
    int size = m_store.value(group + sizeKey).toInt(&hasSize);
    if (!hasSize)
        size = std::numeric_limits<int>::max();
    QList<int> numbers;
    const QStringList groups = groupsBelow(m_store, group);
    for (const QString &name : groups) {
        const int number = name.toInt();
        // Entries beyond the size come from another program that writes the file at the same time.
        if (number >= 1 && number <= size && QString::number(number) == name)
            numbers.append(number);
    }
    std::sort(numbers.begin(), numbers.end());

    QList<Entry> entries;
    for (const int number : std::as_const(numbers)) {
        Entry entry;
        entry.number = number;
        m_store.beginGroup(group + QString::number(number));
        const QStringList keys = m_store.allKeys();
        for (const QString &key : keys)
            entry.values.insert(key, m_store.value(key));
        m_store.endGroup();
        entries.append(entry);
    }
    return entries;
}

void FilterStorage::saveTo(const QString &group, const FilterList &filters)
{
    QList<Entry> entries;
    for (Filter *filter : filters.filters()) {
        const auto *valueFilter = qobject_cast<const ValueFilter *>(filter);
        const Kind *kind = valueFilter ? kindOf(*filter->metaObject()) : nullptr;
        if (!kind)
            throw Exception(
                tr("Фильтр «%1» нельзя сохранить: его вид не зарегистрирован").arg(filter->name()));
        QStringList names;
        for (const int column : valueFilter->columns())
            names.append(valueFilter->table()->columnName(column));
        Entry entry;
        entry.values.insert(versionKey, formVersion);
        entry.values.insert(kindKey, kind->name);
        entry.values.insert(columnsKey, jsontext::fromStrings(names));
        entry.values.insert(enabledKey, filter->isEnabled());
        if (kind->keys == Keys::Stored) {
            entry.values.insert(keysKey, keysToJson(*valueFilter));
            entry.values.insert(textKey, valueFilter->value());
        }
        entries.append(entry);
    }

    const QList<Entry> stored = read(group);
    requireStore();
    const QList<Entry> own = entries;
    QList<Entry> wasLeft = m_left.value(wholeGroup(group));
    QList<Entry> left;
    for (const Entry &entry : stored) {
        const auto known = std::find_if(wasLeft.cbegin(), wasLeft.cend(),
                                        [&entry](const Entry &other) { return other.isLike(entry); });
        if (known != wasLeft.cend()) {
            wasLeft.erase(known);
            // The user has made the same filter again.
            if (std::any_of(own.begin(), own.end(),
                            [&entry](const Entry &other) { return other.isLike(entry); }))
                continue;
        } else {
            std::unique_ptr<ValueFilter> fitting;
            if (attempt(entry, *filters.table(), fitting).isEmpty())
                continue;
        }
        entries.insert(std::min<qsizetype>(entry.number - 1, entries.size()), entry);
        left.append(entry);
    }
    m_left.insert(wholeGroup(group), left);

    m_store.remove(group);
    for (qsizetype i = 0; i < entries.size(); ++i) {
        const QMap<QString, QVariant> &values = entries.at(i).values;
        const QString place = group + QString::number(i + 1) + u'/';
        for (auto value = values.begin(); value != values.end(); ++value)
            m_store.setValue(place + value.key(), value.value());
    }
    m_store.setValue(group + sizeKey, int(entries.size()));
    write();
}

QStringList FilterStorage::restoreFrom(const QString &group, const QString &place, FilterList &filters)
{
    QStringList messages;
    if (const QString error = readingError(); !error.isEmpty())
        messages.append(error);
    if (!isStored(m_store, group))
        return messages;

    std::vector<std::unique_ptr<ValueFilter>> restored;
    QList<Entry> left;
    const QList<Entry> entries = read(group);
    for (const Entry &entry : entries) {
        std::unique_ptr<ValueFilter> filter;
        const QString reason = attempt(entry, *filters.table(), filter);
        if (reason.isEmpty()) {
            restored.push_back(std::move(filter));
        } else {
            left.append(entry);
            messages.append(tr("%1: фильтр %2 («%3») не восстановлен. %4")
                                .arg(place, QString::number(entry.number), entry.columnsText(), reason));
        }
    }
    m_left.insert(wholeGroup(group), left);
    filters.clear();
    for (std::unique_ptr<ValueFilter> &filter : restored) {
        if (auto *list = qobject_cast<ValueListFilter *>(filter.get()))
            list->setSiblings(&filters);
        filters.add(filter.release());
    }
    return messages;
}

void FilterStorage::removeGroup(const QString &group)
{
    requireStore();
    m_store.remove(group);
    m_left.remove(wholeGroup(group));
    write();
}

/// \a group with the current group of the store, which may change.
QString FilterStorage::wholeGroup(const QString &group) const
{
    return m_store.group() + u'/' + group;
}

/// The message for a store whose file could not be read; empty when it could.
QString FilterStorage::readingError() const
{
    const QString name = m_store.fileName();
    // QSettings treats a file that it may not read as an empty one.
    const bool isUnread = QFile::exists(name) && !QFile(name).open(QIODevice::ReadOnly);
    if (isUnread || m_store.status() == QSettings::FormatError)
        return tr("Не удалось прочитать «%1»").arg(name);
    return QString();
}

/// Throws Exception unless the file was read in full and can be written: a write could lose something.
void FilterStorage::requireStore() const
{
    if (const QString error = readingError(); !error.isEmpty())
        throw Exception(error);
    if (!m_store.isWritable())
        throw Exception(tr("Не удалось записать «%1»").arg(m_store.fileName()));
}

void FilterStorage::write()
{
    // QSettings takes over what others wrote only where the time or the size of the file is another one, and
    // files that are written within one tick of the clock have the same time.
    QFile file(m_store.fileName());
    if (file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly)) {
        file.setFileTime(QFileInfo(file).lastModified().addMSecs(1), QFileDevice::FileModificationTime);
        file.close();
    }
    m_store.sync();
    if (m_store.status() == QSettings::NoError)
        return;
    // The status keeps the first error for ever. Another object over the same file starts without it, and
    // writes what this one could not.
    QSettings again(m_store.fileName(), m_store.format());
    again.sync();
    if (again.status() != QSettings::NoError)
        throw Exception(tr("Не удалось записать «%1»").arg(m_store.fileName()));
}

} // namespace sito
