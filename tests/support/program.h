// SPDX-License-Identifier: MIT
#pragma once

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/// The result of one run of sito-browser.
struct ProgramRun
{
    int exitCode = -1;
    QString output;
    QString errors;
};

/// Runs sito-browser without a display, in a directory that is not its own, in English unless \a locale says
/// otherwise.
inline ProgramRun runBrowser(const QStringList &arguments, const QString &locale = QStringLiteral("C"))
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char *name : {"LANG", "LANGUAGE", "LC_MESSAGES", "LC_CTYPE", "DISPLAY", "WAYLAND_DISPLAY",
                             "QT_QPA_PLATFORM", "XDG_RUNTIME_DIR", "QT_LOGGING_RULES"})
        environment.remove(QString::fromLatin1(name));
    environment.insert(QStringLiteral("LC_ALL"), locale);
    const QTemporaryDir directory;
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(directory.path());
    process.start(QStringLiteral(SITO_BROWSER), arguments);
    ProgramRun run;
    if (process.waitForFinished(60000) && process.exitStatus() == QProcess::NormalExit)
        run.exitCode = process.exitCode();
    run.output = QString::fromUtf8(process.readAllStandardOutput());
    run.errors = QString::fromUtf8(process.readAllStandardError());
    return run;
}
