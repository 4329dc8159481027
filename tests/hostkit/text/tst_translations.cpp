// SPDX-License-Identifier: MIT
#include <hostkit/text/translations.h>

#include <database/memorytable.h>
#include <hostkit/filters/filterlist.h>
#include <hostkit/settings/settingschanges.h>
#include <hostkit/settings/settingsdelegate.h>
#include <hostkit/values/showonlyfilter.h>
#include <hostkit/values/valuelistfilter.h>
#include <hostkit/values/valuelistwidget.h>
#include <hostkit/views/filteredtableview.h>
#include <hostkit/views/filterheader.h>
#include <hostkit/views/filterpanel.h>
#include <settings/settingsmodel.h>

#include <QAbstractButton>
#include <QApplication>
#include <QColor>
#include <QComboBox>
#include <QFont>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QRegularExpression>
#include <QStandardItemModel>
#include <QStyleOptionViewItem>
#include <QTest>
#include <QTranslator>
#include <QTreeView>

#include <memory>
#include <utility>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

const QLocale german(QLocale::German, QLocale::Germany);
const QLocale french(QLocale::French, QLocale::France);
const QLocale russian(QLocale::Russian, QLocale::Russia);
const QLocale english(QLocale::English, QLocale::UnitedStates);

/// Every text that a widget of the program shows or tells.
QStringList textsOfWidgets()
{
    QStringList texts;
    const QWidgetList widgets = QApplication::allWidgets();
    for (const QWidget *widget : widgets) {
        texts += {widget->toolTip(), widget->accessibleName(), widget->accessibleDescription(),
                  widget->windowTitle()};
        if (const auto *label = qobject_cast<const QLabel *>(widget))
            texts += label->text();
        if (const auto *button = qobject_cast<const QAbstractButton *>(widget))
            texts += button->text();
        if (const auto *edit = qobject_cast<const QLineEdit *>(widget))
            texts += edit->placeholderText();
        if (const auto *header = qobject_cast<const FilterHeader *>(widget))
            texts += header->accessibleText(0);
        const auto *titles = qobject_cast<const QHeaderView *>(widget);
        if (titles && titles->model()) {
            for (int i = 0; i < titles->count(); ++i) {
                texts += titles->model()->headerData(i, titles->orientation()).toString();
                texts += titles->model()->headerData(i, titles->orientation(), Qt::ToolTipRole).toString();
            }
        }
        if (const auto *menu = qobject_cast<const QMenu *>(widget))
            texts += menu->title();
        if (const auto *choice = qobject_cast<const QComboBox *>(widget)) {
            for (int i = 0; i < choice->count(); ++i)
                texts += choice->itemText(i);
        }
    }
    texts.removeAll(QString());
    // The order of the widgets is that of a hash table.
    texts.sort();
    return texts;
}

QStringList inRussian(const QStringList &texts)
{
    static const QRegularExpression letter(u"[А-Яа-яЁё]"_s);
    return texts.filter(letter);
}

/// Counts the texts for which it is asked.
class CountingTranslator final : public QTranslator
{
public:
    QString translate(const char *, const char *, const char *, int) const override
    {
        ++count;
        return {};
    }
    mutable int count = 0;
};

} // namespace

class tst_Translations : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u"^(?!This plugin does not support)"_s));
        QCOMPARE(key(), u"Ключ"_s);
    }
    /// Texts are as in the sources again.
    void cleanup() { QCOMPARE(key(), u"Ключ"_s); }

    void choosesTheLanguage_data()
    {
        QTest::addColumn<QLocale>("locale");
        QTest::addColumn<QString>("text");

        QTest::newRow("Russian") << russian << u"Ключ"_s;
        QTest::newRow("Russian elsewhere") << QLocale(QLocale::Russian, QLocale::Kazakhstan) << u"Ключ"_s;
        QTest::newRow("English") << english << u"Key"_s;
        QTest::newRow("of the program") << german << u"Schlüssel"_s;
        QTest::newRow("a language without texts") << french << u"Key"_s;
        QTest::newRow("no language") << QLocale::c() << u"Key"_s;
    }
    void choosesTheLanguage()
    {
        QFETCH(QLocale, locale);
        QFETCH(QString, text);

        const Translations translations(locale);

        QCOMPARE(key(), text);
    }

    void hasTheTextsOfEveryLibraryLoaded()
    {
        const Translations translations(english);

        QCOMPARE(key(), u"Key"_s); // of libsito
        QCOMPARE(QCoreApplication::translate("ExceptionText", "Неизвестная ошибка"), u"Unknown error"_s);
    }

    /// The test has sito_de.ts inside.
    void takesCataloguesOfTheProgramToo()
    {
        Translations translations(german);
        const QString inGerman = key();
        const QString lacking = QCoreApplication::translate("ExceptionText", "Неизвестная ошибка");
        translations.setLocale(english);

        QCOMPARE(inGerman, u"Schlüssel"_s);
        QCOMPARE(lacking, u"Unknown error"_s);
        QCOMPARE(key(), u"Key"_s);
    }

    void changesTheWidgetsOfHostkit()
    {
        MemoryTable table(u"t"_s, {{u"a"_s, FieldType::Int}});
        FilterList filters(table);
        auto *filter = new ValueListFilter(table, {0});
        filter->setValue(u"1"_s);
        filters.add(filter);
        FilterPanel panel;
        panel.setFilters(&filters);
        FilteredTableView view(table, {0});
        view.show();
        view.chooseValues(0, QRect(0, 0, 10, 10));
        QTRY_VERIFY(view.findChild<ValueListWidget *>()->isReady());
        ShowOnlyFilter showOnly(table, {0});
        QWidget parent;
        showOnly.createFilterWidget(&parent);
        openEditors(parent);
        SettingsModel settings;
        QTreeView tree;
        tree.setModel(&settings);
        SettingsChanges changes;
        QTreeView list;
        list.setModel(&changes);
        const QStringList atFirst = textsOfWidgets();
        QVERIFY(inRussian(atFirst).size() > 40);

        auto translations = std::make_unique<Translations>(english);
        QCoreApplication::processEvents();
        QCOMPARE(inRussian(textsOfWidgets()), QStringList());

        translations->setLocale(russian);
        QCoreApplication::processEvents();
        QCOMPARE(textsOfWidgets(), atFirst);

        translations->setLocale(english);
        QCoreApplication::processEvents();
        QCOMPARE(inRussian(textsOfWidgets()), QStringList());

        translations.reset();
        QCoreApplication::processEvents();
        QCOMPARE(textsOfWidgets(), atFirst);
    }

    /// Models are asked for their texts when a view is painted.
    void paintsViewsAgain()
    {
        class Painted : public QObject
        {
        public:
            bool eventFilter(QObject *, QEvent *event) override
            {
                count += event->type() == QEvent::Paint;
                return false;
            }
            int count = 0;
        };
        Painted painted;
        SettingsModel settings;
        QTreeView tree;
        tree.setModel(&settings);
        tree.show();
        QVERIFY(QTest::qWaitForWindowExposed(&tree));
        tree.header()->viewport()->installEventFilter(&painted);
        QCoreApplication::processEvents();
        painted.count = 0;

        const Translations translations(english);

        QTRY_VERIFY(painted.count > 0);
    }

    void tellsWidgetsOnce()
    {
        class Listener : public QWidget
        {
        public:
            int count = 0;

        protected:
            void changeEvent(QEvent *event) override { count += event->type() == QEvent::LanguageChange; }
        };
        Listener listener;
        Translations translations(english);
        QCoreApplication::processEvents();
        QCOMPARE(std::exchange(listener.count, 0), 1);

        translations.setLocale(french); // English still
        QCoreApplication::processEvents();

        QCOMPARE(listener.count, 1);
    }

    void leavesOtherTranslatorsAlone()
    {
        CountingTranslator own;
        QCoreApplication::installTranslator(&own);
        {
            const Translations translations(english);
            QCOMPARE(QCoreApplication::translate("Host", "text"), u"text"_s);
        }

        QVERIFY(own.count > 0);
    }

private:
    /// A text of libsito.
    static QString key() { return SettingsModel::tr("Ключ"); }

    void openEditors(QWidget &parent)
    {
        auto *model = new QStandardItemModel(&parent);
        auto *delegate = new SettingsDelegate(&parent);
        for (const QVariant &value : QVariantList{true, QColor(Qt::red), QFont(), u"line\r"_s, u"text"_s,
                                                  QStringList{u"a"_s, u"b"_s}}) {
            auto *item = new QStandardItem;
            item->setData(value, Qt::EditRole);
            model->appendRow(item);
            QWidget *editor = delegate->createEditor(&parent, QStyleOptionViewItem(), item->index());
            delegate->setEditorData(editor, item->index());
        }
    }
};

QTEST_MAIN(tst_Translations)
#include "tst_translations.moc"
