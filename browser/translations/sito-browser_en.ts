<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="ru">
<context>
    <name>CellFilters</name>
    <message>
        <source>Не выделено ни одной ячейки</source>
        <translation>No cell is selected</translation>
    </message>
    <message>
        <source>В выделенных столбцах нет значений, которые можно сравнивать: все они двоичные</source>
        <translation>The selected columns have no values that can be compared: all of them are binary</translation>
    </message>
    <message>
        <source>В столбце «%1» выделено «не число»: оно равно любому числу, и отбор по нему невозможен</source>
        <translation>In column &apos;%1&apos; a value that is not a number is selected: it equals every number and cannot be filtered by</translation>
    </message>
</context>
<context>
    <name>ColumnNotes</name>
    <message>
        <source>Столбец «%1» объявлен как %2, но значениям нужен %3</source>
        <translation>Column &apos;%1&apos; is declared as %2, but its values need %3</translation>
    </message>
</context>
<context>
    <name>ColumnsFilter</name>
    <message>
        <source>Столбец «%1» таблицы «%2» имеет тип %3: его значения не сравниваются</source>
        <translation>Column &apos;%1&apos; of table &apos;%2&apos; is of type %3: its values are never compared</translation>
    </message>
    <message>
        <source>Ключ «%1»: число значений (%2) не равно числу столбцов (%3)</source>
        <translation>Key &apos;%1&apos;: the number of values (%2) is not the number of columns (%3)</translation>
    </message>
    <message>
        <source>Ключ «%1»: столбец «%2» не допускает пустых значений</source>
        <translation>Key &apos;%1&apos;: column &apos;%2&apos; admits no absent values</translation>
    </message>
    <message>
        <source>Ключ «%1»: «%2» не может быть значением столбца «%3» типа %4</source>
        <translation>Key &apos;%1&apos;: &apos;%2&apos; cannot be a value of column &apos;%3&apos; of type %4</translation>
    </message>
</context>
<context>
    <name>CommandLine</name>
    <message>
        <source>параметр %1 ждёт СТОЛБЦЫ=КЛЮЧИ, а не «%2»</source>
        <translation>option %1 takes COLUMNS=KEYS, not &apos;%2&apos;</translation>
    </message>
    <message>
        <source>параметр %1: для «%2» не дано ни одного ключа (пустое значение одного столбца пишется «|»)</source>
        <translation>option %1: &apos;%2&apos; gives no key (the empty value of one column is written &apos;|&apos;)</translation>
    </message>
    <message>
        <source>лишний аргумент «%1»</source>
        <translation>surplus argument &apos;%1&apos;</translation>
    </message>
    <message>
        <source>имя базы данных пусто</source>
        <translation>the name of the database is empty</translation>
    </message>
    <message>
        <source>после %1 не хватает значения</source>
        <translation>a value is missing after %1</translation>
    </message>
    <message>
        <source>параметр %1 дан дважды</source>
        <translation>option %1 is given twice</translation>
    </message>
    <message>
        <source>параметры %1 и %2 несовместимы</source>
        <translation>options %1 and %2 exclude each other</translation>
    </message>
    <message>
        <source>параметр %1 ждёт число строк, а не «%2»</source>
        <translation>option %1 takes a number of rows, not &apos;%2&apos;</translation>
    </message>
    <message>
        <source>параметр %1 ждёт имя файла</source>
        <translation>option %1 takes the name of a file</translation>
    </message>
    <message>
        <source>параметр %1 ждёт два столбца через запятую, а не «%2»</source>
        <translation>option %1 takes two columns with a comma between them, not &apos;%2&apos;</translation>
    </message>
    <message>
        <source>параметр %1 ждёт ПУТЬ=ЗНАЧЕНИЕ, а не «%2»</source>
        <translation>option %1 takes PATH=VALUE, not &apos;%2&apos;</translation>
    </message>
    <message>
        <source>параметр %1 не знает порядка «%2»</source>
        <translation>option %1 knows no strategy &apos;%2&apos;</translation>
    </message>
    <message>
        <source>неизвестный параметр %1</source>
        <translation>unknown option %1</translation>
    </message>
    <message>
        <source>параметр %1 не принимает значения</source>
        <translation>option %1 takes no value</translation>
    </message>
    <message>
        <source>параметры --set, --remove и --strategy требуют параметра --settings</source>
        <translation>options --set, --remove and --strategy need --settings</translation>
    </message>
    <message>
        <source>параметр %1 несовместим с показом таблиц</source>
        <translation>option %1 and the showing of tables exclude each other</translation>
    </message>
    <message>
        <source>условия отбора требуют параметра --table</source>
        <translation>filters need --table</translation>
    </message>
    <message>
        <source>не дана таблица (--table)</source>
        <translation>no table is given (--table)</translation>
    </message>
    <message>
        <source>не сказано, что делать: --list, --table ИМЯ или --help</source>
        <translation>nothing to do: give --list, --table NAME or --help</translation>
    </message>
    <message>
        <source>параметр %1 ждёт %2, а не «%3»</source>
        <translation>option %1 takes %2, not &apos;%3&apos;</translation>
    </message>
    <message>
        <source> или </source>
        <translation> or </translation>
    </message>
    <message>
        <source>параметр %1 ждёт размер вида 1200x800, а не «%2»</source>
        <translation>option %1 takes a size like 1200x800, not &apos;%2&apos;</translation>
    </message>
    <message>
        <source>параметр %1 требует параметра --screenshot</source>
        <translation>option %1 needs --screenshot</translation>
    </message>
    <message>
        <source>параметр %1 требует окна</source>
        <translation>option %1 needs a window</translation>
    </message>
    <message>
        <source>filter:СТОЛБЕЦ</source>
        <translation>filter:COLUMN</translation>
    </message>
    <message>
        <source>:/help/short_ru.txt</source>
        <extracomment>The file with the text in this language.</extracomment>
        <translation>:/help/short_en.txt</translation>
    </message>
    <message>
        <source>:/help/ru.txt</source>
        <extracomment>The file with the text in this language.</extracomment>
        <translation>:/help/en.txt</translation>
    </message>
</context>
<context>
    <name>ExceptionText</name>
    <message>
        <source>Недостаточно памяти</source>
        <translation>Out of memory</translation>
    </message>
    <message>
        <source>Неизвестная ошибка</source>
        <translation>Unknown error</translation>
    </message>
</context>
<context>
    <name>FilterStorage</name>
    <message>
        <source>Фильтр последних сессий бывает только по двум столбцам</source>
        <translation>A filter of the last sessions takes two columns</translation>
    </message>
    <message>
        <source>Вид «%1»</source>
        <translation>View &apos;%1&apos;</translation>
    </message>
    <message>
        <source>Вид «%1», набор «%2»</source>
        <translation>View &apos;%1&apos;, set &apos;%2&apos;</translation>
    </message>
    <message>
        <source>%1: такого набора нет</source>
        <translation>%1: there is no such set</translation>
    </message>
    <message>
        <source>Запись версии «%1» не читается</source>
        <translation>An entry of version &apos;%1&apos; cannot be read</translation>
    </message>
    <message>
        <source>Вид фильтра «%1» неизвестен</source>
        <translation>The kind of filter &apos;%1&apos; is not known</translation>
    </message>
    <message>
        <source>Столбцы не названы</source>
        <translation>No columns are named</translation>
    </message>
    <message>
        <source>Фильтр не создан</source>
        <translation>No filter was made</translation>
    </message>
    <message>
        <source>Фильтр «%1» нельзя сохранить: его вид не зарегистрирован</source>
        <translation>Filter &apos;%1&apos; cannot be saved: its kind is not registered</translation>
    </message>
    <message>
        <source>%1: фильтр %2 («%3») не восстановлен. %4</source>
        <translation>%1: filter %2 (&apos;%3&apos;) was not restored. %4</translation>
    </message>
    <message>
        <source>Не удалось прочитать «%1»</source>
        <translation>Cannot read &apos;%1&apos;</translation>
    </message>
    <message>
        <source>Не удалось записать «%1»</source>
        <translation>Cannot write &apos;%1&apos;</translation>
    </message>
</context>
<context>
    <name>FilterText</name>
    <message>
        <source>Последние сессии бумаг</source>
        <translation>Last sessions of securities</translation>
    </message>
    <message>
        <source>Фильтр</source>
        <translation>Filter</translation>
    </message>
    <message>
        <source>скрыто сессий: %1</source>
        <translation>sessions hidden: %1</translation>
    </message>
</context>
<context>
    <name>HeadlessReport</name>
    <message>
        <source>Показано строк: %1</source>
        <translation>Rows shown: %1</translation>
    </message>
    <message>
        <source>Скрыто строк: %1</source>
        <translation>Rows hidden: %1</translation>
    </message>
    <message>
        <source>Время прохода: %1 мс</source>
        <translation>Time of the pass: %1 ms</translation>
    </message>
    <message>
        <source>%1: строк %2</source>
        <translation>%1: %2 rows</translation>
    </message>
</context>
<context>
    <name>IniFile</name>
    <message>
        <source>Файла «%1» нет</source>
        <translation>There is no file &apos;%1&apos;</translation>
    </message>
    <message>
        <source>«%1» - каталог, а не файл настроек</source>
        <translation>&apos;%1&apos; is a directory, not a settings file</translation>
    </message>
    <message>
        <source>«%1» - не обычный файл</source>
        <translation>&apos;%1&apos; is not a regular file</translation>
    </message>
    <message>
        <source>Не удалось прочитать «%1»: %2</source>
        <translation>Cannot read &apos;%1&apos;: %2</translation>
    </message>
    <message>
        <source>«%1» - не файл INI</source>
        <translation>&apos;%1&apos; is no INI file</translation>
    </message>
    <message>
        <source>файл «%1» доступен только для чтения</source>
        <translation>the file &apos;%1&apos; is read-only</translation>
    </message>
    <message>
        <source>Строки, которые не прочитать: %1</source>
        <translation>Lines that cannot be read: %1</translation>
    </message>
    <message>
        <source>не удалось сохранить копию «%1»: %2</source>
        <translation>cannot save the copy &apos;%1&apos;: %2</translation>
    </message>
    <message>
        <source>в «%1» этих изменений не записать построчно</source>
        <translation>these changes cannot be written into &apos;%1&apos; line by line</translation>
    </message>
    <message>
        <source>файл «%1» занят другой программой</source>
        <translation>another program is using the file &apos;%1&apos;</translation>
    </message>
    <message>
        <source>файл «%1» только что изменён другой программой</source>
        <translation>another program has just changed the file &apos;%1&apos;</translation>
    </message>
    <message>
        <source>не удалось записать «%1»: %2</source>
        <translation>cannot write &apos;%1&apos;: %2</translation>
    </message>
</context>
<context>
    <name>KeyText</name>
    <message>
        <source>Ошибка в JSON: %1</source>
        <translation>Error in JSON: %1</translation>
    </message>
    <message>
        <source>В JSON не список</source>
        <translation>The JSON is not a list</translation>
    </message>
    <message>
        <source>В JSON не список строк</source>
        <translation>The JSON is not a list of texts</translation>
    </message>
    <message>
        <source>Ключ %1 записан не списком строк и null</source>
        <translation>Key %1 is not written as a list of texts and nulls</translation>
    </message>
</context>
<context>
    <name>Question</name>
    <message>
        <source>От&amp;мена</source>
        <translation>&amp;Cancel</translation>
    </message>
</context>
<context>
    <name>Questions</name>
    <message>
        <source>Открыть базу данных</source>
        <translation>Open Database</translation>
    </message>
    <message>
        <source>Базы данных SQLite (*.sqlite *.sqlite3 *.db *.db3)</source>
        <translation>SQLite databases (*.sqlite *.sqlite3 *.db *.db3)</translation>
    </message>
    <message>
        <source>Все файлы (*)</source>
        <translation>All files (*)</translation>
    </message>
    <message>
        <source>Записать показанные строки</source>
        <translation>Write the Shown Rows</translation>
    </message>
    <message>
        <source>CSV с заголовками (*.csv)</source>
        <translation>CSV with headers (*.csv)</translation>
    </message>
    <message>
        <source>CSV без заголовков (*.csv)</source>
        <translation>CSV without headers (*.csv)</translation>
    </message>
    <message>
        <source>Показаны не те строки, что задают фильтры и сортировка.</source>
        <translation>The rows shown are not what the filters and the sorting say.</translation>
    </message>
    <message>
        <source>Записать всё же те, что показаны?</source>
        <translation>Write those that are shown all the same?</translation>
    </message>
    <message>
        <source>&amp;Записать показанные</source>
        <translation>&amp;Write the Shown Rows</translation>
    </message>
    <message>
        <source>Сохранить набор фильтров</source>
        <translation>Save Filter Set</translation>
    </message>
    <message>
        <source>Имя набора. Набор с тем же именем будет заменён.</source>
        <translation>Name of the set. A set of that name is replaced.</translation>
    </message>
    <message>
        <source>Открыть файл настроек</source>
        <translation>Open Settings File</translation>
    </message>
    <message>
        <source>Файлы INI (*.ini *.conf)</source>
        <translation>INI files (*.ini *.conf)</translation>
    </message>
    <message>
        <source>О программе</source>
        <translation>About Sito</translation>
    </message>
    <message>
        <source>Показывает таблицы торговых баз данных, отобранные фильтрами по значениям. Сделано на библиотеке libsito; исходные тексты - по лицензии MIT.</source>
        <translation>Shows tables of trading databases, filtered by their values. Built on the library libsito; the sources are under the MIT licence.</translation>
    </message>
</context>
<context>
    <name>SampleDatabase</name>
    <message>
        <source>Не удалось записать пример во временный каталог</source>
        <translation>Cannot write the sample to the directory for temporary files</translation>
    </message>
</context>
<context>
    <name>Screenshot</name>
    <message>
        <source>Окно не готово и через десять минут</source>
        <translation>The window is not ready after ten minutes</translation>
    </message>
    <message>
        <source>Столбца «%1» нет</source>
        <translation>There is no column &apos;%1&apos;</translation>
    </message>
    <message>
        <source>У столбца «%1» нет фильтра</source>
        <translation>Column &apos;%1&apos; has no filter</translation>
    </message>
    <message>
        <source>Не удалось записать «%1»: %2</source>
        <translation>Cannot write &apos;%1&apos;: %2</translation>
    </message>
</context>
<context>
    <name>SelectFilter</name>
    <message>
        <source>Выбрать</source>
        <translation>Select</translation>
    </message>
</context>
<context>
    <name>SettingsModel</name>
    <message>
        <source>Ключ</source>
        <translation>Key</translation>
    </message>
    <message>
        <source>Тип</source>
        <translation>Type</translation>
    </message>
    <message>
        <source>Значение</source>
        <translation>Value</translation>
    </message>
</context>
<context>
    <name>SettingsReport</name>
    <message>
        <source>У записи «%1» нет имени, её нельзя изменить</source>
        <translation>Entry &apos;%1&apos; has no name and cannot be changed</translation>
    </message>
    <message>
        <source>Файл «%1» доступен только для чтения</source>
        <translation>File &apos;%1&apos; is read-only</translation>
    </message>
    <message>
        <source>В «%1» нет пути «%2»</source>
        <translation>&apos;%1&apos; has no path &apos;%2&apos;</translation>
    </message>
    <message>
        <source>Не удалось удалить «%1»</source>
        <translation>Cannot remove &apos;%1&apos;</translation>
    </message>
    <message>
        <source>«%1» - группа, у неё нет значения</source>
        <translation>&apos;%1&apos; is a group and has no value</translation>
    </message>
    <message>
        <source>Не удалось изменить «%1»</source>
        <translation>Cannot change &apos;%1&apos;</translation>
    </message>
    <message>
        <source>Путь</source>
        <translation>Path</translation>
    </message>
</context>
<context>
    <name>SettingsText</name>
    <message>
        <source>Число не помещается в тип значения</source>
        <translation>The number does not fit the type of the value</translation>
    </message>
    <message>
        <source>Допустимы целые числа от %1 до %2</source>
        <translation>Whole numbers from %1 to %2 are allowed</translation>
    </message>
    <message>
        <source>Это не число</source>
        <translation>This is no number</translation>
    </message>
    <message>
        <source>Это не целое число</source>
        <translation>This is no whole number</translation>
    </message>
    <message>
        <source>Чисел должно быть %1</source>
        <translation>There must be %1 numbers</translation>
    </message>
    <message>
        <source>Дата и время пишутся так: 2024-12-31T23:59:59.999, дальше можно Z, +03:00 или +03:00[Europe/Moscow]</source>
        <translation>Date and time are written 2024-12-31T23:59:59.999, then perhaps Z, +03:00 or +03:00[Europe/Moscow]</translation>
    </message>
    <message>
        <source>Смещение от UTC бывает от -14:00 до +14:00</source>
        <translation>An offset from UTC is between -14:00 and +14:00</translation>
    </message>
    <message>
        <source>Часовой пояс «%1» неизвестен</source>
        <translation>Time zone &apos;%1&apos; is unknown</translation>
    </message>
    <message>
        <source>Такого времени в этот день нет: часы переводят вперёд</source>
        <translation>There is no such time on this day: the clocks go forward</translation>
    </message>
    <message>
        <source>Цвет пишется как #RRGGBB, #AARRGGBB или по-английски: red</source>
        <translation>A colour is written #RRGGBB, #AARRGGBB or by its name: red</translation>
    </message>
    <message>
        <source>После «\» пишется x и две шестнадцатеричные цифры или ещё одна «\»</source>
        <translation>&apos;\&apos; is followed by x and two hexadecimal digits, or by another &apos;\&apos;</translation>
    </message>
    <message>
        <source>Символ «%1» пишется байтами, как \x0a</source>
        <translation>Character &apos;%1&apos; is written as bytes, as \x0a</translation>
    </message>
    <message>
        <source>Здесь нужен ровно один символ</source>
        <translation>Exactly one character is needed here</translation>
    </message>
    <message>
        <source>Дата пишется так: 2024-12-31</source>
        <translation>A date is written 2024-12-31</translation>
    </message>
    <message>
        <source>Время пишется так: 23:59:59.999</source>
        <translation>A time is written 23:59:59.999</translation>
    </message>
    <message>
        <source>Шрифт пишется так: семейство,размер - или выбирается кнопкой справа</source>
        <translation>A font is written family,size - or chosen with the button at the right</translation>
    </message>
    <message>
        <source>Сочетание пишется так: Ctrl+Shift+F5</source>
        <translation>A key sequence is written Ctrl+Shift+F5</translation>
    </message>
    <message>
        <source>UUID пишется так: %1</source>
        <translation>A UUID is written %1</translation>
    </message>
    <message>
        <source>Это не адрес: %1</source>
        <translation>This is no address: %1</translation>
    </message>
    <message>
        <source>Значения этого типа не меняются</source>
        <translation>Values of this type cannot be edited</translation>
    </message>
</context>
<context>
    <name>SettingsValue</name>
    <message>
        <source>Да</source>
        <translation>Yes</translation>
    </message>
    <message>
        <source>Нет</source>
        <translation>No</translation>
    </message>
    <message>
        <source>%1, %2 пт</source>
        <translation>%1, %2 pt</translation>
    </message>
    <message>
        <source>%1, %2 пикс.</source>
        <translation>%1, %2 px</translation>
    </message>
    <message>
        <source>, жирный</source>
        <translation>, bold</translation>
    </message>
    <message>
        <source>, курсив</source>
        <translation>, italic</translation>
    </message>
    <message>
        <source>(пустой список)</source>
        <translation>(empty list)</translation>
    </message>
</context>
<context>
    <name>SourceDatabase</name>
    <message>
        <source>Не удалось открыть «%1»: драйвер Qt SQL «%2» не установлен</source>
        <translation>Cannot open &apos;%1&apos;: the Qt SQL driver &apos;%2&apos; is not installed</translation>
    </message>
    <message>
        <source>Файла «%1» нет</source>
        <translation>There is no file &apos;%1&apos;</translation>
    </message>
    <message>
        <source>«%1» - каталог, а не база данных</source>
        <translation>&apos;%1&apos; is a directory, not a database</translation>
    </message>
    <message>
        <source>«%1» - не обычный файл</source>
        <translation>&apos;%1&apos; is not a regular file</translation>
    </message>
    <message>
        <source>Не удалось открыть «%1»: %2</source>
        <translation>Cannot open &apos;%1&apos;: %2</translation>
    </message>
    <message>
        <source>Файл «%1» пуст</source>
        <translation>File &apos;%1&apos; is empty</translation>
    </message>
    <message>
        <source>«%1» - не база данных SQLite</source>
        <translation>&apos;%1&apos; is not an SQLite database</translation>
    </message>
</context>
<context>
    <name>SourceLocation</name>
    <message>
        <source>В адресе базы данных после «%» должны стоять две цифры кода символа</source>
        <translation>In the address of a database, two digits of a character&apos;s code must follow &apos;%&apos;</translation>
    </message>
    <message>
        <source>В адресе базы данных нет «//» перед сервером</source>
        <translation>The address of the database lacks &apos;//&apos; before the server</translation>
    </message>
    <message>
        <source>В адресе базы данных есть параметры, а они не поддерживаются («?» в имени или пароле пишется %3F)</source>
        <translation>The address of the database has parameters, which are not supported (&apos;?&apos; in a name or password is written %3F)</translation>
    </message>
    <message>
        <source>В адресе базы данных не закрыта скобка «[»</source>
        <translation>The bracket &apos;[&apos; in the address of the database is not closed</translation>
    </message>
    <message>
        <source>В адресе базы данных порт - не число от 1 до 65535 («@», «:» и «/» в имени или пароле пишутся %40, %3A и %2F)</source>
        <translation>The port in the address of the database is no number from 1 to 65535 (&apos;@&apos;, &apos;:&apos; and &apos;/&apos; in a name or password are written %40, %3A and %2F)</translation>
    </message>
    <message>
        <source>В адресе файла базы данных не может быть сервера (нужно sqlite:/путь)</source>
        <translation>The address of a database file cannot name a server (write sqlite:/path)</translation>
    </message>
    <message>
        <source>В адресе базы данных нет имени файла</source>
        <translation>The address of the database names no file</translation>
    </message>
    <message>
        <source>Адрес базы данных начинается с sqlite: или postgresql://</source>
        <translation>The address of a database begins with sqlite: or postgresql://</translation>
    </message>
    <message>
        <source>Адреса вида «%1» неизвестны, только sqlite: и postgresql://</source>
        <translation>Addresses of the kind &apos;%1&apos; are unknown, only sqlite: and postgresql://</translation>
    </message>
    <message>
        <source>В адресе базы данных после сервера стоит «@» или «/»: в имени или пароле они пишутся %40 и %2F</source>
        <translation>The address of the database has &apos;@&apos; or &apos;/&apos; after the server: in a name or a password they are written %40 and %2F</translation>
    </message>
</context>
<context>
    <name>TableExport</name>
    <message>
        <source>«%1» - сама база данных</source>
        <translation>&apos;%1&apos; is the database itself</translation>
    </message>
    <message>
        <source>«%1» - не обычный файл</source>
        <translation>&apos;%1&apos; is not a regular file</translation>
    </message>
    <message>
        <source>Не удалось записать «%1»: %2</source>
        <translation>Cannot write &apos;%1&apos;: %2</translation>
    </message>
</context>
<context>
    <name>TableLoader</name>
    <message>
        <source>столбец не допускает пустых значений</source>
        <translation>the column admits no absent values</translation>
    </message>
    <message>
        <source>значение другого рода</source>
        <translation>a value of another kind</translation>
    </message>
    <message>
        <source>число вне пределов типа</source>
        <translation>the number is out of range</translation>
    </message>
    <message>
        <source>число нельзя сохранить точно</source>
        <translation>the number cannot be held exactly</translation>
    </message>
    <message>
        <source>в числе больше цифр, чем объявлено</source>
        <translation>the number has more digits than declared</translation>
    </message>
    <message>
        <source>текст длиннее, чем объявлено</source>
        <translation>the text is longer than declared</translation>
    </message>
    <message>
        <source>в тексте есть нулевой символ</source>
        <translation>the text holds a NUL character</translation>
    </message>
    <message>
        <source>не дата</source>
        <translation>not a date</translation>
    </message>
    <message>
        <source>это мгновение обозначает отсутствие даты</source>
        <translation>this instant stands for no date</translation>
    </message>
    <message>
        <source>другое число байтов</source>
        <translation>another number of bytes</translation>
    </message>
    <message>
        <source>байты не составляют текста</source>
        <translation>the bytes are no valid text</translation>
    </message>
    <message>
        <source>Таблица «%1», строка %2, столбец «%3»: значение %4 не подходит к типу %5 (%6)</source>
        <translation>Table &apos;%1&apos;, row %2, column &apos;%3&apos;: value %4 does not fit type %5 (%6)</translation>
    </message>
    <message>
        <source>Таблица «%1» уже загружена</source>
        <translation>Table &apos;%1&apos; is loaded already</translation>
    </message>
    <message>
        <source>База данных «%1»: %2</source>
        <translation>Database &apos;%1&apos;: %2</translation>
    </message>
    <message>
        <source>В базе данных нет таблицы «%1»</source>
        <translation>The database has no table &apos;%1&apos;</translation>
    </message>
    <message>
        <source>Таблица «%1», столбец «%2»: тип «%3» не поддерживается</source>
        <translation>Table &apos;%1&apos;, column &apos;%2&apos;: type &apos;%3&apos; is not supported</translation>
    </message>
    <message>
        <source>время точнее миллисекунды</source>
        <translation>a time finer than a millisecond</translation>
    </message>
    <message>
        <source>Таблица «%1» не имеет столбцов</source>
        <translation>Table &apos;%1&apos; has no columns</translation>
    </message>
    <message>
        <source>Таблица «%1»: политики доступа скрывают часть её строк</source>
        <translation>Table &apos;%1&apos;: access policies hide some of its rows</translation>
    </message>
    <message>
        <source>Таблица «%1»: чтение выполнило бы функцию «%2» пользователя «%3», которую вызывает её индекс или статистика</source>
        <translation>Table &apos;%1&apos;: reading it would run the function &apos;%2&apos; of the user &apos;%3&apos;, which an index or statistics of it call</translation>
    </message>
    <message>
        <source>Таблица «%1»: её имя не записано в UTF-8, по нему её не прочитать</source>
        <translation>Table &apos;%1&apos;: its name is not written in UTF-8, it cannot be read by it</translation>
    </message>
</context>
<context>
    <name>ValueListFilter</name>
    <message>
        <source>(нет значения)</source>
        <translation>(no value)</translation>
    </message>
    <message>
        <source>(нет даты)</source>
        <translation>(no date)</translation>
    </message>
    <message>
        <source>(не число)</source>
        <translation>(not a number)</translation>
    </message>
    <message>
        <source>(пусто)</source>
        <translation>(empty)</translation>
    </message>
    <message>
        <source>%1 (ещё %2)</source>
        <translation>%1 (%2 more)</translation>
    </message>
</context>
<context>
    <name>main</name>
    <message>
        <source>Не удалось записать вывод: %1</source>
        <translation>Cannot write the output: %1</translation>
    </message>
</context>
<context>
    <name>sito::ChoiceSettingsEditor</name>
    <message>
        <source>Значение</source>
        <translation>Value</translation>
    </message>
</context>
<context>
    <name>sito::ColumnsFilter</name>
    <message>
        <source>В таблице «%1» нет столбца «%2»</source>
        <translation>Table &apos;%1&apos; has no column &apos;%2&apos;</translation>
    </message>
    <message>
        <source>Столбец «%1» назван дважды</source>
        <translation>Column &apos;%1&apos; is named twice</translation>
    </message>
</context>
<context>
    <name>sito::ExportCommands</name>
    <message>
        <source>Записано строк: %1</source>
        <translation>Rows written: %1</translation>
    </message>
    <message>
        <source>Скопировано строк: %1</source>
        <translation>Rows copied: %1</translation>
    </message>
    <message>
        <source>Прервано</source>
        <translation>Cancelled</translation>
    </message>
    <message>
        <source>Таблица уже закрыта, файл не записан</source>
        <translation>The table is closed by now, the file was not written</translation>
    </message>
    <message>
        <source>Сначала должна закончиться запись другого файла</source>
        <translation>Wait until the other file is written</translation>
    </message>
    <message>
        <source>Сначала должна открыться база данных</source>
        <translation>Wait until the database is open</translation>
    </message>
</context>
<context>
    <name>sito::FilterCommands</name>
    <message>
        <source>Таблица уже закрыта, набор не сохранён</source>
        <translation>The table is closed by now, the set was not saved</translation>
    </message>
    <message>
        <source>Набор «%1» сохранён</source>
        <translation>Set &apos;%1&apos; saved</translation>
    </message>
    <message>
        <source>Набор «%1» удалён</source>
        <translation>Set &apos;%1&apos; deleted</translation>
    </message>
</context>
<context>
    <name>sito::FilterHeader</name>
    <message>
        <source>%1, фильтр включён</source>
        <translation>%1, filter on</translation>
    </message>
    <message>
        <source>%1, фильтр</source>
        <translation>%1, filter</translation>
    </message>
</context>
<context>
    <name>sito::FilterPanel</name>
    <message>
        <source>Сохранить набор…</source>
        <translation>Save Set…</translation>
    </message>
    <message>
        <source>Включить набор</source>
        <translation>Apply Set</translation>
    </message>
    <message>
        <source>Удалить набор</source>
        <translation>Delete Set</translation>
    </message>
    <message>
        <source>Снять все</source>
        <translation>Clear All</translation>
    </message>
    <message>
        <source>Убрать все фильтры таблицы</source>
        <translation>Remove all of the table&apos;s filters</translation>
    </message>
    <message>
        <source>Наборы</source>
        <translation>Sets</translation>
    </message>
    <message>
        <source>Сохранить и вернуть наборы фильтров</source>
        <translation>Save and restore sets of filters</translation>
    </message>
    <message>
        <source>Фильтров нет.

Нажмите воронку в заголовке столбца или правую кнопку на ячейке: то, что скрыто, будет перечислено здесь.</source>
        <translation>No filters.

Click the funnel in a column header, or right-click a cell: what is hidden will be listed here.</translation>
    </message>
    <message>
        <source>Наборы фильтров</source>
        <translation>Filter Sets</translation>
    </message>
    <message>
        <source>Фильтры таблицы</source>
        <translation>Filters of the table</translation>
    </message>
</context>
<context>
    <name>sito::FilterPanelItem</name>
    <message>
        <source>ничего не скрывает</source>
        <translation>hides nothing</translation>
    </message>
    <message>
        <source>Выключить фильтр</source>
        <translation>Switch the filter off</translation>
    </message>
    <message>
        <source>Включить фильтр</source>
        <translation>Switch the filter on</translation>
    </message>
    <message>
        <source>Изменить</source>
        <translation>Edit</translation>
    </message>
    <message>
        <source>Изменить фильтр %1</source>
        <translation>Edit filter %1</translation>
    </message>
    <message>
        <source>Удалить</source>
        <translation>Remove</translation>
    </message>
    <message>
        <source>Удалить фильтр %1</source>
        <translation>Remove filter %1</translation>
    </message>
</context>
<context>
    <name>sito::FilteredTableView</name>
    <message>
        <source>Фильтры скрывают все строки</source>
        <translation>The filters hide all rows</translation>
    </message>
    <message>
        <source>В таблице нет строк</source>
        <translation>The table has no rows</translation>
    </message>
</context>
<context>
    <name>sito::LineSettingsEditor</name>
    <message>
        <source>Значение</source>
        <translation>Value</translation>
    </message>
    <message>
        <source>Выбрать цвет (Alt+Вниз)</source>
        <translation>Choose the colour (Alt+Down)</translation>
    </message>
    <message>
        <source>Выбрать шрифт (Alt+Вниз)</source>
        <translation>Choose the font (Alt+Down)</translation>
    </message>
</context>
<context>
    <name>sito::ListSettingsEditor</name>
    <message>
        <source>Элементы списка</source>
        <translation>Items of the list</translation>
    </message>
    <message>
        <source>Добавить</source>
        <translation>Add</translation>
    </message>
    <message>
        <source>Удалить</source>
        <translation>Remove</translation>
    </message>
    <message>
        <source>Выше</source>
        <translation>Up</translation>
    </message>
    <message>
        <source>Ниже</source>
        <translation>Down</translation>
    </message>
    <message>
        <source>Готово</source>
        <translation>Done</translation>
    </message>
    <message>
        <source>Отмена</source>
        <translation>Cancel</translation>
    </message>
</context>
<context>
    <name>sito::MainWindow</name>
    <message>
        <source>Ничего не открыто.

Откройте файл SQLite или перетащите его сюда.</source>
        <translation>Nothing is open.

Open an SQLite file, or drop one here.</translation>
    </message>
    <message>
        <source>Прервано</source>
        <translation>Cancelled</translation>
    </message>
    <message>
        <source>Отбор и сортировка</source>
        <translation>Filtering and sorting</translation>
    </message>
    <message>
        <source>и ещё: %1</source>
        <translation>and %1 more</translation>
    </message>
    <message>
        <source>Выберите таблицу в списке слева.</source>
        <translation>Choose a table in the list on the left.</translation>
    </message>
    <message>
        <source>Выделение снято: выделенные строки стоят теперь вразброс</source>
        <translation>Selection cleared: the selected rows are scattered now</translation>
    </message>
</context>
<context>
    <name>sito::MessageBar</name>
    <message>
        <source>и ещё: %1</source>
        <translation>and %1 more</translation>
    </message>
    <message>
        <source>Закрыть сообщение</source>
        <translation>Close message</translation>
    </message>
</context>
<context>
    <name>sito::NoticeBar</name>
    <message>
        <source>Закрыть сообщение</source>
        <translation>Close the message</translation>
    </message>
</context>
<context>
    <name>sito::OpenServerDialog</name>
    <message>
        <source>Открыть базу данных PostgreSQL</source>
        <translation>Open a PostgreSQL database</translation>
    </message>
    <message>
        <source>&amp;Сервер:</source>
        <translation>&amp;Server:</translation>
    </message>
    <message>
        <source>Сервер</source>
        <translation>Server</translation>
    </message>
    <message>
        <source>Имя или адрес сервера</source>
        <translation>Name or address of the server</translation>
    </message>
    <message>
        <source>&amp;Порт:</source>
        <translation>&amp;Port:</translation>
    </message>
    <message>
        <source>Порт</source>
        <translation>Port</translation>
    </message>
    <message>
        <source>Обычный порт - %1</source>
        <translation>The usual port is %1</translation>
    </message>
    <message>
        <source>&amp;База данных:</source>
        <translation>&amp;Database:</translation>
    </message>
    <message>
        <source>База данных</source>
        <translation>Database</translation>
    </message>
    <message>
        <source>Имя базы данных на сервере</source>
        <translation>Name of the database on the server</translation>
    </message>
    <message>
        <source>П&amp;ользователь:</source>
        <translation>&amp;User:</translation>
    </message>
    <message>
        <source>Пользователь</source>
        <translation>User</translation>
    </message>
    <message>
        <source>Если не указан - как в системе</source>
        <translation>Without one, that of the system</translation>
    </message>
    <message>
        <source>П&amp;ароль:</source>
        <translation>Pass&amp;word:</translation>
    </message>
    <message>
        <source>Пароль</source>
        <translation>Password</translation>
    </message>
    <message>
        <source>Не сохраняется; если не указан, берётся из PGPASSWORD или файла паролей</source>
        <translation>Is not stored; without one, PGPASSWORD or the password file is used</translation>
    </message>
    <message>
        <source>Открыть</source>
        <translation>Open</translation>
    </message>
    <message>
        <source>Отмена</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>Драйвер Qt SQL для PostgreSQL не установлен (в Debian - пакет libqt6sql6-psql)</source>
        <translation>The Qt SQL driver for PostgreSQL is not installed (on Debian: package libqt6sql6-psql)</translation>
    </message>
    <message>
        <source>Укажите сервер</source>
        <translation>Enter a server</translation>
    </message>
    <message>
        <source>Укажите базу данных</source>
        <translation>Enter a database</translation>
    </message>
</context>
<context>
    <name>sito::PageActions</name>
    <message>
        <source>&amp;Копировать</source>
        <translation>&amp;Copy</translation>
    </message>
    <message>
        <source>Копировать выделенные ячейки</source>
        <translation>Copy the selected cells</translation>
    </message>
    <message>
        <source>Копировать с &amp;заголовками</source>
        <translation>Copy with &amp;Headers</translation>
    </message>
    <message>
        <source>&amp;Выделить всё</source>
        <translation>Select &amp;All</translation>
    </message>
    <message>
        <source>По &amp;возрастанию</source>
        <translation>&amp;Ascending</translation>
    </message>
    <message>
        <source>По &amp;убыванию</source>
        <translation>&amp;Descending</translation>
    </message>
    <message>
        <source>&amp;Не сортировать</source>
        <translation>&amp;Unsorted</translation>
    </message>
    <message>
        <source>Подобрать &amp;ширину столбцов</source>
        <translation>&amp;Fit Column Widths</translation>
    </message>
    <message>
        <source>Переместить столбец в&amp;лево</source>
        <translation>Move Column L&amp;eft</translation>
    </message>
    <message>
        <source>Переместить столбец впр&amp;аво</source>
        <translation>Move Column Righ&amp;t</translation>
    </message>
    <message>
        <source>К &amp;строкам</source>
        <translation>&amp;Rows</translation>
    </message>
    <message>
        <source>&amp;Фильтр столбца…</source>
        <translation>&amp;Column Filter…</translation>
    </message>
    <message>
        <source>Фильтр</source>
        <translation>Filter</translation>
    </message>
    <message>
        <source>Выбрать значения столбца (Alt+↓)</source>
        <translation>Choose the column&apos;s values (Alt+↓)</translation>
    </message>
    <message>
        <source>&amp;Скрыть эти значения</source>
        <translation>&amp;Hide These Values</translation>
    </message>
    <message>
        <source>Показать &amp;только эти</source>
        <translation>Show &amp;Only These</translation>
    </message>
    <message>
        <source>Скрыть &amp;последние сессии бумаг</source>
        <translation>Hide the &amp;Last Session of Each Security</translation>
    </message>
    <message>
        <source>Сессии</source>
        <translation>Sessions</translation>
    </message>
    <message>
        <source>Скрыть последнюю сессию каждой бумаги</source>
        <translation>Hide the last session of each security</translation>
    </message>
    <message>
        <source>Снять &amp;все фильтры</source>
        <translation>Clea&amp;r All Filters</translation>
    </message>
    <message>
        <source>Снять фильтры</source>
        <translation>Clear Filters</translation>
    </message>
    <message>
        <source>&amp;Экспорт в CSV…</source>
        <translation>&amp;Export to CSV…</translation>
    </message>
    <message>
        <source>Экспорт</source>
        <translation>Export</translation>
    </message>
    <message>
        <source>Записать показанные строки в файл CSV</source>
        <translation>Write the shown rows to a CSV file</translation>
    </message>
    <message>
        <source>За&amp;тем по возрастанию</source>
        <translation>Then A&amp;scending</translation>
    </message>
    <message>
        <source>Затем п&amp;о убыванию</source>
        <translation>Then Descendin&amp;g</translation>
    </message>
    <message>
        <source>Скр&amp;ыть столбец</source>
        <translation>&amp;Hide Column</translation>
    </message>
    <message>
        <source>Показать &amp;все столбцы</source>
        <translation>Show &amp;All Columns</translation>
    </message>
    <message>
        <source>Снять фильтры стол&amp;бца</source>
        <translation>Clear Column F&amp;ilters</translation>
    </message>
    <message>
        <source>&amp;Столбцы</source>
        <translation>Colum&amp;ns</translation>
    </message>
</context>
<context>
    <name>sito::PendingPanel</name>
    <message>
        <source>Отменить это изменение</source>
        <translation>Dismiss this change</translation>
    </message>
    <message>
        <source>Отменить &amp;это</source>
        <translation>Dismiss &amp;this</translation>
    </message>
    <message>
        <source>Отменить выбранное изменение, остальные останутся</source>
        <translation>Dismiss the selected change; the others stay</translation>
    </message>
    <message>
        <source>Изменения, которые ждут записи</source>
        <translation>Pending changes</translation>
    </message>
    <message>
        <source>&amp;Ждут записи: %1</source>
        <translation>&amp;Pending changes: %1</translation>
    </message>
    <message>
        <source>Ничто не &amp;ждёт записи</source>
        <translation>No &amp;pending changes</translation>
    </message>
</context>
<context>
    <name>sito::RecentMenu</name>
    <message>
        <source>Пусто</source>
        <translation>Empty</translation>
    </message>
    <message>
        <source>Забыть все</source>
        <translation>Forget All</translation>
    </message>
</context>
<context>
    <name>sito::RowExport</name>
    <message>
        <source>Запись в %1</source>
        <translation>Writing %1</translation>
    </message>
    <message>
        <source>Копирование</source>
        <translation>Copying</translation>
    </message>
</context>
<context>
    <name>sito::SettingsActions</name>
    <message>
        <source>&amp;Файл</source>
        <translation>&amp;File</translation>
    </message>
    <message>
        <source>&amp;Правка</source>
        <translation>&amp;Edit</translation>
    </message>
    <message>
        <source>&amp;Вид</source>
        <translation>&amp;View</translation>
    </message>
    <message>
        <source>&amp;Открыть…</source>
        <translation>&amp;Open…</translation>
    </message>
    <message>
        <source>Открыть файл INI</source>
        <translation>Open an INI file</translation>
    </message>
    <message>
        <source>&amp;Записать</source>
        <translation>&amp;Write</translation>
    </message>
    <message>
        <source>Записать все ожидающие изменения в файл</source>
        <translation>Write all pending changes to the file</translation>
    </message>
    <message>
        <source>О&amp;тменить всё</source>
        <translation>&amp;Dismiss all</translation>
    </message>
    <message>
        <source>Отменить все ожидающие изменения</source>
        <translation>Dismiss all pending changes</translation>
    </message>
    <message>
        <source>О&amp;бновить</source>
        <translation>&amp;Refresh</translation>
    </message>
    <message>
        <source>Прочитать файл заново; ожидающие изменения останутся</source>
        <translation>Read the file again; pending changes stay</translation>
    </message>
    <message>
        <source>&amp;Удалить…</source>
        <translation>&amp;Remove…</translation>
    </message>
    <message>
        <source>Удалить выбранные записи</source>
        <translation>Remove the selected entries</translation>
    </message>
    <message>
        <source>Записывать &amp;сразу</source>
        <translation>Write at &amp;once</translation>
    </message>
    <message>
        <source>Записывать по &amp;команде</source>
        <translation>Write on &amp;command</translation>
    </message>
    <message>
        <source>&amp;Изменить</source>
        <translation>&amp;Edit</translation>
    </message>
    <message>
        <source>&amp;Копировать путь</source>
        <translation>&amp;Copy path</translation>
    </message>
    <message>
        <source>&amp;Найти</source>
        <translation>&amp;Find</translation>
    </message>
    <message>
        <source>&amp;Развернуть всё</source>
        <translation>&amp;Expand all</translation>
    </message>
    <message>
        <source>&amp;Свернуть всё</source>
        <translation>C&amp;ollapse all</translation>
    </message>
    <message>
        <source>&amp;Закрыть</source>
        <translation>&amp;Close</translation>
    </message>
    <message>
        <source>Панель инструментов</source>
        <translation>Tool bar</translation>
    </message>
</context>
<context>
    <name>sito::SettingsChanges</name>
    <message>
        <source>Правка</source>
        <translation>Edit</translation>
    </message>
    <message>
        <source>Удаление группы</source>
        <translation>Removal of a group</translation>
    </message>
    <message>
        <source>Удаление</source>
        <translation>Removal</translation>
    </message>
    <message>
        <source>Что</source>
        <translation>What</translation>
    </message>
    <message>
        <source>Путь</source>
        <translation>Path</translation>
    </message>
    <message>
        <source>Было</source>
        <translation>Before</translation>
    </message>
    <message>
        <source>Станет</source>
        <translation>After</translation>
    </message>
    <message>
        <source>«%1»: запись удалена другой программой. «Записать» создаст её снова</source>
        <translation>&apos;%1&apos;: another program removed the entry. &apos;Write&apos; creates it again</translation>
    </message>
    <message>
        <source>Правка удалённой записи</source>
        <translation>Edit of a removed entry</translation>
    </message>
</context>
<context>
    <name>sito::SettingsDelegate</name>
    <message>
        <source>Значение не принято</source>
        <translation>The value was not accepted</translation>
    </message>
    <message>
        <source>Значения типа %1 здесь не меняются</source>
        <translation>Values of type %1 cannot be edited here</translation>
    </message>
</context>
<context>
    <name>sito::SettingsDocument</name>
    <message>
        <source>Файл был изменён другой программой. Показано то, что в нём теперь</source>
        <translation>Another program had changed the file. What it holds now is shown</translation>
    </message>
    <message>
        <source>Ничего не записано: %1</source>
        <translation>Nothing was written: %1</translation>
    </message>
    <message>
        <source>Ничего не записано. %1</source>
        <translation>Nothing was written. %1</translation>
    </message>
    <message>
        <source>файл изменён другой программой, и в нём теперь есть записи без имени или имена, которые сразу и группа, и ключ</source>
        <translation>another program changed the file, and now it has entries without a name or names that are group and key at once</translation>
    </message>
    <message>
        <source>Файл INI хранит список из одного элемента как текст, а пустой - как пустое значение: %1</source>
        <translation>An INI file holds a list of one item as a text, and an empty one as an empty value: %1</translation>
    </message>
    <message>
        <source>изменено и здесь, и в файле другой программой: %1</source>
        <translation>changed both here and, by another program, in the file: %1</translation>
    </message>
    <message>
        <source>В файле теперь: %1</source>
        <translation>The file now holds: %1</translation>
    </message>
    <message>
        <source>Отменено удаление групп, в которые другая программа записала новое: %1</source>
        <translation>Kept groups to be removed to which another program wrote something new: %1</translation>
    </message>
    <message>
        <source>Файла «%1» больше нет. Показано то, что в нём было</source>
        <translation>The file &apos;%1&apos; is gone. What it held is shown</translation>
    </message>
    <message>
        <source>%1. Команда «Записать» создаст его заново</source>
        <translation>%1. The command &apos;Write&apos; creates it anew</translation>
    </message>
    <message>
        <source>%1. Чтобы создать его заново, перейдите к записи по команде</source>
        <translation>%1. To create it anew, switch to writing on command</translation>
    </message>
    <message>
        <source>запись «%1» не создать снова, её имя в файле теперь у группы или ключа</source>
        <translation>the entry &apos;%1&apos; cannot be created again, because a group or a key in the file now has its name</translation>
    </message>
    <message>
        <source>изменено здесь, а другой программой удалено: %1</source>
        <translation>changed here, but removed by another program: %1</translation>
    </message>
    <message>
        <source>Другая программа удалила записи, правки которых ждут: %1. «Записать» создаст их снова, «Отменить это» оставит удалёнными</source>
        <translation>Another program removed entries whose edits wait: %1. &apos;Write&apos; creates them again, &apos;Dismiss this&apos; leaves them removed</translation>
    </message>
</context>
<context>
    <name>sito::SettingsSearchModel</name>
    <message>
        <source>, правка ждёт записи</source>
        <translation>, edit waits to be written</translation>
    </message>
    <message>
        <source>, ждут удаления: %1</source>
        <translation>, to be removed: %1</translation>
    </message>
</context>
<context>
    <name>sito::SettingsTree</name>
    <message>
        <source>Записи</source>
        <translation>Entries</translation>
    </message>
</context>
<context>
    <name>sito::SettingsWindow</name>
    <message>
        <source>&amp;Записать</source>
        <translation>&amp;Write</translation>
    </message>
    <message>
        <source>Поиск по имени, пути, типу и значению</source>
        <translation>Search name, path, type and value</translation>
    </message>
    <message>
        <source>Поиск</source>
        <translation>Search</translation>
    </message>
    <message>
        <source>Настройки</source>
        <translation>Settings</translation>
    </message>
    <message>
        <source>%1[*] - настройки</source>
        <translation>%1[*] - settings</translation>
    </message>
    <message>
        <source>Файл доступен только для чтения: изменить его нельзя</source>
        <translation>The file is read-only and cannot be changed</translation>
    </message>
    <message>
        <source>Здесь есть записи без имени или имена, которые сразу и группа, и ключ: запись по команде потеряла бы часть из них и недоступна</source>
        <translation>There are entries without a name, or names that are group and key at once: writing on command would lose some of them and is not available</translation>
    </message>
    <message>
        <source>Изменений, которые ждут записи: %1. Записать их?</source>
        <translation>Pending changes: %1. Write them?</translation>
    </message>
    <message>
        <source>&amp;Отбросить</source>
        <translation>&amp;Discard</translation>
    </message>
    <message>
        <source>От&amp;мена</source>
        <translation>&amp;Cancel</translation>
    </message>
    <message>
        <source>Открыть файл настроек</source>
        <translation>Open a settings file</translation>
    </message>
    <message>
        <source>Файлы настроек (*.ini *.conf);;Все файлы (*)</source>
        <translation>Settings files (*.ini *.conf);;All files (*)</translation>
    </message>
    <message>
        <source>Обновить</source>
        <translation>Refresh</translation>
    </message>
    <message>
        <source>Отброшено правок, записей которых больше нет: %1</source>
        <translation>Edits dropped because their entries are gone: %1</translation>
    </message>
    <message>
        <source>У записи «%1» нет имени, её нельзя удалить</source>
        <translation>Entry &apos;%1&apos; has no name and cannot be removed</translation>
    </message>
    <message>
        <source>Удалить «%1»?</source>
        <translation>Remove &apos;%1&apos;?</translation>
    </message>
    <message>
        <source>Удалить выбранное? Записей выбрано: %1</source>
        <translation>Remove the selection? Entries selected: %1</translation>
    </message>
    <message>
        <source>Вместе с содержимым групп записей: %1.</source>
        <translation>Entries with those in groups: %1.</translation>
    </message>
    <message>
        <source>С ключом удаляется и группа того же имени.</source>
        <translation>With a key goes the group of the same name.</translation>
    </message>
    <message>
        <source>Файл изменится после команды «Записать».</source>
        <translation>The file changes on the command &apos;Write&apos;.</translation>
    </message>
    <message>
        <source>Файл изменится сразу.</source>
        <translation>The file changes at once.</translation>
    </message>
    <message>
        <source>Удаление</source>
        <translation>Removal</translation>
    </message>
    <message>
        <source>&amp;Удалить</source>
        <translation>&amp;Remove</translation>
    </message>
    <message>
        <source>Файл изменён другой программой</source>
        <translation>Another program changed the file</translation>
    </message>
    <message>
        <source>Повторите, чтобы заменить то, что в файле</source>
        <translation>Repeat it to replace what the file holds</translation>
    </message>
    <message>
        <source>Сначала исправьте введённое значение или отмените его правку (Esc)</source>
        <translation>Correct the value typed first, or give up editing it (Esc)</translation>
    </message>
    <message>
        <source>Ничего не отменено. %1</source>
        <translation>Nothing was reverted. %1</translation>
    </message>
    <message>
        <source>Обновление отбросит изменения, которые ждут записи: %1. Обновить?</source>
        <translation>Refreshing drops changes that wait to be written: %1. Refresh?</translation>
    </message>
    <message>
        <source>Другая программа записала в файл записи без имени или имена, которые сразу и группа, и ключ.</source>
        <translation>Another program wrote entries without a name to the file, or names that are group and key at once.</translation>
    </message>
    <message>
        <source>&amp;Обновить</source>
        <translation>&amp;Refresh</translation>
    </message>
    <message>
        <source>Отброшено изменений, которые ждали записи: %1</source>
        <translation>Changes dropped that waited to be written: %1</translation>
    </message>
    <message>
        <source>Правки, которые ждут записи, пропадут: %1.</source>
        <translation>Edits that wait to be written and are lost: %1.</translation>
    </message>
    <message>
        <source>Введённое значение не записано. Enter в его поле повторит запись, Esc отменит правку</source>
        <translation>The value you typed has not been written. Enter in its field tries again, Esc drops the edit</translation>
    </message>
</context>
<context>
    <name>sito::ShowOnlyFilter</name>
    <message>
        <source>только: %1</source>
        <translation>only: %1</translation>
    </message>
</context>
<context>
    <name>sito::ShowOnlyWidget</name>
    <message>
        <source>Отметьте хотя бы одно значение</source>
        <translation>Check at least one value</translation>
    </message>
    <message>
        <source>Показываемые значения</source>
        <translation>Values shown</translation>
    </message>
</context>
<context>
    <name>sito::SideDocks</name>
    <message>
        <source>Таблицы</source>
        <translation>Tables</translation>
    </message>
    <message>
        <source>Фильтры</source>
        <translation>Filters</translation>
    </message>
    <message>
        <source>Отделить</source>
        <translation>Detach</translation>
    </message>
    <message>
        <source>Закрыть</source>
        <translation>Close</translation>
    </message>
</context>
<context>
    <name>sito::SourceConnection</name>
    <message>
        <source>База данных не открыта</source>
        <translation>No database is open</translation>
    </message>
    <message>
        <source>Таблица «%1» уже загружена из другого источника</source>
        <translation>Table &apos;%1&apos; is already loaded from another source</translation>
    </message>
    <message>
        <source>В базе данных «%1» нет таблиц</source>
        <translation>Database &apos;%1&apos; has no tables</translation>
    </message>
</context>
<context>
    <name>sito::TableList</name>
    <message>
        <source>%1, строк: %2, столбцов: %3</source>
        <translation>%1, rows: %2, columns: %3</translation>
    </message>
    <message>
        <source>Найти таблицу</source>
        <translation>Find table</translation>
    </message>
    <message>
        <source>Таблица</source>
        <translation>Table</translation>
    </message>
    <message>
        <source>Строк</source>
        <translation>Rows</translation>
    </message>
    <message>
        <source>Таблицы источника</source>
        <translation>Tables of the source</translation>
    </message>
</context>
<context>
    <name>sito::TableModel</name>
    <message>
        <source>нет значения</source>
        <translation>no value</translation>
    </message>
    <message>
        <source>%1
Тип: %2, значения может не быть</source>
        <translation>%1
Type: %2, may have no value</translation>
    </message>
    <message>
        <source>%1
Тип: %2</source>
        <translation>%1
Type: %2</translation>
    </message>
    <message>
        <source>фильтр включён</source>
        <translation>filter on</translation>
    </message>
</context>
<context>
    <name>sito::TablePage</name>
    <message>
        <source>Строки таблицы %1</source>
        <translation>Rows of table %1</translation>
    </message>
    <message>
        <source>%1 (%2)</source>
        <comment>действие и фильтр</comment>
        <translation>%1 (%2)</translation>
    </message>
    <message>
        <source>Отбор не удался: строки не те, что задают фильтры и сортировка</source>
        <translation>Filtering failed: the rows are not what the filters and the sorting say</translation>
    </message>
    <message>
        <source>Отбор прерван: строки не те, что задают фильтры и сортировка</source>
        <translation>Filtering was interrupted: the rows are not what the filters and the sorting say</translation>
    </message>
    <message>
        <source>Повторить</source>
        <translation>Repeat</translation>
    </message>
</context>
<context>
    <name>sito::TextSettingsEditor</name>
    <message>
        <source>Значение</source>
        <translation>Value</translation>
    </message>
    <message>
        <source>В тексте есть управляющие символы: они записаны как \n, \r, \u0000</source>
        <translation>The text holds control characters: they are written \n, \r, \u0000</translation>
    </message>
    <message>
        <source>Enter - готово, Shift+Enter - новая строка</source>
        <translation>Enter - done, Shift+Enter - new line</translation>
    </message>
    <message>
        <source>После «\» пишется n, r, t, ещё одна «\» или u и четыре шестнадцатеричные цифры</source>
        <translation>&apos;\&apos; is followed by n, r, t, another &apos;\&apos;, or u and four hexadecimal digits</translation>
    </message>
</context>
<context>
    <name>sito::ValueListFilter</name>
    <message>
        <source>Другие фильтры не учтены: %1</source>
        <translation>The other filters do not count: %1</translation>
    </message>
    <message>
        <source>кроме: %1</source>
        <translation>except: %1</translation>
    </message>
    <message>
        <source>Значения…</source>
        <translation>Values…</translation>
    </message>
</context>
<context>
    <name>sito::ValueListModel</name>
    <message>
        <source>%1, строк: %2</source>
        <translation>%1, rows: %2</translation>
    </message>
    <message>
        <source>Не число. Отдельно не выбирается: скрыто, как только скрыто любое число</source>
        <translation>Not a number. Cannot be chosen by itself: hidden as soon as any number is hidden</translation>
    </message>
</context>
<context>
    <name>sito::ValueListPopup</name>
    <message>
        <source>&amp;Применить</source>
        <translation>A&amp;pply</translation>
    </message>
    <message>
        <source>О&amp;тмена</source>
        <translation>&amp;Cancel</translation>
    </message>
    <message>
        <source>Размер</source>
        <translation>Size</translation>
    </message>
    <message>
        <source>Размер: тяните мышью или нажимайте стрелки</source>
        <translation>Size: drag it or press the arrow keys</translation>
    </message>
</context>
<context>
    <name>sito::ValueListWidget</name>
    <message>
        <source>Поиск</source>
        <translation>Search</translation>
    </message>
    <message>
        <source>Поиск значений</source>
        <translation>Search the values</translation>
    </message>
    <message>
        <source>Значения</source>
        <translation>Values</translation>
    </message>
    <message>
        <source>Отмеченные показаны; пробел отмечает и снимает</source>
        <translation>Checked ones are shown; Space checks and unchecks</translation>
    </message>
    <message>
        <source>Подсчёт значений</source>
        <translation>Counting the values</translation>
    </message>
    <message>
        <source>&amp;Все</source>
        <translation>&amp;All</translation>
    </message>
    <message>
        <source>Отметить всё, что в списке</source>
        <translation>Check everything in the list</translation>
    </message>
    <message>
        <source>&amp;Ничего</source>
        <translation>&amp;None</translation>
    </message>
    <message>
        <source>Снять отметки со всего, что в списке</source>
        <translation>Uncheck everything in the list</translation>
    </message>
    <message>
        <source>&amp;Обратить</source>
        <translation>&amp;Invert</translation>
    </message>
    <message>
        <source>Отметить неотмеченное, что в списке, и наоборот</source>
        <translation>Check what is unchecked in the list, and the other way round</translation>
    </message>
    <message>
        <source>Значения подсчитываются…</source>
        <translation>Counting the values…</translation>
    </message>
    <message>
        <source>Отмечено: %1 из %2</source>
        <translation>Checked: %1 of %2</translation>
    </message>
    <message>
        <source>Найдено: %1. %2</source>
        <translation>Found: %1. %2</translation>
    </message>
    <message>
        <source>Значения не подсчитаны: %1</source>
        <translation>The values were not counted: %1</translation>
    </message>
    <message>
        <source>Поиск не удался: %1</source>
        <translation>The search failed: %1</translation>
    </message>
</context>
<context>
    <name>sito::WindowActions</name>
    <message>
        <source>&amp;Открыть файл…</source>
        <translation>&amp;Open File…</translation>
    </message>
    <message>
        <source>Открыть</source>
        <translation>Open</translation>
    </message>
    <message>
        <source>Открыть базу данных SQLite</source>
        <translation>Open an SQLite database</translation>
    </message>
    <message>
        <source>Открыть &amp;сервер…</source>
        <translation>Open &amp;Server…</translation>
    </message>
    <message>
        <source>Сервер</source>
        <translation>Server</translation>
    </message>
    <message>
        <source>Открыть базу данных на сервере</source>
        <translation>Open a database on a server</translation>
    </message>
    <message>
        <source>Открыть &amp;пример</source>
        <translation>Open Sa&amp;mple</translation>
    </message>
    <message>
        <source>В&amp;ыйти</source>
        <translation>&amp;Quit</translation>
    </message>
    <message>
        <source>К &amp;таблицам</source>
        <translation>&amp;Tables</translation>
    </message>
    <message>
        <source>К &amp;фильтрам</source>
        <translation>&amp;Filters</translation>
    </message>
    <message>
        <source>&amp;Настройки программы…</source>
        <translation>&amp;Program Settings…</translation>
    </message>
    <message>
        <source>Настройки</source>
        <translation>Settings</translation>
    </message>
    <message>
        <source>Все настройки программы деревом</source>
        <translation>All of the program&apos;s settings as a tree</translation>
    </message>
    <message>
        <source>Открыть &amp;файл настроек…</source>
        <translation>Open Settings &amp;File…</translation>
    </message>
    <message>
        <source>&amp;О программе</source>
        <translation>&amp;About</translation>
    </message>
    <message>
        <source>О &amp;Qt</source>
        <translation>About &amp;Qt</translation>
    </message>
    <message>
        <source>&amp;Файл</source>
        <translation>&amp;File</translation>
    </message>
    <message>
        <source>&amp;Недавние</source>
        <translation>&amp;Recent</translation>
    </message>
    <message>
        <source>&amp;Правка</source>
        <translation>&amp;Edit</translation>
    </message>
    <message>
        <source>&amp;Вид</source>
        <translation>&amp;View</translation>
    </message>
    <message>
        <source>С&amp;ортировка</source>
        <translation>&amp;Sorting</translation>
    </message>
    <message>
        <source>&amp;Перейти</source>
        <translation>&amp;Go to</translation>
    </message>
    <message>
        <source>Ф&amp;ильтры</source>
        <translation>F&amp;ilters</translation>
    </message>
    <message>
        <source>&amp;Настройки</source>
        <translation>&amp;Settings</translation>
    </message>
    <message>
        <source>&amp;Справка</source>
        <translation>&amp;Help</translation>
    </message>
    <message>
        <source>Панель инструментов</source>
        <translation>Toolbar</translation>
    </message>
    <message>
        <source>Офо&amp;рмление</source>
        <translation>&amp;Look</translation>
    </message>
    <message>
        <source>Как в &amp;системе</source>
        <translation>As the &amp;System</translation>
    </message>
    <message>
        <source>&amp;Светлое</source>
        <translation>&amp;Light</translation>
    </message>
    <message>
        <source>&amp;Тёмное</source>
        <translation>&amp;Dark</translation>
    </message>
</context>
<context>
    <name>sito::WindowStatus</name>
    <message>
        <source>Показано строк: %1 из %2</source>
        <translation>Rows shown: %1 of %2</translation>
    </message>
    <message>
        <source>Проход: %1 мс</source>
        <translation>Pass: %1 ms</translation>
    </message>
    <message>
        <source>Прервать</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>Ход работы</source>
        <translation>Progress</translation>
    </message>
    <message>
        <source>Показано строк и всего строк</source>
        <translation>Rows shown, and rows in all</translation>
    </message>
    <message>
        <source>Время последнего прохода: отбор и сортировка</source>
        <translation>Time of the last pass: filtering and sorting</translation>
    </message>
</context>
<context>
    <name>sito::Workspace</name>
    <message>
        <source>Открывается %1</source>
        <translation>Opening %1</translation>
    </message>
    <message>
        <source>Открывается пример</source>
        <translation>Opening the sample</translation>
    </message>
    <message>
        <source>Таблицы «%1» нет</source>
        <translation>There is no table &apos;%1&apos;</translation>
    </message>
    <message>
        <source>Сначала должна открыться база данных</source>
        <translation>Wait until the database is open</translation>
    </message>
    <message>
        <source>Загружается таблица %1</source>
        <translation>Loading table %1</translation>
    </message>
    <message>
        <source>Пример</source>
        <translation>Sample</translation>
    </message>
</context>
</TS>
