// SPDX-License-Identifier: MIT
#include "settingsscript.h"

#include <QApplication>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

/// Thousands of steps, each compared with the oracle: the tree, the notifications with the state at their
/// moment, and the store.
class TestSettingsModelRandom : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        // Persistent indexes would warn of the shifts that an empty removal causes; none is kept here.
        QTest::failOnWarning(QRegularExpression(u".*"_s));
    }

    void agreesWithTheRules_data()
    {
        QTest::addColumn<QString>("group");
        QTest::addColumn<quint32>("seed");

        for (quint32 seed = 1; seed <= 12; ++seed) {
            QTest::addRow("top group, seed %u", seed) << QString() << seed;
            QTest::addRow("nested group, seed %u", seed) << u"top/sub"_s << seed + 1000;
        }
        QTest::newRow("group with percent") << u"%1"_s << 2000U;
    }

    void agreesWithTheRules()
    {
        QFETCH(QString, group);
        QFETCH(quint32, seed);
        SettingsScript script(seed, group);
        ModelRecorder recorder(&script.model);
        recorder.snapshot = [&] { return treeText(script.model); };
        script.oracle.notes.clear();

        for (int i = 0; i < 400; ++i) {
            const QString step = script.step();

            const auto where = [&] {
                return (u"seed %1, step %2: %3"_s.arg(seed).arg(i).arg(step)).toUtf8();
            };
            QVERIFY2(!step.contains(u"NOT THE SAME"_s), where().constData());
            const QStringList notes = recorder.take();
            const QStringList expectedNotes = std::exchange(script.oracle.notes, {});
            for (qsizetype n = 0; n < qMin(notes.size(), expectedNotes.size()); ++n) {
                if (notes.at(n) != expectedNotes.at(n))
                    qInfo() << where() << "note" << n;
                QCOMPARE(notes.at(n), expectedNotes.at(n));
            }
            if (notes != expectedNotes || script.storeEntries() != script.plainEntries())
                qInfo() << where();
            QCOMPARE(notes.size(), expectedNotes.size());
            QCOMPARE(SettingsScript::cells(script.model), SettingsOracle::cells(script.oracle.root));
            QCOMPARE(script.storeEntries(), script.plainEntries());
            QCOMPARE(script.currentGroup(), group);
        }
        m_emptyRemovals += script.oracle.emptyRemovals;
        m_insertionsBehindTheEnd += script.oracle.insertionsBehindTheEnd;
        m_keysWithRows += script.oracle.keysWithRows;
    }

    void metTheRarerRules()
    {
        QVERIFY(m_emptyRemovals > 100);
        QVERIFY(m_insertionsBehindTheEnd > 10);
        QVERIFY(m_keysWithRows > 100);
    }

private:
    int m_emptyRemovals = 0;
    int m_insertionsBehindTheEnd = 0;
    int m_keysWithRows = 0;
};

QTEST_MAIN(TestSettingsModelRandom)
#include "tst_settingsmodel_random.moc"
