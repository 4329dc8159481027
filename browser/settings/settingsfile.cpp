// SPDX-License-Identifier: MIT
#include <browser/settings/settingsfile.h>

#include <browser/settings/inifile.h>
#include <browser/settings/initext.h>

#include <data/exception.h>
#include <hostkit/settings/settingsvalue.h>

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QSaveFile>
#include <QSettings>
#include <QUuid>

#include <algorithm>
#include <iterator>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

constexpr int lockWait = 1000; // ms

bool isList(const QVariant &value)
{
    return value.typeId() == QMetaType::QStringList || value.typeId() == QMetaType::QVariantList;
}

/// Whether \a read is what an INI file gives back of \a value.
bool isSameInFile(const QVariant &value, const QVariant &read)
{
    if (!read.isValid())
        return !value.isValid() || (isList(value) && value.toList().isEmpty());
    return isSameSettingsValue(value, read) ||
           (read.typeId() == QMetaType::QString && value.toString() == read.toString());
}

bool isIn(const QString &path, const SettingsChanges::Change &change)
{
    return path == change.path || (change.removal && path.startsWith(change.path + u'/'));
}

bool isUnread(const QVariant &value)
{
    if (!value.isValid())
        return true;
    const QVariantList items = value.typeId() == QMetaType::QVariantList ? value.toList() : QVariantList();
    return std::any_of(items.begin(), items.end(), isUnread);
}

/// \a content, in which values in the coded form "@Type(…)" are plain texts.
QByteArray uncoded(const QByteArray &content)
{
    QByteArray result;
    result.reserve(content.size() * 2);
    bool begins = false;
    for (const char c : content) {
        if (c == '@' && begins)
            result += '@';
        result += c;
        begins = c == '=' || c == ',' || (begins && (c == ' ' || c == '\t' || c == '"'));
    }
    return result;
}

/// \a text as it may stand in an INI file whatever characters it holds.
QByteArray escaped(const QString &text)
{
    QByteArray result;
    bool afterEscape = false;
    for (const QChar c : text) {
        const ushort code = c.unicode();
        const bool letter = code < 0x80 && (c.isLetterOrNumber() || c == u'@' || c == u'(' || c == u')');
        const bool continues =
            afterEscape && ((code >= u'0' && code <= u'9') || (code >= u'A' && code <= u'F') ||
                            (code >= u'a' && code <= u'f'));
        afterEscape = !letter || continues;
        if (afterEscape)
            result += "\\x" + QByteArray::number(code, 16);
        else
            result += char(code);
    }
    return result;
}

/// Puts marks in the place of values that QSettings cannot read, and gives them their texts back afterwards.
class Unread
{
public:
    /// Marks what is left of \a content in \a store.
    Unread(QSettings &store, const QByteArray &content, QSettings::Format format)
    {
        std::unique_ptr<ScratchStore> texts;
        const QStringList keys = store.allKeys();
        for (const QString &key : keys) {
            QVariant value = store.value(key);
            // Keys without a name are written as they are, though their values are not for reading.
            if (!isUnread(value) || key.isEmpty() || key.endsWith(u'/'))
                continue;
            if (!texts)
                texts = std::make_unique<ScratchStore>(uncoded(content), format);
            const qsizetype before = m_texts.size();
            if (!mark(value, (*texts)->value(key)))
                m_lost += key;
            else if (m_texts.size() > before)
                store.setValue(key, value);
        }
    }

    bool isEmpty() const { return m_texts.isEmpty(); }
    /// Paths whose texts could not be found out.
    const QStringList &lost() const { return m_lost; }
    QByteArray restored(QByteArray content) const
    {
        for (qsizetype i = 0; i < m_texts.size(); ++i)
            content.replace(markAt(i), m_texts.at(i));
        return content;
    }

private:
    bool mark(QVariant &value, const QVariant &text)
    {
        if (!value.isValid()) {
            const QString raw = text.toString();
            if (!raw.startsWith(u'@'))
                return false;
            // This one is read, as what it is.
            if (raw != u"@Invalid()"_s) {
                value = QString::fromLatin1(markAt(m_texts.size()));
                m_texts += escaped(raw);
            }
            return true;
        }
        if (value.typeId() != QMetaType::QVariantList)
            return true;
        QVariantList items = value.toList();
        const QVariantList itemTexts = text.toList();
        if (items.size() != itemTexts.size())
            return false;
        for (qsizetype i = 0; i < items.size(); ++i) {
            if (!mark(items[i], itemTexts.at(i)))
                return false;
        }
        value = items;
        return true;
    }
    QByteArray markAt(qsizetype i) const { return m_mark + 'n' + QByteArray::number(i) + 'n'; }

    const QByteArray m_mark = QUuid::createUuid().toByteArray(QUuid::Id128);
    QList<QByteArray> m_texts;
    QStringList m_lost;
};

} // namespace

SettingsFile::SettingsFile(QSettings &store, const QByteArray &lost)
    : m_store(store), m_name(store.fileName()), m_exists(QFileInfo::exists(m_name))
{
    if (!m_exists)
        m_content = lost;
    const QString shown = QDir::toNativeSeparators(m_name);
    try {
        if (m_exists)
            requireIniFile(m_name);
    } catch (const Exception &exception) {
        m_error = exception.message();
    }
    QFile file(m_name);
    if (m_error.isEmpty() && m_exists) {
        if (file.open(QIODevice::ReadOnly))
            m_content = file.readAll();
        if (!file.isOpen() || file.error() != QFile::NoError)
            m_error = tr("не удалось прочитать «%1»: %2").arg(shown, file.errorString());
        else if (isReadOnlyStore(store))
            m_error = tr("файл «%1» доступен только для чтения").arg(shown);
    }
    m_scratch = std::make_unique<ScratchStore>(m_content, store.format());
    m_now = &**m_scratch;
}

QByteArray SettingsFile::fingerprint() const
{
    return m_exists ? QCryptographicHash::hash(m_content, QCryptographicHash::Sha256) : QByteArray();
}

QStringList SettingsFile::conflicts(const QList<SettingsChanges::Change> &changes, const Values &known) const
{
    const QStringList keys = m_now->allKeys();
    QStringList result;
    for (const SettingsChanges::Change &change : changes) {
        const auto concerned = [&](const QString &path) { return isIn(path, change); };
        const auto changed = [&](const QString &path) {
            const QVariant now = m_now->value(path);
            return (change.removal || !isSameInFile(change.newValue, now)) &&
                   (!known.contains(path) || !isSameInFile(known.value(path), now));
        };
        QStringList held;
        std::copy_if(keys.begin(), keys.end(), std::back_inserter(held), concerned);
        // Whether something of it is gone from the file. All of it gone is what a removal wants.
        bool differs = held.isEmpty() && !change.removal;
        if (change.removal && !held.isEmpty()) {
            for (auto it = known.begin(); it != known.end() && !differs; ++it)
                differs = it.value().isValid() && concerned(it.key()) && !held.contains(it.key());
        }
        if (differs || std::any_of(held.begin(), held.end(), changed))
            result += change.path;
    }
    return result;
}

QString SettingsFile::backUp()
{
    const QString stem = m_name + u".bak-"_s + QDateTime::currentDateTime().toString(u"yyyyMMdd-HHmmss"_s);
    QString copy = stem;
    for (int i = 2; QFileInfo::exists(copy); ++i)
        copy = stem + u'-' + QString::number(i);
    const QFile::Permissions permissions =
        m_exists ? QFile::permissions(m_name) : QFile::ReadOwner | QFile::WriteOwner;
    QFile file(copy);
    const bool opened = file.open(QIODevice::WriteOnly | QIODevice::NewOnly, permissions);
    if (opened && file.write(m_content) == m_content.size() && file.flush()) {
        file.setPermissions(permissions);
        m_copy = QDir::toNativeSeparators(copy);
        return {};
    }
    const QString error =
        tr("не удалось сохранить копию «%1»: %2").arg(QDir::toNativeSeparators(copy), file.errorString());
    if (opened)
        file.remove();
    return error;
}

QString SettingsFile::write(const QList<SettingsChanges::Change> &changes)
{
    Values typed;
    const QStringList keys = m_store.allKeys();
    for (const QString &key : keys)
        typed.insert(key, m_store.value(key));
    // The store writes the whole file when it is given types. That must bring about nothing else.
    const bool plain = isAsWritten();
    QByteArray content = plain ? QByteArray() : changed(changes);
    const bool whole = content.isNull();
    for (const SettingsChanges::Change &change : changes) {
        if (change.removal) {
            m_now->remove(change.path);
            typed.removeIf([&](Values::iterator entry) { return isIn(entry.key(), change); });
        } else {
            m_now->setValue(change.path, change.newValue);
            typed.insert(change.path, change.newValue);
        }
    }
    if (whole) {
        const Unread unread(*m_now, m_content, m_store.format());
        if (!unread.lost().isEmpty())
            return tr("значения этих записей не прочитать, и запись их потеряла бы: %1")
                .arg(unread.lost().join(u", "_s));
        content = m_scratch->content();
        if (content.isNull())
            return tr("не удалось подготовить содержимое файла во временном каталоге");
        content = unread.restored(content);
        if (!plain && loses(content, changes)) {
            if (const QString error = m_copy.isEmpty() ? backUp() : QString(); !error.isEmpty())
                return error;
            m_keptIn = m_copy;
        }
    }
    if (const QString error = replaceFile(content); !error.isEmpty())
        return error;
    m_content = content;
    m_exists = true;
    const ScratchStore written(content, m_store.format());
    for (const SettingsChanges::Change &change : changes) {
        if (!change.removal && isList(change.newValue) && !isList(written->value(change.path)))
            m_flattened += change.path;
    }
    readAgain(std::move(typed), isAsWritten());
    return {};
}

/// Whether the content is byte for byte what QSettings makes of it.
bool SettingsFile::isAsWritten() const
{
    if (m_content.isEmpty())
        return true;
    const ScratchStore store(m_content, m_store.format());
    const QStringList keys = store->allKeys();
    const auto key = std::find_if(keys.begin(), keys.end(), [](const QString &each) {
        return !each.isEmpty() && !each.endsWith(u'/');
    });
    if (key == keys.end())
        return false;
    store->setValue(*key, store->value(*key));
    return store.content() == m_content;
}

/// The content with \a changes in it; null when that reads otherwise than it should.
QByteArray SettingsFile::changed(const Changes &changes) const
{
    const QSettings::Format format = m_store.format();
    QStringList removed;
    QMap<QString, QVariant> set;
    for (const SettingsChanges::Change &change : changes) {
        if (change.removal) {
            removed += change.path;
            set.removeIf([&](QMap<QString, QVariant>::iterator entry) { return isIn(entry.key(), change); });
        } else {
            set.insert(change.path, change.newValue);
        }
    }
    const ScratchStore alone({}, format);
    for (auto it = set.cbegin(); it != set.cend(); ++it)
        alone->setValue(it.key(), it.value());
    const ScratchStore wanted(alone.content(), format);
    const QStringList keys = m_now->allKeys();
    QMap<QString, QVariant> different = set;
    different.removeIf([&](QMap<QString, QVariant>::iterator entry) {
        const QVariant now = m_now->value(entry.key());
        return keys.contains(entry.key()) && now.isValid() &&
               isSameSettingsValue(now, wanted->value(entry.key()));
    });
    QStringList gone;
    std::copy_if(keys.begin(), keys.end(), std::back_inserter(gone), [&](const QString &key) {
        return !set.contains(key) && std::any_of(changes.begin(), changes.end(), [&](const auto &change) {
            return change.removal && isIn(key, change);
        });
    });

    const std::optional<QByteArray> result = IniText(m_content, format).changed(gone, different);
    if (!result)
        return {};
    const ScratchStore read(*result, format);
    const ScratchStore texts(uncoded(m_content), format);
    const ScratchStore readTexts(uncoded(*result), format);
    QStringList left = keys;
    left.removeIf([&](const QString &key) { return gone.contains(key) || set.contains(key); });
    const bool kept = std::all_of(left.begin(), left.end(), [&](const QString &key) {
        return isSameSettingsValue(m_now->value(key), read->value(key)) &&
               isSameSettingsValue(texts->value(key), readTexts->value(key));
    });
    left += set.keys();
    left.sort();
    QStringList held = read->allKeys();
    held.sort();
    const bool written = std::all_of(set.keyBegin(), set.keyEnd(), [&](const QString &key) {
        return isSameSettingsValue(wanted->value(key), read->value(key));
    });
    if (!kept || !written || held != left || read->status() != QSettings::NoError)
        return {};
    return result->isNull() ? QByteArray("") : *result;
}

/// Whether \a content lacks rows of the present one that belong to no entry of \a changes.
bool SettingsFile::loses(const QByteArray &content, const Changes &changes) const
{
    const auto rowsOf = [](const QByteArray &text) {
        QHash<QByteArray, qsizetype> rows;
        for (const QByteArray &row : text.split('\n'))
            ++rows[row.trimmed()];
        return rows;
    };
    QByteArray rest = m_content;
    const IniText text(m_content, m_store.format());
    for (auto line = text.lines().crbegin(); line != text.lines().crend(); ++line) {
        const bool concerned =
            !line->isHead() && std::any_of(changes.begin(), changes.end(),
                                           [&](const auto &change) { return isIn(line->path, change); });
        if (concerned)
            rest.remove(line->begin, line->end - line->begin);
    }
    QHash<QByteArray, qsizetype> before = rowsOf(rest);
    before.remove({});
    const QHash<QByteArray, qsizetype> after = rowsOf(content);
    for (auto it = before.cbegin(); it != before.cend(); ++it) {
        if (after.value(it.key()) < it.value())
            return true;
    }
    return false;
}

/// Unless it has become another one since it was read.
QString SettingsFile::replaceFile(const QByteArray &content) const
{
    const QString shown = QDir::toNativeSeparators(m_name);
    const QDateTime before = QFileInfo(m_name).lastModified();
    QDir().mkpath(QFileInfo(m_name).absolutePath());
    // The one that QSettings takes.
    QLockFile lock(m_name + u".lock"_s);
    if (!lock.tryLock(lockWait) && lock.error() == QLockFile::LockFailedError)
        return tr("файл «%1» занят другой программой").arg(shown);
    QFile now(m_name);
    const bool opened = now.open(QIODevice::ReadOnly);
    if (opened != m_exists || (opened && now.readAll() != m_content))
        return tr("файл «%1» только что изменён другой программой").arg(shown);
    now.close();
    QSaveFile file(m_name);
    file.setDirectWriteFallback(!m_store.isAtomicSyncRequired());
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.commit())
        return tr("не удалось записать «%1»: %2").arg(shown, file.errorString());
    // QSettings reads a file again only when its size or time is another one.
    if (before.isValid() && QFileInfo(m_name).lastModified() == before && now.open(QIODevice::ReadOnly))
        now.setFileTime(before.addMSecs(1), QFileDevice::FileModificationTime);
    return {};
}

/// The store reads the file. Values in \a typed that the file holds as mere texts keep their types there,
/// unless the store must not \a rewrite the file: it writes the very same content.
void SettingsFile::readAgain(Values typed, bool rewrite)
{
    m_store.sync();
    if (!rewrite)
        return;
    typed.removeIf([this](Values::iterator entry) {
        const QVariant read = m_store.value(entry.key());
        return isSameSettingsValue(entry.value(), read) || !isSameInFile(entry.value(), read);
    });
    if (typed.isEmpty())
        return;
    for (auto it = typed.cbegin(); it != typed.cend(); ++it)
        m_store.setValue(it.key(), it.value());
    m_store.sync();
}

} // namespace sito
