<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="ru">
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
</TS>
