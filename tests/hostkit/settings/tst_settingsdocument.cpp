// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingsdocument.h>
#include <hostkit/settings/settingsvalue.h>

#include <settings/settingsmodel.h>
#include <support/settingsfixtures.h>

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

QByteArray contentOf(const QString &name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void write(const QString &name, const QByteArray &content)
{
    QFile file(name);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write");
}

QStringList copies(const QString &file)
{
    const QFileInfo info(file);
    return info.dir().entryList({info.fileName() + u".bak-*"_s}, QDir::Files);
}

} // namespace

class tst_SettingsDocument : public QObject
{
    Q_OBJECT

private:
    SettingsFiles m_files;

    QString open(SettingsDocument &document, const QByteArray &content, bool manual)
    {
        auto store = m_files.parsed(content);
        const QString name = store->fileName();
        document.open(std::move(store));
        document.setManual(manual);
        return name;
    }
    static bool edit(SettingsDocument &document, const QString &path, const QVariant &value)
    {
        return document.model()->setData(find(*document.model(), path.split(u'/'), 2), value);
    }
    static bool remove(SettingsDocument &document, const QString &path)
    {
        const QModelIndex index = find(*document.model(), path.split(u'/'));
        return document.model()->removeRow(index.row(), index.parent());
    }

    /// "path=value", behind "gone " when another program removed the entry, "-path" for removals.
    static QStringList pending(const SettingsDocument &document)
    {
        QStringList texts;
        for (const SettingsChange &change : document.changes().changes())
            texts += change.removal ? u'-' + change.path
                                    : (change.gone ? u"gone "_s : QString()) + change.path + u'=' +
                                          change.newValue.toString();
        return texts;
    }

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void writesOnlyTheLinesOfChanges_data()
    {
        QTest::addColumn<bool>("manual");
        QTest::newRow("by command") << true;
        QTest::newRow("at once") << false;
    }
    void writesOnlyTheLinesOfChanges()
    {
        QFETCH(bool, manual);
        const QByteArray content = "# why\r\n[g]\r\n a = 1 ; one\r\nb=2\r\n";
        SettingsDocument document;
        const QString file = open(document, content, manual);
        QSignalSpy wrote(&document, &SettingsDocument::wrote);
        QCOMPARE(document.isManual(), manual);
        QCOMPARE(document.unreadableText(), u"Строки, которые не прочитать: 1"_s);

        QVERIFY(edit(document, u"g/a"_s, u"5"_s));
        QVERIFY(remove(document, u"g/b"_s));

        QCOMPARE(wrote.size(), manual ? 0 : 2);
        if (manual) {
            QCOMPARE(contentOf(file), content);
            QVERIFY(document.submit().written);
        }
        QCOMPARE(contentOf(file), QByteArray("# why\r\n[g]\r\n a = 5 ; one\r\n"));
        QVERIFY(document.changes().isEmpty());
        QCOMPARE(treeText(*document.model()), u"g{a=5}"_s);
        QCOMPARE(copies(file).size(), 1);
        QCOMPARE(contentOf(QFileInfo(file).dir().filePath(copies(file).constFirst())), content);
    }

    void refusesToReplaceWhatOthersWroteUnseen_data() { writesOnlyTheLinesOfChanges_data(); }
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

    void writesALostFileAnew()
    {
        const QByteArray content = "; c\na=1\nb=2\n# d\n";
        SettingsDocument document;
        const QString file = open(document, content, true);
        edit(document, u"a"_s, u"5"_s);
        QVERIFY(QFile::remove(file));

        QVERIFY(document.isGone());
        QVERIFY(!document.revert());
        QVERIFY(!document.reload());
        QVERIFY(document.submit().written);

        QCOMPARE(contentOf(file), QByteArray("; c\na=5\nb=2\n# d\n"));
        QVERIFY(!document.isGone());
    }

    void keepsTypesThatTheStoreKnows_data()
    {
        QTest::addColumn<QByteArray>("comment");
        QTest::addColumn<bool>("keeps");
        QTest::newRow("as QSettings wrote it") << QByteArray() << true;
        // The store would lose it by writing.
        QTest::newRow("with a comment") << QByteArray("; c\n") << false;
    }
    void keepsTypesThatTheStoreKnows()
    {
        QFETCH(QByteArray, comment);
        QFETCH(bool, keeps);
        const QString name = m_files.newFile();
        QSettings other(name, QSettings::IniFormat);
        other.setValue(u"a"_s, 1);
        other.setValue(u"b"_s, 2);
        other.setValue(u"g/c"_s, true);
        other.sync();
        SettingsDocument document;
        document.open(std::make_unique<QSettings>(name, QSettings::IniFormat));
        if (!comment.isEmpty())
            write(name, comment + contentOf(name));

        edit(document, u"a"_s, 5);
        QVERIFY(document.submit().written);

        QCOMPARE(contentOf(name), comment + "[General]\na=5\nb=2\n\n[g]\nc=true\n");
        QVERIFY(isSameSettingsValue(other.value(u"a"_s), keeps ? QVariant(5) : QVariant(u"5"_s)));
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

QTEST_MAIN(tst_SettingsDocument)
#include "tst_settingsdocument.moc"
