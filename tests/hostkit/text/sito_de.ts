<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="ru">
<context>
    <name>SettingsModel</name>
    <message>
        <source>Ключ</source>
        <translation>Schlüssel</translation>
    </message>
</context>
</TS>
