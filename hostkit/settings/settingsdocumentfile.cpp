// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingsdocumentfile_p.h>

#include <hostkit/settings/inicodec.h>
#include <hostkit/settings/inifile.h>
#include <hostkit/settings/scratchstore.h>
#include <hostkit/settings/settingstext_p.h>
#include <hostkit/settings/settingsvalue.h>

#include <QDir>
#include <QFileInfo>
#include <QSettings>

#include <algorithm>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// The path of an entry that cannot be created again: \a paths hold something below it, or a key above it.
/// Empty when there is none.
QString withoutRoom(const QList<SettingsChange> &wanted, const QStringList &paths)
{
    for (const SettingsChange &change : wanted) {
        const auto isInTheWay = [&change](const QString &path) {
            return path.startsWith(change.path + u'/') || change.path.startsWith(path + u'/');
        };
        if (change.gone && std::any_of(paths.begin(), paths.end(), isInTheWay))
            return change.path;
    }
    return {};
}

/// The entries \a known, as changes.
QList<SettingsChange> allOf(const QHash<QString, QVariant> &known)
{
    QList<SettingsChange> all;
    for (auto entry = known.cbegin(); entry != known.cend(); ++entry) {
        SettingsChange change;
        change.path = entry.key();
        change.newValue = entry.value();
        if (change.newValue.isValid())
            all += change;
    }
    return all;
}

} // namespace

SettingsDocumentFile::SettingsDocumentFile(std::unique_ptr<QSettings> store)
    : m_store(std::move(store)), m_storeContent(m_store.get())
{
    m_store->setFallbacksEnabled(false);
    read();
}

SettingsDocumentFile::~SettingsDocumentFile() = default;

QString SettingsDocumentFile::name() const
{
    return m_store->fileName();
}

// The file as it is now.

bool SettingsDocumentFile::isGone() const
{
    // The state of a file that exists is found by reading it.
    return !QFileInfo::exists(name()) && m_storeContent.state() == StoreContent::State::Missing;
}

QString SettingsDocumentFile::problem(bool isManual, bool isReadOnly) const
{
    if (isGone()) {
        QString gone =
            tr("Файла «%1» больше нет. Показано то, что в нём было").arg(QDir::toNativeSeparators(name()));
        if (m_ambiguous || isReadOnly)
            return gone;
        return isManual ? tr("%1. Команда «Записать» создаст его заново").arg(gone)
                        : tr("%1. Чтобы создать его заново, перейдите к записи по команде").arg(gone);
    }
    return QFileInfo::exists(name()) ? IniFile::problem(name()) : QString();
}

bool SettingsDocumentFile::isOutdated() const
{
    const IniFile file(name());
    return file.exists() && file.error().isEmpty() && file.fingerprint() != m_seen;
}

bool SettingsDocumentFile::isOther() const
{
    return IniFile(name()).fingerprint() != m_seen;
}

bool SettingsDocumentFile::becameAmbiguous() const
{
    return !m_ambiguous && IniFile(name()).text().isAmbiguous();
}

bool SettingsDocumentFile::keepsRow(const QString &path) const
{
    const IniFile file(name());
    return !m_ambiguous && file.exists() && file.problem().isEmpty() && !file.text().isAmbiguous() &&
           file.text().contains(path);
}

void SettingsDocumentFile::read()
{
    m_accepted.clear();
    m_stale = false;
    const IniFile file(name(), m_content);
    m_seen = file.fingerprint();
    if (file.problem().isEmpty())
        m_content = file.text().content();
    m_unreadable = file.unreadableText();
    m_store->sync();
    m_ambiguous = file.text().isAmbiguous();
}

void SettingsDocumentFile::acceptConflict(const QString &path, const QVariant &found)
{
    m_accepted.insert(path, found);
}

// Writing.

SettingsOutcome SettingsDocumentFile::foundChanged()
{
    SettingsOutcome outcome;
    outcome.outdated = true;
    outcome.message = tr("Файл был изменён другой программой. Показано то, что в нём теперь");
    return outcome;
}

SettingsOutcome SettingsDocumentFile::write(const QList<SettingsChange> &wanted,
                                            const QHash<QString, QVariant> &known, bool isManual)
{
    const auto refusal = [](const QString &message) {
        SettingsOutcome outcome;
        outcome.refused = true;
        outcome.message = message;
        return outcome;
    };
    const auto refusalFor = [&refusal](const QString &reason) {
        return refusal(tr("Ничего не записано: %1").arg(reason));
    };
    IniFile file(name(), m_content);
    if (const QString error = file.error(); !error.isEmpty())
        return refusalFor(error);
    const bool gone = isGone();
    if (gone && !isManual)
        return refusal(tr("Ничего не записано. %1").arg(problem(isManual, false)));
    const bool outdated = !gone && (m_stale || file.fingerprint() != m_seen);
    if (outdated) {
        if (isManual && file.text().isAmbiguous())
            return refusalFor(tr("файл изменён другой программой, и в нём теперь есть записи без имени или "
                                 "имена, которые сразу и группа, и ключ"));
        if (const QStringList paths = conflicts(file, wanted, known); !paths.isEmpty())
            return conflictOutcome(file, wanted, paths, isManual);
    }
    if (const QString path = withoutRoom(wanted, file.text().paths()); !path.isEmpty())
        return refusalFor(
            tr("запись «%1» не создать снова, её имя в файле теперь у группы или ключа").arg(path));
    if (file.exists() && file.fingerprint() != m_safe) {
        if (const QString error = file.backUp(); !error.isEmpty())
            return refusalFor(error);
        m_safe = file.fingerprint();
    }
    const QList<SettingsChange> all = gone ? allOf(known) + wanted : wanted;
    if (const QString error = file.write(all); !error.isEmpty())
        return refusalFor(error);
    readAgain(all, file.text().content());
    m_safe = m_seen = file.fingerprint();
    m_content = file.text().content();
    m_unreadable = file.unreadableText();
    m_stale = outdated;

    SettingsOutcome outcome;
    outcome.written = true;
    outcome.outdated = outdated;
    QStringList told;
    if (outdated)
        told += foundChanged().message;
    QStringList flattened;
    for (const SettingsChange &change : all) {
        if (!change.removal && SettingsText::isList(change.newValue) &&
            !SettingsText::isList(IniCodec::value(IniCodec::valueText(change.newValue))))
            flattened += change.path;
    }
    if (!flattened.isEmpty())
        told += tr("Файл INI хранит список из одного элемента как текст, а пустой - как пустое значение: %1")
                    .arg(flattened.join(u", "_s));
    outcome.message = told.join(u". "_s);
    return outcome;
}

/// The paths in conflict that the user has not accepted.
QStringList SettingsDocumentFile::conflicts(const IniFile &file, const QList<SettingsChange> &wanted,
                                            const QHash<QString, QVariant> &known) const
{
    QStringList paths = file.conflicts(wanted, known);
    paths.removeIf([&](const QString &path) {
        return m_accepted.contains(path) &&
               isSameSettingsValue(m_accepted.value(path), file.text().value(path));
    });
    return paths;
}

SettingsOutcome SettingsDocumentFile::conflictOutcome(const IniFile &file,
                                                      const QList<SettingsChange> &wanted,
                                                      const QStringList &paths, bool isManual)
{
    SettingsOutcome outcome;
    outcome.refused = outcome.outdated = outcome.conflict = true;
    QStringList gone;
    for (const SettingsChange &change : wanted) {
        if (!change.removal && !file.text().contains(change.path) && paths.contains(change.path))
            gone += change.path;
    }
    QStringList changed = paths;
    changed.removeIf([&](const QString &path) { return gone.contains(path); });
    QStringList reasons;
    if (!changed.isEmpty())
        reasons += tr("изменено и здесь, и в файле другой программой: %1").arg(changed.join(u", "_s));
    if (!gone.isEmpty())
        reasons += tr("изменено здесь, а другой программой удалено: %1").arg(gone.join(u", "_s));
    outcome.message = tr("Ничего не записано: %1").arg(reasons.join(u"; "_s));
    // An editor hides it.
    if (!isManual && !wanted.first().removal && gone.isEmpty()) {
        outcome.found = file.text().value(paths.first());
        outcome.message += u". "_s + tr("В файле теперь: %1").arg(settingsValueText(outcome.found));
    }
    return outcome;
}

/// Has the store read the file, which holds \a content after \a written. Values keep their types in the store
/// where the file does not hold these.
void SettingsDocumentFile::readAgain(const QList<SettingsChange> &written, const QByteArray &content)
{
    QHash<QString, QVariant> typed;
    const QStringList keys = m_store->allKeys();
    for (const QString &key : keys)
        typed.insert(key, m_store->value(key));
    for (const SettingsChange &change : written) {
        typed.removeIf(
            [&](QHash<QString, QVariant>::iterator entry) { return change.concerns(entry.key()); });
        if (!change.removal)
            typed.insert(change.path, change.newValue);
    }
    m_store->sync();
    typed.removeIf([this](QHash<QString, QVariant>::iterator entry) {
        const QVariant read = m_store->value(entry.key());
        return isSameSettingsValue(entry.value(), read) || !IniFile::isSame(entry.value(), read);
    });
    if (typed.isEmpty())
        return;
    // The store writes the whole file when values are set. That must not change a byte.
    const ScratchStore trial(content);
    for (auto it = typed.cbegin(); it != typed.cend(); ++it)
        trial->setValue(it.key(), it.value());
    if (trial.content() != content)
        return;
    for (auto it = typed.cbegin(); it != typed.cend(); ++it)
        m_store->setValue(it.key(), it.value());
    m_store->sync();
}

} // namespace sito
