// SPDX-License-Identifier: MIT
#include <hostkit/settings/inifile.h>

#include <hostkit/settings/inicodec.h>
#include <hostkit/settings/settingsvalue.h>

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QMap>
#include <QSaveFile>
#include <QSettings>

#include <algorithm>
#include <iterator>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

constexpr int lockWait = 1000; // ms
constexpr qsizetype namedRows = 20;
constexpr QFile::Permissions anyWrite = QFile::WriteOwner | QFile::WriteGroup | QFile::WriteOther;

bool isMarked(const QString &name)
{
    return QFileInfo::exists(name) && !(QFile::permissions(name) & anyWrite);
}

} // namespace

IniFile::IniFile(const QString &name, const QByteArray &lost)
    : m_name(name), m_shown(QDir::toNativeSeparators(name)), m_exists(QFileInfo::exists(name))
{
    if (m_exists)
        read();
    else
        m_text = IniText(lost);
}

void IniFile::read()
{
    const QFileInfo info(m_name);
    QFile file(m_name);
    if (info.isDir())
        m_problem = tr("«%1» - каталог, а не файл настроек").arg(m_shown);
    else if (!info.isFile())
        m_problem = tr("«%1» - не обычный файл").arg(m_shown);
    else if (!file.open(QIODevice::ReadOnly))
        m_problem = tr("Не удалось прочитать «%1»: %2").arg(m_shown, file.errorString());
    else
        m_text = IniText(file.readAll());
    if (file.isOpen() && file.error() != QFile::NoError)
        m_problem = tr("Не удалось прочитать «%1»: %2").arg(m_shown, file.errorString());
    else if (!m_text.isIni())
        m_problem = tr("«%1» - не файл INI").arg(m_shown);
}

QString IniFile::problem(const QString &name)
{
    const IniFile file(name);
    return file.exists() ? file.problem() : tr("Файла «%1» нет").arg(file.m_shown);
}

QString IniFile::error() const
{
    if (m_problem.isEmpty() && m_exists && (isMarked(m_name) || !QFileInfo(m_name).isWritable()))
        return tr("файл «%1» доступен только для чтения").arg(m_shown);
    return m_problem;
}

bool IniFile::isReadOnly(const QSettings &store)
{
    return !store.isWritable() || isMarked(store.fileName());
}

QString IniFile::unreadableText() const
{
    const QList<qsizetype> rows = m_text.unreadableRows();
    if (rows.isEmpty())
        return {};
    QStringList numbers;
    for (const qsizetype row : rows.first(std::min(rows.size(), namedRows)))
        numbers += QString::number(row);
    if (rows.size() > namedRows)
        numbers += u"…"_s;
    return tr("Строки, которые не прочитать: %1").arg(numbers.join(u", "_s));
}

QByteArray IniFile::fingerprint() const
{
    return m_exists ? QCryptographicHash::hash(m_text.content(), QCryptographicHash::Sha256) : QByteArray();
}

bool IniFile::isSame(const QVariant &value, const QVariant &read)
{
    return isSameSettingsValue(value, read) ||
           isSameSettingsValue(IniCodec::value(IniCodec::valueText(value)), read);
}

QStringList IniFile::conflicts(const QList<SettingsChange> &changes,
                               const QHash<QString, QVariant> &known) const
{
    const QStringList paths = m_text.paths();
    QStringList result;
    for (const SettingsChange &change : changes) {
        const auto changed = [&](const QString &path) {
            const QVariant now = m_text.value(path);
            return (change.removal || !isSame(change.newValue, now)) &&
                   (!known.contains(path) || !isSame(known.value(path), now));
        };
        QStringList held;
        std::copy_if(paths.begin(), paths.end(), std::back_inserter(held),
                     [&](const QString &path) { return change.concerns(path); });
        // Whether some of it is gone from the file. If all of it is gone, a removal has nothing left to do,
        // and an entry to be created again is known to be gone.
        bool differs = held.isEmpty() && !change.removal && !change.gone;
        if (change.removal && !held.isEmpty()) {
            for (auto it = known.begin(); it != known.end() && !differs; ++it)
                differs = it.value().isValid() && change.concerns(it.key()) && !held.contains(it.key());
        }
        if (differs || std::any_of(held.begin(), held.end(), changed))
            result += change.path;
    }
    return result;
}

QString IniFile::backUp() const
{
    const QString stem = m_name + u".bak-"_s + QDateTime::currentDateTime().toString(u"yyyyMMdd-HHmmss"_s);
    QString copy = stem;
    for (int i = 2; QFileInfo::exists(copy); ++i)
        copy = stem + u'-' + QString::number(i);
    const QFile::Permissions permissions =
        m_exists ? QFile::permissions(m_name) : QFile::ReadOwner | QFile::WriteOwner;
    const QByteArray &content = m_text.content();
    QFile file(copy);
    const bool opened = file.open(QIODevice::WriteOnly | QIODevice::NewOnly, permissions);
    if (opened && file.write(content) == content.size() && file.flush()) {
        file.setPermissions(permissions);
        return {};
    }
    QString error =
        tr("не удалось сохранить копию «%1»: %2").arg(QDir::toNativeSeparators(copy), file.errorString());
    if (opened)
        file.remove();
    return error;
}

QString IniFile::write(const QList<SettingsChange> &changes)
{
    const QStringList paths = m_text.paths();
    QStringList removed;
    QMap<QString, QVariant> values;
    for (const SettingsChange &change : changes) {
        if (change.removal) {
            std::copy_if(paths.begin(), paths.end(), std::back_inserter(removed),
                         [&](const QString &path) { return change.concerns(path); });
            values.removeIf(
                [&](QMap<QString, QVariant>::iterator entry) { return change.concerns(entry.key()); });
        } else {
            values.insert(change.path, change.newValue);
            removed.removeAll(change.path);
        }
    }
    // A text that already reads as the new value stays as it is.
    values.removeIf([this](QMap<QString, QVariant>::iterator entry) {
        const QVariant now = m_text.value(entry.key());
        return now.isValid() && isSameSettingsValue(now, IniCodec::value(IniCodec::valueText(entry.value())));
    });
    const QByteArray content = m_text.changed(removed, values);
    if (content.isNull())
        return tr("в «%1» этих изменений не записать построчно").arg(m_shown);
    if (QString error = replace(content); !error.isEmpty())
        return error;
    m_text = IniText(content);
    m_exists = true;
    return {};
}

/// Writes \a content, unless the file has changed since it was read.
QString IniFile::replace(const QByteArray &content) const
{
    const QDateTime before = QFileInfo(m_name).lastModified();
    QDir().mkpath(QFileInfo(m_name).absolutePath());
    // The lock that QSettings takes.
    QLockFile lock(m_name + u".lock"_s);
    if (!lock.tryLock(lockWait) && lock.error() == QLockFile::LockFailedError)
        return tr("файл «%1» занят другой программой").arg(m_shown);
    QFile now(m_name);
    const bool opened = now.open(QIODevice::ReadOnly);
    if (opened != m_exists || (opened && now.readAll() != m_text.content()))
        return tr("файл «%1» только что изменён другой программой").arg(m_shown);
    now.close();
    QSaveFile file(m_name);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.commit())
        return tr("не удалось записать «%1»: %2").arg(m_shown, file.errorString());
    // QSettings reads a file again only when its size or time has changed.
    if (before.isValid() && QFileInfo(m_name).lastModified() == before && now.open(QIODevice::ReadOnly))
        now.setFileTime(before.addMSecs(1), QFileDevice::FileModificationTime);
    return {};
}

} // namespace sito
