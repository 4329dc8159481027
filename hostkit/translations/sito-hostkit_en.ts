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
    <message>
        <source>Список не обновлён: %1</source>
        <translation>The list is not up to date: %1</translation>
    </message>
</context>
</TS>
