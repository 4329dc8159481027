// SPDX-License-Identifier: MIT
#include <hostkit/settings/settingsdiff.h>

#include <QTest>

using namespace sito;
using namespace Qt::StringLiterals;

namespace {

using Values = SettingsDiff::Values;
using Entries = QList<SettingsDiff::Entry>;

const auto readable = [] { return true; };
const auto unreadable = [] { return false; };

/// "edit g/k 1 -> 2", "removal g/", …
QStringList texts(const QList<SettingsChange> &changes)
{
    QStringList result;
    for (const SettingsChange &change : changes) {
        if (change.removal)
            result += u"removal "_s + change.path + (change.group ? u"/"_s : QString());
        else
            result += (change.gone ? u"gone "_s : QString()) +
                      u"edit %1 %2 -> %3"_s.arg(change.path, change.oldValue.toString(),
                                                change.newValue.toString());
    }
    return result;
}

SettingsDiff knowing(const Values &values)
{
    SettingsDiff diff;
    for (auto value = values.cbegin(); value != values.cend(); ++value)
        diff.know(value.key(), value.value());
    return diff;
}

} // namespace

class tst_SettingsDiff : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void findsEdits();
    void takesNothingOfOthersForAnEdit();
    void keepsEditsOfWhatIsGone();
    void listsRemovals();
    void forgetsRemovalsOfWhatIsGoneOrBack();
    void keepsRemovalsWhileTheStoreCannotBeRead();
    void namesGroupsThatHaveGrown();
};

void tst_SettingsDiff::findsEdits()
{
    SettingsDiff diff = knowing({{u"a"_s, u"1"_s}, {u"g/b"_s, u"2"_s}, {u"g/c"_s, u"3"_s}});
    const Values stored = diff.known();
    const Entries copy{
        {u"g"_s, true, {}}, {u"g/b"_s, false, u"5"_s}, {u"g/c"_s, false, u"3"_s}, {u"a"_s, false, 1}};

    QCOMPARE(texts(diff.changes(copy, stored, readable)),
             (QStringList{u"edit g/b 2 -> 5"_s, u"edit a 1 -> 1"_s}));
    QVERIFY(diff.isEdit(u"a"_s, u"2"_s, u"1"_s));
    QVERIFY(!diff.isEdit(u"a"_s, u"1"_s, u"1"_s));
}

void tst_SettingsDiff::takesNothingOfOthersForAnEdit()
{
    SettingsDiff diff = knowing({{u"a"_s, u"1"_s}, {u"b"_s, u"2"_s}});
    const Entries copy{{u"a"_s, false, u"1"_s}, {u"b"_s, false, u"mine"_s}};

    QCOMPARE(texts(diff.changes(copy, {{u"a"_s, u"theirs"_s}, {u"b"_s, u"theirs"_s}, {u"c"_s, u"new"_s}},
                                readable)),
             QStringList{u"edit b theirs -> mine"_s});
}

void tst_SettingsDiff::keepsEditsOfWhatIsGone()
{
    SettingsDiff diff = knowing({{u"a"_s, u"1"_s}});
    SettingsChange edit;
    edit.newValue = u"mine"_s;
    for (const QString &path : {u"g/k"_s, u"ga"_s, u"b"_s, u"b"_s}) {
        edit.path = path;
        diff.noteGone(edit);
    }
    const Values stored{{u"a"_s, u"1"_s}};
    const Entries copy{{u"a"_s, false, u"5"_s}};

    // Between edits and removals.
    diff.noteRemoval(u"a"_s, false);
    QCOMPARE(texts(diff.changes({}, stored, readable)),
             (QStringList{u"gone edit g/k  -> mine"_s, u"gone edit ga  -> mine"_s, u"gone edit b  -> mine"_s,
                          u"removal a"_s}));
    QCOMPARE(texts(diff.changes(copy, stored, readable)),
             (QStringList{u"edit a 1 -> 5"_s, u"gone edit g/k  -> mine"_s, u"gone edit ga  -> mine"_s,
                          u"gone edit b  -> mine"_s}));
    diff.forgetGone(u"b"_s);
    diff.noteRemoval(u"g"_s, true); // with all below it
    QCOMPARE(texts(diff.changes(copy, stored, readable)),
             (QStringList{u"edit a 1 -> 5"_s, u"gone edit ga  -> mine"_s}));
    // It is back.
    QCOMPARE(texts(diff.changes({{u"a"_s, false, u"1"_s}, {u"ga"_s, false, u"2"_s}},
                                {{u"a"_s, u"1"_s}, {u"ga"_s, u"2"_s}}, readable)),
             QStringList());
    QCOMPARE(texts(diff.changes(copy, stored, readable)), QStringList{u"edit a 1 -> 5"_s});
}

void tst_SettingsDiff::listsRemovals()
{
    SettingsDiff diff = knowing({{u"a"_s, u"1"_s}, {u"g"_s, {}}, {u"g/b"_s, u"2"_s}, {u"ga"_s, u"3"_s}});
    const Values stored{{u"a"_s, u"1"_s}, {u"g/b"_s, u"2"_s}, {u"ga"_s, u"3"_s}};
    diff.noteRemoval(u"g/b"_s, false);
    diff.noteRemoval(u"ga"_s, false);
    diff.noteRemoval(u"g"_s, true);

    // What was in the group goes with it.
    QCOMPARE(texts(diff.changes({{u"a"_s, false, u"1"_s}}, stored, readable)),
             (QStringList{u"removal ga"_s, u"removal g/"_s}));
    diff.forgetRemoval(u"g"_s, false);
    QCOMPARE(diff.changes({}, stored, readable).size(), 2);
    diff.forgetRemoval(u"g"_s, true);
    QCOMPARE(texts(diff.changes({}, stored, readable)), QStringList{u"removal ga"_s});
    diff.forgetRemovals();
    QCOMPARE(texts(diff.changes({}, stored, readable)), QStringList());
}

void tst_SettingsDiff::forgetsRemovalsOfWhatIsGoneOrBack()
{
    SettingsDiff diff = knowing({{u"a"_s, u"1"_s}, {u"b"_s, u"2"_s}, {u"g"_s, {}}, {u"g/c"_s, u"3"_s}});
    diff.noteRemoval(u"a"_s, false);
    diff.noteRemoval(u"b"_s, false);
    diff.noteRemoval(u"g"_s, true);

    // a is back in the copy, g is gone from the store.
    QCOMPARE(texts(diff.changes({{u"a"_s, false, u"1"_s}}, {{u"a"_s, u"1"_s}, {u"b"_s, u"2"_s}}, readable)),
             QStringList{u"removal b"_s});

    QCOMPARE(diff.known(), (Values{{u"a"_s, u"1"_s}, {u"b"_s, u"2"_s}}));
}

void tst_SettingsDiff::keepsRemovalsWhileTheStoreCannotBeRead()
{
    SettingsDiff diff = knowing({{u"a"_s, u"1"_s}});
    diff.noteRemoval(u"a"_s, false);

    const QList<SettingsChange> changes = diff.changes({}, {}, unreadable);

    QCOMPARE(texts(changes), QStringList{u"removal a"_s});
    QCOMPARE(changes.constFirst().oldValue, QVariant(u"1"_s));
}

void tst_SettingsDiff::namesGroupsThatHaveGrown()
{
    SettingsDiff diff =
        knowing({{u"g/a"_s, u"1"_s}, {u"h/a"_s, 5}, {u"i/a"_s, u"1"_s}, {u"j/a"_s, QStringList{u"x"_s}}});
    QList<SettingsChange> removals;
    for (const QString &group : {u"g"_s, u"h"_s, u"i"_s, u"j"_s})
        removals += {group, true, true, {}, {}};

    // A value that only lost its type is the same, and so is one that is gone.
    QCOMPARE(diff.grownGroups(removals, {{u"g/a"_s, u"1"_s},
                                         {u"g/deep/new"_s, u"1"_s},
                                         {u"h/a"_s, u"5"_s},
                                         {u"i/a"_s, u"2"_s},
                                         {u"ga/new"_s, u"1"_s},
                                         {u"j/a"_s, u"x"_s}}),
             (QStringList{u"g"_s, u"i"_s}));
}

QTEST_GUILESS_MAIN(tst_SettingsDiff)
#include "tst_settingsdiff.moc"
