// SPDX-License-Identifier: MIT
// A list of values over a table that changes, over any database library: the test tells what it changes.
#include <hostkit/parallel/tablelock.h>
#include <hostkit/table/tablemodel.h>
#include <hostkit/values/valuelistfilter.h>
#include <hostkit/values/valuelistwidget.h>
#include <hostkit/views/filteredtableview.h>

#include <support/seed.h>
#include <support/toldtable.h>

#include <data/exception.h>
#include <data/fieldvalue.h>
#include <filterfuncs/lambdafilterfunc.h>

#include <QAbstractItemModelTester>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QRandomGenerator>
#include <QScopeGuard>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>

#include <atomic>
#include <chrono>
#include <limits>
#include <memory>
#include <mutex>
#include <thread>

using namespace sito;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QList<ColumnSpec> columns{{.name = u"code"_s, .type = FieldType::String, .nullable = true},
                                {.name = u"share"_s, .type = FieldType::Double, .nullable = true}};

/// The values of \a list, unchecked ones with a minus in front, with their numbers of rows.
QStringList listed(const ValueListWidget &list)
{
    const QAbstractItemModel *const model = list.findChild<QListView *>()->model();
    QStringList texts;
    for (int row = 0; row < model->rowCount(); ++row) {
        const QModelIndex index = model->index(row, 0);
        const bool isUnchecked = index.data(Qt::CheckStateRole) == QVariant(int(Qt::Unchecked));
        texts.append((isUnchecked ? u"-"_s : QString()) + index.data().toString() + u" "_s +
                     index.data(Qt::UserRole).toString());
    }
    return texts;
}

} // namespace

class tst_ValueListWidget_Follow : public QObject
{
    Q_OBJECT

    std::unique_ptr<ToldTable> m_told;
    std::unique_ptr<ValueListWidget> m_list;
    QList<Record> m_rows;

    QListView *view() const { return m_list->findChild<QListView *>(); }
    QAbstractItemModel *model() const { return view()->model(); }
    QLineEdit *search() const { return m_list->findChild<QLineEdit *>(); }
    QString shown() const { return listed(*m_list).join(u", "_s); }
    QModelIndex indexOf(const QString &text) const
    {
        return model()->match(model()->index(0, 0), Qt::DisplayRole, text, 1, Qt::MatchExactly).value(0);
    }
    void append(const QString &code, const CellValue &share = 0.5)
    {
        m_rows.append(m_told->append({code, share}));
    }
    void removeFirst(const QString &code)
    {
        for (qsizetype i = 0; i < m_rows.size(); ++i) {
            if (m_rows.at(i).field(0).toString() == code) {
                m_told->remove({m_rows.takeAt(i)});
                return;
            }
        }
    }

    /// A shown list of the values of \a listedColumns, which follows a table with these codes.
    void show(const QStringList &codes, const QList<int> &listedColumns = {0},
              const std::vector<std::shared_ptr<const FilterFunc>> &hiddenBy = {})
    {
        m_told = std::make_unique<ToldTable>(u"t"_s, columns);
        for (const QString &code : codes)
            append(code);
        m_list = std::make_unique<ValueListWidget>();
        m_list->fill(m_told->table, listedColumns, hiddenBy, {}, &m_told->changes);
        m_list->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_list.get()));
        QTRY_VERIFY(m_list->isReady());
    }

private Q_SLOTS:
    void cleanup()
    {
        m_list.reset();
        m_rows.clear();
        if (m_told)
            parallel::waitForWaiters(m_told->table);
        m_told.reset();
    }

    void listsWhatComesAndForgetsWhatGoes()
    {
        show({u"b"_s, u"d"_s, u"d"_s});
        const QSignalSpy ready(m_list.get(), &ValueListWidget::ready);
        const QSignalSpy reset(model(), &QAbstractItemModel::modelReset);
        QCOMPARE(shown(), u"b 1, d 2"_s);

        append(u"c"_s);
        QTRY_COMPARE(shown(), u"b 1, c 1, d 2"_s);
        m_told->update(m_rows.at(0), 0, u"a"_s);
        QTRY_COMPARE(shown(), u"a 1, c 1, d 2"_s);
        removeFirst(u"c"_s);
        removeFirst(u"d"_s);
        QTRY_COMPARE(shown(), u"a 1, d 1"_s);
        QCOMPARE(m_list->findChild<QLabel *>(u"numbers"_s)->text(), u"Отмечено: 2 из 2"_s);
        m_told->insert(0, {{u"0"_s, 0.5}});
        QTRY_COMPARE(shown(), u"0 1, a 1, d 1"_s);
        QCOMPARE(ready.size(), 0);
        QCOMPARE(reset.size(), 0);
    }

    void announcesNumbersAlone()
    {
        show({u"a"_s, u"b"_s});
        const QSignalSpy inserted(model(), &QAbstractItemModel::rowsInserted);
        const QSignalSpy removed(model(), &QAbstractItemModel::rowsRemoved);
        const QSignalSpy laidOut(model(), &QAbstractItemModel::layoutChanged);
        const QSignalSpy changed(model(), &QAbstractItemModel::dataChanged);

        append(u"b"_s);

        QTRY_COMPARE(shown(), u"a 1, b 2"_s);
        QCOMPARE(changed.size(), 1);
        QCOMPARE(changed.first().at(0).toModelIndex().row(), 0);
        QCOMPARE(changed.first().at(1).toModelIndex().row(), 1);
        QCOMPARE(inserted.size() + removed.size() + laidOut.size(), 0);
    }

    void keepsWhatIsUnchecked()
    {
        show({u"a"_s, u"b"_s, u"c"_s});
        model()->setData(indexOf(u"b"_s), Qt::Unchecked, Qt::CheckStateRole);

        append(u"ab"_s);
        QTRY_COMPARE(shown(), u"a 1, ab 1, -b 1, c 1"_s);
        removeFirst(u"b"_s);
        QTRY_COMPARE(shown(), u"a 1, ab 1, -b 0, c 1"_s);
        QCOMPARE(m_list->excludedKeys().size(), 1);
        QCOMPARE(m_list->excludedKeys().first().first().toText(), u"b"_s);
        append(u"b"_s);
        QTRY_COMPARE(shown(), u"a 1, ab 1, -b 1, c 1"_s);
    }

    void keepsWhatIsSelectedAndCurrent()
    {
        show({u"a"_s, u"c"_s, u"e"_s, u"g"_s});
        view()->selectionModel()->select(indexOf(u"c"_s), QItemSelectionModel::ClearAndSelect);
        view()->selectionModel()->setCurrentIndex(indexOf(u"e"_s), QItemSelectionModel::NoUpdate);

        append(u"b"_s);
        removeFirst(u"a"_s);
        QTRY_COMPARE(shown(), u"b 1, c 1, e 1, g 1"_s);
        QCOMPARE(view()->selectionModel()->selectedIndexes(), QModelIndexList{indexOf(u"c"_s)});
        QCOMPARE(view()->currentIndex(), indexOf(u"e"_s));

        removeFirst(u"e"_s);
        QTRY_COMPARE(shown(), u"b 1, c 1, g 1"_s);
        QCOMPARE(view()->currentIndex(), indexOf(u"g"_s));
        removeFirst(u"g"_s);
        QTRY_COMPARE(shown(), u"b 1, c 1"_s);
        QCOMPARE(view()->currentIndex(), indexOf(u"c"_s));
    }

    void keepsThePlaceOfWhatIsSeen()
    {
        QStringList codes;
        for (int i = 100; i < 400; ++i)
            codes.append(QString::number(i));
        show(codes);
        view()->scrollTo(indexOf(u"250"_s), QAbstractItemView::PositionAtTop);
        const int place = view()->visualRect(indexOf(u"250"_s)).top();

        for (int i = 0; i < 50; ++i)
            append(QString::number(100 + i) + u"+"_s);
        append(u"300+"_s);
        QTRY_COMPARE(model()->rowCount(), 351);
        QCOMPARE(view()->visualRect(indexOf(u"250"_s)).top(), place);
        for (int i = 0; i < 20; ++i)
            removeFirst(QString::number(180 + i));
        QTRY_COMPARE(model()->rowCount(), 331);
        QCOMPARE(view()->visualRect(indexOf(u"250"_s)).top(), place);
    }

    void keepsTheSearch()
    {
        show({u"Alpha"_s, u"beta"_s});
        search()->setText(u"al"_s);
        QTRY_COMPARE(shown(), u"Alpha 1"_s);

        append(u"gamma"_s);
        append(u"ALPINE"_s);
        QTRY_COMPARE(shown(), u"ALPINE 1, Alpha 1"_s);
        QCOMPARE(m_list->findChild<QLabel *>(u"numbers"_s)->text(), u"Найдено: 2. Отмечено: 4 из 4"_s);
        search()->clear();
        QTRY_COMPARE(shown(), u"ALPINE 1, Alpha 1, beta 1, gamma 1"_s);
    }

    void losesNothingThatIsDoneMeanwhile()
    {
        QSemaphore asked;
        QSemaphore mayAnswer;
        std::atomic<bool> isHeld = false;
        // Asked as long as there is the list.
        const auto end = qScopeGuard([&] {
            mayAnswer.release();
            m_list.reset();
        });
        const auto holding = std::make_shared<LambdaFilterFunc>([&](const Record &row) {
            if (isHeld && row.field(0).toString() == u"c"_s) {
                isHeld = false;
                asked.release();
                mayAnswer.acquire();
            }
            return false;
        });
        show({u"a"_s, u"b"_s, u"c"_s}, {0}, {holding});

        isHeld = true;
        append(u"d"_s);
        QVERIFY(QTest::qWaitFor([&] { return asked.tryAcquire(); }));
        model()->setData(indexOf(u"a"_s), Qt::Unchecked, Qt::CheckStateRole);
        search()->setText(u"c"_s);
        QTRY_COMPARE(shown(), u"c 1"_s);
        mayAnswer.release();
        search()->clear();

        QTRY_COMPARE(shown(), u"-a 1, b 1, c 1, d 1"_s);
    }

    void leavesTheLockToWriters()
    {
        constexpr int rowCount = 20'000;
        std::atomic<int> asked = 0;
        // Asked as long as there is the list.
        const auto end = qScopeGuard([this] { m_list.reset(); });
        const auto slow = std::make_shared<LambdaFilterFunc>([&](const Record &) {
            if (++asked % 50 == 0)
                std::this_thread::sleep_for(20us);
            return false;
        });
        QStringList codes;
        for (int i = 0; i < rowCount; ++i)
            codes.append(QString::number(i % 7));
        show(codes, {0}, {slow});
        asked = 0;
        append(u"new"_s);

        std::atomic<bool> isOver = false;
        int lockedMeanwhile = 0;
        std::thread writer([&] {
            while (!isOver) {
                {
                    const std::lock_guard lock(m_told->table);
                    lockedMeanwhile += asked > 0 && asked <= rowCount / 2 ? 1 : 0;
                }
                std::this_thread::sleep_for(20us);
            }
        });
        const bool isListed = QTest::qWaitFor([&] { return model()->rowCount() == 8; }, 60'000);
        isOver = true;
        writer.join();

        QVERIFY(isListed);
        QVERIFY(lockedMeanwhile > 0);
    }

    void saysWhenItCannotCountAgain()
    {
        std::atomic<bool> isFailing = false;
        // Asked as long as there is the list.
        const auto end = qScopeGuard([this] { m_list.reset(); });
        const auto failing = std::make_shared<LambdaFilterFunc>([&](const Record &) -> bool {
            if (isFailing)
                throw Exception(u"no answer"_s);
            return false;
        });
        show({u"a"_s}, {0}, {failing});
        auto *const message = m_list->findChild<QLabel *>(u"message"_s);

        isFailing = true;
        append(u"b"_s);
        QTRY_COMPARE(message->text(), u"Список не обновлён: no answer"_s);
        QVERIFY(m_list->isReady());
        QCOMPARE(shown(), u"a 1"_s);

        isFailing = false;
        append(u"c"_s);
        QTRY_COMPARE(shown(), u"a 1, b 1, c 1"_s);
        QVERIFY(message->isHidden());
    }

    void followsNoLongerThanItIsFilled()
    {
        show({u"a"_s});
        QVERIFY(m_told->changes.isHeard());
        m_list->cancel();
        QVERIFY(!m_told->changes.isHeard());
        m_list->fill(m_told->table, {0}, {}, {}, &m_told->changes);
        QVERIFY(m_told->changes.isHeard());
        m_list->fill(m_told->table, {0}, {}, {});
        QVERIFY(!m_told->changes.isHeard());
        append(u"b"_s);
        m_list->fill(m_told->table, {0}, {}, {}, &m_told->changes);
        m_list.reset();
        QVERIFY(!m_told->changes.isHeard());
    }

    void isFollowedByTheListsOfAView()
    {
        m_told = std::make_unique<ToldTable>(u"t"_s, columns);
        append(u"a"_s);
        FilteredTableView view(m_told->table, {0, 1});
        const auto listOf = [&](ValueListFilter &filter) {
            m_list.reset(qobject_cast<ValueListWidget *>(filter.createFilterWidget(nullptr)));
            filter.init(m_list.get());
            return m_told->changes.isHeard();
        };
        ValueListFilter *const early = view.valueFilter({0});
        QVERIFY(!listOf(*early));

        view.follow(&m_told->changes);
        QCOMPARE(view.tableModel()->followed(), &m_told->changes);
        view.tableModel()->follow(nullptr);
        QVERIFY(listOf(*early));
        view.follow(&m_told->changes);
        ValueListFilter *const late = view.valueFilter({1});
        view.tableModel()->follow(nullptr);
        QVERIFY(listOf(*late));
        QTRY_VERIFY(m_list->isReady());
        append(u"b"_s, 1.5);
        QTRY_COMPARE(shown(), u"0.5 1, 1.5 1"_s);
        view.follow(nullptr);
        QVERIFY(!listOf(*late));
    }

    void listsWhatAFreshListDoes()
    {
        const quint64 seed = testSeed();
        QRandomGenerator random(quint32(seed ^ seed >> 32));
        show({}, {0, 1});
        const QAbstractItemModelTester tester(model(), QAbstractItemModelTester::FailureReportingMode::Fatal);
        const auto below = [&](int limit) { return int(random.bounded(limit)); };
        const auto code = [&] { return CellValue(QString(QChar(u'a' + below(12)))); };
        const auto share = [&] {
            const int number = below(8);
            return number == 0   ? CellValue()
                   : number == 1 ? CellValue(std::numeric_limits<double>::quiet_NaN())
                                 : CellValue(number - 4.5);
        };

        for (int step = 0; step < 12; ++step) {
            for (int change = below(20); change >= 0; --change) {
                const int kind = m_rows.isEmpty() ? 0 : below(5);
                if (kind < 3)
                    m_rows.append(m_told->append({code(), share()}));
                else if (kind == 3 && below(2) == 0)
                    m_told->update(m_rows.at(below(int(m_rows.size()))), 0, code());
                else if (kind == 3)
                    m_told->update(m_rows.at(below(int(m_rows.size()))), 1, share());
                else
                    m_told->remove({m_rows.takeAt(below(int(m_rows.size())))});
            }
            if (model()->rowCount() > 0 && below(2) == 0) {
                const QModelIndex index = model()->index(below(model()->rowCount()), 0);
                model()->setData(index, below(2) == 0 ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
            }
            if (below(4) == 0)
                search()->setText(below(2) == 0 ? QString() : QString(QChar(u'a' + below(12))));
            // What is expected depends on what is unchecked: it is asked each time.
            const auto isRight = [&] {
                ValueListWidget fresh;
                fresh.fill(m_told->table, {0, 1}, {}, m_list->excludedKeys());
                const bool isCounted = QTest::qWaitFor([&] { return fresh.isReady(); });
                QStringList expected = listed(fresh);
                expected.removeIf([&](const QString &text) {
                    const QString value =
                        text.left(text.lastIndexOf(u' ')).mid(text.startsWith(u'-') ? 1 : 0);
                    return !value.contains(search()->text(), Qt::CaseInsensitive);
                });
                return isCounted && listed(*m_list) == expected;
            };
            QVERIFY2(QTest::qWaitFor(isRight, 20'000), seedMessage(seed, u"step %1"_s.arg(step)).constData());
        }
    }
};

QTEST_MAIN(tst_ValueListWidget_Follow)
#include "tst_valuelistwidget_follow.moc"
