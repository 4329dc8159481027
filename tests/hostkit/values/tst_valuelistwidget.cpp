// SPDX-License-Identifier: MIT
#include <hostkit/values/valuelistwidget.h>

#include <data/indexlist.h>
#include <database/memorytable.h>
#include <filterfuncs/lambdafilterfunc.h>
#include <hostkit/parallel/tablelock.h>

#include <support/exceptions.h>

#include <QAbstractItemModelTester>
#include <QAccessible>
#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMap>
#include <QProgressBar>
#include <QPushButton>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>
#include <QThread>
#include <QTranslator>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <limits>
#include <memory>
#include <mutex>
#include <new>
#include <thread>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

/// Whether how long something takes says nothing.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif

/// Answers every text in an imagined language.
class Translator final : public QTranslator
{
public:
    QString translate(const char *, const char *source, const char *, int) const override
    {
        return u"xx "_s + QString::fromUtf8(source);
    }
    bool isEmpty() const override { return false; }
};

/// Runs out of memory in every thread but the one that made it.
class FailingTranslator final : public QTranslator
{
public:
    QString translate(const char *, const char *, const char *, int) const override
    {
        if (QThread::currentThread() != thread())
            throw std::bad_alloc();
        return QString();
    }
    bool isEmpty() const override { return false; }
};

/// Another thread that has the lock of a table, until it is told to let go, or does so by itself, as the only
/// way out for who waits for it.
class LockHolder
{
public:
    explicit LockHolder(const Table &table)
    {
        std::promise<void> taken;
        m_thread = std::thread([this, &table, &taken] {
            table.lock();
            taken.set_value();
            m_isOver =
                m_release.get_future().wait_for(std::chrono::seconds(5)) == std::future_status::timeout;
            table.unlock();
        });
        taken.get_future().wait();
    }
    ~LockHolder()
    {
        if (m_thread.joinable())
            release();
    }
    /// Whether the lock was held until now.
    bool release()
    {
        m_release.set_value();
        m_thread.join();
        return !m_isOver;
    }

private:
    std::promise<void> m_release;
    bool m_isOver = false;
    std::thread m_thread;
};

} // namespace

class tst_ValueListWidget : public QObject
{
    Q_OBJECT

    std::unique_ptr<MemoryTable> m_table;
    std::unique_ptr<ValueListWidget> m_widget;

    template <typename T = QPushButton>
    T *child(const QString &name) const
    {
        return m_widget->findChild<T *>(name);
    }
    QLineEdit *search() const { return child<QLineEdit>(u"search"_s); }
    QListView *view() const { return child<QListView>(u"values"_s); }
    QAbstractItemModel *model() const { return view()->model(); }

    /// What the list shows, unchecked values with a minus in front.
    QString shown() const
    {
        QStringList parts;
        for (int row = 0; row < model()->rowCount(); ++row) {
            const QModelIndex index = model()->index(row, 0);
            const bool isChecked = index.data(Qt::CheckStateRole).toInt() == Qt::Checked;
            parts.append((isChecked ? QString() : u"-"_s) + index.data().toString());
        }
        return parts.join(u' ');
    }
    QString excluded() const
    {
        QStringList parts;
        const QList<KeyValue> keys = m_widget->excludedKeys();
        for (const KeyValue &key : keys)
            parts.append(key.first().toText());
        std::sort(parts.begin(), parts.end());
        return parts.join(u' ');
    }
    QPoint middleOf(int row) const { return view()->visualRect(model()->index(row, 0)).center(); }

    /// A shown widget over a table of these texts, one row each.
    void show(const QStringList &texts, const QStringList &excludedTexts = {})
    {
        m_widget.reset();
        m_table = std::make_unique<MemoryTable>(
            u"t"_s, QList<ColumnSpec>{{.name = u"s"_s, .type = FieldType::String, .nullable = true}});
        for (const QString &text : texts)
            m_table->append({text});
        QList<KeyValue> keys;
        for (const QString &text : excludedTexts) {
            FieldValue field(m_table.get(), 0);
            field.fromText(text);
            keys.append(KeyValue({field}));
        }
        m_widget = std::make_unique<ValueListWidget>();
        m_widget->fill(*m_table, {0}, {}, keys);
        m_widget->show();
        // There may be no window manager to do it.
        QVERIFY(QTest::qWaitForWindowExposed(m_widget.get()));
        m_widget->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_widget.get()));
        QTRY_VERIFY(m_widget->isReady());
        m_widget->setFocus();
    }

private Q_SLOTS:
    void init()
    {
        // What the offscreen platform says of itself is nobody's fault.
        QTest::failOnWarning(QRegularExpression(u"^(?!This plugin does not support )"_s));
    }
    void cleanup()
    {
        m_widget.reset();
        if (m_table)
            parallel::waitForWaiters(*m_table);
        m_table.reset();
    }

    void showsCheckedWhatIsShown()
    {
        show({u"b"_s, u"a"_s, u"b"_s, u"c"_s}, {u"b"_s, u"zz"_s});

        QCOMPARE(shown(), u"a -b c -zz"_s);
        QCOMPARE(excluded(), u"b zz"_s);
        QCOMPARE(child<QLabel>(u"numbers"_s)->text(), u"Отмечено: 2 из 4"_s);
        QVERIFY(child<QProgressBar>(u"progress"_s)->isHidden());
        QVERIFY(child<QLabel>(u"message"_s)->isHidden());
    }

    void isAWellBehavedModel()
    {
        show({u"b"_s, u"a"_s, u"ab"_s, u"c"_s});
        const QAbstractItemModelTester tester(model(),
                                              QAbstractItemModelTester::FailureReportingMode::QtTest);

        QTest::keyClicks(search(), u"a"_s);
        QTRY_COMPARE(shown(), u"a ab"_s);
        QTest::mouseClick(child(u"invert"_s), Qt::LeftButton);
        QTest::keyClick(search(), Qt::Key_Backspace);
        QTRY_COMPARE(shown(), u"-a -ab b c"_s);
        m_widget->fill(*m_table, {0}, {}, {});
        QTRY_COMPARE(shown(), u"a ab b c"_s);
    }

    void checksByMouseAnywhereInARow()
    {
        show({u"a"_s, u"b"_s, u"c"_s});
        const QSignalSpy changed(m_widget.get(), &ValueListWidget::changed);

        QTest::mouseClick(view()->viewport(), Qt::LeftButton, {}, middleOf(1));
        QCOMPARE(shown(), u"a -b c"_s);
        QTest::mouseClick(view()->viewport(), Qt::LeftButton, {}, QPoint(8, middleOf(2).y()));
        QCOMPARE(shown(), u"a -b -c"_s);
        QTest::mouseClick(view()->viewport(), Qt::LeftButton, {}, middleOf(1));
        QCOMPARE(shown(), u"a b -c"_s);
        QCOMPARE(changed.size(), 3);
        QCOMPARE(child<QLabel>(u"numbers"_s)->text(), u"Отмечено: 2 из 3"_s);

        // Selecting, other buttons, and a press that is let go elsewhere check nothing.
        QTest::mouseClick(view()->viewport(), Qt::LeftButton, Qt::ShiftModifier, middleOf(0));
        QTest::mouseClick(view()->viewport(), Qt::LeftButton, Qt::ControlModifier, middleOf(2));
        QTest::mouseClick(view()->viewport(), Qt::RightButton, {}, middleOf(0));
        QTest::mousePress(view()->viewport(), Qt::LeftButton, {}, middleOf(0));
        QTest::mouseRelease(view()->viewport(), Qt::LeftButton, {}, middleOf(2));
        QCOMPARE(shown(), u"a b -c"_s);
    }

    void isUsedByKeyboardAlone()
    {
        show({u"a"_s, u"b"_s, u"c"_s, u"d"_s});
        const QSignalSpy accepted(m_widget.get(), &ValueListWidget::accepted);
        QVERIFY(search()->hasFocus());

        QTest::keyClick(search(), Qt::Key_Down);
        QVERIFY(view()->hasFocus());
        QCOMPARE(view()->currentIndex().row(), 0);
        QTest::keyClick(view(), Qt::Key_Space);
        QCOMPARE(shown(), u"-a b c d"_s);

        // The selected ones follow the current one.
        QTest::keyClick(view(), Qt::Key_Down);
        QTest::keyClick(view(), Qt::Key_Down, Qt::ShiftModifier);
        QTest::keyClick(view(), Qt::Key_Space);
        QCOMPARE(shown(), u"-a -b -c d"_s);
        QTest::keyClick(view(), Qt::Key_A, Qt::ControlModifier);
        QTest::keyClick(view(), Qt::Key_Space);
        QCOMPARE(shown(), u"a b c d"_s);

        QTest::keyClick(view(), Qt::Key_Home);
        QTest::keyClick(view(), Qt::Key_Up);
        QVERIFY(search()->hasFocus());
        QTest::keyClick(search(), Qt::Key_Down);
        QTest::keyClicks(view(), u"c"_s);
        QVERIFY(search()->hasFocus());
        QCOMPARE(search()->text(), u"c"_s);
        QTRY_COMPARE(shown(), u"c"_s);
        QCOMPARE(accepted.size(), 0);
        QTest::keyClick(search(), Qt::Key_Return);
        QCOMPARE(accepted.size(), 1);
        QTest::keyClick(view(), Qt::Key_Enter);
        QCOMPARE(accepted.size(), 2);
    }

    void goesRoundByTab()
    {
        show({u"a"_s});
        const QList<QWidget *> round = {search(), view(), child(u"all"_s), child(u"none"_s),
                                        child(u"invert"_s)};

        for (QWidget *widget : round) {
            QCOMPARE(QApplication::focusWidget(), widget);
            QTest::keyClick(widget, Qt::Key_Tab);
        }
        QCOMPARE(QApplication::focusWidget(), search());
        QTest::keyClick(search(), Qt::Key_Tab, Qt::ShiftModifier);
        QCOMPARE(QApplication::focusWidget(), round.last());
    }

    void searchesWhileOneTypes()
    {
        show({u"Alpha"_s, u"beta"_s, u"ALPINE"_s, u"Ёлка"_s});

        QElapsedTimer timer;
        timer.start();
        QTest::keyClicks(search(), u"al"_s);
        QCOMPARE(model()->rowCount(), 4);
        QTRY_COMPARE(shown(), u"ALPINE Alpha"_s);
        QVERIFY(timer.elapsed() >= 150);
        QCOMPARE(child<QLabel>(u"numbers"_s)->text(), u"Найдено: 2. Отмечено: 4 из 4"_s);
        QTest::keyClicks(search(), u"pi"_s);
        QTRY_COMPARE(shown(), u"ALPINE"_s);
        search()->setText(u"ЁЛ"_s);
        QTRY_COMPARE(shown(), u"Ёлка"_s);
        search()->setText(u"nothing"_s);
        QTRY_COMPARE(shown(), QString());
        QVERIFY(!child(u"all"_s)->isEnabled());
        search()->clear();
        QTRY_COMPARE(shown(), u"ALPINE Alpha beta Ёлка"_s);
        QVERIFY(child(u"all"_s)->isEnabled());
    }

    void searchesAtOnceOnReturn()
    {
        show({u"a"_s, u"b"_s});
        const QSignalSpy accepted(m_widget.get(), &ValueListWidget::accepted);
        search()->setText(u"b"_s);
        QElapsedTimer timer;
        timer.start();

        QTest::keyClick(search(), Qt::Key_Return);
        while (model()->rowCount() != 1 && timer.elapsed() < 5000)
            QCoreApplication::processEvents();

        QCOMPARE(shown(), u"b"_s);
        QVERIFY2(timer.elapsed() < 150, "before the delay is over");
        QCOMPARE(accepted.size(), 0);
        QTest::keyClick(search(), Qt::Key_Return);
        QCOMPARE(accepted.size(), 1);
    }

    void findsTheWordsForWhatHasNoText()
    {
        show({u""_s, u"x"_s});
        m_table->append({CellValue()});
        m_widget->fill(*m_table, {0}, {}, {});
        QTRY_VERIFY(m_widget->isReady());

        search()->setText(u"(ПУС"_s);
        QTRY_COMPARE(shown(), u"(пусто)"_s);
        search()->setText(u"(нет"_s);
        QTRY_COMPARE(shown(), u"(нет значения)"_s);
        QTest::keyClick(search(), Qt::Key_Down);
        QTest::keyClick(view(), Qt::Key_Space);
        QCOMPARE(excluded(), u"␀"_s);
    }

    void checksAllThatTheSearchShows()
    {
        show({u"a1"_s, u"a2"_s, u"b1"_s, u"b2"_s}, {u"b1"_s});
        search()->setText(u"1"_s);
        QTRY_COMPARE(shown(), u"a1 -b1"_s);

        QTest::mouseClick(child(u"invert"_s), Qt::LeftButton);
        QCOMPARE(shown(), u"-a1 b1"_s);
        QTest::mouseClick(child(u"none"_s), Qt::LeftButton);
        QCOMPARE(shown(), u"-a1 -b1"_s);
        QCOMPARE(excluded(), u"a1 b1"_s);
        search()->setText(u"b"_s);
        QTRY_COMPARE(shown(), u"-b1 b2"_s);
        QTest::mouseClick(child(u"all"_s), Qt::LeftButton);
        QCOMPARE(shown(), u"b1 b2"_s);
        search()->clear();
        QTRY_COMPARE(shown(), u"-a1 a2 b1 b2"_s);
        QCOMPARE(excluded(), u"a1"_s);
    }

    void actsOnWhatIsSearchedForBeforeTheDelayIsOver()
    {
        show({u"a1"_s, u"a2"_s, u"b1"_s, u"b2"_s});
        search()->setText(u"b"_s);
        QTest::mouseClick(child(u"none"_s), Qt::LeftButton);
        QCOMPARE(shown(), u"-b1 -b2"_s);

        search()->setText(u"a2"_s);
        QTest::keyClick(search(), Qt::Key_Down);
        QTest::keyClick(view(), Qt::Key_Space);
        QCOMPARE(shown(), u"-a2"_s);

        search()->setText(u"2"_s);
        QTest::mouseClick(child(u"invert"_s), Qt::LeftButton);
        QCOMPARE(shown(), u"a2 b2"_s);
        QCOMPARE(excluded(), u"b1"_s);
    }

    void keepsTheCurrentValueWhenTheSearchEnds()
    {
        QStringList texts;
        for (int i = 0; i < 500; ++i)
            texts.append(u"v%1"_s.arg(i, 3, 10, QChar(u'0')));
        show(texts);
        search()->setText(u"321"_s);
        QTRY_COMPARE(shown(), u"v321"_s);

        search()->clear();

        QTRY_COMPARE(model()->rowCount(), 500);
        QCOMPARE(view()->currentIndex().data().toString(), u"v321"_s);
        QVERIFY(view()->viewport()->rect().contains(view()->visualRect(view()->currentIndex())));
    }

    void searchesForWhatWasTypedBeforeTheValuesCame()
    {
        show({u"a"_s, u"b"_s});
        {
            const std::lock_guard<Table> lock(*m_table);
            m_widget->fill(*m_table, {0}, {}, {});
            search()->setText(u"b"_s);
            QTest::keyClick(search(), Qt::Key_Return);
            QVERIFY(!m_widget->isReady());
            QCOMPARE(child<QLabel>(u"numbers"_s)->text(), u"Значения подсчитываются…"_s);
        }

        QTRY_COMPARE(shown(), u"b"_s);
    }

    void showsProgressWhenItLasts()
    {
        show({u"a"_s});
        auto *progress = child<QProgressBar>(u"progress"_s);
        {
            const std::lock_guard<Table> lock(*m_table);
            m_widget->fill(*m_table, {0}, {}, {});
            QVERIFY(progress->isHidden());
            QTRY_VERIFY(progress->isVisible());
        }

        QTRY_VERIFY(m_widget->isReady());
        QVERIFY(progress->isHidden());
    }

    void tellsHowFarItIs()
    {
        show({u"a"_s});
        for (int i = 0; i < 60'000; ++i)
            m_table->append({u"b"_s});
        auto *progress = child<QProgressBar>(u"progress"_s);
        const QSignalSpy told(progress, &QProgressBar::valueChanged);
        const auto slow = std::make_shared<LambdaFilterFunc>([](const Record &) {
            std::this_thread::sleep_for(std::chrono::microseconds(1));
            return false;
        });

        m_widget->fill(*m_table, {0}, {slow}, {});

        QTRY_VERIFY_WITH_TIMEOUT(m_widget->isReady(), 30'000);
        QList<int> values;
        for (const QVariantList &arguments : told)
            values.append(arguments.first().toInt());
        QVERIFY(
            std::any_of(values.begin(), values.end(), [](int value) { return value > 0 && value < 100; }));
        QVERIFY(std::is_sorted(values.begin(), values.end()));
    }

    void canBeCancelled()
    {
        show({u"a"_s});
        std::atomic<int> asked = 0;
        const auto slow = std::make_shared<LambdaFilterFunc>([&asked](const Record &) {
            ++asked;
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
            return false;
        });
        for (int i = 0; i < 19'000; ++i)
            m_table->append({u"b"_s});
        const QSignalSpy ready(m_widget.get(), &ValueListWidget::ready);
        m_widget->fill(*m_table, {0}, {slow}, {});
        QTRY_VERIFY(asked > 0);

        m_widget->cancel();

        const int before = asked;
        QVERIFY2(before < 1000, "does not finish what it has begun");
        QCoreApplication::processEvents();
        QVERIFY(!m_widget->isReady());
        QCOMPARE(ready.size(), 0);
        m_widget.reset();
        QCOMPARE(asked.load(), before);
    }

    void forgetsTheTableWhenCancelled()
    {
        show({u"a"_s, u"b"_s}, {u"b"_s});
        auto func = std::make_shared<LambdaFilterFunc>([](const Record &) { return false; });
        const std::weak_ptr<const FilterFunc> predicate = func;
        m_widget->fill(*m_table, {0}, {std::move(func)}, m_widget->excludedKeys());
        QTRY_COMPARE(shown(), u"a -b"_s);
        QVERIFY(predicate.expired());
        m_widget->showMessage(u"about the table"_s);
        search()->setText(u"b"_s);
        QTRY_COMPARE(shown(), u"-b"_s);

        m_widget->cancel();

        QVERIFY(!m_widget->isReady());
        QVERIFY(m_widget->excludedKeys().isEmpty());
        QCOMPARE(shown(), QString());
        QCOMPARE(child<QLabel>(u"numbers"_s)->text(), QString());
        QVERIFY(child<QLabel>(u"message"_s)->isHidden());
        QVERIFY(!child(u"all"_s)->isEnabled());
        m_table.reset();
        QTest::keyClick(search(), Qt::Key_Down);
        QTest::keyClick(view(), Qt::Key_Space);
        QTest::mouseClick(child(u"invert"_s), Qt::LeftButton);
        m_widget->repaint();
        m_widget.reset();
    }

    void forgetsThePredicatesOfACountThatEnds_data()
    {
        QTest::addColumn<bool>("fails");
        QTest::newRow("well") << false;
        QTest::newRow("with a failure") << true;
    }
    void forgetsThePredicatesOfACountThatEnds()
    {
        QFETCH(bool, fails);
        show({u"a"_s});
        auto func = std::make_shared<LambdaFilterFunc>([fails](const Record &) {
            if (fails)
                throw QString(u"too bad"_s);
            return false;
        });
        const std::weak_ptr<const FilterFunc> predicate = func;

        m_widget->fill(*m_table, {0}, {std::move(func)}, {});

        QTRY_VERIFY(predicate.expired());
        QCOMPARE(m_widget->isReady(), !fails);
    }

    void neverWaitsForTheLockOfTheTable_data()
    {
        QTest::addColumn<QString>("what");
        for (const QString &what : {u"cancel"_s, u"fill"_s, u"type"_s, u"delete"_s})
            QTest::newRow(qPrintable(what)) << what;
    }
    void neverWaitsForTheLockOfTheTable()
    {
        QFETCH(QString, what);
        show({u"a"_s, u"b"_s});
        LockHolder holder(*m_table);
        m_widget->fill(*m_table, {0}, {}, {});
        QTRY_VERIFY(child<QProgressBar>(u"progress"_s)->isVisible());

        if (what == u"cancel") {
            m_widget->cancel();
        } else if (what == u"fill") {
            m_widget->fill(*m_table, {0}, {}, {});
        } else if (what == u"type") {
            QTest::keyClicks(search(), u"b"_s);
            QTest::keyClick(search(), Qt::Key_Return);
            QTest::keyClick(search(), Qt::Key_Down);
        } else {
            m_widget.reset();
        }

        QVERIFY2(holder.release(), "the lock was waited for");
        if (what == u"fill")
            QTRY_COMPARE(shown(), u"a b"_s);
        else if (what == u"type")
            QTRY_COMPARE(shown(), u"b"_s);
    }

    void mayBeFilledAndDeletedByWhoHasTheLock()
    {
        show({u"a"_s});
        const std::lock_guard<Table> lock(*m_table);

        m_widget->fill(*m_table, {0}, {}, {});
        m_widget->fill(*m_table, {0}, {}, {});
        m_widget->cancel();
        m_widget->fill(*m_table, {0}, {}, {});
        m_widget.reset();
    }

    void isNotAcceptedBeforeTheValuesAreThere()
    {
        show({u"a"_s});
        const QSignalSpy accepted(m_widget.get(), &ValueListWidget::accepted);
        const auto pressReturn = [this] {
            QTest::keyClick(search(), Qt::Key_Return);
            QTest::keyClick(view(), Qt::Key_Return);
        };
        {
            const std::lock_guard<Table> lock(*m_table);
            m_widget->fill(*m_table, {0}, {}, {});
            pressReturn();
        }
        QTRY_VERIFY(m_widget->isReady());
        QCOMPARE(accepted.size(), 0);
        m_widget->cancel();
        pressReturn();
        QCOMPARE(accepted.size(), 0);
        m_widget->fill(*m_table, {0}, {}, {});
        QTRY_VERIFY(m_widget->isReady());
        pressReturn();
        QCOMPARE(accepted.size(), 2);
    }

    void tellsWhenASearchFails()
    {
        show({u""_s, u"a"_s, u"b"_s});
        auto *message = child<QLabel>(u"message"_s);
        m_widget->showMessage(u"a notice"_s);
        FailingTranslator translator;
        QVERIFY(QCoreApplication::installTranslator(&translator));

        search()->setText(u"b"_s);

        QTRY_COMPARE(message->text(), u"Поиск не удался: Недостаточно памяти"_s);
        QVERIFY(message->isVisible());
        QCOMPARE(shown(), u"(пусто) a b"_s);
        // What is not in the list is not touched.
        QTest::mouseClick(child(u"none"_s), Qt::LeftButton);
        QCOMPARE(excluded(), QString());
        QVERIFY(QCoreApplication::removeTranslator(&translator));
        QTest::keyClick(search(), Qt::Key_Return);
        QTRY_COMPARE(shown(), u"b"_s);
        QCOMPARE(message->text(), u"a notice"_s);
    }

    void refusesKeysThatAreTooShort()
    {
        show({u"a"_s});
        MemoryTable table(
            u"t"_s, {{.name = u"a"_s, .type = FieldType::Int}, {.name = u"b"_s, .type = FieldType::Int}});
        const Record row = table.append({1, 2});
        const QList<KeyValue> keys = {KeyValue({FieldValue(row.field(0))})};
        const QSignalSpy ready(m_widget.get(), &ValueListWidget::ready);

        announceReport(u"Ключ «1»: число значений (1) не равно числу столбцов (2)"_s);
        m_widget->fill(table, {0, 1}, {}, keys);

        QTRY_COMPARE(ready.size(), 1);
        QVERIFY(!m_widget->isReady());
        QCOMPARE(child<QLabel>(u"message"_s)->text(),
                 u"Значения не подсчитаны: Ключ «1»: число значений (1) не равно числу столбцов (2)"_s);
        QCOMPARE(m_widget->excludedKeys().size(), 1);
        m_widget->cancel();
    }

    void givesAllKeysOneValueAColumn()
    {
        show({u"a"_s});
        MemoryTable table(
            u"t"_s, {{.name = u"d"_s, .type = FieldType::Double}, {.name = u"n"_s, .type = FieldType::Int}});
        const Record one = table.append({1.0, 1});
        const Record none = table.append({std::numeric_limits<double>::quiet_NaN(), 2});
        const auto longKey = [](const Record &row) {
            return KeyValue({FieldValue(row.field(0)), FieldValue(row.field(1))});
        };

        m_widget->fill(table, {0}, {}, {longKey(none), longKey(one)});

        QTRY_VERIFY(m_widget->isReady());
        QCOMPARE(excluded(), u"1 nan"_s);
        for (const KeyValue &key : m_widget->excludedKeys())
            QCOMPARE(key.size(), 1);
        m_widget->cancel();
    }

    void isUsableSoonWithManyValues()
    {
        constexpr int rows = 1'000'000;
        constexpr int values = 100'000;
        show({});
        MemoryTable table(u"t"_s, {{.name = u"s"_s, .type = FieldType::String}});
        for (int i = 0; i < rows; ++i)
            table.append({QString(u"Company "_s + QString::number(i * qint64(7919) % values + values))});
        QElapsedTimer timer;
        const auto elapsed = [&timer](auto work) {
            timer.start();
            work();
            return timer.nsecsElapsed();
        };

        // As a bound the plain way, which takes several times as long: the machine may be busy with anything.
        qint64 plain = 0;
        {
            QMap<QString, int> counts;
            plain = elapsed([&] {
                for (auto row = table.masterIndex()->begin(); row != table.masterIndex()->end(); ++row)
                    ++counts[*reinterpret_cast<const QString *>(table.dataPtr(*row, 0).data)];
            });
            QCOMPARE(counts.size(), values);
        }
        qint64 best = std::numeric_limits<qint64>::max();
        for (int i = 0; i < 3; ++i) {
            best = std::min(best, elapsed([&] {
                                m_widget->fill(table, {0}, {}, {});
                                QTRY_VERIFY_WITH_TIMEOUT(m_widget->isReady(), 60'000);
                                view()->viewport()->repaint();
                            }));
        }

        QCOMPARE(model()->rowCount(), values);
        qInfo("%lld ms, the plain way %lld ms", best / 1'000'000, plain / 1'000'000);
        QVERIFY(best < plain || isSanitized);
        search()->setText(u"100007"_s);
        QTest::keyClick(search(), Qt::Key_Return);
        QTRY_COMPARE(shown(), u"Company 100007"_s);
        m_widget->cancel();
    }

    void givesWayToANewerSearch()
    {
        QStringList texts;
        for (int i = 0; i < 20'000; ++i)
            texts.append(QString::number(i));
        show(texts);

        for (const QString &text : {u"1"_s, u"2"_s, u"19"_s, u""_s, u"5"_s, u"19999"_s}) {
            search()->setText(text);
            QTest::keyClick(search(), Qt::Key_Return);
        }

        QTRY_COMPARE(shown(), u"19999"_s);
        QTest::qWait(0);
        QCOMPARE(shown(), u"19999"_s);
    }

    void speaksToAssistiveTechnology()
    {
        show({u"a"_s, u"b"_s, u"b"_s}, {u"b"_s});
        const auto nameOf = [](QWidget *widget) {
            return QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name);
        };

        QCOMPARE(nameOf(search()), u"Поиск значений"_s);
        QCOMPARE(nameOf(view()), u"Значения"_s);
        QCOMPARE(nameOf(child<QProgressBar>(u"progress"_s)), u"Подсчёт значений"_s);
        QCOMPARE(nameOf(child(u"all"_s)), u"Все"_s);
        QCOMPARE(nameOf(child(u"none"_s)), u"Ничего"_s);
        QCOMPARE(nameOf(child(u"invert"_s)), u"Обратить"_s);
        QAccessibleInterface *list = QAccessible::queryAccessibleInterface(view());
        QCOMPARE(list->childCount(), 2);
        QCOMPARE(list->child(0)->role(), QAccessible::ListItem);
        QCOMPARE(list->child(0)->text(QAccessible::Name), u"a, строк: 1"_s);
        QCOMPARE(list->child(1)->text(QAccessible::Name), u"b, строк: 2"_s);
        QVERIFY(list->child(0)->state().checkable);
        QVERIFY(list->child(0)->state().checked);
        QVERIFY(list->child(1)->state().checkable);
        QVERIFY(!list->child(1)->state().checked);
    }

    void hasMnemonicsThatDoNotClash()
    {
        show({u"a"_s});
        QStringList letters;
        for (const QPushButton *button : m_widget->findChildren<QPushButton *>()) {
            letters.append(button->shortcut().toString());
            QVERIFY(!letters.last().isEmpty());
        }
        letters.removeDuplicates();
        QCOMPARE(letters.size(), 3);

        QTest::sendKeyEvent(QTest::Click, search(), Qt::Key(u'Н'), u"н"_s, Qt::AltModifier);
        QTRY_COMPARE(shown(), u"-a"_s);
    }

    void followsTheLanguage()
    {
        show({u"a"_s});
        m_table->append({u""_s});
        m_widget->fill(*m_table, {0}, {}, {});
        QTRY_COMPARE(shown(), u"(пусто) a"_s);

        Translator translator;
        QVERIFY(QCoreApplication::installTranslator(&translator));
        QCoreApplication::sendPostedEvents();

        QCOMPARE(child(u"all"_s)->text(), u"xx &Все"_s);
        QCOMPARE(search()->placeholderText(), u"xx Поиск"_s);
        QCOMPARE(child<QLabel>(u"numbers"_s)->text(), u"xx Отмечено: 2 из 2"_s);
        QCOMPARE(shown(), u"xx (пусто) a"_s);
        QVERIFY(QCoreApplication::removeTranslator(&translator));
    }

    void saysTheSameInAnotherLanguage_data()
    {
        QTest::addColumn<QString>("what");
        QTest::addColumn<QString>("numbers");
        QTest::addColumn<QString>("message");
        QTest::newRow("new") << u"new"_s << QString() << QString();
        QTest::newRow("counting") << u"counting"_s << u"xx Значения подсчитываются…"_s << QString();
        QTest::newRow("failed") << u"failed"_s << QString() << u"xx Значения не подсчитаны: too bad"_s;
        QTest::newRow("cancelled") << u"cancelled"_s << QString() << QString();
    }
    void saysTheSameInAnotherLanguage()
    {
        QFETCH(QString, what);
        QFETCH(QString, numbers);
        QFETCH(QString, message);
        show({u"a"_s});
        std::unique_lock<Table> lock(*m_table);
        if (what == u"new")
            m_widget = std::make_unique<ValueListWidget>();
        else if (what != u"failed")
            m_widget->fill(*m_table, {0}, {}, {});
        if (what == u"cancelled")
            m_widget->cancel();
        if (what == u"failed") {
            lock.unlock();
            const QSignalSpy ready(m_widget.get(), &ValueListWidget::ready);
            m_widget->fill(*m_table, {0}, {std::make_shared<LambdaFilterFunc>([](const Record &) -> bool {
                throw QString(u"too bad"_s);
            })},
                           {});
            QTRY_COMPARE(ready.size(), 1);
        }

        Translator translator;
        QVERIFY(QCoreApplication::installTranslator(&translator));
        QEvent change(QEvent::LanguageChange);
        QCoreApplication::sendEvent(m_widget.get(), &change);

        QCOMPARE(child<QLabel>(u"numbers"_s)->text(), numbers);
        QCOMPARE(child<QLabel>(u"message"_s)->text(), message);
        QVERIFY(QCoreApplication::removeTranslator(&translator));
        m_widget->cancel();
    }

    void paintsInTheColoursOfThePalette_data()
    {
        QTest::addColumn<QColor>("base");
        QTest::addColumn<QColor>("text");
        QTest::newRow("light") << QColor(Qt::white) << QColor(Qt::black);
        QTest::newRow("dark") << QColor(Qt::black) << QColor(Qt::white);
    }
    void paintsInTheColoursOfThePalette()
    {
        QFETCH(QColor, base);
        QFETCH(QColor, text);
        show({u"MMMMMMMM"_s, u"x"_s});
        QPalette palette = m_widget->palette();
        palette.setColor(QPalette::Base, base);
        palette.setColor(QPalette::Text, text);
        palette.setColor(QPalette::PlaceholderText, QColor(128, 128, 128));
        m_widget->setPalette(palette);

        const QRect row = view()->visualRect(model()->index(0, 0));
        const QImage image = view()->viewport()->grab(row).toImage();

        const auto count = [&image](QRect part, QColor colour) {
            int pixels = 0;
            for (int y = part.top(); y <= part.bottom(); ++y) {
                for (int x = part.left(); x <= part.right(); ++x)
                    pixels += image.pixelColor(x, y) == colour;
            }
            return pixels;
        };
        const QRect left(0, 0, row.width() / 2, row.height());
        const QRect right(row.width() / 2, 0, row.width() - row.width() / 2, row.height());
        QVERIFY(count(left, text) > 0);
        QVERIFY(count(left, base) > count(left, text));
        QCOMPARE(count(right, text), 0);
        QVERIFY(count(right, base) > right.width() * right.height() / 2);
        QVERIFY2(count(right, base) < right.width() * right.height(), "there is a count at the right");
    }
};

QTEST_MAIN(tst_ValueListWidget)
#include "tst_valuelistwidget.moc"
