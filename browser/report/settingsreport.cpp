// SPDX-License-Identifier: MIT
#include <browser/report/settingsreport.h>

#include <browser/parts/printable.h>

#include <data/exception.h>
#include <hostkit/settings/inifile.h>
#include <hostkit/settings/settingsdocument.h>
#include <hostkit/settings/settingsvalue.h>
#include <settings/settingsmodel.h>

#include <QDebug>
#include <QFileInfo>
#include <QSettings>

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

constexpr int valueColumn = 2;

bool isGroup(const QModelIndex &index)
{
    return index.model()->hasChildren(index);
}

/// All rows of \a model, each before those below it.
std::vector<QModelIndex> allRows(const SettingsModel &model)
{
    std::vector<QModelIndex> result;
    std::vector<QModelIndex> pending;
    const auto addChildren = [&model, &pending](const QModelIndex &parent) {
        for (int row = model.rowCount(parent) - 1; row >= 0; --row)
            pending.push_back(model.index(row, 0, parent));
    };
    addChildren(QModelIndex());
    while (!pending.empty()) {
        const QModelIndex index = pending.back();
        pending.pop_back();
        result.push_back(index);
        if (isGroup(index))
            addChildren(index);
    }
    return result;
}

/// The row of \a path, the key where there is a group of that name too; an invalid index when there is none.
QModelIndex find(const SettingsModel &model, const QString &path)
{
    QModelIndex group;
    for (const QModelIndex &index : allRows(model)) {
        if (settingsPath(index) != path)
            continue;
        if (!isGroup(index))
            return index;
        group = index;
    }
    return group;
}

QString valueText(const QVariant &value)
{
    if (!value.isValid() || value.canConvert<QString>())
        return value.toString();
    QString text;
    QDebug(&text).nospace() << value;
    return text;
}

} // namespace

SettingsReport::SettingsReport(const CommandLine &commandLine, QTextStream &out)
    : m_commandLine(commandLine), m_out(out)
{
}

void SettingsReport::run()
{
    const QString file = QFileInfo(m_commandLine.settingsFile).absoluteFilePath();
    if (const QString problem = IniFile::problem(m_commandLine.settingsFile); !problem.isEmpty())
        throw Exception(problem);
    if (!m_commandLine.settingsChanges.isEmpty())
        change(file);
    QSettings store(file, QSettings::IniFormat);
    SettingsModel model;
    model.setSettings(&store);
    print(model);
    if (const QString unreadable = IniFile(file).unreadableText(); !unreadable.isEmpty())
        m_out << unreadable << '\n';
}

void SettingsReport::change(const QString &file) const
{
    SettingsDocument document;
    document.open(std::make_unique<QSettings>(file, QSettings::IniFormat));
    if (document.isReadOnly())
        throw Exception(tr("Файл «%1» доступен только для чтения").arg(m_commandLine.settingsFile));
    SettingsModel trial;
    trial.setReadOnly(false);
    trial.setEditStrategy(SettingsModel::OnManualSubmit);
    trial.setSettings(document.model()->settings());
    applyChanges(trial);

    QString refusal;
    QObject::connect(&document, &SettingsDocument::wrote, &document,
                     [&refusal](const SettingsDocument::Outcome &outcome) {
                         if (outcome.refused)
                             refusal = outcome.message;
                     });
    document.setManual(m_commandLine.strategy == SettingsModel::OnManualSubmit);
    try {
        applyChanges(*document.model());
    } catch (const Exception &) {
        if (refusal.isEmpty())
            throw;
        throw Exception(refusal);
    }
    if (const SettingsDocument::Outcome outcome = document.submit(); outcome.refused)
        throw Exception(outcome.message);
}

void SettingsReport::applyChanges(SettingsModel &model) const
{
    for (const CommandLine::SettingsChange &change : m_commandLine.settingsChanges) {
        const QModelIndex index = find(model, change.path);
        if (!index.isValid())
            throw Exception(tr("В «%1» нет пути «%2»").arg(m_commandLine.settingsFile, change.path));
        // QSettings addresses no entry without a name.
        if (index.data().toString().isEmpty())
            throw Exception(tr("У записи «%1» нет имени, её нельзя изменить").arg(change.path));
        if (change.remove) {
            if (!model.removeRow(index.row(), index.parent()))
                throw Exception(tr("Не удалось удалить «%1»").arg(change.path));
        } else if (isGroup(index)) {
            throw Exception(tr("«%1» - группа, у неё нет значения").arg(change.path));
        } else if (!model.setData(index.siblingAtColumn(valueColumn), change.value)) {
            throw Exception(tr("Не удалось изменить «%1»").arg(change.path));
        }
    }
}

void SettingsReport::print(const SettingsModel &model)
{
    std::vector<std::array<QString, 3>> lines{{tr("Путь"), model.headerData(1, Qt::Horizontal).toString(),
                                               model.headerData(valueColumn, Qt::Horizontal).toString()}};
    for (const QModelIndex &index : allRows(model)) {
        const QString path = settingsPath(index) + (isGroup(index) ? "/"_L1 : QLatin1StringView());
        lines.push_back({printable(path), index.siblingAtColumn(1).data().toString(),
                         printable(valueText(index.siblingAtColumn(valueColumn).data()))});
    }
    qsizetype pathWidth = 0;
    qsizetype typeWidth = 0;
    for (const auto &[path, type, value] : lines) {
        pathWidth = std::max(pathWidth, path.size());
        typeWidth = std::max(typeWidth, type.size());
    }
    for (const auto &[path, type, value] : lines) {
        QString line =
            path.leftJustified(pathWidth) + "  "_L1 + type.leftJustified(typeWidth) + "  "_L1 + value;
        while (line.endsWith(u' '))
            line.chop(1);
        m_out << line << '\n';
    }
}

} // namespace sito
