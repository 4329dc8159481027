// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingsdocument.h>
#include <hostkit/settings/settingsvalue.h>

#include <settings/settingsmodel.h>
#include <support/settingsfixtures.h>

#include <QDir>
#include <QFileInfo>
#include <QLockFile>
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

QList<QByteArray> copiedContents(const QString &file)
{
    QList<QByteArray> contents;
    for (const QString &copy : copies(file))
        contents += contentOf(QFileInfo(file).dir().filePath(copy));
    return contents;
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
    static void openFile(SettingsDocument &document, const QString &name, bool manual)
    {
        document.open(std::make_unique<QSettings>(name, QSettings::IniFormat));
        document.setManual(manual);
    }
    static bool edit(SettingsDocument &document, const QString &path, const QVariant &value)
    {
        return document.model()->setData(find(*document.model(), path.split(u'/'), 2), value);
    }
    /// Edits \a path, and writes it also when changes wait; what came of that.
    static SettingsDocument::Outcome editAndWrite(SettingsDocument &document, const QString &path,
                                                  const QVariant &value)
    {
        SettingsDocument::Outcome outcome;
        const auto wrote = connect(&document, &SettingsDocument::wrote, &document,
                                   [&outcome](const SettingsDocument::Outcome &made) { outcome = made; });
        edit(document, path, value);
        disconnect(wrote);
        return document.isManual() ? document.submit() : outcome;
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
    // Qt complains of types that it does not know.
    void init() { QTest::failOnWarning(QRegularExpression(u"^(?!QVariant::load: unknown user type)"_s)); }

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

    void writesNothingWithoutACopy_data() { writesOnlyTheLinesOfChanges_data(); }
    void writesNothingWithoutACopy()
    {
        QFETCH(bool, manual);
        // No room in the name for the end that the copy gets.
        const QTemporaryDir directory;
        const QString file = directory.filePath(QString(245, u'n') + u".ini"_s);
        const QByteArray content = "a=1\n";
        write(file, content);
        SettingsDocument document;
        openFile(document, file, manual);

        const SettingsDocument::Outcome outcome = editAndWrite(document, u"a"_s, u"7"_s);

        QVERIFY(outcome.refused && !outcome.written);
        QVERIFY2(outcome.message.startsWith(u"Ничего не записано: не удалось сохранить копию «"_s),
                 qPrintable(outcome.message));
        QCOMPARE(contentOf(file), content);
        QCOMPARE(pending(document), manual ? QStringList{u"a=7"_s} : QStringList());
        QCOMPARE(treeText(*document.model()), manual ? u"a=7"_s : u"a=1"_s);
    }

    void writesNothingWhereItMustNot_data()
    {
        QTest::addColumn<QString>("obstacle");
        QTest::addColumn<QString>("message");
        QTest::addColumn<bool>("manual");
        for (const bool manual : {true, false}) {
            const auto row = [&](const char *name, const QString &message) {
                QTest::addRow("%s, %s", name, manual ? "on command" : "at once")
                    << QString::fromLatin1(name) << u"Ничего не записано: "_s + message << manual;
            };
            row("no INI", u"«%1» - не файл INI"_s);
            row("directory", u"«%1» - каталог, а не файл настроек"_s);
            if (manual)
                row("dangling link", u"не удалось записать «%1»: "_s);
            row("marked", u"файл «%1» доступен только для чтения"_s);
            row("locked", u"файл «%1» занят другой программой"_s);
            row("closed directory", u"не удалось записать «%1»: "_s);
        }
        for (const char *gone : {"gone", "dangling link"}) {
            QTest::addRow("%s, at once", gone)
                << QString::fromLatin1(gone)
                << u"Ничего не записано. Файла «%1» больше нет. Показано то, что в нём было. "
                   "Чтобы создать его заново, перейдите к записи по команде"_s
                << false;
        }
    }
    void writesNothingWhereItMustNot()
    {
        QFETCH(QString, obstacle);
        QFETCH(QString, message);
        QFETCH(bool, manual);
        const QByteArray content = "a=1\nb=2\n";
        const QTemporaryDir directory;
        const QString place = directory.filePath(u"place"_s);
        const QString file = place + u"/store.ini"_s;
        QVERIFY(QDir().mkdir(place));
        write(file, content);
        SettingsDocument document;
        openFile(document, file, manual);
        QByteArray left = content;
        if (obstacle == u"closed directory"_s) {
            // No copy is wanted a second time.
            QVERIFY(editAndWrite(document, u"a"_s, u"0"_s).written);
            QVERIFY(editAndWrite(document, u"a"_s, u"1"_s).written);
            QCOMPARE(contentOf(file), left);
        }
        QLockFile lock(file + u".lock"_s);
        if (obstacle == u"no INI"_s) {
            left = "just\nwords\n";
            write(file, left);
        } else if (obstacle == u"marked"_s) {
            QVERIFY(QFile::setPermissions(file, QFile::ReadOwner));
        } else if (obstacle == u"locked"_s) {
            QVERIFY(lock.lock());
        } else if (obstacle == u"closed directory"_s) {
            QVERIFY(QFile::setPermissions(place, QFile::ReadOwner | QFile::ExeOwner));
            if (QFileInfo(place).isWritable())
                QSKIP("the administrator may write everywhere");
        } else {
            left.clear();
            QVERIFY(QFile::remove(file));
            if (obstacle == u"directory"_s)
                QVERIFY(QDir().mkdir(file));
            else if (obstacle == u"dangling link"_s)
                QVERIFY(QFile::link(place + u"/none/store.ini"_s, file));
        }

        const SettingsDocument::Outcome outcome = editAndWrite(document, u"a"_s, u"7"_s);

        QVERIFY(outcome.refused && !outcome.written);
        QVERIFY2(outcome.message.startsWith(message.arg(file)), qPrintable(outcome.message));
        QCOMPARE(contentOf(file), left);
        QCOMPARE(pending(document), manual ? QStringList{u"a=7"_s} : QStringList());
        QCOMPARE(treeText(*document.model()), manual ? u"a=7 b=2"_s : u"a=1 b=2"_s);
        QVERIFY(!QFileInfo::exists(place + u"/none"_s));

        // And later.
        lock.unlock();
        QVERIFY(QFile::setPermissions(place, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        if (QFileInfo(file).isDir())
            QVERIFY(QDir().rmdir(file));
        else if (QFileInfo(file).isSymLink())
            QVERIFY(QFile::remove(file));
        else if (QFileInfo::exists(file))
            QVERIFY(QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner));
        if (contentOf(file) != left || obstacle != u"closed directory"_s)
            write(file, content);
        const SettingsDocument::Outcome later =
            manual ? document.submit() : editAndWrite(document, u"a"_s, u"7"_s);
        QVERIFY2(later.written, qPrintable(later.message));
        QCOMPARE(later.message, QString());
        QCOMPARE(contentOf(file), QByteArray("a=7\nb=2\n"));
        QCOMPARE(pending(document), QStringList());
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

    void keepsTextsOfValuesThatCannotBeRead_data()
    {
        QTest::addColumn<QByteArray>("value");
        // Of a type that this program has not.
        const QByteArray foreign = "Variant(\\0\\0\\0\\x7f\\0\\0\\0\\tForeign?\\0\\0\\x31 \\xe9\\n)";
        QTest::newRow("alone") << "@" + foreign;
        QTest::newRow("quoted") << "\"@" + QByteArray(foreign).replace('?', ',') + '"';
        QTest::newRow("item of a list") << "one, @" + foreign + ", @Invalid(), two";
        QTest::newRow("none") << QByteArray("@Invalid()");
        QTest::newRow("escaped") << "\\x40" + foreign;
    }
    void keepsTextsOfValuesThatCannotBeRead()
    {
        QFETCH(QByteArray, value);
        const QByteArray content = "a=1\nx=" + value + "\n";
        for (const bool manual : {true, false}) {
            SettingsDocument document;
            const QString file = open(document, content, manual);
            // As texts.
            const auto textsIn = [&] {
                QByteArray texts = contentOf(file);
                texts.replace("@", "@@").replace("\\x40", "@@").replace("\\x28", "(").replace("\\x29", ")");
                return m_files.parsed(texts)->value(u"x"_s);
            };
            const QVariant before = textsIn();
            QVERIFY(before.isValid());

            const SettingsDocument::Outcome outcome = editAndWrite(document, u"a"_s, u"7"_s);

            QVERIFY(outcome.written);
            QCOMPARE(outcome.message, QString());
            QCOMPARE(contentOf(file), "a=7" + content.mid(content.indexOf('\n')));
            QCOMPARE(pending(document), QStringList());
            QCOMPARE(textsIn(), before);
        }
    }

    void keepsWhatQSettingsDoesNotRead()
    {
        const QByteArray rest = "; remark\nlist=A;B;C\nname=caf\xe9\n#b=2\nm=@Variant(\\0\\0\\x4\\0)\n";
        SettingsDocument document;
        const QString file = open(document, "a=1\n" + rest, true);
        QVERIFY(editAndWrite(document, u"a"_s, u"7"_s).written);
        QCOMPARE(contentOf(file), "a=7\n" + rest);

        QVERIFY(QFile::remove(file));
        QVERIFY(editAndWrite(document, u"a"_s, u"8"_s).written);

        QCOMPARE(contentOf(file), "a=8\n" + rest);
    }

    void tellsWhatListsAnIniFileDoesNotHold_data()
    {
        QTest::addColumn<QStringList>("list");
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("one item") << QStringList{u"b"_s} << QByteArray("l=b\n");
        QTest::newRow("none") << QStringList() << QByteArray("l=@Invalid()\n");
        QTest::newRow("two") << QStringList{u"b"_s, u"c"_s} << QByteArray("l=b, c\n");
    }
    void tellsWhatListsAnIniFileDoesNotHold()
    {
        QFETCH(QStringList, list);
        QFETCH(QByteArray, text);
        SettingsDocument document;
        const QString file = open(document, "[General]\nl=a, b\n", true);

        const SettingsDocument::Outcome outcome = editAndWrite(document, u"l"_s, list);

        QVERIFY(outcome.written);
        QCOMPARE(contentOf(file), QByteArray("[General]\n" + text));
        QCOMPARE(pending(document), QStringList());
        QCOMPARE(settingsValue(find(*document.model(), {u"l"_s}, 2)), QVariant(list));
        QCOMPARE(outcome.message,
                 list.size() > 1 ? QString()
                                 : u"Файл INI хранит список из одного элемента как текст, а пустой - как "
                                   "пустое значение: l"_s);
    }

    void forgetsWhatWasRemovedAtOnce()
    {
        SettingsDocument document;
        const QString file = open(document, "a=1\nb=2\n[g]\nk=x\n", false);
        QVERIFY(remove(document, u"b"_s));
        QVERIFY(remove(document, u"g"_s));
        QCOMPARE(contentOf(file), QByteArray("a=1\n"));

        QFile::remove(file);
        document.setManual(true);
        QVERIFY(document.submit().written);

        QCOMPARE(contentOf(file), QByteArray("a=1\n"));
        QCOMPARE(treeText(*document.model()), u"a=1"_s);
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
