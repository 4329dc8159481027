// SPDX-License-Identifier: MIT
#include <hostkit/values/valuelistfilter.h>

#include <database/memorytable.h>
#include <filterfuncs/keyfilterfunc.h>
#include <filterfuncs/keyfilterfunc_hash.h>
#include <filterfuncs/lambdafilterfunc.h>
#include <hostkit/filters/columnsfilter.h>
#include <hostkit/filters/filterlist.h>
#include <hostkit/parallel/tablelock.h>
#include <hostkit/values/valuelistwidget.h>

#include <support/exceptions.h>
#include <support/seed.h>
#include <support/typenames.h>

#include <QApplication>
#include <QDialog>
#include <QGuiApplication>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QRandomGenerator>
#include <QScopeGuard>
#include <QScreen>
#include <QSignalSpy>
#include <QStyle>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <memory>
#include <mutex>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

KeyValue keyOf(const Record &record, const QList<int> &columns)
{
    KeyValue key;
    for (const int column : columns)
        key.append(FieldValue(record.field(column)));
    return key;
}

/// What the list shows, unchecked values with a minus in front: "A=3 -B=1".
QString shortForm(const QWidget *widget)
{
    const QAbstractItemModel *model = widget->findChild<QListView *>()->model();
    QStringList parts;
    for (int row = 0; row < model->rowCount(); ++row) {
        const QModelIndex index = model->index(row, 0);
        const bool isChecked = index.data(Qt::CheckStateRole).toInt() == Qt::Checked;
        parts.append((isChecked ? QString() : u"-"_s) + index.data().toString() + u'=' +
                     index.data(Qt::UserRole).toString());
    }
    return parts.join(u' ');
}

void waitUntilReady(QWidget *widget)
{
    auto *list = qobject_cast<ValueListWidget *>(widget);
    QTRY_VERIFY(list->isReady());
}

/// The widget of \a filter, initialised.
std::unique_ptr<QWidget> readyWidget(ValueListFilter &filter)
{
    std::unique_ptr<QWidget> widget(filter.createFilterWidget(nullptr));
    filter.init(widget.get());
    waitUntilReady(widget.get());
    return widget;
}

void setChecked(QWidget *widget, int row, bool checked)
{
    QAbstractItemModel *model = widget->findChild<QListView *>()->model();
    QVERIFY(
        model->setData(model->index(row, 0), int(checked ? Qt::Checked : Qt::Unchecked), Qt::CheckStateRole));
}

/// By how much the platform moves windows for a frame that it does not draw.
QPoint undrawnFrame()
{
    return QGuiApplication::platformName() == u"offscreen"_s ? QPoint(2, 2) : QPoint();
}

/// A filter that hides what a function says.
class LambdaFilter : public Filter
{
public:
    explicit LambdaFilter(std::function<bool(const Record &)> hides) : Filter(-1, nullptr), m_hides(hides) {}
    FilterFunc *createFilterFunc(QObject *parent) const override
    {
        if (!m_hides)
            throw QString(u"no such thing"_s);
        return new LambdaFilterFunc(m_hides, parent);
    }
    QWidget *createFilterWidget(QWidget *) override { return nullptr; }
    void apply(QWidget *) override {}
    void init(QWidget *) override {}
    QString text() const override { return QString(); }
    QString name() const override { return QString(); }
    bool hasValue() const override { return true; }

private:
    std::function<bool(const Record &)> m_hides;
};

} // namespace

class tst_ValueListFilter : public QObject
{
    Q_OBJECT

    enum Column { Number, Wide, Real, Price, Exact, Code, Name, Time, Bytes, Opaque };

    static QList<ColumnSpec> columns()
    {
        return {{.name = u"number"_s, .type = FieldType::Int, .nullable = true},
                {.name = u"wide"_s, .type = FieldType::Int64, .nullable = true},
                {.name = u"real"_s, .type = FieldType::Double, .nullable = true},
                {.name = u"price"_s, .type = FieldType::Decimal, .nullable = true, .length = 2},
                {.name = u"exact"_s, .type = FieldType::XDecimal, .nullable = true, .length = 2},
                {.name = u"code"_s, .type = FieldType::VarChar, .nullable = true, .length = 8},
                {.name = u"name"_s, .type = FieldType::String, .nullable = true},
                {.name = u"time"_s, .type = FieldType::DateTime, .nullable = true},
                {.name = u"bytes"_s, .type = FieldType::Raw, .nullable = true, .length = 2},
                {.name = u"opaque"_s, .type = FieldType::Block, .nullable = true}};
    }
    static Record append(MemoryTable &table, std::initializer_list<std::pair<int, CellValue>> values)
    {
        QList<CellValue> row(10);
        for (const auto &[column, value] : values)
            row[column] = value;
        return table.append(std::span<const CellValue>(row));
    }
    /// Codes A, A, A, B, C with numbers 1, 1, 2, 2, 3.
    static void fill(MemoryTable &table)
    {
        append(table, {{Code, u"A"_s}, {Number, 1}});
        append(table, {{Code, u"A"_s}, {Number, 1}});
        append(table, {{Code, u"A"_s}, {Number, 2}});
        append(table, {{Code, u"B"_s}, {Number, 2}});
        append(table, {{Code, u"C"_s}, {Number, 3}});
    }

private Q_SLOTS:
    void init()
    {
        // What the offscreen platform says of itself is nobody's fault.
        QTest::failOnWarning(QRegularExpression(u"^(?!This plugin does not support )"_s));
    }

    void refusesColumnsThatAreNeverCompared()
    {
        MemoryTable table(u"t"_s, columns());

        QCOMPARE(exceptionMessage([&] {
                     ValueListFilter(table, {Code, Bytes});
                 }),
                 withTypeNames(u"Столбец «bytes» таблицы «t» имеет тип Raw: его значения не сравниваются"_s));
        QCOMPARE(
            exceptionMessage([&] { ValueListFilter(table, {Opaque}); }),
            withTypeNames(u"Столбец «opaque» таблицы «t» имеет тип Block: его значения не сравниваются"_s));
    }

    void namesItselfAndItsAction()
    {
        MemoryTable table(u"t"_s, columns());
        const ValueListFilter filter(table, {Code, Number}, this);

        QCOMPARE(filter.name(), u"code, number"_s);
        QCOMPARE(filter.selectActionName(), u"Значения…"_s);
        QCOMPARE(filter.firstId(), int(Code));
        QCOMPARE(filter.secondId(), -1);
        QCOMPARE(filter.parent(), this);
    }

    void checksKeysFromTextsAsColumnsFilterDoes()
    {
        MemoryTable table(u"t"_s, columns());
        const ValueListFilter filter(table, {Number, Code});
        const ColumnsFilter other(table, {Number, Code});

        QCOMPARE(filter.keyToValue(filter.valueToKey(u"7,abc"_s)), u"7,abc"_s);
        for (const QString &text : {u"x,abc"_s, u"7"_s, u"7,much too long"_s, u"7,a,b"_s}) {
            const QString message = exceptionMessage([&] { other.valueToKey(text); });
            QVERIFY(!message.isEmpty());
            QCOMPARE(exceptionMessage([&] { filter.valueToKey(text); }), message);
        }
    }

    void tellsItsValueInShort()
    {
        MemoryTable table(u"t"_s, columns());
        ValueListFilter names(table, {Name});
        ValueListFilter both(table, {Name, Number});

        QCOMPARE(names.text(), QString());
        names.setValue(u"|␀|a,b"_s.section(u',', 0, 0));
        QCOMPARE(names.text(), u"кроме: (нет значения), (пусто), a"_s);
        both.setValue(u"␀,1|a,2"_s);
        QCOMPARE(both.text(), u"кроме: (нет значения) · 1, a · 2"_s);

        names.setValue(QString(100, u'x'));
        QCOMPARE(names.text(), u"кроме: "_s + QString(39, u'x') + u'…');
        // A character of two units is not cut in half.
        names.setValue(QString(38, u'x') + u"😀yz"_s);
        QCOMPARE(names.text(), u"кроме: "_s + QString(38, u'x') + u'…');
        QStringList many;
        for (int i = 0; i < 1000; ++i)
            many.append(u"value %1"_s.arg(i, 3, 10, QChar(u'0')));
        names.setValue(many.join(u'|'));
        QCOMPARE(names.text(), u"кроме: value 000, value 001, value 002, value 003, value 004 (ещё 995)"_s);
    }

    void choosesThePredicateByTheNumberOfKeys()
    {
        MemoryTable table(u"t"_s, columns());
        ValueListFilter filter(table, {Number});
        const auto func = [&] { return std::unique_ptr<FilterFunc>(filter.createFilterFunc(nullptr)); };

        QVERIFY(qobject_cast<KeyFilterFunc *>(func().get()));
        for (int i = 0; i < 100; ++i)
            filter.addExcludedKey(filter.valueToKey(QString::number(i)));
        QVERIFY(qobject_cast<KeyFilterFunc_Hash *>(func().get()));
        const QObject parent;
        QCOMPARE(filter.createFilterFunc(const_cast<QObject *>(&parent))->parent(), &parent);
    }

    void offersTheValuesOfItsColumns()
    {
        MemoryTable table(u"t"_s, columns());
        fill(table);
        append(table, {});
        append(table, {{Code, u""_s}, {Number, 1}});
        ValueListFilter one(table, {Code});
        ValueListFilter two(table, {Code, Number});

        QCOMPARE(shortForm(readyWidget(one).get()), u"(нет значения)=1 (пусто)=1 A=3 B=1 C=1"_s);
        QCOMPARE(shortForm(readyWidget(two).get()),
                 u"(нет значения) · (нет значения)=1 (пусто) · 1=1 A · 1=2 A · 2=1 B · 2=1 C · 3=1"_s);
    }

    void storesWhatIsUnchecked()
    {
        MemoryTable table(u"t"_s, columns());
        fill(table);
        ValueListFilter filter(table, {Code});
        const auto widget = readyWidget(filter);

        setChecked(widget.get(), 1, false);
        filter.apply(widget.get());

        QCOMPARE(filter.value(), u"B"_s);
        QVERIFY(!filter.isEnabled());
        append(table, {{Code, u"BB"_s}});
        QCOMPARE(shortForm(readyWidget(filter).get()), u"A=3 -B=1 BB=1 C=1"_s);
    }

    void hasNothingToApplyBeforeTheValuesAreThere()
    {
        MemoryTable table(u"t"_s, columns());
        fill(table);
        ValueListFilter filter(table, {Code});
        filter.setValue(u"C"_s);
        const std::unique_ptr<QWidget> widget(filter.createFilterWidget(nullptr));
        QWidget other;

        filter.apply(widget.get());
        filter.apply(&other);
        filter.apply(nullptr);
        filter.init(&other);
        filter.init(nullptr);
        {
            // The lock keeps the values from being counted.
            const std::lock_guard<Table> lock(table);
            filter.init(widget.get());
            filter.apply(widget.get());
            QCOMPARE(filter.value(), u"C"_s);
        }
        waitUntilReady(widget.get());
        QCOMPARE(shortForm(widget.get()), u"A=3 B=1 -C=1"_s);
    }

    void isNarrowedByTheOtherFiltersOfItsList()
    {
        MemoryTable table(u"t"_s, columns());
        fill(table);
        FilterList list(table);
        auto *codes = new ValueListFilter(table, {Code});
        auto *numbers = new ValueListFilter(table, {Number});
        codes->setSiblings(&list);
        numbers->setSiblings(&list);
        list.add(codes);
        list.add(numbers);
        codes->setValue(u"B|C"_s);
        codes->setEnabled(true);
        numbers->setValue(u"2"_s);
        numbers->setEnabled(true);

        // B is nowhere else than in rows that the other filter hides, and still in view.
        QCOMPARE(shortForm(readyWidget(*codes).get()), u"A=2 -B=0 -C=1"_s);
        QCOMPARE(shortForm(readyWidget(*numbers).get()), u"1=2 -2=1"_s);
        numbers->setEnabled(false);
        QCOMPARE(shortForm(readyWidget(*codes).get()), u"A=3 -B=1 -C=1"_s);
    }

    void showsAllValuesWhenAnotherFilterFails()
    {
        MemoryTable table(u"t"_s, columns());
        fill(table);
        FilterList list(table);
        auto *codes = new ValueListFilter(table, {Code});
        codes->setSiblings(&list);
        list.add(codes);
        auto *broken = new LambdaFilter(nullptr);
        list.add(broken);
        broken->setEnabled(true);

        const auto widget = readyWidget(*codes);

        QCOMPARE(shortForm(widget.get()), u"A=3 B=1 C=1"_s);
        QCOMPARE(widget->findChild<QLabel *>(u"message"_s)->text(),
                 u"Другие фильтры не учтены: no such thing"_s);
        list.remove(broken);
        codes->init(widget.get());
        QVERIFY(widget->findChild<QLabel *>(u"message"_s)->isHidden());
        waitUntilReady(widget.get());
    }

    void tellsWhenAPredicateFails()
    {
        MemoryTable table(u"t"_s, columns());
        fill(table);
        FilterList list(table);
        auto *codes = new ValueListFilter(table, {Code});
        codes->setSiblings(&list);
        codes->setValue(u"B"_s);
        list.add(codes);
        auto *broken = new LambdaFilter([](const Record &) -> bool { throw QString(u"too bad"_s); });
        list.add(broken);
        broken->setEnabled(true);
        const std::unique_ptr<QWidget> widget(codes->createFilterWidget(nullptr));
        const QSignalSpy ready(qobject_cast<ValueListWidget *>(widget.get()), &ValueListWidget::ready);

        codes->init(widget.get());

        QTRY_COMPARE(ready.size(), 1);
        QCOMPARE(widget->findChild<QLabel *>(u"message"_s)->text(), u"Значения не подсчитаны: too bad"_s);
        codes->apply(widget.get());
        QCOMPARE(codes->value(), u"B"_s);
    }

    void keepsKeysThatTheListCannotShow()
    {
        const double nan = std::numeric_limits<double>::quiet_NaN();
        MemoryTable table(u"t"_s, columns());
        append(table, {{Real, 1.5}});
        MemoryTable other(u"o"_s, columns());
        const Record row = append(other, {{Real, nan}, {Name, u"x"_s}});
        ValueListFilter filter(table, {Real});
        filter.setAllExcludedKeys({keyOf(row, {Name}), keyOf(row, {Real})});

        announceReport(withTypeNames(u"Can't convert from 'x' to Double"_s));
        const auto widget = readyWidget(filter);
        QCOMPARE(shortForm(widget.get()), u"1.5=1"_s);
        filter.apply(widget.get());

        QCOMPARE(filter.getAllExcludedKeys().size(), 2);
    }

    void makesKeysOfTheColumnsOwnTypes()
    {
        MemoryTable table(u"t"_s, columns());
        const Record five = append(table, {{Wide, qint64(5)}, {Code, u"abc"_s}});
        append(table, {{Wide, qint64(6)}, {Code, u"xyz"_s}});
        MemoryTable other(u"o"_s, columns());
        const Record row = append(other, {{Number, 5}, {Name, u"abc"_s}});
        ValueListFilter wide(table, {Wide});
        ValueListFilter code(table, {Code});
        wide.addExcludedKey(keyOf(row, {Number}));
        code.addExcludedKey(keyOf(row, {Name}));
        QVERIFY(!wide.hasExcludedKey(keyOf(five, {Wide})));

        for (ValueListFilter *filter : {&wide, &code}) {
            const auto widget = readyWidget(*filter);
            filter->apply(widget.get());

            QCOMPARE(filter->getAllExcludedKeys().size(), 1);
            QVERIFY(filter->hasExcludedKey(keyOf(five, filter->columns())));
            QCOMPARE(filter->getAllExcludedKeys().first().first().def,
                     table.columnDef(filter->columns().first()));
        }
    }

    void readsKeysOfAnotherShapeAsThePredicateDoes_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("shown");
        QTest::newRow("empty") << u""_s << u"-(нет значения)=1 (пусто)=1 abc=1"_s;
        QTest::newRow("longer") << u"abcdef"_s << u"(нет значения)=1 (пусто)=1 -abc=1"_s;
        QTest::newRow("no longer") << u"abc"_s << u"(нет значения)=1 (пусто)=1 -abc=1"_s;
    }
    void readsKeysOfAnotherShapeAsThePredicateDoes()
    {
        QFETCH(QString, text);
        QFETCH(QString, shown);
        const auto makeColumns = [](int length) {
            return QList<ColumnSpec>{
                {.name = u"c"_s, .type = FieldType::VarChar, .nullable = true, .length = length}};
        };
        MemoryTable table(u"t"_s, makeColumns(3));
        MemoryTable wider(u"w"_s, makeColumns(6));
        const QList<Record> rows = {table.append({CellValue()}), table.append({u""_s}),
                                    table.append({u"abc"_s})};
        ValueListFilter filter(table, {0});
        filter.addExcludedKey(keyOf(wider.append({text}), {0}));
        const auto hidden = [&] {
            const std::unique_ptr<FilterFunc> func(filter.createFilterFunc(nullptr));
            QList<bool> answers;
            for (const Record &row : rows)
                answers.append(func->filter(row));
            return answers;
        };
        const QList<bool> before = hidden();
        QCOMPARE(before.count(true), 1);

        const auto widget = readyWidget(filter);
        QCOMPARE(shortForm(widget.get()), shown);
        filter.apply(widget.get());

        QCOMPARE(hidden(), before);
    }

    void readsAnAbsentKeyOfAColumnWithoutSuchAsThePredicateDoes()
    {
        MemoryTable table(u"t"_s, {{.name = u"n"_s, .type = FieldType::Int}});
        table.append({0});
        table.append({1});
        ValueListFilter filter(table, {0});
        filter.addExcludedKey(KeyValue({FieldValue(&table, 0)}));

        QCOMPARE(shortForm(readyWidget(filter).get()), u"-0=1 1=1"_s);
    }

    void cannotHideWhatIsNoNumberByItself()
    {
        const double nan = std::numeric_limits<double>::quiet_NaN();
        MemoryTable table(u"t"_s, columns());
        for (const double value : {nan, 1.0, 2.0})
            append(table, {{Real, value}});
        ValueListFilter filter(table, {Real});
        const auto widget = readyWidget(filter);
        QAbstractItemModel *model = widget->findChild<QListView *>()->model();
        const QModelIndex index = model->index(2, 0);

        QCOMPARE(index.data().toString(), u"(не число)"_s);
        QVERIFY(!(index.flags() & Qt::ItemIsUserCheckable));
        QVERIFY(!index.data(Qt::CheckStateRole).isValid());
        QVERIFY(!index.data(Qt::ToolTipRole).toString().isEmpty());
        QVERIFY(!model->setData(index, int(Qt::Unchecked), Qt::CheckStateRole));
        widget->findChild<QPushButton *>(u"none"_s)->click();
        filter.apply(widget.get());
        QCOMPARE(filter.value(), u"1|2"_s);
    }

    void matchesRowsWithWhatWasChosen_data()
    {
        QTest::addColumn<QList<int>>("columns");
        const QList<ColumnSpec> specs = columns();
        for (int column = Number; column < Bytes; ++column)
            QTest::newRow(qPrintable(specs.at(column).name)) << QList<int>{column};
        QTest::newRow("two columns") << QList<int>{Real, Code};
        QTest::newRow("three columns") << QList<int>{Name, Price, Time};
    }
    void matchesRowsWithWhatWasChosen()
    {
        QFETCH(QList<int>, columns);
        const quint64 seed = testSeed();
        QRandomGenerator random(quint32(seed ^ seed >> 32));
        MemoryTable table(u"t"_s, tst_ValueListFilter::columns());
        std::map<KeyValue, qint64> oracle;
        QList<Record> records;
        for (int i = 0; i < 400; ++i) {
            const auto value = [&](const CellValue &cell) { return random.bounded(6) ? cell : CellValue(); };
            const short scale = short(random.bounded(3));
            const qint64 unscaled = random.bounded(-5, 5) * (scale ? 10 : 1);
            const QString text = QString(random.bounded(3), QChar(char16_t(u'a' + random.bounded(3))));
            records.append(
                append(table, {{Number, value(random.bounded(-6, 6))},
                               {Wide, value(qint64(random.bounded(-6, 6)) << 33)},
                               {Real, value(random.bounded(-3, 3) * 0.5 * -0.0 + random.bounded(-2, 2))},
                               {Price, value(decimal::fromUnscaled(unscaled, scale))},
                               {Exact, value(xdecimal(unscaled, scale))},
                               {Code, value(text)},
                               {Name, value(text)},
                               {Time, value(datetime(random.bounded(-3, 3)))}}));
            ++oracle[keyOf(records.last(), columns)];
        }
        ValueListFilter filter(table, columns);

        for (int round = 0; round < 3; ++round) {
            const QByteArray about = seedMessage(seed, u"round %1"_s.arg(round));
            const auto widget = readyWidget(filter);
            auto *model = widget->findChild<QListView *>()->model();
            QVERIFY2(model->rowCount() == int(oracle.size()), about.constData());
            std::map<KeyValue, bool> hidden;
            int row = 0;
            for (const auto &[key, count] : oracle) {
                const QModelIndex index = model->index(row++, 0);
                QVERIFY2(index.data(Qt::UserRole).toInt() == count, about.constData());
                // The widget shows what was chosen in the round before.
                QVERIFY2((index.data(Qt::CheckStateRole).toInt() == Qt::Unchecked) ==
                             filter.hasExcludedKey(key),
                         about.constData());
                hidden[key] = random.bounded(2);
                model->setData(index, int(hidden[key] ? Qt::Unchecked : Qt::Checked), Qt::CheckStateRole);
            }
            filter.apply(widget.get());

            const std::unique_ptr<FilterFunc> func(filter.createFilterFunc(nullptr));
            for (const Record &record : std::as_const(records)) {
                const KeyValue key = keyOf(record, columns);
                QVERIFY2(func->filter(record) == hidden[key], about.constData());
                QVERIFY2(filter.hasExcludedKey(key) == hidden[key], about.constData());
            }
            ValueListFilter copy(table, columns);
            copy.setValue(filter.value());
            QVERIFY2(copy.value() == filter.value() || columns.contains(Name) || columns.contains(Code),
                     about.constData());
        }
    }

    void survivesTheDeathOfEverybodyElse()
    {
        MemoryTable table(u"t"_s, columns());
        fill(table);
        auto list = std::make_unique<FilterList>(table);
        auto *codes = new ValueListFilter(table, {Code});
        codes->setSiblings(list.get());
        list->add(codes);
        auto *numbers = new ValueListFilter(table, {Number});
        list->add(numbers);
        numbers->setValue(u"2"_s);
        numbers->setEnabled(true);
        const std::unique_ptr<QWidget> widget(codes->createFilterWidget(nullptr));
        {
            const std::lock_guard<Table> lock(table);
            codes->init(widget.get());
            list.reset();
        }

        waitUntilReady(widget.get());

        QCOMPARE(shortForm(widget.get()), u"A=2 C=1"_s);
    }

    void mayBeDeletedInTheMiddleOfCounting()
    {
        MemoryTable table(u"t"_s, {{.name = u"n"_s, .type = FieldType::Int}});
        for (int i = 0; i < 200'000; ++i)
            table.append({i});
        ValueListFilter filter(table, {0});
        for (int i = 0; i < 5; ++i) {
            std::unique_ptr<QWidget> widget(filter.createFilterWidget(nullptr));
            filter.init(widget.get());
            if (i % 2)
                filter.init(widget.get());
            QTest::qWait(i);
            widget.reset();
            table.append({i});
        }

        QCOMPARE(qobject_cast<ValueListWidget *>(readyWidget(filter).get())->isReady(), true);
    }

    void selectsInAPopup()
    {
        MemoryTable table(u"t"_s, columns());
        fill(table);
        ValueListFilter filter(table, {Code});
        QWidget window;
        window.setGeometry(100, 100, 200, 100);
        QPushButton button(&window);
        button.setGeometry(20, 30, 60, 25);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QStringList told;
        connect(&filter, &Filter::enabledChanged, this,
                [&](bool on) { told.append(u"enabled %1 %2"_s.arg(int(on)).arg(filter.value())); });
        connect(&filter, &Filter::asincChanged, this, [&] { told.append(u"changed"_s); });

        filter.select(&button);

        QPointer<QWidget> popup = QApplication::activePopupWidget();
        QVERIFY(popup);
        QCOMPARE(popup->parentWidget(), &button);
        QCOMPARE(popup->windowFlags() & Qt::WindowType_Mask, Qt::Popup);
        QCOMPARE(popup->geometry().topLeft() - undrawnFrame(),
                 button.mapToGlobal(QPoint(0, button.height())));
        QCOMPARE(popup->findChild<QLabel *>(u"heading"_s)->text(), u"code"_s);
        QStringList mnemonics;
        for (const QPushButton *each : popup->findChildren<QPushButton *>())
            mnemonics.append(each->shortcut().toString());
        QCOMPARE(mnemonics.removeDuplicates(), 0);
        QCOMPARE(mnemonics.size(), 5);
        auto *search = popup->findChild<QLineEdit *>();
        QTRY_VERIFY(search->hasFocus());
        waitUntilReady(popup->findChild<ValueListWidget *>());
        QTest::keyClick(search, Qt::Key_Down);
        auto *view = popup->findChild<QListView *>();
        QVERIFY(view->hasFocus());
        QTest::keyClick(view, Qt::Key_Space);
        QCOMPARE(told, QStringList());
        QTest::keyClick(view, Qt::Key_Return);
        QVERIFY(!popup || !popup->isVisible());
        QCOMPARE(filter.value(), u"A"_s);
        QCOMPARE(told, QStringList({u"enabled 1 A"_s, u"changed"_s}));
        QTRY_VERIFY(!popup);

        // Without a value the filter is off.
        told.clear();
        filter.select(&button);
        popup = QApplication::activePopupWidget();
        waitUntilReady(popup->findChild<ValueListWidget *>());
        QTest::mouseClick(popup->findChild<QPushButton *>(u"all"_s), Qt::LeftButton);
        QTest::mouseClick(popup->findChild<QPushButton *>(u"apply"_s), Qt::LeftButton);
        QCOMPARE(told, QStringList({u"enabled 0 "_s, u"changed"_s}));
    }

    void dropsTheChoice_data()
    {
        QTest::addColumn<QString>("how");
        QTest::newRow("Escape in the search") << u"search"_s;
        QTest::newRow("Escape in the list") << u"list"_s;
        QTest::newRow("the button") << u"button"_s;
        QTest::newRow("a click elsewhere") << u"elsewhere"_s;
        QTest::newRow("Return on the button") << u"return"_s;
    }
    void dropsTheChoice()
    {
        QFETCH(QString, how);
        MemoryTable table(u"t"_s, columns());
        fill(table);
        ValueListFilter filter(table, {Code});
        filter.setValue(u"B"_s);
        const QSignalSpy changed(&filter, &Filter::asincChanged);
        filter.select(nullptr, QRect(100, 100, 10, 10));
        QPointer<QWidget> popup = QApplication::activePopupWidget();
        QVERIFY(popup);
        waitUntilReady(popup->findChild<ValueListWidget *>());
        QTest::mouseClick(popup->findChild<QPushButton *>(u"none"_s), Qt::LeftButton);

        auto *cancel = popup->findChild<QPushButton *>(u"cancel"_s);
        if (how == u"search") {
            QTest::keyClick(popup->findChild<QLineEdit *>(), Qt::Key_Escape);
        } else if (how == u"list") {
            popup->findChild<QListView *>()->setFocus();
            QTest::keyClick(popup->findChild<QListView *>(), Qt::Key_Escape);
        } else if (how == u"button") {
            QTest::mouseClick(cancel, Qt::LeftButton);
        } else if (how == u"return") {
            cancel->setFocus();
            QTest::keyClick(cancel, Qt::Key_Return);
        } else {
            QTest::mouseClick(popup, Qt::LeftButton, {}, QPoint(-20, -20));
        }

        QTRY_VERIFY(!popup);
        QCOMPARE(filter.value(), u"B"_s);
        QVERIFY(!filter.isEnabled());
        QCOMPARE(changed.size(), 0);
    }

    void keepsThePopupOnTheScreen()
    {
        MemoryTable table(u"t"_s, columns());
        ValueListFilter filter(table, {Code});
        const QRect room = QGuiApplication::primaryScreen()->availableGeometry();
        for (const QPoint &corner :
             {room.topLeft(), room.topRight(), room.bottomLeft(), room.bottomRight(), room.center()}) {
            const QRect place(corner - QPoint(5, 5), QSize(10, 10));
            filter.select(nullptr, place);

            const QWidget *popup = QApplication::activePopupWidget();
            const QRect geometry = popup->geometry().translated(-undrawnFrame());
            QVERIFY2(room.contains(geometry), qPrintable(u"%1 %2"_s.arg(corner.x()).arg(corner.y())));
            if (corner.y() > room.bottom() - 20)
                QCOMPARE(geometry.bottom(), place.top() - 1);
        }
        QApplication::activePopupWidget()->close();
    }

    void showsTheEdgeOfThePopup_data()
    {
        QTest::addColumn<QColor>("window");
        QTest::addColumn<QColor>("text");
        QTest::newRow("dark") << QColor(0x2b, 0x2d, 0x30) << QColor(0xe6, 0xe7, 0xe8);
        QTest::newRow("light") << QColor(0xf3, 0xf3, 0xf2) << QColor(0x1d, 0x1f, 0x21);
    }
    void showsTheEdgeOfThePopup()
    {
        QFETCH(const QColor, window);
        QFETCH(const QColor, text);
        const QString style = QApplication::style()->name();
        const auto restore = qScopeGuard([&style] {
            QApplication::setPalette(QPalette());
            QApplication::setStyle(style);
        });
        QApplication::setStyle(u"fusion"_s);
        QPalette palette(window);
        palette.setColor(QPalette::Window, window);
        palette.setColor(QPalette::WindowText, text);
        QApplication::setPalette(palette);
        MemoryTable table(u"t"_s, columns());
        ValueListFilter filter(table, {Code});

        filter.select(nullptr, QRect(50, 50, 10, 10));
        QWidget *popup = QApplication::activePopupWidget();
        const QImage image = popup->grab().toImage();
        popup->close();

        // As the guidelines for accessible contents want it of what is no text.
        const auto luminance = [](const QColor &colour) {
            const auto linear = [](qreal part) {
                return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
            };
            return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
                   0.0722 * linear(colour.blueF());
        };
        const auto contrast = [&luminance](const QColor &one, const QColor &other) {
            const std::pair<qreal, qreal> both = std::minmax({luminance(one), luminance(other)});
            return (both.second + 0.05) / (both.first + 0.05);
        };
        const QPoint middle = image.rect().center();
        const QPoint last = image.rect().bottomRight();
        for (const QPoint &point : {QPoint(0, middle.y()), QPoint(last.x(), middle.y()),
                                    QPoint(middle.x(), 0), QPoint(middle.x(), last.y()), last}) {
            const QColor edge = image.pixelColor(point);
            QVERIFY2(contrast(edge, window) > 3,
                     qPrintable(u"%1,%2 %3"_s.arg(point.x()).arg(point.y()).arg(edge.name())));
        }
        QCOMPARE(image.pixelColor(4, 4), window);
    }

    void popupIsResizedByTheGrip_data()
    {
        QTest::addColumn<QPoint>("place");
        QTest::addColumn<bool>("left");
        QTest::addColumn<bool>("top");
        const QRect room = QGuiApplication::primaryScreen()->availableGeometry();
        QTest::newRow("at the top left") << room.topLeft() + QPoint(40, 40) << false << false;
        QTest::newRow("at the right") << room.topRight() + QPoint(-20, 40) << true << false;
        QTest::newRow("at the bottom") << room.bottomLeft() + QPoint(40, -20) << false << true;
        QTest::newRow("at the bottom right") << room.bottomRight() - QPoint(20, 20) << true << true;
    }
    void popupIsResizedByTheGrip()
    {
        QFETCH(const QPoint, place);
        QFETCH(const bool, left);
        QFETCH(const bool, top);
        const auto restore = qScopeGuard([] { ValueListFilter::setPopupSize(QSize()); });
        MemoryTable table(u"t"_s, columns());
        ValueListFilter filter(table, {Code});
        filter.select(nullptr, QRect(place, QSize(10, 10)));
        QWidget *popup = QApplication::activePopupWidget();
        const QRect before = popup->geometry();
        auto *grip = popup->findChild<QWidget *>(u"grip"_s);
        QVERIFY(grip);
        const QPoint middle = grip->rect().center();
        const QSize by(60, 25);

        QCOMPARE(grip->x() < popup->width() / 2, left);
        QCOMPARE(grip->y() < popup->height() / 2, top);
        QVERIFY(!ValueListFilter::popupSize().isValid());
        QTest::mousePress(grip, Qt::LeftButton, {}, middle);
        QTest::mouseMove(grip,
                         middle + QPoint(left ? -by.width() : by.width(), top ? -by.height() : by.height()));
        QTest::mouseRelease(grip, Qt::LeftButton, {}, grip->rect().center());

        const QRect after = popup->geometry();
        QCOMPARE(after.size(), before.size() + by);
        QCOMPARE(left ? after.right() : after.left(), left ? before.right() : before.left());
        QCOMPARE(top ? after.bottom() : after.top(), top ? before.bottom() : before.top());
        QTest::mouseMove(grip, QPoint(0, 0));
        QCOMPARE(popup->geometry(), after);
        QCOMPARE(ValueListFilter::popupSize(), after.size());

        popup->close();
        filter.select(nullptr, QRect(place, QSize(10, 10)));
        popup = QApplication::activePopupWidget();
        QCOMPARE(popup->size(), after.size());
        popup->close();
        ValueListFilter::setPopupSize(QSize());
        filter.select(nullptr, QRect(place, QSize(10, 10)));
        popup = QApplication::activePopupWidget();
        QCOMPARE(popup->size(), before.size());
        popup->close();
    }

    void popupIsResizedByKeyboard()
    {
        const auto restore = qScopeGuard([] { ValueListFilter::setPopupSize(QSize()); });
        MemoryTable table(u"t"_s, columns());
        fill(table);
        ValueListFilter filter(table, {Code});
        filter.select(nullptr, QRect(50, 50, 10, 10));
        QPointer<QWidget> popup = QApplication::activePopupWidget();
        waitUntilReady(popup->findChild<ValueListWidget *>());
        auto *grip = popup->findChild<QWidget *>(u"grip"_s);
        QVERIFY(grip);
        QVERIFY(!grip->accessibleName().isEmpty());
        const QSize before = popup->size();
        const QRect room = QGuiApplication::primaryScreen()->availableGeometry();

        popup->findChild<QPushButton *>(u"cancel"_s)->setFocus();
        QTest::keyClick(popup->focusWidget(), Qt::Key_Tab);
        QCOMPARE(popup->focusWidget(), grip);
        QTest::keyClick(grip, Qt::Key_Down);
        QTest::keyClick(grip, Qt::Key_Right);
        const QSize larger = popup->size();
        QVERIFY(larger.width() > before.width() && larger.height() > before.height());
        QTest::keyClick(grip, Qt::Key_Up);
        QTest::keyClick(grip, Qt::Key_Left);
        QCOMPARE(popup->size(), before);
        for (int i = 0; i < 200; ++i)
            QTest::keyClick(grip, i % 2 ? Qt::Key_Down : Qt::Key_Right);
        QCOMPARE(popup->geometry().bottomRight(), room.bottomRight());
        for (int i = 0; i < 200; ++i)
            QTest::keyClick(grip, i % 2 ? Qt::Key_Up : Qt::Key_Left);
        QCOMPARE(popup->size(), popup->minimumSizeHint());
        QTest::keyClick(grip, Qt::Key_Tab);
        QVERIFY(popup->findChild<QLineEdit *>()->hasFocus());
        grip->setFocus();
        QTest::keyClick(grip, Qt::Key_Escape);
        QTRY_VERIFY(!popup);
    }

    void hasOnePopupThatGoesWithIt()
    {
        MemoryTable table(u"t"_s, columns());
        fill(table);
        auto filter = std::make_unique<ValueListFilter>(table, QList<int>{Code});
        filter->select(nullptr);
        const QPointer<QWidget> first = QApplication::activePopupWidget();
        filter->select(nullptr);
        QTRY_VERIFY(!first);
        const QPointer<QWidget> second = QApplication::activePopupWidget();
        QVERIFY(second);

        filter.reset();

        QTRY_VERIFY(!second);
    }

    void mayBeDeletedByWhoHearsOfTheChoice_data()
    {
        QTest::addColumn<bool>("ofTheSwitch");
        QTest::newRow("of the switch") << true;
        QTest::newRow("of the value") << false;
    }
    void mayBeDeletedByWhoHearsOfTheChoice()
    {
        QFETCH(bool, ofTheSwitch);
        MemoryTable table(u"t"_s, columns());
        fill(table);
        auto *filter = new ValueListFilter(table, {Code});
        filter->select(nullptr);
        const QPointer<QWidget> popup = QApplication::activePopupWidget();
        waitUntilReady(popup->findChild<ValueListWidget *>());
        const QSignalSpy changed(filter, &Filter::asincChanged);
        const auto deleteIt = [filter] { delete filter; };
        if (ofTheSwitch)
            connect(filter, &Filter::enabledChanged, this, deleteIt);
        else
            connect(filter, &Filter::asincChanged, this, deleteIt);

        QTest::keyClick(popup->findChild<QLineEdit *>(), Qt::Key_Return);

        QTRY_VERIFY(!popup);
        QCOMPARE(changed.size(), ofTheSwitch ? 0 : 1);
    }

    void popupOutlivesTheTable_data()
    {
        QTest::addColumn<QString>("when");
        for (const QString &when : {u"while it is open"_s, u"dropped"_s, u"accepted"_s})
            QTest::newRow(qPrintable(when)) << when;
    }
    void popupOutlivesTheTable()
    {
        QFETCH(QString, when);
        auto table = std::make_unique<MemoryTable>(u"t"_s, columns());
        for (const QString &name : {u"a"_s, u"b"_s})
            append(*table, {{Name, name}, {Number, 1}});
        auto list = std::make_unique<FilterList>(*table);
        auto *names = new ValueListFilter(*table, {Name});
        names->setSiblings(list.get());
        names->setValue(u"b|z"_s);
        list->add(names);
        auto *numbers = new ValueListFilter(*table, {Number});
        numbers->setValue(u"2"_s);
        numbers->setEnabled(true);
        list->add(numbers);
        names->select(nullptr);
        const QPointer<QWidget> popup = QApplication::activePopupWidget();
        auto *widget = popup->findChild<ValueListWidget *>();
        waitUntilReady(widget);
        QCOMPARE(shortForm(popup), u"a=1 -b=1 -z=0"_s);

        if (when == u"dropped")
            QTest::keyClick(popup->findChild<QLineEdit *>(), Qt::Key_Escape);
        else if (when == u"accepted")
            QTest::keyClick(popup->findChild<QLineEdit *>(), Qt::Key_Return);
        list.reset();
        table.reset();

        QVERIFY(popup);
        QVERIFY(widget->excludedKeys().isEmpty());
        QCOMPARE(shortForm(popup), QString());
        QTRY_VERIFY(!popup);
    }

    void closesWithoutWaitingForTheLockOfTheTable()
    {
        MemoryTable table(u"t"_s, columns());
        fill(table);
        auto filter = std::make_unique<ValueListFilter>(table, QList<int>{Code});
        // Who has it closes the popup: it could be waited for for ever.
        std::unique_lock<Table> lock(table);

        filter->select(nullptr);
        QPointer<QWidget> popup = QApplication::activePopupWidget();
        QTest::keyClick(popup->findChild<QLineEdit *>(), Qt::Key_Escape);
        QTRY_VERIFY(!popup);
        filter->select(nullptr);
        popup = QApplication::activePopupWidget();
        filter.reset();
        QTRY_VERIFY(!popup);

        lock.unlock();
        parallel::waitForWaiters(table);
    }

    void takesNothingOverBeforeTheValuesAreThere()
    {
        MemoryTable table(u"t"_s, columns());
        fill(table);
        ValueListFilter filter(table, {Code});
        filter.setValue(u"B"_s);
        const QSignalSpy enabled(&filter, &Filter::enabledChanged);
        const QSignalSpy changed(&filter, &Filter::asincChanged);
        std::unique_lock<Table> lock(table);
        filter.select(nullptr);
        QPointer<QWidget> popup = QApplication::activePopupWidget();
        auto *apply = popup->findChild<QPushButton *>(u"apply"_s);

        QTest::keyClick(popup->findChild<QLineEdit *>(), Qt::Key_Return);
        QTest::keyClick(popup->findChild<QListView *>(), Qt::Key_Return);
        QTest::mouseClick(apply, Qt::LeftButton);

        QVERIFY(!apply->isEnabled());
        QVERIFY(popup && popup->isVisible());
        lock.unlock();
        waitUntilReady(popup->findChild<ValueListWidget *>());
        QVERIFY(apply->isEnabled());
        popup->close();
        lock.lock();
        filter.select(nullptr);
        qobject_cast<QDialog *>(QApplication::activePopupWidget())->accept();
        lock.unlock();
        parallel::waitForWaiters(table);

        QVERIFY(!filter.isEnabled());
        QCOMPARE(enabled.size(), 0);
        QCOMPARE(changed.size(), 0);
        QCOMPARE(filter.value(), u"B"_s);
    }
};

QTEST_MAIN(tst_ValueListFilter)
#include "tst_valuelistfilter.moc"
