// SPDX-License-Identifier: MIT
#include "celltext.h"
#include "commandline.h"
#include "headlessreport.h"
#include "settingsreport.h"

#include <data/exception.h>

#include <QApplication>
#include <QCoreApplication>
#include <QFile>
#include <QLocale>
#include <QLoggingCategory>
#include <QTextStream>
#include <QTranslator>

#include <clocale>
#include <cstdio>
#include <exception>
#include <memory>
#include <optional>

#ifdef Q_OS_UNIX
#include <langinfo.h>
#endif

using namespace Qt::StringLiterals;

namespace {

constexpr int failure = 2;

/// Whether the user reads Russian, the language of the texts in the sources.
bool wantsRussian()
{
#ifdef Q_OS_UNIX
    for (const char *variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const QString locale = qEnvironmentVariable(variable);
        if (!locale.isEmpty())
            return QLocale(locale).language() == QLocale::Russian;
    }
    return false;
#else
    return QLocale::system().language() == QLocale::Russian;
#endif
}

/// Qt would complain on stderr about a locale that is not installed or not in UTF-8, and then do the same.
void takeUtf8Locale()
{
#ifdef Q_OS_UNIX
    if (!std::setlocale(LC_ALL, "") || qstrcmp(nl_langinfo(CODESET), "UTF-8") != 0)
        qputenv("LC_ALL", "C.UTF-8");
#endif
}

/// Drops what Qt says of the surroundings while an application starts (a variable that is not set, a
/// directory that is missing): the user neither asked for it nor can do anything about it.
void dropStartMessages(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type == QtCriticalMsg || type == QtFatalMsg)
        std::fprintf(stderr, "sito-browser: %s\n", message.toUtf8().constData());
}

/// Carries out \a commandLine; the message of what went wrong, if anything.
std::optional<QString> run(const CommandLine &commandLine, QTextStream &out)
{
    try {
        if (commandLine.action == CommandLine::Action::Settings)
            SettingsReport(commandLine, out).run();
        else
            HeadlessReport(commandLine, out).run();
        return std::nullopt;
    } catch (const Exception &exception) {
        return exception.message();
    } catch (const QString &text) {
        return text;
    } catch (const std::exception &exception) {
        return QString::fromLocal8Bit(exception.what());
    }
}

std::optional<QString> carryOut(const QStringList &arguments, QTextStream &out)
{
    try {
        const CommandLine commandLine = CommandLine::parse(arguments);
        switch (commandLine.action) {
        case CommandLine::Action::ShortHelp:
            out << CommandLine::shortHelp();
            return std::nullopt;
        case CommandLine::Action::Help:
            out << CommandLine::help();
            return std::nullopt;
        case CommandLine::Action::Version:
            out << "sito-browser " << QCoreApplication::applicationVersion() << '\n';
            return std::nullopt;
        default:
            return run(commandLine, out);
        }
    } catch (const UsageError &error) {
        return error.message;
    }
}

} // namespace

int main(int argc, char **argv)
{
    const bool russian = wantsRussian();
    takeUtf8Locale();
    std::unique_ptr<QCoreApplication> application;
    if (CommandLine::needsWidgets(argc, argv)) {
        // The icons of the settings model come from a style; nothing is shown.
        if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
        const QtMessageHandler handler = qInstallMessageHandler(dropStartMessages);
        application = std::make_unique<QApplication>(argc, argv);
        qInstallMessageHandler(handler);
    } else {
        application = std::make_unique<QCoreApplication>(argc, argv);
    }
    QCoreApplication::setApplicationName(u"sito-browser"_s);
    QCoreApplication::setApplicationVersion(QStringLiteral(SITO_VERSION));
    // Every exception reports itself; here the user is told in a line of its own.
    QLoggingCategory::setFilterRules(u"database.exception=false"_s);
    QTranslator english;
    if (!russian && english.load(u":/translations/sito-browser_en.qm"_s))
        QCoreApplication::installTranslator(&english);

    QFile output;
    output.open(stdout, QIODevice::WriteOnly);
    QTextStream out(&output);
    auto error = carryOut(QCoreApplication::arguments().sliced(1), out);
    out.flush();
    if (!error && (out.status() != QTextStream::Ok || !output.flush()))
        error =
            QCoreApplication::translate("main", "Не удалось записать вывод: %1").arg(output.errorString());
    if (!error)
        return 0;
    QFile errors;
    errors.open(stderr, QIODevice::WriteOnly);
    QTextStream(&errors) << "sito-browser: " << printable(error->simplified()) << '\n';
    return failure;
}
