// SPDX-License-Identifier: MIT
#include <browser/window/sourcecommands.h>

#include <browser/window/questions.h>
#include <browser/window/recentmenu.h>
#include <browser/window/workspace.h>

#include <sources/openserverdialog.h>

#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>

namespace sito {

using namespace Qt::StringLiterals;

SourceCommands::SourceCommands(Workspace &workspace, const RecentMenu &recent, QWidget &window)
    : Commands(window), m_workspace(workspace)
{
    connect(&recent, &RecentMenu::chosen, this, [this](const SourceLocation &location) {
        // A password is not kept, and may be needed.
        if (location.isFile())
            m_workspace.open(location);
        else
            askServer(location);
    });
    connect(&recent, &RecentMenu::failed, this, &SourceCommands::failed);
    connect(&m_workspace, &Workspace::openFailed, this, &SourceCommands::onOpenFailed);
    connect(&m_workspace, &Workspace::opened, this, [this] { m_asked = {}; });
}

void SourceCommands::openSample(const ShowRequest &request)
{
    guarded([&] { m_workspace.openSample(request); });
}

void SourceCommands::openText(const QString &text, const ShowRequest &request)
{
    guarded([&] { m_workspace.open(SourceLocation::fromText(text), request); });
}

void SourceCommands::askFile()
{
    const SourceLocation current = m_workspace.location();
    const bool isBeside = !m_workspace.isSample() && current.isFile() && !current.file.isEmpty();
    Questions::askFile(window(), isBeside ? QFileInfo(current.file).absolutePath() : QString(),
                       [this](const QString &file) { m_workspace.open(SourceLocation::fromFile(file)); });
}

void SourceCommands::openWindow(const QString &table)
{
    QStringList arguments;
    if (m_workspace.isOpen() && !m_workspace.isSample())
        arguments.append(m_workspace.sourceKey());
    if (!table.isEmpty())
        arguments.append({u"--table"_s, table});
    QProcess browser;
    browser.setProgram(QCoreApplication::applicationFilePath());
    browser.setArguments(arguments);
    // An argument could be read by every user of the machine.
    if (const QString password = m_workspace.location().password; !password.isEmpty()) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        const bool isPostgres = m_workspace.location().driver == "QPSQL"_L1;
        environment.insert(isPostgres ? u"PGPASSWORD"_s : u"MYSQL_PWD"_s, password);
        browser.setProcessEnvironment(environment);
    }
    if (!browser.startDetached())
        Q_EMIT failed(tr("Не удалось открыть окно: %1").arg(browser.errorString()));
}

void SourceCommands::askServer(const SourceLocation &location)
{
    showDialog(location);
}

OpenServerDialog *SourceCommands::showDialog(const SourceLocation &location)
{
    auto *dialog = new OpenServerDialog(&window());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    if (!location.driver.isEmpty())
        dialog->setLocation(location);
    connect(dialog, &QDialog::accepted, this, [this, dialog] {
        m_asked = dialog->location();
        m_workspace.open(m_asked);
    });
    dialog->open();
    return dialog;
}

void SourceCommands::onOpenFailed(const SourceLocation &location, const QString &message)
{
    if (location != m_asked) {
        Q_EMIT failed(message);
        return;
    }
    m_asked = {};
    showDialog(location)->showError(message);
}

} // namespace sito
