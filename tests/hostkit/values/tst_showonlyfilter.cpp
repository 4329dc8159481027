// SPDX-License-Identifier: MIT
#include <hostkit/values/showonlyfilter.h>

#include <hostkit/values/showonlywidget.h>

#include <database/memorytable.h>
#include <filterfuncs/filterfunc.h>

#include <support/exceptions.h>
#include <support/seed.h>
#include <support/typenames.h>

#include <QLabel>
#include <QListView>
#include <QRandomGenerator>
#include <QTest>

#include <limits>
#include <memory>

using namespace sito;
using namespace Qt::StringLiterals;

class tst_ShowOnlyFilter : public QObject
{
    Q_OBJECT

    MemoryTable m_table{u"quotes"_s,
                        {{.name = u"id"_s, .type = FieldType::Int, .nullable = true},
                         {.name = u"name"_s, .type = FieldType::String, .nullable = true},
                         {.name = u"real"_s, .type = FieldType::Double, .nullable = true},
                         {.name = u"raw"_s, .type = FieldType::Raw, .nullable = true, .length = 2}}};

private Q_SLOTS:
    void init() { failOnAnyWarning(); }
    void cleanup() { m_table.clear(); }

    void hidesWhatIsNotInItsSet()
    {
        const Record a = m_table.append({1, u"a"_s, {}, {}});
        const Record b = m_table.append({2, u"a"_s, {}, {}});
        const Record absent = m_table.append({{}, u""_s, {}, {}});
        ShowOnlyFilter filter(m_table, {0, 1});
        filter.setValue(u"1,a|,"_s);

        const std::unique_ptr<FilterFunc> func(filter.createFilterFunc(nullptr));

        QVERIFY(!func->filter(a));
        QVERIFY(func->filter(b));
        QVERIFY(!func->filter(absent));
    }

    void hidesNothingWithoutAValue()
    {
        const Record row = m_table.append({1, u"a"_s, {}, {}});
        const ShowOnlyFilter filter(m_table, {0});

        const std::unique_ptr<FilterFunc> func(filter.createFilterFunc(nullptr));

        QVERIFY(!filter.hasValue());
        QVERIFY(!func->filter(row));
    }

    void givesItsPredicateToTheParent()
    {
        QObject parent;
        ShowOnlyFilter filter(m_table, {0});
        filter.setValue(u"1"_s);

        QCOMPARE(filter.createFilterFunc(&parent)->parent(), &parent);
    }

    void predicateIsACopy()
    {
        const Record row = m_table.append({1, u"a"_s, {}, {}});
        auto filter = std::make_unique<ShowOnlyFilter>(m_table, QList<int>{0});
        filter->setValue(u"1"_s);
        const std::unique_ptr<FilterFunc> func(filter->createFilterFunc(nullptr));

        filter->clear();
        filter.reset();

        QVERIFY(!func->filter(row));
    }

    void isTheOppositeOfHidingTheSameKeys()
    {
        const quint64 seed = testSeed();
        QRandomGenerator random(quint32(seed ^ seed >> 32));
        for (int i = 0; i < 300; ++i) {
            m_table.append({random.bounded(5) ? CellValue(random.bounded(100)) : CellValue(),
                            random.bounded(5) ? CellValue(QString::number(random.bounded(3))) : CellValue(),
                            random.bounded(9) * 0.5,
                            {}});
        }
        for (const int keys : {1, 20, 150}) {
            ShowOnlyFilter shows(m_table, {1, 0, 2});
            ColumnsFilter hides(m_table, {1, 0, 2});
            for (int i = 0; i < keys; ++i)
                shows.addExcludedKey(shows.keyFromRecord(m_table.row(random.bounded(300))));
            hides.setAllExcludedKeys(shows.getAllExcludedKeys());
            const std::unique_ptr<FilterFunc> showOnly(shows.createFilterFunc(nullptr));
            const std::unique_ptr<FilterFunc> hide(hides.createFilterFunc(nullptr));

            for (int i = 0; i < 300; ++i) {
                QVERIFY2(showOnly->filter(m_table.row(i)) != hide->filter(m_table.row(i)),
                         seedMessage(seed, QString::number(i)).constData());
            }
        }
    }

    void saysWhatItShows()
    {
        ShowOnlyFilter filter(m_table, {1, 0});
        QCOMPARE(filter.text(), QString());

        filter.setValue(u"␀,|b,2"_s);

        QCOMPARE(filter.name(), u"только: name, id"_s);
        QCOMPARE(filter.text(), u"(нет значения) · (нет значения), b · 2"_s);
        QCOMPARE(filter.value(), u"␀,|b,2"_s);
    }

    void refusesWhatColumnsFilterRefuses()
    {
        QCOMPARE(
            exceptionMessage([&] { ShowOnlyFilter(m_table, {3}); }),
            withTypeNames(u"Столбец «raw» таблицы «quotes» имеет тип Raw: его значения не сравниваются"_s));
        const ShowOnlyFilter filter(m_table, {0});
        QCOMPARE(exceptionMessage([&] { filter.valueToKey(u"x"_s); }),
                 withTypeNames(u"Ключ «x»: «x» не может быть значением столбца «id» типа Int"_s));
    }

    void showsRowsThatHoldNoNumber()
    {
        const Record nan = m_table.append({1, u"a"_s, std::numeric_limits<double>::quiet_NaN(), {}});
        const Record zero = m_table.append({1, u"a"_s, -0.0, {}});
        const Record one = m_table.append({1, u"a"_s, 1.0, {}});
        ShowOnlyFilter filter(m_table, {2});
        filter.setValue(u"0"_s);

        const std::unique_ptr<FilterFunc> func(filter.createFilterFunc(nullptr));

        QVERIFY(!func->filter(nan));
        QVERIFY(!func->filter(zero));
        QVERIFY(func->filter(one));
    }

    void editsItsKeys()
    {
        ShowOnlyFilter filter(m_table, {0});
        filter.setValue(u"1|2"_s);
        const std::unique_ptr<QWidget> widget(filter.createFilterWidget(nullptr));
        auto *editor = qobject_cast<ShowOnlyWidget *>(widget.get());
        QVERIFY(editor);
        auto *keys = editor->findChild<QListView *>(u"keptKeys"_s)->model();

        filter.init(editor);
        QVERIFY(editor->isComplete());
        QVERIFY(keys->setData(keys->index(0, 0), Qt::Unchecked, Qt::CheckStateRole));
        filter.apply(editor);

        QCOMPARE(filter.value(), u"2"_s);
    }

    void wantsAtLeastOneKey()
    {
        ShowOnlyFilter filter(m_table, {0});
        filter.setValue(u"1|2"_s);
        const std::unique_ptr<QWidget> widget(filter.createFilterWidget(nullptr));
        auto *editor = qobject_cast<ShowOnlyWidget *>(widget.get());
        QVERIFY(editor);
        QList<bool> changes;
        connect(editor, &ShowOnlyWidget::completeChanged, editor,
                [&changes](bool isComplete) { changes.append(isComplete); });
        filter.init(editor);
        const auto *error = editor->findChild<QLabel *>(u"error"_s);
        auto *keys = editor->findChild<QListView *>(u"keptKeys"_s)->model();
        QVERIFY(error->isHidden());
        QCOMPARE(editor->error(), QString());

        for (int row : {0, 1})
            QVERIFY(keys->setData(keys->index(row, 0), Qt::Unchecked, Qt::CheckStateRole));

        QVERIFY(!editor->isComplete());
        QVERIFY(!error->isHidden());
        QCOMPARE(error->text(), u"Отметьте хотя бы одно значение"_s);
        QCOMPARE(editor->error(), error->text());
        QCOMPARE(editor->findChild<QListView *>(u"keptKeys"_s)->accessibleDescription(), error->text());
        filter.apply(editor);
        QCOMPARE(filter.value(), u"1|2"_s);

        QVERIFY(keys->setData(keys->index(1, 0), Qt::Checked, Qt::CheckStateRole));
        QVERIFY(editor->isComplete());
        QVERIFY(error->isHidden());
        QCOMPARE(changes, (QList<bool>{true, false, true}));
    }

    void hasNothingToApplyWithoutKeys()
    {
        ShowOnlyFilter filter(m_table, {0});
        const std::unique_ptr<QWidget> widget(filter.createFilterWidget(nullptr));

        filter.init(widget.get());

        QVERIFY(!qobject_cast<ShowOnlyWidget *>(widget.get())->isComplete());
    }
};

QTEST_MAIN(tst_ShowOnlyFilter)
#include "tst_showonlyfilter.moc"
