// SPDX-License-Identifier: MIT
#include <browser/parts/commandline.h>

#include <sources/sourcelocation.h>

#include <QCommandLineParser>
#include <QFile>
#include <QHash>
#include <QRegularExpression>

#include <algorithm>
#include <optional>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// \a text for a message: an address may hold a password.
QString shownDatabase(const QString &text)
{
    return SourceLocation::isUrl(text) ? text.first(text.indexOf(u':') + 1) + u'…' : text;
}

QString helpText(const QString &name)
{
    QFile file(name);
    file.open(QIODevice::ReadOnly);
    return QString::fromUtf8(file.readAll());
}

} // namespace

/// A command line while it is read: the result so far, and the options that it comes from.
class CommandLine::Reading
{
public:
    struct Option
    {
        const char *name;
        bool hasValue;
        /// Takes the option and its value; \a name is the option as written.
        void (*take)(Reading &reading, const QString &name, const QString &value);
    };
    static const QList<Option> &options();

    /// Takes everything that \a parser has read.
    void take(const QCommandLineParser &parser);
    /// Throws when options contradict each other.
    void check() const;
    CommandLine finish(bool canShowWindow);

private:
    template <Action chosen>
    static void choose(Reading &reading, const QString &name, const QString &value);
    static void takeHeadRows(Reading &reading, const QString &name, const QString &value);
    static void takeTable(Reading &reading, const QString &name, const QString &value);
    static void takeSession(Reading &reading, const QString &name, const QString &value);
    static void takeSize(Reading &reading, const QString &name, const QString &value);
    static void takeShown(Reading &reading, const QString &name, const QString &value);
    static void takeSetting(Reading &reading, const QString &name, const QString &value);
    static void takeStrategy(Reading &reading, const QString &name, const QString &value);
    void takeDatabase(const QString &text);

    bool isWindow() const { return action == Action::Window || action == Action::Screenshot; }
    bool hasFilters() const { return !result.keyOptions.isEmpty() || !result.sessionColumns.isEmpty(); }

    CommandLine result;
    std::optional<Action> action;
    bool hasDatabase = false;
    // The option that each of these comes from; empty when there is none.
    QString actionOption;
    QString tableOption;
    QString strategyOption;
    QString pictureOption;
    QString windowOption;
};

const QList<CommandLine::Reading::Option> &CommandLine::Reading::options()
{
    static const QList<Option> list{
        {"list", false, choose<Action::List>},
        {"count", false, choose<Action::Count>},
        {"head", true, takeHeadRows},
        {"export", true,
         [](Reading &reading, const QString &name, const QString &value) {
             choose<Action::Export>(reading, name, value);
             reading.result.exportFile = fileName(name, value);
         }},
        {"bytes", false,
         [](Reading &reading, const QString &, const QString &) { reading.result.hasWholeBytes = true; }},
        {"screenshot", true,
         [](Reading &reading, const QString &name, const QString &value) {
             choose<Action::Screenshot>(reading, name, value);
             reading.result.screenshotFile = fileName(name, value);
         }},
        {"settings", true,
         [](Reading &reading, const QString &name, const QString &value) {
             choose<Action::Settings>(reading, name, value);
             reading.result.settingsFile = value;
         }},
        {"database", true,
         [](Reading &reading, const QString &, const QString &value) { reading.takeDatabase(value); }},
        {"table", true, takeTable},
        {"exclude", true,
         [](Reading &reading, const QString &name, const QString &value) {
             reading.result.keyOptions.append(keyOption(name, value, false));
         }},
        {"keep", true,
         [](Reading &reading, const QString &name, const QString &value) {
             reading.result.keyOptions.append(keyOption(name, value, true));
         }},
        {"session-filter", true, takeSession},
        {"size", true, takeSize},
        {"scale", true,
         [](Reading &reading, const QString &name, const QString &value) {
             reading.pictureOption = name;
             reading.result.scale = oneOf(name, value, {u"1"_s, u"1.5"_s, u"2"_s});
         }},
        {"show", true, takeShown},
        {"language", true,
         [](Reading &reading, const QString &name, const QString &value) {
             reading.windowOption = name;
             reading.result.language = oneOf(name, value, {u"ru"_s, u"en"_s});
         }},
        {"look", true,
         [](Reading &reading, const QString &name, const QString &value) {
             reading.windowOption = name;
             reading.result.look = oneOf(name, value, {u"light"_s, u"dark"_s});
         }},
        {"set", true, takeSetting},
        {"remove", true,
         [](Reading &reading, const QString &, const QString &value) {
             reading.result.settingsChanges.append({true, value, QString()});
         }},
        {"strategy", true, takeStrategy},
    };
    return list;
}

template <CommandLine::Action chosen>
void CommandLine::Reading::choose(Reading &reading, const QString &name, const QString &)
{
    if (reading.action) {
        throw UsageError{reading.actionOption == name
                             ? tr("параметр %1 дан дважды").arg(name)
                             : tr("параметры %1 и %2 несовместимы").arg(reading.actionOption, name)};
    }
    reading.action = chosen;
    reading.actionOption = name;
}

void CommandLine::Reading::takeHeadRows(Reading &reading, const QString &name, const QString &value)
{
    choose<Action::Head>(reading, name, value);
    bool ok = false;
    reading.result.headRows = value.toLongLong(&ok);
    if (!ok || reading.result.headRows < 0)
        throw UsageError{tr("параметр %1 ждёт число строк, а не «%2»").arg(name, value)};
}

void CommandLine::Reading::takeTable(Reading &reading, const QString &name, const QString &value)
{
    if (!reading.tableOption.isEmpty())
        throw UsageError{tr("параметр %1 дан дважды").arg(name)};
    reading.tableOption = name;
    reading.result.table = value;
}

void CommandLine::Reading::takeSession(Reading &reading, const QString &name, const QString &value)
{
    if (!reading.result.sessionColumns.isEmpty())
        throw UsageError{tr("параметр %1 дан дважды").arg(name)};
    reading.result.sessionColumns = value.split(u',');
    if (reading.result.sessionColumns.size() != 2)
        throw UsageError{tr("параметр %1 ждёт два столбца через запятую, а не «%2»").arg(name, value)};
}

void CommandLine::Reading::takeSize(Reading &reading, const QString &name, const QString &value)
{
    static const QRegularExpression form(u"^([1-9][0-9]{1,4})x([1-9][0-9]{1,4})$"_s);
    reading.pictureOption = name;
    const QRegularExpressionMatch match = form.match(value);
    if (!match.hasMatch())
        throw UsageError{tr("параметр %1 ждёт размер вида 1200x800, а не «%2»").arg(name, value)};
    reading.result.screenshotSize = {match.captured(1).toInt(), match.captured(2).toInt()};
}

void CommandLine::Reading::takeShown(Reading &reading, const QString &name, const QString &value)
{
    reading.pictureOption = name;
    if (value.startsWith("filter:"_L1) && value.size() > 7)
        reading.result.popupColumn = value.sliced(7);
    else
        reading.result.showsSettings = !oneOf(name, value, {u"settings"_s, tr("filter:СТОЛБЕЦ")}).isEmpty();
}

void CommandLine::Reading::takeSetting(Reading &reading, const QString &name, const QString &value)
{
    const qsizetype equals = value.indexOf(u'=');
    if (equals <= 0)
        throw UsageError{tr("параметр %1 ждёт ПУТЬ=ЗНАЧЕНИЕ, а не «%2»").arg(name, value)};
    reading.result.settingsChanges.append({false, value.first(equals), value.sliced(equals + 1)});
}

void CommandLine::Reading::takeStrategy(Reading &reading, const QString &name, const QString &value)
{
    if (!reading.strategyOption.isEmpty())
        throw UsageError{tr("параметр %1 дан дважды").arg(name)};
    reading.strategyOption = name;
    if (value == "on-manual-submit"_L1)
        reading.result.strategy = SettingsModel::OnManualSubmit;
    else if (value != "on-field-change"_L1)
        throw UsageError{tr("параметр %1 не знает порядка «%2»").arg(name, value)};
}

void CommandLine::Reading::takeDatabase(const QString &text)
{
    if (hasDatabase)
        throw UsageError{tr("лишний аргумент «%1»").arg(shownDatabase(text))};
    if (text.isEmpty())
        throw UsageError{tr("имя базы данных пусто")};
    hasDatabase = true;
    result.database = text;
}

void CommandLine::Reading::take(const QCommandLineParser &parser)
{
    QHash<QString, qsizetype> taken;
    const QStringList names = parser.optionNames();
    for (const QString &name : names) {
        const auto option = std::find_if(options().begin(), options().end(), [&name](const Option &known) {
            return name == QLatin1StringView(known.name);
        });
        const QString value = option->hasValue ? parser.values(name).at(taken[name]++) : QString();
        option->take(*this, "--"_L1 + name, value);
    }
    const QStringList databases = parser.positionalArguments();
    for (const QString &name : databases)
        takeDatabase(name);
}

void CommandLine::Reading::check() const
{
    if (!pictureOption.isEmpty() && action != Action::Screenshot)
        throw UsageError{tr("параметр %1 требует параметра --screenshot").arg(pictureOption)};
    if (result.hasWholeBytes && action != Action::Export)
        throw UsageError{tr("параметр %1 требует параметра --export").arg("--bytes"_L1)};
    if (!windowOption.isEmpty() && !isWindow())
        throw UsageError{tr("параметр %1 требует окна").arg(windowOption)};
    if (action == Action::Settings) {
        if (hasDatabase)
            throw UsageError{tr("лишний аргумент «%1»").arg(shownDatabase(result.database))};
        if (!tableOption.isEmpty() || hasFilters())
            throw UsageError{tr("параметр %1 несовместим с показом таблиц").arg(actionOption)};
        return;
    }
    if (!strategyOption.isEmpty() || !result.settingsChanges.isEmpty())
        throw UsageError{tr("параметры --set, --remove и --strategy требуют параметра --settings")};
    if (action == Action::List) {
        if (!tableOption.isEmpty())
            throw UsageError{tr("параметры %1 и %2 несовместимы").arg(actionOption, tableOption)};
        if (hasFilters())
            throw UsageError{tr("условия отбора требуют параметра --table")};
        return;
    }
    if (!tableOption.isEmpty() || (isWindow() && !hasFilters()))
        return;
    throw UsageError{action || hasFilters() ? tr("не дана таблица (--table)")
                                            : tr("не сказано, что делать: --list, --table ИМЯ или --help")};
}

CommandLine CommandLine::Reading::finish(bool canShowWindow)
{
    if (!action && canShowWindow)
        action = Action::Window;
    check();
    result.action = action.value_or(Action::Count);
    return result;
}

QString CommandLine::oneOf(const QString &option, const QString &value, const QStringList &choices)
{
    if (!choices.contains(value))
        throw UsageError{tr("параметр %1 ждёт %2, а не «%3»").arg(option, choices.join(tr(" или ")), value)};
    return value;
}

QString CommandLine::fileName(const QString &option, const QString &value)
{
    if (value.isEmpty())
        throw UsageError{tr("параметр %1 ждёт имя файла").arg(option)};
    return value;
}

KeyOption CommandLine::keyOption(const QString &option, const QString &value, bool keep)
{
    const qsizetype equals = value.indexOf(u'=');
    if (equals <= 0)
        throw UsageError{tr("параметр %1 ждёт СТОЛБЦЫ=КЛЮЧИ, а не «%2»").arg(option, value)};
    KeyOption result{keep, value.first(equals).split(u','), value.sliced(equals + 1)};
    if (result.keys.isEmpty()) {
        throw UsageError{
            tr("параметр %1: для «%2» не дано ни одного ключа (пустое значение одного столбца пишется «|»)")
                .arg(option, value)};
    }
    return result;
}

QString CommandLine::problem(const QCommandLineParser &parser, const QStringList &arguments)
{
    // The parser's own texts do not name options as written, and are in another language.
    const QStringList unknown = parser.unknownOptionNames();
    if (!unknown.isEmpty()) {
        const QString option = "--"_L1 + unknown.first();
        const bool isLong = arguments.contains(option) || !arguments.filter(option + u'=').isEmpty();
        return tr("неизвестный параметр %1").arg(isLong ? option : u'-' + unknown.first());
    }
    for (const Reading::Option &option : Reading::options()) {
        const QString name = QLatin1StringView(option.name);
        const QString written = "--"_L1 + name;
        if (option.hasValue && parser.optionNames().count(name) > parser.values(name).size())
            return tr("после %1 не хватает значения").arg(written);
        if (!option.hasValue && !arguments.filter(written + u'=').isEmpty())
            return tr("параметр %1 не принимает значения").arg(written);
    }
    return parser.errorText();
}

bool CommandLine::hasDisplay()
{
    // Other systems always have one.
#if defined(Q_OS_UNIX) && !defined(Q_OS_DARWIN)
    for (const char *variable : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"}) {
        if (!qEnvironmentVariableIsEmpty(variable))
            return true;
    }
    return false;
#else
    return true;
#endif
}

CommandLine CommandLine::parse(const QStringList &arguments, bool canShowWindow)
{
    QCommandLineParser parser;
    const QCommandLineOption shortHelpOption(u"h"_s);
    const QCommandLineOption helpOption(u"help"_s);
    const QCommandLineOption versionOption(u"version"_s);
    parser.addOptions({shortHelpOption, helpOption, versionOption});
    for (const Reading::Option &option : Reading::options()) {
        parser.addOption(
            {QLatin1StringView(option.name), QString(), option.hasValue ? u"value"_s : QString()});
    }

    const bool isRead = parser.parse(QStringList{QString()} + arguments);
    CommandLine result;
    for (const auto &[option, asked] :
         {std::pair(&helpOption, Action::Help), std::pair(&shortHelpOption, Action::ShortHelp),
          std::pair(&versionOption, Action::Version)}) {
        result.action = asked;
        if (parser.isSet(*option))
            return result;
    }
    if (!isRead)
        throw UsageError{problem(parser, arguments)};
    Reading reading;
    reading.take(parser);
    return reading.finish(canShowWindow);
}

QString CommandLine::shortHelp()
{
    //: The file with the text in this language.
    return helpText(tr(":/help/short_ru.txt"));
}

QString CommandLine::help()
{
    //: The file with the text in this language.
    return helpText(tr(":/help/ru.txt"));
}

} // namespace sito
