// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/values/keyoption.h>
#include <settings/settingsmodel.h>

#include <QCoreApplication>
#include <QList>
#include <QSize>
#include <QString>
#include <QStringList>

class QCommandLineParser;

namespace sito {

/// A mistake in the command line; the message is for the user.
struct UsageError
{
    QString message;
};

/// What the program was asked to do.
class CommandLine
{
    Q_DECLARE_TR_FUNCTIONS(CommandLine)
public:
    enum class Action {
        ShortHelp,
        Help,
        Version,
        List,
        Count,
        Head,
        Export,
        Settings,
        /// The window, for the user.
        Window,
        /// The window, for a picture of it.
        Screenshot,
    };

    /// One --set or --remove.
    struct SettingsChange
    {
        bool remove = false;
        QString path;
        QString value;
    };

    /// Reads \a arguments, which are without the program's name. Without an option that chooses the action,
    /// the action is Window if \a canShowWindow. Throws UsageError.
    static CommandLine parse(const QStringList &arguments, bool canShowWindow = false);
    /// Whether there is a display to show a window on.
    static bool hasDisplay();

    /// The call in a few lines, and the whole page.
    static QString shortHelp();
    static QString help();

    Action action = Action::Count;
    /// A file or an address, or empty for the sample.
    QString database;
    QString table;
    /// Those of --exclude and --keep.
    QList<KeyOption> keyOptions;
    /// The two columns of --session-filter, or none.
    QStringList sessionColumns;
    qint64 headRows = 0;
    QString exportFile;
    /// Whether all bytes of cells are exported that show them in short.
    bool hasWholeBytes = false;
    QString screenshotFile;
    /// Invalid for the size of a new window.
    QSize screenshotSize;
    /// "1", "1.5" or "2"; empty for the scale of the display.
    QString scale;
    /// The column whose filter is open in the picture.
    QString popupColumn;
    bool showsSettings = false;
    /// "ru" or "en"; empty for the language in the settings.
    QString language;
    /// "light" or "dark"; empty for the look in the settings.
    QString look;
    QString settingsFile;
    /// In the order given.
    QList<SettingsChange> settingsChanges;
    SettingsModel::EditStrategy strategy = SettingsModel::OnFieldChange;

private:
    class Reading;
    // Each reads the value of an option, or throws UsageError.
    static QString oneOf(const QString &option, const QString &value, const QStringList &choices);
    static QString fileName(const QString &option, const QString &value);
    static KeyOption keyOption(const QString &option, const QString &value, bool keep);
    /// Why \a parser could not read \a arguments.
    static QString problem(const QCommandLineParser &parser, const QStringList &arguments);
};

} // namespace sito
