// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingsdocument.h>

#include <hostkit/settings/inicodec.h>
#include <hostkit/settings/inifile.h>
#include <hostkit/settings/scratchstore.h>
#include <hostkit/settings/settingsdocumentmodel_p.h>
#include <hostkit/settings/settingstext_p.h>
#include <hostkit/settings/settingsvalue.h>

#include <QDir>
#include <QFileInfo>
#include <QStringList>

#include <algorithm>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

constexpr int watchDelay = 150; // ms; one write is reported several times

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

} // namespace

SettingsDocument::SettingsDocument(QObject *parent) : QObject(parent)
{
    m_watchTimer.setSingleShot(true);
    m_watchTimer.setInterval(watchDelay);
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, &m_watchTimer, qOverload<>(&QTimer::start));
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, &m_watchTimer, qOverload<>(&QTimer::start));
    connect(&m_watchTimer, &QTimer::timeout, this, &SettingsDocument::look);
}

SettingsDocument::~SettingsDocument()
{
    m_changes.setModel(nullptr);
}

void SettingsDocument::open(std::unique_ptr<QSettings> store)
{
    store->setFallbacksEnabled(false);
    // The old model is deleted before its store.
    const std::unique_ptr<QSettings> before = std::exchange(m_store, std::move(store));
    m_manual = true;
    m_safe.clear();
    m_content.clear();
    takeFile();
    takeModel();
    watch();
}

SettingsModel *SettingsDocument::model() const
{
    return m_model.get();
}

QString SettingsDocument::fileName() const
{
    return m_store ? m_store->fileName() : QString();
}

bool SettingsDocument::isManual() const
{
    return m_model && m_model->isManual();
}

void SettingsDocument::setManual(bool manual)
{
    m_manual = manual;
    if (m_model)
        m_model->setEditStrategy(manual && !m_ambiguous ? SettingsModel::OnManualSubmit
                                                        : SettingsModel::OnFieldChange);
}

bool SettingsDocument::isReadOnly() const
{
    return m_model && m_model->readOnly();
}

/// Remembers what the file holds now. Later writes by other programs are noticed.
void SettingsDocument::takeFile()
{
    m_accepted.clear();
    m_stale = false;
    const IniFile file(fileName(), m_content);
    m_seen = file.fingerprint();
    if (file.problem().isEmpty())
        m_content = file.text().content();
    m_unreadable = file.unreadableText();
    m_store->sync();
    m_ambiguous = file.text().isAmbiguous();
}

/// Makes a new model of the store as it is.
void SettingsDocument::takeModel()
{
    const auto before = std::exchange(
        m_model,
        std::make_unique<SettingsDocumentModel>([this](const auto &wanted) { return writeAtOnce(wanted); }));
    m_model->setSettings(m_store.get());
    m_model->setReadOnly(IniFile::isReadOnly(*m_store));
    setManual(m_manual);
    Q_EMIT modelReplaced();
    m_changes.setModel(m_model.get());
}

// Writing.

SettingsDocument::Outcome SettingsDocument::foundChanged()
{
    Outcome outcome;
    outcome.outdated = true;
    outcome.message = tr("Файл был изменён другой программой. Показано то, что в нём теперь");
    return outcome;
}

SettingsDocument::Outcome SettingsDocument::submit()
{
    m_changes.synchronize();
    if (!isManual() || (m_changes.isEmpty() && !isGone())) {
        Outcome nothing;
        nothing.written = true;
        return nothing;
    }
    Outcome outcome = write(m_changes.changes());
    if (outcome.written)
        m_changes.dismissAll();
    return outcome;
}

bool SettingsDocument::writeAtOnce(const QList<SettingsChange> &wanted)
{
    const Outcome outcome = write(wanted);
    Q_EMIT wrote(outcome);
    return outcome.written;
}

/// Writes \a wanted to the file, unless that must be refused. Does not change the model.
SettingsDocument::Outcome SettingsDocument::write(const QList<SettingsChange> &wanted)
{
    const auto refusal = [](const QString &message) {
        Outcome outcome;
        outcome.refused = true;
        outcome.message = message;
        return outcome;
    };
    const auto refusalFor = [&refusal](const QString &reason) {
        return refusal(tr("Ничего не записано: %1").arg(reason));
    };
    IniFile file(fileName(), m_content);
    if (const QString error = file.error(); !error.isEmpty())
        return refusalFor(error);
    const bool gone = isGone();
    if (gone && !isManual())
        return refusal(tr("Ничего не записано. %1").arg(problem()));
    const bool outdated = !gone && (m_stale || file.fingerprint() != m_seen);
    if (outdated) {
        if (isManual() && file.text().isAmbiguous())
            return refusalFor(tr("файл изменён другой программой, и в нём теперь есть записи без имени или "
                                 "имена, которые сразу и группа, и ключ"));
        if (const QStringList paths = conflicts(file, wanted); !paths.isEmpty())
            return conflictOutcome(file, wanted, paths);
    }
    if (const QString path = withoutRoom(wanted, file.text().paths()); !path.isEmpty())
        return refusalFor(
            tr("запись «%1» не создать снова, её имя в файле теперь у группы или ключа").arg(path));
    if (file.exists() && file.fingerprint() != m_safe) {
        if (const QString error = file.backUp(); !error.isEmpty())
            return refusalFor(error);
        m_safe = file.fingerprint();
    }
    const QList<SettingsChange> all = gone ? allKnown() + wanted : wanted;
    if (const QString error = file.write(all); !error.isEmpty())
        return refusalFor(error);
    readAgain(all, file.text().content());
    m_safe = m_seen = file.fingerprint();
    m_content = file.text().content();
    m_unreadable = file.unreadableText();
    m_stale = outdated;
    watch();

    Outcome outcome;
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
QStringList SettingsDocument::conflicts(const IniFile &file, const QList<SettingsChange> &wanted) const
{
    QStringList paths = file.conflicts(wanted, m_changes.known());
    paths.removeIf([&](const QString &path) {
        return m_accepted.contains(path) &&
               isSameSettingsValue(m_accepted.value(path), file.text().value(path));
    });
    return paths;
}

SettingsDocument::Outcome SettingsDocument::conflictOutcome(const IniFile &file,
                                                            const QList<SettingsChange> &wanted,
                                                            const QStringList &paths) const
{
    Outcome outcome;
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
    if (!isManual() && !wanted.first().removal && gone.isEmpty()) {
        outcome.found = file.text().value(paths.first());
        outcome.message += u". "_s + tr("В файле теперь: %1").arg(settingsValueText(outcome.found));
    }
    return outcome;
}

/// Everything that was last known to be in the file, as changes.
QList<SettingsChange> SettingsDocument::allKnown() const
{
    QList<SettingsChange> all;
    const QHash<QString, QVariant> &known = m_changes.known();
    for (auto entry = known.cbegin(); entry != known.cend(); ++entry) {
        SettingsChange change;
        change.path = entry.key();
        change.newValue = entry.value();
        if (change.newValue.isValid())
            all += change;
    }
    return all;
}

/// Has the store read the file, which holds \a content after \a written. Values keep their types in the store
/// where the file does not hold these.
void SettingsDocument::readAgain(const QList<SettingsChange> &written, const QByteArray &content)
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

// Reading.

bool SettingsDocument::revert()
{
    return m_changes.dismissAll();
}

bool SettingsDocument::reload(SettingsChanges::Grown groups)
{
    if (!problem().isEmpty())
        return false;
    const bool wasAmbiguous = m_ambiguous;
    takeFile();
    if (m_ambiguous || wasAmbiguous) {
        // A merge would confuse rows of the same name.
        takeModel();
    } else {
        m_changes.refresh(groups);
        m_model->setReadOnly(IniFile::isReadOnly(*m_store));
    }
    watch();
    return true;
}

void SettingsDocument::acceptConflict(const QString &path, const QVariant &found)
{
    m_accepted.insert(path, found);
}

QString SettingsDocument::pendingText() const
{
    const QStringList &gone = m_changes.goneEntries();
    const QStringList &grown = m_changes.grownGroups();
    QStringList texts;
    if (!gone.isEmpty())
        texts += tr("Другая программа удалила записи, правки которых ждут: %1. «Записать» создаст их снова, "
                    "«Отменить это» оставит удалёнными")
                     .arg(gone.join(u", "_s));
    if (!grown.isEmpty())
        texts += tr("Отменено удаление групп, в которые другая программа записала новое: %1")
                     .arg(grown.join(u", "_s));
    return texts.join(u". "_s);
}

// The file as it is now.

bool SettingsDocument::isGone() const
{
    return m_store && !QFileInfo::exists(fileName()) &&
           m_changes.storeState() == SettingsChanges::StoreState::Missing;
}

QString SettingsDocument::problem() const
{
    if (isGone()) {
        QString gone = tr("Файла «%1» больше нет. Показано то, что в нём было")
                           .arg(QDir::toNativeSeparators(fileName()));
        if (m_ambiguous || isReadOnly())
            return gone;
        return isManual() ? tr("%1. Команда «Записать» создаст его заново").arg(gone)
                          : tr("%1. Чтобы создать его заново, перейдите к записи по команде").arg(gone);
    }
    return QFileInfo::exists(fileName()) ? IniFile::problem(fileName()) : QString();
}

bool SettingsDocument::isOutdated() const
{
    const IniFile file(fileName());
    return file.exists() && file.error().isEmpty() && file.fingerprint() != m_seen;
}

bool SettingsDocument::becameAmbiguous() const
{
    return !m_ambiguous && IniFile(fileName()).text().isAmbiguous();
}

bool SettingsDocument::keepsRow(const QString &path) const
{
    const IniFile file(fileName());
    return !m_ambiguous && file.exists() && file.problem().isEmpty() && !file.text().isAmbiguous() &&
           file.text().contains(path);
}

void SettingsDocument::watch()
{
    const QStringList watched = m_watcher.files() + m_watcher.directories();
    QStringList wanted;
    for (const QString &path : {fileName(), QFileInfo(fileName()).absolutePath()}) {
        if (QFileInfo::exists(path))
            wanted += path;
    }
    for (const QString &path : watched) {
        if (!wanted.contains(path))
            m_watcher.removePath(path);
    }
    for (const QString &path : std::as_const(wanted)) {
        if (!watched.contains(path))
            m_watcher.addPath(path);
    }
}

void SettingsDocument::look()
{
    if (!m_store)
        return;
    watch();
    if (IniFile(fileName()).fingerprint() != m_seen)
        Q_EMIT fileChanged();
}

} // namespace sito
