// SPDX-License-Identifier: MIT
#include <browser/parts/applicationicon.h>
#include <browser/parts/commandline.h>
#include <browser/parts/languages.h>
#include <browser/parts/look.h>
#include <browser/parts/printable.h>
#include <browser/report/headlessreport.h>
#include <browser/report/settingsreport.h>
#include <browser/window/mainwindow.h>
#include <browser/window/screenshot.h>

#include <hostkit/text/exceptiontext.h>

#include <sito_version.h>

#include <QApplication>
#include <QCoreApplication>
#include <QFile>
#include <QLoggingCategory>
#include <QSettings>
#include <QTemporaryDir>
#include <QTextStream>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>

#ifdef Q_OS_UNIX
#include <langinfo.h>
#endif

using namespace Qt::StringLiterals;
using namespace sito;

namespace {

constexpr int failure = 2;

/// Qt would complain on stderr about a locale that is not installed or not in UTF-8, and then do the same.
void takeUtf8Locale()
{
#ifdef Q_OS_UNIX
    if (!std::setlocale(LC_ALL, "") || qstrcmp(nl_langinfo(CODESET), "UTF-8") != 0)
        qputenv("LC_ALL", "C.UTF-8");
#endif
}

/// Drops what Qt says of the surroundings while an application starts (a variable that is not set, a
/// directory that is missing): the user neither asked for it nor can do anything about it. Where Qt would
/// abort, for want of a display, the program ends as with any error.
void dropStartMessages(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type == QtCriticalMsg || type == QtFatalMsg)
        std::fprintf(stderr, "sito-browser: %s\n", message.simplified().toUtf8().constData());
    if (type == QtFatalMsg)
        std::_Exit(failure);
}

/// What the command line asks for, if it can be read: before there is an application, to choose its kind.
std::optional<CommandLine> firstReading(int argc, char **argv)
{
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    try {
        return CommandLine::parse(arguments, CommandLine::hasDisplay());
    } catch (const UsageError &) {
        return std::nullopt; // told of later, in the user's language
    }
}

std::unique_ptr<QCoreApplication> makeApplication(int &argc, char **argv)
{
    const std::optional<CommandLine> commandLine = firstReading(argc, argv);
    const auto action = commandLine ? commandLine->action : CommandLine::Action::ShortHelp;
    const bool isPicture = action == CommandLine::Action::Screenshot;
    if (action != CommandLine::Action::Settings && action != CommandLine::Action::Window && !isPicture)
        return std::make_unique<QCoreApplication>(argc, argv);
    // The icons of the settings model come from a style, and a picture is the same wherever it is made;
    // nothing is shown.
    if (action != CommandLine::Action::Window && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    if (isPicture && !commandLine->scale.isEmpty())
        qputenv("QT_SCALE_FACTOR", commandLine->scale.toLatin1());
    const QtMessageHandler handler = qInstallMessageHandler(dropStartMessages);
    auto application = std::make_unique<QApplication>(argc, argv);
    // The offscreen platform goes on complaining of what it cannot do.
    if (!isPicture)
        qInstallMessageHandler(handler);
    QApplication::setWindowIcon(applicationIcon());
    QGuiApplication::setDesktopFileName(u"sito-browser"_s);
    return application;
}

/// Shows the window until the user closes it, or takes the picture of it that was asked for.
int showWindow(const CommandLine &commandLine, Languages &languages)
{
    const bool isPicture = commandLine.action == CommandLine::Action::Screenshot;
    // A picture neither shows nor changes what the user has set.
    const QTemporaryDir directory;
    std::unique_ptr<QSettings> store;
    if (isPicture)
        store = std::make_unique<QSettings>(directory.filePath(u"sito-browser.ini"_s), QSettings::IniFormat);
    else
        store = std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope, u"sito"_s,
                                            u"sito-browser"_s);
    const auto chosen = [&store](const QString &option, const QString &key) {
        return option.isEmpty() ? store->value(key).toString() : option;
    };
    Look::apply(Look::fromName(chosen(commandLine.look, u"window/look"_s)));
    languages.apply(Languages::fromName(chosen(commandLine.language, u"window/language"_s)));

    MainWindow window(*store, languages);
    const ShowRequest request{commandLine.table, commandLine.keyOptions, commandLine.sessionColumns};
    if (commandLine.database.isEmpty())
        window.openSample(request);
    else
        window.openText(commandLine.database, request);
    if (isPicture) {
        Screenshot::take(window, commandLine);
        return 0;
    }
    window.show();
    return QCoreApplication::exec();
}

/// Carries out what \a arguments ask for; the code of the end. Whatever it throws is for the user.
int carryOut(const QStringList &arguments, QTextStream &out, Languages &languages)
{
    const bool canShowWindow =
        CommandLine::hasDisplay() && qobject_cast<QApplication *>(QCoreApplication::instance());
    const CommandLine commandLine = CommandLine::parse(arguments, canShowWindow);
    switch (commandLine.action) {
    case CommandLine::Action::ShortHelp:
        out << CommandLine::shortHelp();
        break;
    case CommandLine::Action::Help:
        out << CommandLine::help();
        break;
    case CommandLine::Action::Version:
        out << "sito-browser " << QCoreApplication::applicationVersion() << '\n';
        break;
    case CommandLine::Action::Settings:
        SettingsReport(commandLine, out).run();
        break;
    case CommandLine::Action::Window:
    case CommandLine::Action::Screenshot:
        return showWindow(commandLine, languages);
    default:
        return HeadlessReport(commandLine, out).run() ? 0 : failure;
    }
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    const bool isRussian = Languages::isSystemRussian();
    takeUtf8Locale();
    const std::unique_ptr<QCoreApplication> application = makeApplication(argc, argv);
    QCoreApplication::setApplicationName(u"sito-browser"_s);
    QCoreApplication::setApplicationVersion(QStringLiteral(SITO_VERSION_STRING));
    // Every exception reports itself; here the user is told in a line of its own.
    QLoggingCategory::setFilterRules(u"database.exception=false"_s);
    Languages languages(isRussian);
    languages.apply(Languages::Language::System);

    QFile output;
    output.open(stdout, QIODevice::WriteOnly);
    QTextStream out(&output);
    QString error;
    int code = failure;
    try {
        code = carryOut(QCoreApplication::arguments().sliced(1), out, languages);
    } catch (const UsageError &usage) {
        error = usage.message;
    } catch (...) {
        error = currentExceptionText();
    }
    out.flush();
    if (error.isEmpty() && (out.status() != QTextStream::Ok || !output.flush())) {
        error =
            QCoreApplication::translate("main", "Не удалось записать вывод: %1").arg(output.errorString());
        code = failure;
    }
    if (!error.isEmpty()) {
        QFile errors;
        errors.open(stderr, QIODevice::WriteOnly);
        QTextStream(&errors) << "sito-browser: " << printable(error.simplified()) << '\n';
    }
    return code;
}
