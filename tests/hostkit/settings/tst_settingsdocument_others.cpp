// SPDX-License-Identifier: MIT
//
// What a document does about writes of other programs.
#include <QSignalSpy>
#include <QTest>

#include "settingsdocumenttest.h"

using namespace sito;
using namespace Qt::StringLiterals;

class tst_SettingsDocumentOthers : public SettingsDocumentTest
{
    Q_OBJECT
private Q_SLOTS:
    void refusesToReplaceWhatOthersWroteUnseen_data() { addManners(); }
    void refusesToReplaceWhatOthersWroteUnseen()
    {
        QFETCH(bool, manual);
        SettingsDocument document;
        const QString file = open(document, "a=1\nb=2\n", manual);
        SettingsDocument::Outcome outcome;
        connect(&document, &SettingsDocument::wrote, this,
                [&](const SettingsDocument::Outcome &made) { outcome = made; });
        const auto edited = [&] {
            const bool made = edit(document, u"a"_s, u"mine"_s);
            if (manual)
                outcome = document.submit();
            return made;
        };
        write(file, "a=theirs\nb=2\n");

        QCOMPARE(edited(), manual);

        QVERIFY(outcome.refused && outcome.conflict && outcome.outdated && !outcome.written);
        QVERIFY2(outcome.message.startsWith(u"Ничего не записано: "_s), qPrintable(outcome.message));
        QCOMPARE(contentOf(file), QByteArray("a=theirs\nb=2\n"));
        QVERIFY(document.reload(SettingsChanges::Grown::Keep));
        QVERIFY(edited());
        QVERIFY(outcome.written);
        QCOMPARE(contentOf(file), QByteArray("a=mine\nb=2\n"));
    }

    void keepsEditsOfWhatOthersRemoved_data()
    {
        QTest::addColumn<bool>("refreshes");
        QTest::newRow("found by a refresh") << true;
        QTest::newRow("found by a write") << false;
    }
    void keepsEditsOfWhatOthersRemoved()
    {
        QFETCH(bool, refreshes);
        SettingsDocument document;
        const QString file = open(document, "a=1\nb=2\n[g]\nk=3\n", true);
        edit(document, u"a"_s, u"mine"_s);
        edit(document, u"b"_s, u"5"_s);
        edit(document, u"g/k"_s, u"mine"_s);
        write(file, "b=2\n");

        if (!refreshes) {
            const SettingsDocument::Outcome outcome = document.submit();
            QVERIFY(outcome.refused && outcome.conflict && outcome.outdated);
            QCOMPARE(outcome.message,
                     u"Ничего не записано: изменено здесь, а другой программой удалено: g/k, a"_s);
            QCOMPARE(contentOf(file), QByteArray("b=2\n"));
        }
        QVERIFY(document.reload(SettingsChanges::Grown::Keep));

        QCOMPARE(document.changes().goneEntries(), (QStringList{u"g/k"_s, u"a"_s}));
        QCOMPARE(document.pendingText(), u"Другая программа удалила записи, правки которых ждут: g/k, a. "
                                         "«Записать» создаст их снова, «Отменить это» оставит удалёнными"_s);
        QCOMPARE(pending(document), (QStringList{u"b=5"_s, u"gone g/k=mine"_s, u"gone a=mine"_s}));
        QCOMPARE(treeText(*document.model()), u"b=5"_s);
        // They are known to be gone: once is enough.
        write(file, "b=2\nc=4\n");
        QVERIFY(document.reload());
        QCOMPARE(document.pendingText(), QString());
        write(file, "b=2\nc=5\n");
        QVERIFY(document.submit().written);
        QCOMPARE(contentOf(file), QByteArray("b=5\nc=5\na=mine\n\n[g]\nk=mine\n"));
        QVERIFY(document.changes().isEmpty());
        document.reload();
        QCOMPARE(treeText(*document.model()), u"g{k=mine} a=mine b=5 c=5"_s);
    }

    void letsGoOfEditsOfWhatOthersRemoved()
    {
        SettingsDocument document;
        const QString file = open(document, "a=1\nb=2\nc=3\n", true);
        edit(document, u"a"_s, u"mine"_s);
        edit(document, u"b"_s, u"mine"_s);
        const QByteArray others = "c=3\n";
        write(file, others);
        QVERIFY(document.reload());
        QCOMPARE(pending(document), (QStringList{u"gone a=mine"_s, u"gone b=mine"_s}));

        QVERIFY(document.changes().dismiss(0));
        QCOMPARE(pending(document), QStringList{u"gone b=mine"_s});
        QVERIFY(document.revert());

        QVERIFY(document.changes().isEmpty());
        QVERIFY(document.submit().written);
        QCOMPARE(contentOf(file), others);
    }

    void editsAgainWhatIsBack()
    {
        SettingsDocument document;
        const QString file = open(document, "a=1\nb=2\n", true);
        edit(document, u"a"_s, u"mine"_s);
        write(file, "b=2\n");
        QVERIFY(document.reload());
        write(file, "a=theirs\nb=2\n");

        // It was not seen yet.
        QVERIFY(document.submit().conflict);
        QVERIFY(document.reload());

        QCOMPARE(pending(document), QStringList{u"a=mine"_s});
        QVERIFY(document.changes().isEdited(u"a"_s));
        QCOMPARE(treeText(*document.model()), u"a=mine b=2"_s);
        QVERIFY(document.submit().written);
        QCOMPARE(contentOf(file), QByteArray("a=mine\nb=2\n"));
    }

    void keepsEditsOfWhatIsGoneWhileTheFileIsAway()
    {
        SettingsDocument document;
        const QString file = open(document, "a=1\nb=2\n", true);
        edit(document, u"a"_s, u"mine"_s);
        write(file, "b=2\n");
        QVERIFY(document.reload());
        QVERIFY(QFile::remove(file));

        QVERIFY(!document.reload());
        QVERIFY(!document.revert());
        QCOMPARE(pending(document), QStringList{u"gone a=mine"_s});
        QVERIFY(document.submit().written);

        QCOMPARE(contentOf(file), QByteArray("b=2\na=mine\n"));
    }

    void createsNoEntryWhereAnotherHasItsName_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QByteArray>("others");
        QTest::newRow("a group") << u"a"_s << QByteArray("b=2\n[a]\nk=1\n");
        QTest::newRow("a key above") << u"g/k"_s << QByteArray("a=1\nb=2\ng=3\n");
    }
    void createsNoEntryWhereAnotherHasItsName()
    {
        QFETCH(QString, path);
        QFETCH(QByteArray, others);
        SettingsDocument document;
        const QString file = open(document, "a=1\nb=2\n[g]\nk=3\n", true);
        edit(document, path, u"mine"_s);
        write(file, others);
        QVERIFY(document.reload());
        QCOMPARE(pending(document), QStringList{u"gone "_s + path + u"=mine"_s});

        const SettingsDocument::Outcome outcome = document.submit();

        QVERIFY(outcome.refused && !outcome.conflict);
        QCOMPARE(outcome.message,
                 u"Ничего не записано: запись «%1» не создать снова, её имя в файле теперь у "
                 "группы или ключа"_s.arg(path));
        QCOMPARE(contentOf(file), others);
        QCOMPARE(pending(document), QStringList{u"gone "_s + path + u"=mine"_s});
    }

    void copiesAgainWhatAnotherProgramWrote()
    {
        const QByteArray content = "a=1\nb=2\n";
        SettingsDocument document;
        const QString file = open(document, content, true);
        QVERIFY(editAndWrite(document, u"a"_s, u"7"_s).written);
        QCOMPARE(copiedContents(file), QList<QByteArray>{content});
        const QByteArray others = "a=7\nb=2\nc=4\n";
        write(file, others);

        QVERIFY(editAndWrite(document, u"a"_s, u"8"_s).written);
        QVERIFY(editAndWrite(document, u"a"_s, u"9"_s).written);

        QCOMPARE(contentOf(file), QByteArray("a=9\nb=2\nc=4\n"));
        QCOMPARE(copiedContents(file), (QList<QByteArray>{content, others}));
    }

    void writesNothingWhereNamesBecameAmbiguous()
    {
        SettingsDocument document;
        const QString file = open(document, "a=1\nx=2\n", true);
        const QByteArray others = "a=1\nx=2\n[x]\ny=3\n";
        write(file, others);

        const SettingsDocument::Outcome outcome = editAndWrite(document, u"a"_s, u"7"_s);

        QCOMPARE(
            outcome.message,
            u"Ничего не записано: файл изменён другой программой, и в нём теперь есть записи без имени или "
            "имена, которые сразу и группа, и ключ"_s);
        QCOMPARE(contentOf(file), others);
        QCOMPARE(pending(document), QStringList{u"a=7"_s});
    }

    void seesNoConflictWithARemovalOfItsOwn()
    {
        SettingsDocument document;
        const QString file = open(document, "a=1\n[g]\nk=x\nl=y\n", false);
        QVERIFY(remove(document, u"g/k"_s));
        QCoreApplication::processEvents();
        SettingsDocument::Outcome outcome;
        connect(&document, &SettingsDocument::wrote, this,
                [&](const SettingsDocument::Outcome &made) { outcome = made; });

        write(file, "a=9\n[g]\nl=y\n");
        QVERIFY(remove(document, u"g"_s));

        QVERIFY(outcome.written && outcome.outdated && !outcome.conflict);
        QCOMPARE(outcome.message, u"Файл был изменён другой программой. Показано то, что в нём теперь"_s);
        QCOMPARE(contentOf(file), QByteArray("a=9\n"));
    }

    void removesNothingAtOnceThatOthersAddedTo()
    {
        SettingsDocument document;
        const QString file = open(document, "a=1\n[g]\nk=x\n", false);
        SettingsDocument::Outcome outcome;
        connect(&document, &SettingsDocument::wrote, this,
                [&](const SettingsDocument::Outcome &made) { outcome = made; });
        const QByteArray others = "a=1\n[g]\nk=x\nl=theirs\n";
        write(file, others);

        QVERIFY(!remove(document, u"g"_s));

        QVERIFY(outcome.refused && outcome.conflict);
        QCOMPARE(contentOf(file), others);
        QCOMPARE(treeText(*document.model()), u"g{k=x} a=1"_s);
        QVERIFY(document.reload());
        QVERIFY(remove(document, u"g"_s));
        QCOMPARE(contentOf(file), QByteArray("a=1\n"));
    }

    void becomesAnotherModelWhereNamesAreAmbiguous()
    {
        SettingsDocument document;
        const QString file = open(document, "a=1\nb=2\n", true);
        QSignalSpy replaced(&document, &SettingsDocument::modelReplaced);
        const SettingsModel *before = document.model();

        write(file, "a=1\nb=2\n[b]\nc=3\n");
        QVERIFY(document.becameAmbiguous());
        QVERIFY(!document.keepsRow(u"a"_s));
        document.reload();

        QCOMPARE(replaced.size(), 1);
        QVERIFY(document.model() != before);
        QVERIFY(document.isAmbiguous());
        QVERIFY(!document.isManual()); // a submit would lose some
        write(file, "a=1\nb=2\n");
        document.reload();
        QVERIFY(document.isManual());
    }

    void tellsWhenOthersWrite()
    {
        SettingsDocument document;
        const QString file = open(document, "a=1\n", true);
        QSignalSpy changed(&document, &SettingsDocument::fileChanged);
        edit(document, u"a"_s, u"5"_s);
        document.submit();
        QTest::qWait(400);
        QCOMPARE(changed.size(), 0); // by itself

        write(file, "a=theirs\n");

        QTRY_COMPARE(changed.size(), 1);
        QVERIFY(document.isOutdated());
        document.reload();
        QVERIFY(!document.isOutdated());
        QCOMPARE(treeText(*document.model()), u"a=theirs"_s);
    }
};

QTEST_MAIN(tst_SettingsDocumentOthers)
#include "tst_settingsdocument_others.moc"
