// SPDX-License-Identifier: MIT
#include <browser/parts/commandline.h>

#include <sources/sourcelocation.h>

#include <QRegularExpression>

#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// The arguments one after the other, options taken apart from the values that follow them after "=".
class ArgumentReader
{
public:
    explicit ArgumentReader(const QStringList &arguments) : m_arguments(arguments) {}

    bool next()
    {
        if (m_position == m_arguments.size())
            return false;
        m_word = m_arguments.at(m_position++);
        m_attached.reset();
        m_isOption = !m_onlyFiles && m_word.size() > 1 && m_word.startsWith(u'-');
        const qsizetype equals = m_word.indexOf(u'=');
        if (m_isOption && equals > 0) {
            m_attached = m_word.sliced(equals + 1);
            m_word.truncate(equals);
        }
        return true;
    }

    bool isOption() const { return m_isOption; }
    const QString &word() const { return m_word; }
    void takeRestAsFiles() { m_onlyFiles = true; }

    /// Whether a value was attached to the option.
    bool hasAttached() const { return m_attached.has_value(); }
    /// The value of the option: the attached one or else the next argument.
    std::optional<QString> value()
    {
        if (m_attached)
            return std::exchange(m_attached, std::nullopt);
        if (m_position == m_arguments.size())
            return std::nullopt;
        return m_arguments.at(m_position++);
    }

private:
    const QStringList m_arguments;
    qsizetype m_position = 0;
    QString m_word;
    std::optional<QString> m_attached;
    bool m_isOption = false;
    bool m_onlyFiles = false;
};

/// \a text for a message: an address may hold a password.
QString shownDatabase(const QString &text)
{
    return SourceLocation::isUrl(text) ? text.first(text.indexOf(u':') + 1) + u'…' : text;
}

} // namespace

QString CommandLine::oneOf(const QString &option, const QString &value, const QStringList &choices)
{
    if (!choices.contains(value)) {
        throw UsageError{tr("параметр %1 ждёт %2, а не «%3»").arg(option, choices.join(tr(" или ")), value)};
    }
    return value;
}

CommandLine::KeyOption CommandLine::keyOption(const QString &option, const QString &value)
{
    const qsizetype equals = value.indexOf(u'=');
    if (equals <= 0) {
        throw UsageError{tr("параметр %1 ждёт СТОЛБЦЫ=КЛЮЧИ, а не «%2»").arg(option, value)};
    }
    KeyOption result;
    result.keep = option == "--keep"_L1;
    result.columns = value.first(equals).split(u',');
    result.keys = value.sliced(equals + 1);
    if (result.keys.isEmpty()) {
        throw UsageError{
            tr("параметр %1: для «%2» не дано ни одного ключа (пустое значение одного столбца пишется «|»)")
                .arg(option, value)};
    }
    return result;
}

bool CommandLine::hasDisplay()
{
#ifdef Q_OS_UNIX
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
    CommandLine result;
    std::optional<Action> action;
    QString actionOption;
    QString tableOption;
    QString strategyOption;
    QString pictureOption;
    QString windowOption;
    bool hasDatabase = false;

    const auto takeDatabase = [&result, &hasDatabase](const QString &text) {
        if (hasDatabase)
            throw UsageError{tr("лишний аргумент «%1»").arg(shownDatabase(text))};
        if (text.isEmpty())
            throw UsageError{tr("имя базы данных пусто")};
        hasDatabase = true;
        result.database = text;
    };
    ArgumentReader reader(arguments);
    while (reader.next()) {
        const QString word = reader.word();
        if (!reader.isOption()) {
            takeDatabase(word);
            continue;
        }
        const auto value = [&reader, &word] {
            const auto text = reader.value();
            if (!text)
                throw UsageError{tr("после %1 не хватает значения").arg(word)};
            return *text;
        };
        const auto choose = [&](Action chosen) {
            if (action) {
                throw UsageError{actionOption == word
                                     ? tr("параметр %1 дан дважды").arg(word)
                                     : tr("параметры %1 и %2 несовместимы").arg(actionOption, word)};
            }
            action = chosen;
            actionOption = word;
        };

        if (word == "--"_L1) {
            reader.takeRestAsFiles();
        } else if (word == "--help"_L1) {
            result.action = Action::Help;
            return result;
        } else if (word == "-h"_L1) {
            result.action = Action::ShortHelp;
            return result;
        } else if (word == "--version"_L1) {
            result.action = Action::Version;
            return result;
        } else if (word == "--list"_L1) {
            choose(Action::List);
        } else if (word == "--count"_L1) {
            choose(Action::Count);
        } else if (word == "--head"_L1) {
            choose(Action::Head);
            const QString text = value();
            bool ok = false;
            result.headRows = text.toLongLong(&ok);
            if (!ok || result.headRows < 0)
                throw UsageError{tr("параметр %1 ждёт число строк, а не «%2»").arg(word, text)};
        } else if (word == "--export"_L1) {
            choose(Action::Export);
            result.exportFile = value();
            if (result.exportFile.isEmpty())
                throw UsageError{tr("параметр %1 ждёт имя файла").arg(word)};
        } else if (word == "--database"_L1) {
            takeDatabase(value());
        } else if (word == "--table"_L1) {
            if (!tableOption.isEmpty())
                throw UsageError{tr("параметр %1 дан дважды").arg(word)};
            tableOption = word;
            result.table = value();
        } else if (word == "--exclude"_L1 || word == "--keep"_L1) {
            result.keyOptions.append(keyOption(word, value()));
        } else if (word == "--session-filter"_L1) {
            const QString text = value();
            if (!result.sessionColumns.isEmpty())
                throw UsageError{tr("параметр %1 дан дважды").arg(word)};
            result.sessionColumns = text.split(u',');
            if (result.sessionColumns.size() != 2)
                throw UsageError{tr("параметр %1 ждёт два столбца через запятую, а не «%2»").arg(word, text)};
        } else if (word == "--screenshot"_L1) {
            choose(Action::Screenshot);
            result.screenshotFile = value();
            if (result.screenshotFile.isEmpty())
                throw UsageError{tr("параметр %1 ждёт имя файла").arg(word)};
        } else if (word == "--size"_L1) {
            pictureOption = word;
            const QString text = value();
            static const QRegularExpression form(u"^([1-9][0-9]{1,4})x([1-9][0-9]{1,4})$"_s);
            const QRegularExpressionMatch match = form.match(text);
            if (!match.hasMatch())
                throw UsageError{tr("параметр %1 ждёт размер вида 1200x800, а не «%2»").arg(word, text)};
            result.screenshotSize = {match.captured(1).toInt(), match.captured(2).toInt()};
        } else if (word == "--scale"_L1) {
            pictureOption = word;
            result.scale = oneOf(word, value(), {u"1"_s, u"1.5"_s, u"2"_s});
        } else if (word == "--show"_L1) {
            pictureOption = word;
            const QString text = value();
            if (text.startsWith("filter:"_L1) && text.size() > 7)
                result.popupColumn = text.sliced(7);
            else
                result.showsSettings = !oneOf(word, text, {u"settings"_s, tr("filter:СТОЛБЕЦ")}).isEmpty();
        } else if (word == "--language"_L1) {
            windowOption = word;
            result.language = oneOf(word, value(), {u"ru"_s, u"en"_s});
        } else if (word == "--look"_L1) {
            windowOption = word;
            result.look = oneOf(word, value(), {u"light"_s, u"dark"_s});
        } else if (word == "--settings"_L1) {
            choose(Action::Settings);
            result.settingsFile = value();
        } else if (word == "--set"_L1) {
            const QString text = value();
            const qsizetype equals = text.indexOf(u'=');
            if (equals <= 0)
                throw UsageError{tr("параметр %1 ждёт ПУТЬ=ЗНАЧЕНИЕ, а не «%2»").arg(word, text)};
            result.settingsChanges.append({false, text.first(equals), text.sliced(equals + 1)});
        } else if (word == "--remove"_L1) {
            result.settingsChanges.append({true, value(), QString()});
        } else if (word == "--strategy"_L1) {
            if (!strategyOption.isEmpty())
                throw UsageError{tr("параметр %1 дан дважды").arg(word)};
            strategyOption = word;
            const QString text = value();
            if (text == "on-manual-submit"_L1)
                result.strategy = SettingsModel::OnManualSubmit;
            else if (text != "on-field-change"_L1)
                throw UsageError{tr("параметр %1 не знает порядка «%2»").arg(word, text)};
        } else {
            throw UsageError{tr("неизвестный параметр %1").arg(word)};
        }
        if (reader.hasAttached())
            throw UsageError{tr("параметр %1 не принимает значения").arg(word)};
    }

    if (!action && canShowWindow)
        action = Action::Window;
    const bool isWindow = action == Action::Window || action == Action::Screenshot;
    if (!pictureOption.isEmpty() && action != Action::Screenshot)
        throw UsageError{tr("параметр %1 требует параметра --screenshot").arg(pictureOption)};
    if (!windowOption.isEmpty() && !isWindow)
        throw UsageError{tr("параметр %1 требует окна").arg(windowOption)};
    const bool isSettings = action == Action::Settings;
    if (!isSettings && (!strategyOption.isEmpty() || !result.settingsChanges.isEmpty()))
        throw UsageError{tr("параметры --set, --remove и --strategy требуют параметра --settings")};
    if (isSettings) {
        if (hasDatabase)
            throw UsageError{tr("лишний аргумент «%1»").arg(shownDatabase(result.database))};
        if (!tableOption.isEmpty() || !result.keyOptions.isEmpty() || !result.sessionColumns.isEmpty())
            throw UsageError{tr("параметр %1 несовместим с показом таблиц").arg(actionOption)};
    } else if (action == Action::List) {
        if (!tableOption.isEmpty())
            throw UsageError{tr("параметры %1 и %2 несовместимы").arg(actionOption, tableOption)};
        if (!result.keyOptions.isEmpty() || !result.sessionColumns.isEmpty())
            throw UsageError{tr("условия отбора требуют параметра --table")};
    } else if (tableOption.isEmpty() && isWindow) {
        if (!result.keyOptions.isEmpty() || !result.sessionColumns.isEmpty())
            throw UsageError{tr("не дана таблица (--table)")};
    } else if (tableOption.isEmpty()) {
        throw UsageError{action || !result.keyOptions.isEmpty() || !result.sessionColumns.isEmpty()
                             ? tr("не дана таблица (--table)")
                             : tr("не сказано, что делать: --list, --table ИМЯ или --help")};
    }
    result.action = action.value_or(Action::Count);
    return result;
}

QString CommandLine::shortHelp()
{
    return tr(
        "Вызов:\n"
        "  sito-browser [БАЗА] [--table ИМЯ [ОТБОР]...] [--screenshot ФАЙЛ.png]\n"
        "  sito-browser [БАЗА] --list\n"
        "  sito-browser [БАЗА] --table ИМЯ [ОТБОР]... [--count | --head N | --export ФАЙЛ.csv]\n"
        "  sito-browser --settings ФАЙЛ.ini [--set ПУТЬ=ЗНАЧЕНИЕ | --remove ПУТЬ]... [--strategy ПОРЯДОК]\n"
        "ОТБОР:\n"
        "  --exclude СТОЛБЦЫ=КЛЮЧИ | --keep СТОЛБЦЫ=КЛЮЧИ | --session-filter БУМАГА,СЕССИЯ\n"
        "Окно открывается там, где есть экран. Без базы берётся встроенный пример. Подробно: sito-browser "
        "--help\n");
}

QString CommandLine::help()
{
    return tr("ИМЯ\n"
              "    sito-browser - показывает таблицы торговой базы данных, отобранные фильтрами\n"
              "\n"
              "ВЫЗОВ\n"
              "    sito-browser [БАЗА] [--table ИМЯ] [ОТБОР]... [--language ru | en] [--look light | "
              "dark]\n"
              "                 [--screenshot ФАЙЛ.png [--size ШxВ] [--scale 1 | 1.5 | 2] [--show ЧТО]]\n"
              "    sito-browser [БАЗА] --list\n"
              "    sito-browser [БАЗА] --table ИМЯ [--exclude СТОЛБЦЫ=КЛЮЧИ]... [--keep "
              "СТОЛБЦЫ=КЛЮЧИ]...\n"
              "                 [--session-filter БУМАГА,СЕССИЯ] [--count | --head N | --export ФАЙЛ.csv]\n"
              "    sito-browser --settings ФАЙЛ.ini [--set ПУТЬ=ЗНАЧЕНИЕ | --remove ПУТЬ]...\n"
              "                 [--strategy on-field-change | on-manual-submit]\n"
              "    sito-browser -h | --help | --version\n"
              "\n") +
           tr("ОПИСАНИЕ\n"
              "    Программа читает таблицы базы данных в память, применяет к строкам фильтры и "
              "сообщает,\n"
              "    сколько строк показано, сколько скрыто и сколько времени занял проход по таблице. База "
              "данных\n"
              "    только читается. Если она не указана, берётся встроенный пример: выдуманные ценные "
              "бумаги\n"
              "    (securities), их торговые сессии (sessions) и котировки (quotes).\n"
              "\n"
              "    Там, где есть экран, открывается окно, если не дано параметра, который говорит, что "
              "делать.\n"
              "\n"
              "    Типы полей следуют из объявленных типов столбцов. Значение, которое поле не может хранить "
              "точно,\n"
              "    не округляется и не обрезается: загрузка прекращается с указанием таблицы, строки и "
              "столбца.\n"
              "    Только десятичным столбцам добавляется столько цифр, сколько нужно значениям сверх "
              "объявленного;\n"
              "    о таких столбцах сказано после итога.\n"
              "\n") +
           tr("БАЗА\n"
              "    Файл SQLite или адрес: sqlite:/путь, postgresql://ПОЛЬЗОВАТЕЛЬ:ПАРОЛЬ@СЕРВЕР:ПОРТ/БАЗА. В "
              "адресе "
              "можно\n"
              "    опустить всё после «//». Пароль лучше дать в переменной PGPASSWORD: аргументы программы "
              "видны "
              "другим.\n"
              "    Знаки «@», «:», «/», «?», «#», «%» в имени и пароле пишутся как %40, %3A, %2F, %3F, %23, "
              "%25. Таблицы "
              "других\n"
              "    схем, чем находит сервер по имени, называются СХЕМА.ТАБЛИЦА.\n"
              "\n") +
           tr("ПАРАМЕТРЫ\n"
              "    --database БАЗА\n"
              "        То же, что БАЗА без параметра.\n"
              "    --list\n"
              "        Таблицы базы, число их строк, имена и типы столбцов; NULL отмечает столбцы, в "
              "которых\n"
              "        значения может не быть.\n"
              "    --table ИМЯ\n"
              "        Таблица, которую показать.\n"
              "    --exclude СТОЛБЦЫ=КЛЮЧИ\n"
              "        Скрыть строки, у которых значения столбцов равны одному из ключей.\n"
              "    --keep СТОЛБЦЫ=КЛЮЧИ\n"
              "        Показать только такие строки.\n"
              "    --session-filter БУМАГА,СЕССИЯ\n"
              "        Скрыть последнюю сессию каждой бумаги по таблице sessions той же базы. Даются имена "
              "столбцов\n"
              "        таблицы с номером бумаги и номером сессии.\n"
              "    --count\n"
              "        Только итог; так и без этого параметра там, где нет экрана.\n"
              "    --head N\n"
              "        Первые N показанных строк и итог.\n"
              "    --export ФАЙЛ.csv\n"
              "        Записать показанные строки в файл CSV (RFC 4180, UTF-8). Отсутствующее значение "
              "пишется пустым,\n"
              "        пустой текст - парой кавычек. Прежний файл заменяется лишь тогда, когда новый записан "
              "целиком.\n"
              "    --settings ФАЙЛ.ini\n"
              "        Дерево настроек из файла INI: путь, тип и значение каждой записи, пути групп "
              "кончаются на «/».\n"
              "    --set ПУТЬ=ЗНАЧЕНИЕ, --remove ПУТЬ\n"
              "        Перед показом изменить значение существующего ключа; удалить ключ или группу. Если "
              "хотя бы одного\n"
              "        пути нет, файл не меняется.\n"
              "    --strategy on-field-change | on-manual-submit\n"
              "        Записывать каждое изменение сразу (так и без этого параметра) или все вместе в "
              "конце.\n"
              "    -h, --help, --version\n"
              "        Краткая справка, эта страница, версия.\n"
              "\n") +
           tr("ОКНО\n"
              "    Клавиши в таблице: Alt+Вниз - выбрать значения столбца, Alt+Вверх - сортировать по "
              "столбцу,\n"
              "    Alt+Shift+Вверх - затем ещё по одному, Ctrl+1, Ctrl+2, Ctrl+3 - к таблицам, к строкам, к "
              "фильтрам.\n"
              "    Отбор из командной строки действует на этот раз; запомненные фильтры таблицы он заменит, "
              "только если\n"
              "    изменить фильтры в окне.\n"
              "    --language ru | en, --look light | dark\n"
              "        Язык и оформление на этот раз; иначе - те, что выбраны в окне.\n"
              "    --screenshot ФАЙЛ.png\n"
              "        Записать картинку окна с данной таблицей и отбором и закончить; экрана не нужно.\n"
              "    --size ШxВ, --scale 1 | 1.5 | 2\n"
              "        Размер окна в точках и масштаб картинки.\n"
              "    --show filter:СТОЛБЕЦ | settings\n"
              "        Снять окно с открытым фильтром столбца или окно настроек.\n"
              "\n") +
           tr("КЛЮЧИ\n"
              "    СТОЛБЦЫ - имена через запятую. КЛЮЧИ - один или несколько ключей через «|», в каждом "
              "столько\n"
              "    значений через запятую, сколько столбцов: stock_id,sess_id=12,3|15,1. Числа пишутся с "
              "точкой,\n"
              "    даты - как 2017.01.31 14:30:00.000 или 2017-01-31. Пустое место означает отсутствие числа "
              "или\n"
              "    пустой текст (один ключ из одного пустого места - «|»), знак ␀ (U+2400) - отсутствие "
              "текста или\n"
              "    даты. Значения с запятой или «|» так записать нельзя.\n"
              "\n"
              "    Параметры можно повторять. Ключи повторных --exclude складываются. Ключи --keep с теми же "
              "столбцами\n"
              "    в том же порядке складываются, а с разными строка должна подойти под каждый. Скрытое "
              "остаётся "
              "скрытым,\n"
              "    даже если подходит под --keep.\n"
              "\n") +
           tr("КОД ЗАВЕРШЕНИЯ\n"
              "    0 - выполнено; 2 - ошибка, о которой сказано одной строкой в стандартном потоке ошибок.\n"
              "\n"
              "ЯЗЫК\n"
              "    Русский или английский, если не выбрано в окне - по LC_ALL, LC_MESSAGES или LANG. Вывод "
              "всегда в UTF-8.\n"
              "\n") +
           tr("ПРИМЕРЫ\n"
              "    sito-browser base.sqlite --table quotes\n"
              "    sito-browser --list\n"
              "    sito-browser --table quotes --exclude 'stock_id=1|2' --head 10\n"
              "    sito-browser base.sqlite --table quotes --keep 'stock_id=926|1665' --export two.csv\n"
              "    sito-browser base.sqlite --table quotes --session-filter stock_id,sess_id --count\n"
              "    sito-browser --settings sito.ini --set window/width=800 --remove recent\n");
}

} // namespace sito
