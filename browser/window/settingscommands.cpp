// SPDX-License-Identifier: MIT
#include <browser/window/settingscommands.h>

#include <browser/settings/settingswindow.h>
#include <browser/window/keptviews.h>
#include <browser/window/questions.h>

#include <QSettings>

#include <memory>

namespace sito {

SettingsCommands::SettingsCommands(KeptViews &views, QSettings &store, QWidget &window)
    : Commands(window), m_views(views), m_store(store)
{
}

SettingsWindow *SettingsCommands::show(const QString &fileName)
{
    if (!m_settingsWindow) {
        m_settingsWindow = new SettingsWindow(&window());
        m_settingsWindow->setWindowFlag(Qt::Window);
        m_settingsWindow->setAttribute(Qt::WA_DeleteOnClose);
    }
    if (fileName.isEmpty()) {
        m_views.flush();
        m_store.sync();
        if (m_settingsWindow->fileName() != m_store.fileName())
            m_settingsWindow->openStore(
                std::make_unique<QSettings>(m_store.fileName(), QSettings::IniFormat));
    } else {
        m_settingsWindow->openFile(fileName);
    }
    m_settingsWindow->show();
    m_settingsWindow->activateWindow();
    return m_settingsWindow;
}

void SettingsCommands::askFile()
{
    Questions::askSettingsFile(window(), [this](const QString &file) { show(file); });
}

bool SettingsCommands::close()
{
    return !m_settingsWindow || m_settingsWindow->close();
}

} // namespace sito
