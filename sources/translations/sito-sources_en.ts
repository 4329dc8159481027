<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="ru">
<context>
    <name>BytesText</name>
    <message>
        <source>1 Б</source>
        <translation>1 byte</translation>
    </message>
    <message>
        <source>%1 Б</source>
        <translation>%1 bytes</translation>
    </message>
</context>
<context>
    <name>ColumnNotes</name>
    <message>
        <source>Столбец «%1» объявлен как %2, но значениям нужен %3</source>
        <translation>Column &apos;%1&apos; is declared as %2, but its values need %3</translation>
    </message>
    <message>
        <source>Столбец «%1» без объявленного типа показан как текст</source>
        <translation>Column &apos;%1&apos;, declared without a type, is shown as text</translation>
    </message>
    <message>
        <source>Столбец «%1» типа «%2» показан как текст</source>
        <translation>Column &apos;%1&apos; of type &apos;%2&apos; is shown as text</translation>
    </message>
    <message>
        <source>Столбец «%1» шире, чем объявлен («%2»): значение %3 в строке %4</source>
        <translation>Column &apos;%1&apos; is wider than declared (&apos;%2&apos;): value %3 in row %4</translation>
    </message>
    <message>
        <source>Столбец «%1» («%2») показан как дробные числа: значение %3 в строке %4</source>
        <translation>Column &apos;%1&apos; (&apos;%2&apos;) is shown as numbers with fractions: value %3 in row %4</translation>
    </message>
    <message>
        <source>Столбец «%1» («%2») показан как текст: значение %3 в строке %4</source>
        <translation>Column &apos;%1&apos; (&apos;%2&apos;) is shown as text: value %3 in row %4</translation>
    </message>
    <message>
        <source>В столбце «%1» есть пустые значения, хотя он объявлен без них</source>
        <translation>Column &apos;%1&apos; has absent values, though it is declared without</translation>
    </message>
    <message>
        <source>Столбец «%1»: вместо байтов показаны их число и начало</source>
        <translation>Column &apos;%1&apos;: bytes are shown by their number and the first of them</translation>
    </message>
    <message>
        <source>Столбец «%1»: байты, которые не составляют текста, показаны как «\xE9»</source>
        <translation>Column &apos;%1&apos;: bytes that are no valid text are shown as &apos;\xE9&apos;</translation>
    </message>
    <message>
        <source>Столбец «%1» показан как текст из-за значения %2 в строке %3</source>
        <translation>Column &apos;%1&apos; is shown as text because of the value %2 in row %3</translation>
    </message>
</context>
<context>
    <name>CsvText</name>
    <message>
        <source>кавычка не закрыта</source>
        <translation>the quotation mark is not closed</translation>
    </message>
    <message>
        <source>запись слишком длинна</source>
        <translation>the record is too long</translation>
    </message>
    <message>
        <source>в записи больше полей, чем %1</source>
        <translation>the record has more than %1 fields</translation>
    </message>
    <message>
        <source>Файл «%1» изменился во время чтения</source>
        <translation>File &apos;%1&apos; has changed while it was read</translation>
    </message>
    <message>
        <source>Файл «%1» пуст</source>
        <translation>File &apos;%1&apos; is empty</translation>
    </message>
    <message>
        <source>Записей, в которых полей меньше, чем столбцов: %1 (первая - в строке файла %2); недостающие значения пусты</source>
        <translation>Records with fewer fields than columns: %1 (the first in line %2 of the file); the missing values are absent</translation>
    </message>
    <message>
        <source>Записей, в которых полей больше, чем в первой: %1 (первая такая - в строке файла %2); для лишних добавлены столбцы</source>
        <translation>Records with more fields than the first one: %1 (the first of them in line %2 of the file); there are columns for the others</translation>
    </message>
    <message>
        <source>Записей, в которых после закрывающей кавычки стоит не разделитель: %1 (первая - в строке файла %2); такие поля показаны, как записаны</source>
        <translation>Records with something other than a separator behind a closing quotation mark: %1 (the first in line %2 of the file); such fields are shown as they are written</translation>
    </message>
    <message>
        <source>Не удалось открыть «%1»: %2</source>
        <translation>Cannot open &apos;%1&apos;: %2</translation>
    </message>
    <message>
        <source>Файла «%1» нет</source>
        <translation>There is no file &apos;%1&apos;</translation>
    </message>
    <message>
        <source>«%1» - каталог, а не файл</source>
        <translation>&apos;%1&apos; is a directory, not a file</translation>
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
        <source>байты не составляют текста в этой кодировке</source>
        <translation>the bytes are no text in this encoding</translation>
    </message>
    <message>
        <source>Файл «%1», строка %2, знак %3: %4</source>
        <translation>File &apos;%1&apos;, line %2, character %3: %4</translation>
    </message>
</context>
<context>
    <name>MysqlSession</name>
    <message>
        <source>Драйвер Qt SQL для MariaDB и MySQL не проверяет сертификат сервера, поэтому «%1» не открыт (sslmode может быть %2)</source>
        <translation>The Qt SQL driver for MariaDB and MySQL does not check the certificate of a server, so &apos;%1&apos; is not opened (sslmode may be %2)</translation>
    </message>
</context>
<context>
    <name>PostgresSession</name>
    <message>
        <source>В имени файла с сертификатом «%1» не может быть «;»</source>
        <translation>The name of the file with certificates &apos;%1&apos; must not contain &apos;;&apos;</translation>
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
    <message>
        <source>Не удалось открыть «%1»: соединение не зашифровано</source>
        <translation>Cannot open &apos;%1&apos;: the connection is not encrypted</translation>
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
        <source>В адресе базы данных после сервера стоит «@» или «/»: в имени или пароле они пишутся %40 и %2F</source>
        <translation>The address of the database has &apos;@&apos; or &apos;/&apos; after the server: in a name or a password they are written %40 and %2F</translation>
    </message>
    <message>
        <source>В адресе базы данных sslmode может быть только %1</source>
        <translation>In the address of the database sslmode must be one of %1</translation>
    </message>
    <message>
        <source>В адресе базы данных есть параметры, а поддерживаются только sslmode и sslrootcert («?» в имени или пароле пишется %3F)</source>
        <translation>The address of the database has parameters, of which only sslmode and sslrootcert are supported (&apos;?&apos; in a name or password is written %3F)</translation>
    </message>
    <message>
        <source>В адресе базы данных стоит «#»: в имени или пароле он пишется %23</source>
        <translation>The address of the database contains &apos;#&apos;: in a name or password it is written %23</translation>
    </message>
    <message>
        <source>После имени файла CSV могут стоять только separator (запятая, «;» или tab), header (yes или no) и encoding (%1)</source>
        <translation>Only separator (a comma, &apos;;&apos; or tab), header (yes or no) and encoding (%1) may follow the name of a CSV file</translation>
    </message>
    <message>
        <source>Адрес базы данных начинается с sqlite:, csv:, postgresql:// или mysql://</source>
        <translation>The address of a database begins with sqlite:, csv:, postgresql:// or mysql://</translation>
    </message>
    <message>
        <source>Адреса вида «%1» неизвестны, только sqlite:, csv:, postgresql:// и mysql://</source>
        <translation>Addresses of the kind &apos;%1&apos; are unknown, only sqlite:, csv:, postgresql:// and mysql://</translation>
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
    <message>
        <source>База данных «%1», таблица «%2»: %3</source>
        <translation>Database &apos;%1&apos;, table &apos;%2&apos;: %3</translation>
    </message>
    <message>
        <source>Таблица «%1»: нет права на чтение</source>
        <translation>Table &apos;%1&apos;: no right to read it</translation>
    </message>
    <message>
        <source>Таблица «%1»: чтение выполнило бы представление «%2» пользователя «%3»</source>
        <translation>Table &apos;%1&apos;: reading it would run view &apos;%2&apos; of user &apos;%3&apos;</translation>
    </message>
    <message>
        <source>Таблица «%1»: чтение обратилось бы к внешней таблице «%2» пользователя «%3»</source>
        <translation>Table &apos;%1&apos;: reading it would ask foreign table &apos;%2&apos; of user &apos;%3&apos;</translation>
    </message>
    <message>
        <source>Таблица «%1»: чтение выполнило бы функцию «%2» пользователя «%3», которую она вызывает</source>
        <translation>Table &apos;%1&apos;: reading it would run function &apos;%2&apos; of user &apos;%3&apos;, which it calls</translation>
    </message>
    <message>
        <source>без имени</source>
        <translation>unnamed</translation>
    </message>
    <message>
        <source>Таблица «%1»: чтение выполнило бы с правами текущего пользователя представление другого</source>
        <translation>Table &apos;%1&apos;: reading would run the view of another user with the rights of the current one</translation>
    </message>
    <message>
        <source>Таблицу без имени не прочитать</source>
        <translation>A table without a name cannot be read</translation>
    </message>
</context>
<context>
    <name>sito::OpenServerDialog</name>
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
        <source>Укажите сервер</source>
        <translation>Enter a server</translation>
    </message>
    <message>
        <source>Укажите базу данных</source>
        <translation>Enter a database</translation>
    </message>
    <message>
        <source>Сертификаты для проверки сервера</source>
        <translation>Certificates to check the server</translation>
    </message>
    <message>
        <source>&amp;Шифрование:</source>
        <translation>&amp;Encryption:</translation>
    </message>
    <message>
        <source>Шифрование</source>
        <translation>Encryption</translation>
    </message>
    <message>
        <source>По умолчанию - как задано в PGSSLMODE, иначе если сервер умеет</source>
        <translation>By default as PGSSLMODE says, or else if the server can</translation>
    </message>
    <message>
        <source>По умолчанию</source>
        <translation>By default</translation>
    </message>
    <message>
        <source>Никогда</source>
        <translation>Never</translation>
    </message>
    <message>
        <source>Если сервер требует</source>
        <translation>If the server demands it</translation>
    </message>
    <message>
        <source>Если сервер умеет</source>
        <translation>If the server can</translation>
    </message>
    <message>
        <source>Всегда</source>
        <translation>Always</translation>
    </message>
    <message>
        <source>Всегда, с проверкой сертификата</source>
        <translation>Always, with a check of the certificate</translation>
    </message>
    <message>
        <source>Всегда, с проверкой сертификата и имени сервера</source>
        <translation>Always, with a check of the certificate and the name of the server</translation>
    </message>
    <message>
        <source>С&amp;ертификаты:</source>
        <translation>&amp;Certificates:</translation>
    </message>
    <message>
        <source>Сертификаты</source>
        <translation>Certificates</translation>
    </message>
    <message>
        <source>Файл, по которому проверяется сертификат сервера; если не указан - как задано в PGSSLROOTCERT или в каталоге пользователя</source>
        <translation>File by which the certificate of the server is checked; if none is given, that of PGSSLROOTCERT or of the user</translation>
    </message>
    <message>
        <source>&amp;Выбрать...</source>
        <translation>B&amp;rowse...</translation>
    </message>
    <message>
        <source>Открыть базу данных на сервере</source>
        <translation>Open a database on a server</translation>
    </message>
    <message>
        <source>&amp;Тип:</source>
        <translation>&amp;Kind:</translation>
    </message>
    <message>
        <source>Тип</source>
        <translation>Kind</translation>
    </message>
    <message>
        <source>Какой системе принадлежит сервер</source>
        <translation>The system that the server belongs to</translation>
    </message>
    <message>
        <source>Не сохраняется; если не указан, берётся из MYSQL_PWD</source>
        <translation>Not stored; without one, that of MYSQL_PWD</translation>
    </message>
    <message>
        <source>Сертификат сервера не проверяется</source>
        <translation>The certificate of the server is not checked</translation>
    </message>
    <message>
        <source>Драйвер Qt SQL для %1 не установлен (в Debian - пакет %2)</source>
        <translation>The Qt SQL driver for %1 is not installed (on Debian: package %2)</translation>
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
    <message>
        <source>Таблица «%1» не загружена из этого источника</source>
        <translation>Table &apos;%1&apos; was not loaded from this source</translation>
    </message>
    <message>
        <source>В столбце %1 таблицы «%2» не показано байтов</source>
        <translation>Column %1 of the table &apos;%2&apos; shows no bytes</translation>
    </message>
    <message>
        <source>У таблицы «%1» нет первичного ключа, строку не найти, чтобы прочитать значение целиком</source>
        <translation>The table &apos;%1&apos; has no primary key by which the row could be found to read the whole value</translation>
    </message>
    <message>
        <source>Таблица «%1» теперь другая, обновите её</source>
        <translation>The table &apos;%1&apos; has changed, refresh it</translation>
    </message>
    <message>
        <source>Ключ строки пуст (таблица «%1», столбец «%2»), её не найти, чтобы прочитать значение целиком</source>
        <translation>The key of the row is empty (table &apos;%1&apos;, column &apos;%2&apos;); it cannot be found to read the whole value</translation>
    </message>
    <message>
        <source>По столбцу «%1» ключа таблицы «%2» строку не найти, чтобы прочитать значение целиком</source>
        <translation>By the column &apos;%1&apos; of the key of the table &apos;%2&apos;, the row cannot be found to read the whole value</translation>
    </message>
    <message>
        <source>Строки уже нет в таблице «%1»: она удалена, или её ключ изменён</source>
        <translation>The row is no longer in the table &apos;%1&apos;: it was removed, or its key was changed</translation>
    </message>
    <message>
        <source>В таблице «%1» несколько строк с этим ключом</source>
        <translation>The table &apos;%1&apos; has several rows with this key</translation>
    </message>
    <message>
        <source>Значение — не байты</source>
        <translation>The value is not bytes</translation>
    </message>
    <message>
        <source>Значение занимает %1 Б, а прочитать можно не больше %2 Б</source>
        <translation>The value has %1 bytes, and no more than %2 bytes can be read</translation>
    </message>
    <message>
        <source>Значение изменилось, пока его читали</source>
        <translation>The value was changed while it was read</translation>
    </message>
</context>
</TS>
