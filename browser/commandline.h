// SPDX-License-Identifier: MIT
#pragma once

#include <settings/settingsmodel.h>

#include <QCoreApplication>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

/// Why a command line cannot be carried out, in words for the user.
struct UsageError
{
    QString message;
};

/// What the program was asked to do.
class CommandLine
{
    Q_DECLARE_TR_FUNCTIONS(CommandLine)
public:
    enum class Action { ShortHelp, Help, Version, List, Count, Head, Export, Settings };

    /// One --exclude or --keep.
    struct KeyOption
    {
        bool keep = false;
        QStringList columns;
        /// One or more keys in the stored form of a filter; not empty.
        QString keys;
    };

    /// One --set or --remove.
    struct SettingsChange
    {
        bool remove = false;
        QString path;
        QString value;
    };

    /// Whether \a arguments ask for something that needs a QApplication; looks at no more than that.
    static bool needsWidgets(int argc, const char *const *argv);
    /// Reads \a arguments, the program's name left out. Throws UsageError.
    static CommandLine parse(const QStringList &arguments);

    /// The call in a few lines, and the whole page.
    static QString shortHelp();
    static QString help();

    Action action = Action::Count;
    /// A file, or empty for the sample.
    QString database;
    QString table;
    QList<KeyOption> keyOptions;
    /// The two columns of --session-filter, or none.
    QStringList sessionColumns;
    qint64 headRows = 0;
    QString exportFile;
    QString settingsFile;
    /// In the order in which they were given.
    QList<SettingsChange> settingsChanges;
    SettingsModel::EditStrategy strategy = SettingsModel::OnFieldChange;

private:
    static KeyOption keyOption(const QString &option, const QString &value);
};
