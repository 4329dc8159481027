// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingsdocument.h>

#include <hostkit/settings/inifile.h>
#include <hostkit/settings/settingsdocumentfile_p.h>
#include <hostkit/settings/settingsdocumentmodel_p.h>

#include <QFileInfo>
#include <QSettings>
#include <QStringList>

#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

constexpr int watchDelay = 150; // ms; one write is reported several times

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
    // The old model is deleted before its store.
    const auto before = std::exchange(m_file, std::make_unique<SettingsDocumentFile>(std::move(store)));
    m_manual = true;
    takeModel();
    watch();
}

SettingsModel *SettingsDocument::model() const
{
    return m_model.get();
}

const QSettings *SettingsDocument::store() const
{
    return m_file ? m_file->store() : nullptr;
}

QString SettingsDocument::fileName() const
{
    return m_file ? m_file->name() : QString();
}

bool SettingsDocument::isManual() const
{
    return m_model && m_model->isManual();
}

void SettingsDocument::setManual(bool manual)
{
    m_manual = manual;
    if (m_model)
        m_model->setEditStrategy(manual && !isAmbiguous() ? SettingsModel::OnManualSubmit
                                                          : SettingsModel::OnFieldChange);
}

bool SettingsDocument::isReadOnly() const
{
    return m_model && m_model->readOnly();
}

bool SettingsDocument::isAmbiguous() const
{
    return m_file && m_file->isAmbiguous();
}

QString SettingsDocument::unreadableText() const
{
    return m_file ? m_file->unreadableText() : QString();
}

/// Makes a new model of the store as it is.
void SettingsDocument::takeModel()
{
    const auto before = std::exchange(m_model, std::make_unique<SettingsDocumentModel>(*m_file));
    connect(m_model.get(), &SettingsDocumentModel::wrote, this, [this](const Outcome &outcome) {
        if (outcome.written)
            watch();
        Q_EMIT wrote(outcome);
    });
    m_model->setSettings(m_file->store());
    m_model->setReadOnly(IniFile::isReadOnly(*m_file->store()));
    setManual(m_manual);
    Q_EMIT modelReplaced();
    m_changes.setModel(m_model.get(), m_file->content());
}

// Writing.

SettingsDocument::Outcome SettingsDocument::foundChanged()
{
    return SettingsDocumentFile::foundChanged();
}

SettingsDocument::Outcome SettingsDocument::submit()
{
    m_changes.synchronize();
    if (!isManual() || (m_changes.isEmpty() && !isGone())) {
        Outcome nothing;
        nothing.written = true;
        return nothing;
    }
    Outcome outcome = m_file->write(m_changes.changes(), m_changes.known(), true);
    if (outcome.written) {
        watch();
        m_changes.dismissAll();
    }
    return outcome;
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
    const bool wasAmbiguous = isAmbiguous();
    m_file->read();
    if (isAmbiguous() || wasAmbiguous) {
        // A merge would confuse rows of the same name.
        takeModel();
    } else {
        m_changes.refresh(groups);
        m_model->setReadOnly(IniFile::isReadOnly(*m_file->store()));
    }
    watch();
    return true;
}

void SettingsDocument::acceptConflict(const QString &path, const QVariant &found)
{
    if (m_file)
        m_file->acceptConflict(path, found);
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
    return m_file && m_file->isGone();
}

QString SettingsDocument::problem() const
{
    return m_file ? m_file->problem(isManual(), isReadOnly()) : QString();
}

bool SettingsDocument::isOutdated() const
{
    return m_file && m_file->isOutdated();
}

bool SettingsDocument::becameAmbiguous() const
{
    return m_file && m_file->becameAmbiguous();
}

bool SettingsDocument::keepsRow(const QString &path) const
{
    return m_file && m_file->keepsRow(path);
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
    if (!m_file)
        return;
    watch();
    if (m_file->isOther())
        Q_EMIT fileChanged();
}

} // namespace sito
