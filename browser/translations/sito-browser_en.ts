<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="ru">
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
    <message>
        <source>параметр %1 требует параметра --export</source>
        <translation>option %1 needs --export</translation>
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
    <message>
        <source>%1: число строк неизвестно</source>
        <translation>%1: number of rows unknown</translation>
    </message>
    <message>
        <source>Не удалось записать вывод: %1</source>
        <translation>Cannot write the output: %1</translation>
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
    <message>
        <source>Базы данных и таблицы (*.sqlite *.sqlite3 *.db *.db3 *.csv *.tsv *.tab *.txt)</source>
        <translation>Databases and tables (*.sqlite *.sqlite3 *.db *.db3 *.csv *.tsv *.tab *.txt)</translation>
    </message>
    <message>
        <source>Файлы CSV (*.csv *.tsv *.tab *.txt)</source>
        <translation>CSV files (*.csv *.tsv *.tab *.txt)</translation>
    </message>
    <message>
        <source>Замечания о таблице %1</source>
        <translation>Notes of the Table %1</translation>
    </message>
    <message>
        <source>CSV с заголовками, байты целиком (*.csv)</source>
        <translation>CSV with headers, all bytes (*.csv)</translation>
    </message>
    <message>
        <source>CSV без заголовков, байты целиком (*.csv)</source>
        <translation>CSV without headers, all bytes (*.csv)</translation>
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
    <name>main</name>
    <message>
        <source>Не удалось записать вывод: %1</source>
        <translation>Cannot write the output: %1</translation>
    </message>
</context>
<context>
    <name>sito::BytesDialog</name>
    <message>
        <source>Значение читается…</source>
        <translation>Reading the value…</translation>
    </message>
    <message>
        <source>Значение столбца «%1»</source>
        <translation>Value of the Column &apos;%1&apos;</translation>
    </message>
    <message>
        <source>&amp;Сохранить как…</source>
        <translation>&amp;Save As…</translation>
    </message>
    <message>
        <source>Ячейка теперь пуста</source>
        <translation>The cell is empty now</translation>
    </message>
    <message>
        <source>%1 Б</source>
        <translation>%1 B</translation>
    </message>
    <message>
        <source>(показаны первые %1)</source>
        <translation>(the first %1 are shown)</translation>
    </message>
    <message>
        <source>&amp;Байты</source>
        <translation>&amp;Bytes</translation>
    </message>
    <message>
        <source>&amp;Текст</source>
        <translation>&amp;Text</translation>
    </message>
    <message>
        <source>&amp;Изображение</source>
        <translation>&amp;Picture</translation>
    </message>
    <message>
        <source>Сохранить значение</source>
        <translation>Save the Value</translation>
    </message>
    <message>
        <source>В %1 лежит база данных, значение не записано</source>
        <translation>%1 holds the database; the value was not written</translation>
    </message>
    <message>
        <source>Записано в %1: %2 Б</source>
        <translation>Written to %1: %2 B</translation>
    </message>
    <message>
        <source>Не удалось записать %1: %2</source>
        <translation>Cannot write %1: %2</translation>
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
    <message>
        <source>Сначала таблица должна загрузиться целиком</source>
        <translation>Wait until the whole table is loaded</translation>
    </message>
    <message>
        <source>Скопировано байтов: %1</source>
        <translation>Bytes copied: %1</translation>
    </message>
    <message>
        <source>Скопировано то, что видно в ячейке: %1</source>
        <translation>Copied what the cell shows: %1</translation>
    </message>
    <message>
        <source>В ячейке уже нет значения, ничего не скопировано</source>
        <translation>The cell has no value any more, nothing was copied</translation>
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
    <name>sito::MainWindow</name>
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
    <message>
        <source>Ничего не открыто.

Откройте файл SQLite или CSV или перетащите его сюда.</source>
        <translation>Nothing is open.

Open an SQLite or CSV file, or drop one here.</translation>
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
        <translation>Copy &amp;with Headers</translation>
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
    <message>
        <source>Значение &amp;целиком…</source>
        <translation>Whole &amp;Value…</translation>
    </message>
    <message>
        <source>Показать все байты ячейки</source>
        <translation>Show all bytes of the cell</translation>
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
    <name>sito::RefreshCommands</name>
    <message>
        <source>Обновить можно, когда закончится то, что начато</source>
        <translation>The table can be refreshed once what was begun has ended</translation>
    </message>
    <message>
        <source>Источник снова доступен</source>
        <translation>The source is back</translation>
    </message>
    <message>
        <source>Изменений нет</source>
        <translation>Nothing has changed</translation>
    </message>
    <message>
        <source>Строк добавлено: %1, удалено: %2, изменено: %3</source>
        <translation>Rows added: %1, removed: %2, changed: %3</translation>
    </message>
    <message>
        <source>Столбцы таблицы %1 изменились, она загружена заново</source>
        <translation>The columns of table %1 have changed, it was loaded again</translation>
    </message>
    <message>
        <source>Не удалось обновить: %1</source>
        <translation>Could not refresh: %1</translation>
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
    <name>sito::SourceCommands</name>
    <message>
        <source>Не удалось открыть окно: %1</source>
        <translation>The window could not be opened: %1</translation>
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
    <message>
        <source>Загружены только первые строки таблицы</source>
        <translation>Only the first rows of the table are loaded</translation>
    </message>
    <message>
        <source>Загрузить остальные</source>
        <translation>Load the others</translation>
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
    <message>
        <source>О&amp;бновить</source>
        <translation>Re&amp;fresh</translation>
    </message>
    <message>
        <source>Прочитать таблицу заново; выделение и место остаются</source>
        <translation>Read the table again; selection and place stay</translation>
    </message>
    <message>
        <source>Обнов&amp;лять само</source>
        <translation>Refresh &amp;by Itself</translation>
    </message>
    <message>
        <source>&amp;Нет</source>
        <translation>&amp;Off</translation>
    </message>
    <message>
        <source>Каждые &amp;5 секунд</source>
        <translation>Every &amp;5 Seconds</translation>
    </message>
    <message>
        <source>Каждые &amp;30 секунд</source>
        <translation>Every &amp;30 Seconds</translation>
    </message>
    <message>
        <source>Каждую &amp;минуту</source>
        <translation>Every &amp;Minute</translation>
    </message>
    <message>
        <source>Каждые 5 м&amp;инут</source>
        <translation>Every 5 M&amp;inutes</translation>
    </message>
    <message>
        <source>Открыть базу данных SQLite или файл CSV</source>
        <translation>Open an SQLite database or a CSV file</translation>
    </message>
    <message>
        <source>Но&amp;вое окно</source>
        <translation>&amp;New Window</translation>
    </message>
    <message>
        <source>Ещё одно окно с этой таблицей; фильтры в нём свои</source>
        <translation>One more window with this table; it has its own filters</translation>
    </message>
    <message>
        <source>&amp;Замечания о таблице…</source>
        <translation>Notes of the Ta&amp;ble…</translation>
    </message>
    <message>
        <source>Что показано не так, как объявлено, и почему</source>
        <translation>What is not shown as it is declared, and why</translation>
    </message>
    <message>
        <source>&amp;Нет, читать все</source>
        <translation>&amp;Off, Read All</translation>
    </message>
    <message>
        <source>&amp;Только новые и изменённые строки, по</source>
        <translation>On&amp;ly New and Changed Rows, by</translation>
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
    <message>
        <source>По состоянию на %1</source>
        <translation>As of %1</translation>
    </message>
    <message>
        <source>Таблица прочитана: %1</source>
        <translation>Table read: %1</translation>
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
    <message>
        <source>Обновляется таблица %1</source>
        <translation>Refreshing table %1</translation>
    </message>
    <message>
        <source>Читается значение</source>
        <translation>Reading the value</translation>
    </message>
    <message>
        <source>Прервано</source>
        <translation>Cancelled</translation>
    </message>
    <message>
        <source>Таблица уже закрыта</source>
        <translation>The table has been closed</translation>
    </message>
</context>
</TS>
