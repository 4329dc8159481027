// SPDX-License-Identifier: MIT
#pragma once

#include <browser/window/commands.h>

#include <QPointer>
#include <QString>

class QSettings;

namespace sito {

class KeptViews;
class SettingsWindow;

/// Shows settings in a window of their own: those of the program, or any file.
class SettingsCommands : public Commands
{
    Q_OBJECT
public:
    /// The settings of the program are in \a store, after \a views have written theirs. Neither is owned;
    /// both must outlive the object. Questions are asked over \a window, the parent.
    SettingsCommands(KeptViews &views, QSettings &store, QWidget &window);

    /// Shows the settings of the program, or those of \a fileName.
    SettingsWindow *show(const QString &fileName = QString());
    void askFile();
    /// Closes the window; false when the user wants to keep it, because of changes that are not written.
    bool close();

private:
    KeptViews &m_views;
    QSettings &m_store;
    QPointer<SettingsWindow> m_settingsWindow;
};

} // namespace sito
