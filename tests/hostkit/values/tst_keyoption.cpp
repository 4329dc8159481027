// SPDX-License-Identifier: MIT
#include <hostkit/values/keyoption.h>

#include <hostkit/values/showonlyfilter.h>
#include <hostkit/values/valuelistfilter.h>

#include <database/memorydatabase.h>
#include <database/memorytable.h>

#include <filters/securitiessessionfilter.h>

#include <support/exceptions.h>
#include <support/typenames.h>

#include <QTest>

using namespace sito;
using namespace Qt::StringLiterals;

class tst_KeyOption : public QObject
{
    Q_OBJECT

    MemoryTable m_table{u"quotes"_s,
                        {{.name = u"stock"_s, .type = FieldType::Int, .nullable = true},
                         {.name = u"session"_s, .type = FieldType::Int},
                         {.name = u"raw"_s, .type = FieldType::Raw, .length = 2}}};

    /// "hide stock 1|2", "show stock,session 1,2", "sessions stock,session 1,9": in the order of the filters.
    QStringList made(const QList<KeyOption> &options, const QStringList &sessionColumns = {})
    {
        QStringList result;
        for (const auto &filter : filtersFromOptions(m_table, options, sessionColumns)) {
            const QString kind = qobject_cast<ValueListFilter *>(filter.get())           ? u"hide"_s
                                 : qobject_cast<ShowOnlyFilter *>(filter.get())          ? u"show"_s
                                 : qobject_cast<SecuritiesSessionFilter *>(filter.get()) ? u"sessions"_s
                                                                                         : u"?"_s;
            QStringList names;
            for (const int column : filter->columns())
                names.append(m_table.columnName(column));
            QStringList keys;
            for (const KeyValue &key : filter->getAllExcludedKeys())
                keys.append(filter->keyToValue(key));
            result.append(u"%1 %2 %3%4"_s.arg(kind, names.join(u','), keys.join(u'|'),
                                              filter->isEnabled() ? u""_s : u" off"_s));
        }
        return result;
    }

private Q_SLOTS:
    void init() { failOnAnyWarning(); }
    void cleanup() { MemoryDatabase::instance().clear(); }

    void makesAFilterOfEachKindAndColumns()
    {
        const KeyOption hide{.columns = {u"stock"_s}, .keys = u"1|2"_s};
        const KeyOption hideMore{.columns = {u"stock"_s}, .keys = u"|2|3"_s};
        const KeyOption show{.keep = true, .columns = {u"stock"_s}, .keys = u"1"_s};
        const KeyOption both{.columns = {u"session"_s, u"stock"_s}, .keys = u"1,2"_s};
        const KeyOption turned{.columns = {u"stock"_s, u"session"_s}, .keys = u"1,2"_s};

        QCOMPARE(made({}), QStringList());
        QCOMPARE(made({hide}), QStringList{u"hide stock 1|2"_s});
        QCOMPARE(made({show, hide, both, hideMore, turned}),
                 (QStringList{u"show stock 1"_s, u"hide stock |1|2|3"_s, u"hide session,stock 1,2"_s,
                              u"hide stock,session 1,2"_s}));
    }

    void startsWithTheLastSessionsWhereAskedTo()
    {
        MemoryTable &sessions = *MemoryDatabase::instance().createTable(
            u"sessions"_s, {{.name = u"stock_id"_s, .type = FieldType::Int},
                            {.name = u"sess_id"_s, .type = FieldType::Int}});
        sessions.append({1, 8});
        sessions.append({1, 9});

        QCOMPARE(made({{.columns = {u"stock"_s}, .keys = u"7"_s}}, {u"stock"_s, u"session"_s}),
                 (QStringList{u"hide stock 7"_s, u"sessions stock,session 1,9"_s}));
    }

    void refusesWhatIsNoKey_data()
    {
        QTest::addColumn<QStringList>("columns");
        QTest::addColumn<QString>("keys");
        QTest::addColumn<QString>("message");
        QTest::newRow("unknown column")
            << QStringList{u"nope"_s} << u"1"_s << u"В таблице «quotes» нет столбца «nope»"_s;
        QTest::newRow("column twice")
            << QStringList{u"stock"_s, u"stock"_s} << u"1,1"_s << u"Столбец «stock» назван дважды"_s;
        QTest::newRow("not compared")
            << QStringList{u"raw"_s} << u"1"_s
            << u"Столбец «raw» таблицы «quotes» имеет тип Raw: его значения не сравниваются"_s;
        QTest::newRow("no number") << QStringList{u"stock"_s} << u"1|x"_s
                                   << u"Ключ «x»: «x» не может быть значением столбца «stock» типа Int"_s;
    }
    void refusesWhatIsNoKey()
    {
        QFETCH(QStringList, columns);
        QFETCH(QString, keys);
        QFETCH(QString, message);

        for (const bool keep : {false, true})
            QCOMPARE(exceptionMessage([&] {
                         filtersFromOptions(m_table, {{keep, columns, keys}});
                     }),
                     withTypeNames(message));
        QVERIFY(!exceptionMessage([&] {
                     filtersFromOptions(m_table, {}, {u"stock"_s, u"nope"_s});
                 }).isNull());
    }
};

QTEST_GUILESS_MAIN(tst_KeyOption)
#include "tst_keyoption.moc"
