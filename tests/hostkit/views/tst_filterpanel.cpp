// SPDX-License-Identifier: MIT
#include <database/memorytable.h>
#include <filters/filter.h>
#include <hostkit/filters/columnsfilter.h>
#include <hostkit/filters/filterlist.h>
#include <hostkit/values/valuelistfilter.h>
#include <hostkit/views/filterpanel.h>
#include <support/panelitems.h>

#include <QCheckBox>
#include <QLabel>
#include <QMenu>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>

#include <algorithm>

using namespace sito;
using namespace Qt::StringLiterals;

class tst_FilterPanel : public QObject
{
    Q_OBJECT
private:
    Filter *add(const QList<int> &columns, const QString &value)
    {
        auto *filter = new ValueListFilter(*m_table, columns);
        filter->setValue(value);
        filter->setEnabled(true);
        m_filters->add(filter);
        return filter;
    }
    /// The items as the user sees them, from top to bottom.
    QList<QFrame *> items() const
    {
        QList<QFrame *> result;
        const QList<QFrame *> all = panelItems(*m_panel);
        for (QFrame *item : all) {
            if (item->isVisible())
                result.append(item);
        }
        std::sort(result.begin(), result.end(), [](const QFrame *a, const QFrame *b) {
            return a->mapToGlobal(QPoint()).y() < b->mapToGlobal(QPoint()).y();
        });
        return result;
    }
    QStringList texts() const
    {
        QStringList result;
        for (const QFrame *item : items()) {
            result.append(u"%1 %2: %3"_s.arg(panelSwitch(item)->isChecked() ? u"+"_s : u"-"_s,
                                             panelSwitch(item)->text(),
                                             item->findChild<QLabel *>(u"text"_s)->text()));
        }
        return result;
    }
    static QToolButton *button(QWidget *parent, const QString &name)
    {
        return parent->findChild<QToolButton *>(name);
    }

    std::unique_ptr<MemoryTable> m_table;
    std::unique_ptr<FilterList> m_filters;
    std::unique_ptr<FilterPanel> m_panel;

private Q_SLOTS:
    void initTestCase() { qRegisterMetaType<Filter *>(); }
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u"^(?!This plugin does not support)"_s));
        m_table = std::make_unique<MemoryTable>(
            u"t"_s, QList<ColumnSpec>{{u"a"_s, FieldType::Int}, {u"b & c"_s, FieldType::String, true}});
        m_filters = std::make_unique<FilterList>(*m_table);
        m_panel = std::make_unique<FilterPanel>();
        m_panel->resize(260, 400);
        m_panel->setFilters(m_filters.get());
        m_panel->show();
        m_panel->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_panel.get()));
    }
    void cleanup()
    {
        m_panel.reset();
        m_filters.reset();
        m_table.reset();
    }

    void explainsItselfWithoutFilters()
    {
        QVERIFY(m_panel->findChild<QLabel *>(u"panelNote"_s)->isVisible());
        QVERIFY(!button(m_panel.get(), u"clearAll"_s)->isEnabled());

        add({0}, u"1"_s);

        QVERIFY(!m_panel->findChild<QLabel *>(u"panelNote"_s)->isVisible());
        QVERIFY(button(m_panel.get(), u"clearAll"_s)->isEnabled());
    }

    void showsNameValueAndSwitchOfEachFilter()
    {
        add({0}, u"1|2"_s);
        Filter *second = add({1}, u"x"_s);
        second->setEnabled(false);

        QTRY_COMPARE(texts(), (QStringList{u"+ a: кроме: 1, 2"_s, u"- b && c: кроме: x"_s}));
    }

    void followsEveryChange()
    {
        auto *filter = static_cast<ValueListFilter *>(add({0}, u"1"_s));

        filter->setValue(u"7|8"_s);
        m_filters->notifyChanged(filter);

        QTRY_COMPARE(texts(), QStringList{u"+ a: кроме: 7, 8"_s});
        filter->setEnabled(false);
        QCOMPARE(texts(), QStringList{u"- a: кроме: 7, 8"_s});
    }

    void switchesByMouseAndKeyboard()
    {
        Filter *filter = add({0}, u"1"_s);
        QTRY_COMPARE(items().size(), 1);
        QCheckBox *check = panelSwitch(items().first());
        QSignalSpy changes(m_filters.get(), &FilterList::changed);

        QTest::mouseClick(check, Qt::LeftButton, {}, QPoint(8, check->height() / 2));
        QVERIFY(!filter->isEnabled());
        QCOMPARE(changes.size(), 1);
        check->setFocus();
        QTest::keyClick(check, Qt::Key_Space);

        QVERIFY(filter->isEnabled());
        QCOMPARE(changes.size(), 2);
    }

    void removesByTheButton()
    {
        add({0}, u"1"_s);
        add({1}, u"x"_s);
        QTRY_COMPARE(items().size(), 2);

        QTest::mouseClick(button(items().first(), u"remove"_s), Qt::LeftButton);

        QTRY_COMPARE(texts(), QStringList{u"+ b && c: кроме: x"_s});
        QCOMPARE(m_filters->filters().size(), 1);
    }

    void keepsTheFocusAmongTheFiltersWhenOneIsRemovedByKeyboard()
    {
        add({0}, u"1"_s);
        add({1}, u"x"_s);
        QTRY_COMPARE(items().size(), 2);
        panelSwitch(items().last())->setFocus();

        QTest::keyClick(panelSwitch(items().last()), Qt::Key_Delete);
        QTRY_COMPARE(items().size(), 1);
        QVERIFY(panelSwitch(items().first())->hasFocus());
        QTest::keyClick(panelSwitch(items().first()), Qt::Key_Delete);

        QTRY_COMPARE(items().size(), 0);
        QVERIFY(button(m_panel.get(), u"sets"_s)->hasFocus());
        QVERIFY(m_filters->filters().isEmpty());
    }

    void asksToEdit()
    {
        Filter *filter = add({0}, u"1"_s);
        QTRY_COMPARE(items().size(), 1);
        QSignalSpy requests(m_panel.get(), &FilterPanel::editRequested);
        QToolButton *edit = button(items().first(), u"edit"_s);

        QTest::mouseClick(edit, Qt::LeftButton);
        QTest::keyClick(panelSwitch(items().first()), Qt::Key_F2);

        QCOMPARE(requests.size(), 2);
        QCOMPARE(requests.at(0).at(0).value<Filter *>(), filter);
        QCOMPARE(requests.at(1).at(1).value<QWidget *>(), edit);
    }

    void offersNoEditingWhereThereIsNothingToEditWith()
    {
        auto *filter = new ColumnsFilter(*m_table, {0});
        filter->setValue(u"1"_s);
        m_filters->add(filter);
        QTRY_COMPARE(items().size(), 1);

        QVERIFY(!button(items().first(), u"edit"_s)->isVisible());
        QSignalSpy requests(m_panel.get(), &FilterPanel::editRequested);
        QTest::keyClick(panelSwitch(items().first()), Qt::Key_F2);
        QCOMPARE(requests.size(), 0);
        QCOMPARE(texts(), QStringList{u"- a: 1"_s});
    }

    void clearsAll()
    {
        add({0}, u"1"_s);
        add({1}, u"x"_s);

        QTest::mouseClick(button(m_panel.get(), u"clearAll"_s), Qt::LeftButton);

        QVERIFY(m_filters->filters().isEmpty());
        QCOMPARE(items().size(), 0);
        QVERIFY(m_panel->findChild<QLabel *>(u"panelNote"_s)->isVisible());
    }

    void elidesWhatDoesNotFit()
    {
        QStringList words;
        for (int i = 0; i < 400; ++i)
            words.append(u"слово%1"_s.arg(i));
        auto *filter = new ColumnsFilter(*m_table, {1});
        filter->setValue(words.join(u'|'));
        m_filters->add(filter);
        QTRY_COMPARE(items().size(), 1);
        const auto *text = items().first()->findChild<QLabel *>(u"text"_s);

        QTRY_VERIFY(text->text().endsWith(u'…'));
        QVERIFY(text->sizeHint().width() <= text->width());
        QVERIFY(text->toolTip().size() > text->text().size());
        QVERIFY(text->toolTip().size() <= 600);
        QVERIFY(items().first()->width() <= m_panel->width());
        const QString narrow = text->text();
        m_panel->resize(500, 400);
        QTRY_VERIFY(text->text().size() > narrow.size());
    }

    void offersTheSetsByName()
    {
        m_panel->setSetNames({u"день"_s, u"утро & вечер"_s});
        QSignalSpy saves(m_panel.get(), &FilterPanel::saveRequested);
        QSignalSpy restores(m_panel.get(), &FilterPanel::restoreRequested);
        QSignalSpy deletions(m_panel.get(), &FilterPanel::deletionRequested);
        QMenu *menu = m_panel->setsMenu();
        const auto entry = [menu](const QString &text) {
            const QList<QAction *> actions = menu->actions();
            const auto it = std::find_if(actions.begin(), actions.end(),
                                         [&text](const QAction *action) { return action->text() == text; });
            return it == actions.end() ? nullptr : *it;
        };
        QVERIFY(!entry(u"Сохранить набор…"_s)->isEnabled()); // there is nothing to save

        add({0}, u"1"_s);
        QVERIFY(entry(u"Сохранить набор…"_s)->isEnabled());
        entry(u"Сохранить набор…"_s)->trigger();
        entry(u"утро && вечер"_s)->trigger();
        entry(u"Удалить набор"_s)->menu()->actions().first()->trigger();

        QCOMPARE(saves.size(), 1);
        QCOMPARE(restores.size(), 1);
        QCOMPARE(restores.at(0).at(0).toString(), u"утро & вечер"_s);
        QCOMPARE(deletions.size(), 1);
        QCOMPARE(deletions.at(0).at(0).toString(), u"день"_s);
    }

    void showsTheFiltersOfAnotherTable()
    {
        add({0}, u"1"_s);
        MemoryTable other(u"o"_s, {{u"z"_s, FieldType::Int}});
        FilterList filters(other);
        auto *filter = new ValueListFilter(other, {0});
        filter->setValue(u"5"_s);
        filters.add(filter);

        m_panel->setFilters(&filters);
        QTRY_COMPARE(texts(), QStringList{u"- z: кроме: 5"_s});
        add({1}, u"x"_s); // not shown any more
        QCOMPARE(items().size(), 1);
        m_panel->setFilters(nullptr);
        QCOMPARE(items().size(), 0);
        QVERIFY(!button(m_panel.get(), u"sets"_s)->isEnabled());
    }

    void bearsTheEndOfTheFilters()
    {
        add({0}, u"1"_s);

        m_filters.reset();

        QTRY_COMPARE(items().size(), 0);
        QVERIFY(!m_panel->filters());
    }
};

QTEST_MAIN(tst_FilterPanel)
#include "tst_filterpanel.moc"
