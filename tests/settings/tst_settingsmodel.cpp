// SPDX-License-Identifier: MIT
#include <settings/settingsmodel.h>

#include <support/settingsfixtures.h>

#include <QApplication>
#include <QMetaEnum>
#include <QMetaProperty>
#include <QRect>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QStyle>
#include <QTest>
#include <QTranslator>

#include <cstring>
#include <limits>
#include <type_traits>

using namespace Qt::StringLiterals;

static_assert(SettingsModel::OnFieldChange == 0 && SettingsModel::OnManualSubmit == 1);
static_assert(std::is_base_of_v<QAbstractItemModel, SettingsModel>);
static_assert(std::is_default_constructible_v<SettingsModel>);
static_assert(sizeof(SettingsModel) == sizeof(QAbstractItemModel) + sizeof(void *), "the private half alone");
static_assert(QtPrivate::IsQEnumHelper<SettingsModel::EditStrategy>::Value);

namespace {

/// A model without any override but those every model needs: its other virtual slots are the base class's
/// own.
class PlainModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    QModelIndex index(int, int, const QModelIndex &) const override { return {}; }
    QModelIndex parent(const QModelIndex &) const override { return {}; }
    int rowCount(const QModelIndex &) const override { return 0; }
    int columnCount(const QModelIndex &) const override { return 0; }
    QVariant data(const QModelIndex &, int) const override { return {}; }
};

/// Says that every cell can be edited.
class WidenedModel : public SettingsModel
{
    Q_OBJECT

public:
    using SettingsModel::SettingsModel;
    Qt::ItemFlags flags(const QModelIndex &index) const override
    {
        return SettingsModel::flags(index) | Qt::ItemIsEditable;
    }
};

/// Makes indexes that the model itself hands out in notifications alone.
class ReachableModel : public SettingsModel
{
    Q_OBJECT

public:
    QModelIndex at(const QModelIndex &like, int column) const
    {
        return createIndex(like.row(), column, like.internalPointer());
    }
};

/// How a fixture's model takes edits.
enum Mode { ReadOnly, AtOnce, Manual };

/// A model of a store, and what it has signalled since.
struct Fixture
{
    explicit Fixture(std::unique_ptr<QSettings> settings, Mode mode = ReadOnly) : store(std::move(settings))
    {
        model.setSettings(store.get());
        model.setReadOnly(mode == ReadOnly);
        model.setEditStrategy(mode == Manual ? SettingsModel::OnManualSubmit : SettingsModel::OnFieldChange);
        recorder.take();
    }

    const std::unique_ptr<QSettings> store;
    SettingsModel model;
    ModelRecorder recorder{&model};
};

#if defined(__GXX_ABI_VERSION) && defined(__x86_64__)
/// The place of a virtual function in the virtual table, by the Itanium ABI.
template <typename Function>
std::size_t slotOf(Function function)
{
    struct
    {
        std::uintptr_t pointer;
        std::ptrdiff_t adjustment;
    } parts;
    static_assert(sizeof parts == sizeof function);
    std::memcpy(&parts, &function, sizeof parts);
    return (parts.pointer - 1) / sizeof(void *);
}

void *const *virtualTable(const QObject &object)
{
    return *reinterpret_cast<void *const *const *>(&object);
}
#define HAS_KNOWN_VIRTUAL_TABLE
#endif

} // namespace

class TestSettingsModel : public QObject
{
    Q_OBJECT

private:
    SettingsFiles m_files;

    static QStringList changes(const QStringList &names)
    {
        QStringList result;
        for (const QString &name : names)
            result += u"changed %1 0-2 []"_s.arg(name);
        return result;
    }

    static QStringList inserts(const QString &parent, int row)
    {
        return {u"inserting %1 %2..%2"_s.arg(parent).arg(row), u"inserted %1 %2..%2"_s.arg(parent).arg(row)};
    }

    static QStringList removals(const QString &parent, int first, int last)
    {
        return {u"removing %1 %2..%3"_s.arg(parent).arg(first).arg(last),
                u"removed %1 %2..%3"_s.arg(parent).arg(first).arg(last)};
    }

private Q_SLOTS:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    // What a model is.

    void startsEmptyAndReadOnly()
    {
        const SettingsModel model;

        QCOMPARE(model.settings(), nullptr);
        QCOMPARE(model.editStrategy(), SettingsModel::OnFieldChange);
        QVERIFY(model.readOnly());
        QCOMPARE(model.rowCount(), 0);
        QCOMPARE(model.columnCount(), 3);
        QVERIFY(model.hasChildren());
        QVERIFY(!model.index(0, 0).isValid());
        QCOMPARE(model.QObject::parent(), nullptr);
    }

    void belongsToItsParent()
    {
        QObject parent;

        const auto *model = new SettingsModel(&parent);

        QCOMPARE(model->QObject::parent(), &parent);
    }

    void refusesEverythingWithoutAStore()
    {
        SettingsModel model;
        model.setReadOnly(false);
        model.setEditStrategy(SettingsModel::OnManualSubmit);
        ModelRecorder recorder(&model);

        QVERIFY(!model.setData({}, 1));
        QVERIFY(!model.removeRows(0, 1));
        model.clear();
        model.refresh();
        model.submitAll();
        model.revertAll();

        QCOMPARE(recorder.take(), QStringList());
    }

    void registersItsStrategy()
    {
        const QMetaEnum meta = QMetaEnum::fromType<SettingsModel::EditStrategy>();

        QCOMPARE(meta.name(), "EditStrategy");
        QCOMPARE(meta.scope(), "SettingsModel");
        QCOMPARE(meta.keyCount(), 2);
        QCOMPARE(meta.keyToValue("OnFieldChange"), 0);
        QCOMPARE(meta.keyToValue("OnManualSubmit"), 1);
        QVERIFY(!meta.isFlag());
        QVERIFY(!meta.isScoped());
    }

    void comparesStrategies()
    {
        const auto first = QVariant::fromValue(SettingsModel::OnFieldChange);
        const auto second = QVariant::fromValue(SettingsModel::OnManualSubmit);

        QVERIFY(first == QVariant::fromValue(SettingsModel::OnFieldChange));
        QVERIFY(first != second);
        QVERIFY(QVariant::compare(first, second) == QPartialOrdering::Less);
        QVERIFY(first.metaType().isOrdered());
        QVERIFY(first.metaType().isEqualityComparable());
    }

    void streamsStrategies_data()
    {
        QTest::addColumn<SettingsModel::EditStrategy>("strategy");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("name");

        QTest::newRow("0") << SettingsModel::OnFieldChange << QByteArray::fromHex("00000000")
                           << u"SettingsModel::OnFieldChange"_s;
        QTest::newRow("1") << SettingsModel::OnManualSubmit << QByteArray::fromHex("00000001")
                           << u"SettingsModel::OnManualSubmit"_s;
    }

    void streamsStrategies()
    {
        QFETCH(SettingsModel::EditStrategy, strategy);
        QFETCH(QByteArray, bytes);
        QFETCH(QString, name);

        QByteArray written;
        QDataStream out(&written, QIODevice::WriteOnly);
        out << strategy;
        auto read = strategy == SettingsModel::OnFieldChange ? SettingsModel::OnManualSubmit
                                                             : SettingsModel::OnFieldChange;
        QDataStream in(written);
        in >> read;
        QString printed;
        QDebug(&printed).nospace() << strategy;

        QCOMPARE(written, bytes);
        QCOMPARE(read, strategy);
        QCOMPARE(printed, name);
    }

    void streamsStrategiesInVariants()
    {
        const auto strategy = QVariant::fromValue(SettingsModel::OnManualSubmit);

        QByteArray written;
        QDataStream out(&written, QIODevice::WriteOnly);
        out << strategy;
        QVariant read;
        QDataStream in(written);
        in >> read;
        QString printed;
        QDebug(&printed).nospace() << strategy;

        QVERIFY(strategy.metaType().hasRegisteredDataStreamOperators());
        QCOMPARE(read, strategy);
        QCOMPARE(read.metaType(), strategy.metaType());
        QVERIFY2(printed.contains(u"OnManualSubmit"_s), qPrintable(printed));
    }

    void declaresItsProperty()
    {
        const QMetaObject &meta = SettingsModel::staticMetaObject;
        QCOMPARE(meta.propertyCount() - meta.propertyOffset(), 1);
        const QMetaProperty property = meta.property(meta.propertyOffset());

        QCOMPARE(property.name(), "readOnly");
        QCOMPARE(property.metaType(), QMetaType::fromType<bool>());
        QVERIFY(property.isReadable());
        QVERIFY(property.isWritable());
        QVERIFY(!property.hasNotifySignal());
        QVERIFY(property.isDesignable());
        QVERIFY(property.isScriptable());
        QVERIFY(property.isStored());
        QVERIFY(!property.isConstant());
        QVERIFY(!property.isFinal());
        QVERIFY(!property.isResettable());

        SettingsModel model;
        QCOMPARE(model.property("readOnly"), QVariant(true));
        QVERIFY(model.setProperty("readOnly", false));
        QVERIFY(!model.readOnly());
        QCOMPARE(model.property("readOnly"), QVariant(false));
    }

    void declaresItsSlotsInOrder()
    {
        const QMetaObject &meta = SettingsModel::staticMetaObject;
        QStringList methods;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
            const QMetaMethod method = meta.method(i);
            QCOMPARE(method.methodType(), QMetaMethod::Slot);
            QCOMPARE(method.access(), QMetaMethod::Public);
            QCOMPARE(method.returnMetaType(), QMetaType::fromType<void>());
            methods += QString::fromLatin1(method.methodSignature());
        }

        QCOMPARE(methods, (QStringList{u"clear()"_s, u"submitAll()"_s, u"revertAll()"_s, u"refresh()"_s}));
        QCOMPARE(meta.superClass(), &QAbstractItemModel::staticMetaObject);
        QCOMPARE(meta.className(), "SettingsModel");
    }

    void isAMetaType()
    {
        const QMetaType type = QMetaType::fromName("SettingsModel");

        QVERIFY(type.isValid());
        QCOMPARE(type, SettingsModel::staticMetaObject.metaType());
        void *made = type.create();
        QVERIFY(made);
        QVERIFY(static_cast<SettingsModel *>(made)->readOnly());
        type.destroy(made);
    }

    void overridesTheSlotsOfTheBaseClassAndAddsNone()
    {
#ifdef HAS_KNOWN_VIRTUAL_TABLE
        using Base = QAbstractItemModel;
        using Own = SettingsModel;
        using Index = QModelIndex (Base::*)(int, int, const QModelIndex &) const;
        using OwnIndex = QModelIndex (Own::*)(int, int, const QModelIndex &) const;
        using Parent = QModelIndex (Base::*)(const QModelIndex &) const;
        using OwnParent = QModelIndex (Own::*)(const QModelIndex &) const;
        const QList<std::size_t> base{slotOf(Index(&Base::index)), slotOf(Parent(&Base::parent)),
                                      slotOf(&Base::rowCount),     slotOf(&Base::columnCount),
                                      slotOf(&Base::hasChildren),  slotOf(&Base::data),
                                      slotOf(&Base::setData),      slotOf(&Base::headerData),
                                      slotOf(&Base::removeRows),   slotOf(&Base::flags)};
        const QList<std::size_t> own{slotOf(OwnIndex(&Own::index)), slotOf(OwnParent(&Own::parent)),
                                     slotOf(&Own::rowCount),        slotOf(&Own::columnCount),
                                     slotOf(&Own::hasChildren),     slotOf(&Own::data),
                                     slotOf(&Own::setData),         slotOf(&Own::headerData),
                                     slotOf(&Own::removeRows),      slotOf(&Own::flags)};
        QCOMPARE(own, base);
        QVERIFY(std::is_sorted(own.begin(), own.end()));

        // In front of them stand the meta-object functions and the two destructors; between and behind them,
        // every slot is the base class's own.
        const Own model;
        const PlainModel plain;
        void *const *const table = virtualTable(model);
        void *const *const plainTable = virtualTable(plain);
        QList<std::size_t> overridden;
        for (std::size_t slot = slotOf(Index(&Base::index)); slot <= slotOf(&Base::multiData); ++slot) {
            if (table[slot] != plainTable[slot])
                overridden += slot;
        }
        QCOMPARE(overridden, own);
#else
        QSKIP("The layout of virtual tables is known for the Itanium ABI on x86-64 alone.");
#endif
    }

    void translatesItsHeader_data()
    {
        QTest::addColumn<int>("section");
        QTest::addColumn<Qt::Orientation>("orientation");
        QTest::addColumn<int>("role");
        QTest::addColumn<QVariant>("expected");

        QTest::newRow("first") << 0 << Qt::Horizontal << int(Qt::DisplayRole) << QVariant(u"Ключ"_s);
        QTest::newRow("second") << 1 << Qt::Horizontal << int(Qt::DisplayRole) << QVariant(u"Тип"_s);
        QTest::newRow("third") << 2 << Qt::Horizontal << int(Qt::DisplayRole) << QVariant(u"Значение"_s);
        QTest::newRow("fourth") << 3 << Qt::Horizontal << int(Qt::DisplayRole) << QVariant(4);
        QTest::newRow("before the first") << -1 << Qt::Horizontal << int(Qt::DisplayRole) << QVariant(0);
        QTest::newRow("vertical") << 0 << Qt::Vertical << int(Qt::DisplayRole) << QVariant(1);
        QTest::newRow("edit role") << 0 << Qt::Horizontal << int(Qt::EditRole) << QVariant();
        QTest::newRow("tool tip") << 0 << Qt::Horizontal << int(Qt::ToolTipRole) << QVariant();
    }

    void translatesItsHeader()
    {
        QFETCH(int, section);
        QFETCH(Qt::Orientation, orientation);
        QFETCH(int, role);
        QFETCH(QVariant, expected);
        const SettingsModel model;

        QCOMPARE(model.headerData(section, orientation, role), expected);
    }

    void asksTheTranslatorForItsHeader()
    {
        struct Translator : QTranslator
        {
            QString translate(const char *context, const char *text, const char *disambiguation,
                              int number) const override
            {
                if (QLatin1String(context) != "SettingsModel"_L1)
                    return {};
                return u"<%1|%2|%3>"_s.arg(QString::fromUtf8(text), QString::fromUtf8(disambiguation))
                    .arg(number);
            }
            bool isEmpty() const override { return false; }
        } translator;
        const SettingsModel model;

        QVERIFY(QCoreApplication::installTranslator(&translator));
        const QString text = model.headerData(1, Qt::Horizontal).toString();
        QCoreApplication::removeTranslator(&translator);

        QCOMPARE(text, u"<Тип||-1>"_s);
    }

    // What the tree shows.

    void fillsGroupsBeforeKeys()
    {
        const auto store = m_files.parsed("b=1\na=2\nz/k=3\n[m]\ny=4\nx=5\ninner\\deep\\k=6\n");
        SettingsModel model;
        ModelRecorder recorder(&model);
        recorder.snapshot = [&] { return treeText(model); };

        model.setSettings(store.get());

        QCOMPARE(recorder.take(),
                 (QStringList{u"resetting: "_s, u"reset: m{inner{deep{k=6}} x=5 y=4} z{k=3} a=2 b=1"_s}));
        QCOMPARE(model.settings(), store.get());
        QCOMPARE(find(model, {u"m"_s, u"inner"_s, u"deep"_s, u"k"_s}).data(Qt::ToolTipRole),
                 QVariant(u"m/inner/deep/k"_s));
        QCOMPARE(store->group(), QString());
    }

    void ignoresTheSameStore()
    {
        Fixture f(m_files.parsed("a=1\n"));

        f.model.setSettings(f.store.get());

        QCOMPARE(f.recorder.take(), QStringList());
        QCOMPARE(treeText(f.model), u"a=1"_s);
    }

    void appendsAnotherStore()
    {
        const auto store = m_files.parsed("a=1\n[g]\nk=1\n");
        const auto other = m_files.parsed("b=1\n[g]\nl=1\n");
        SettingsModel model;
        model.setSettings(store.get());
        ModelRecorder recorder(&model);

        model.setSettings(other.get());

        QCOMPARE(recorder.take(), (QStringList{u"resetting"_s, u"reset"_s}));
        QCOMPARE(treeText(model), u"g{k=1} a=1 g{l=1} b=1"_s);
    }

    void keepsItsRowsWithoutStore()
    {
        Fixture f(m_files.parsed("a=1\n"), AtOnce);

        f.model.setSettings(nullptr);
        f.model.refresh();

        QCOMPARE(treeText(f.model), u"a=1"_s);
        QVERIFY(!f.model.setData(f.model.index(0, 2), 2));
        QVERIFY(!f.model.removeRows(0, 1));
    }

    void showsAnEmptyStore()
    {
        const auto store = m_files.empty();
        SettingsModel model;
        ModelRecorder recorder(&model);

        model.setSettings(store.get());
        model.refresh();

        QCOMPARE(recorder.take(), (QStringList{u"resetting"_s, u"reset"_s}));
        QCOMPARE(model.rowCount(), 0);
    }

    void readsEveryKindOfValue_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("type");
        QTest::addColumn<QVariant>("shown");
        QTest::addColumn<QString>("freshType");
        QTest::addColumn<QVariant>("freshShown");

        const auto same = [](const char *name, const QVariant &value, const QString &type) {
            QTest::newRow(name) << value << type << value << type << value;
        };
        const auto text = [](const char *name, const QVariant &value, const QString &type,
                             const QString &fresh) {
            QTest::newRow(name) << value << type << value << u"QString"_s << QVariant(fresh);
        };
        text("int", 42, u"int"_s, u"42"_s);
        text("negative", -1, u"int"_s, u"-1"_s);
        text("long", qlonglong(1) << 40, u"qlonglong"_s, u"1099511627776"_s);
        text("double", 0.1, u"double"_s, u"0.1"_s);
        text("bool", true, u"bool"_s, u"true"_s);
        same("text", u"plain"_s, u"QString"_s);
        same("empty text", u""_s, u"QString"_s);
        same("percent", u"50% %1 %%"_s, u"QString"_s);
        same("backslash", u"C:\\dir\\new"_s, u"QString"_s);
        same("comma", u"a,b"_s, u"QString"_s);
        same("at sign", u"@Invalid()"_s, u"QString"_s);
        same("quotes, blanks, newline", u" \"a\"\n; b = c "_s, u"QString"_s);
        same("Cyrillic", u"Значение Ё"_s, u"QString"_s);
        QTest::newRow("list of two") << QVariant(QStringList{u"a"_s, u"b"_s}) << u"QStringList"_s
                                     << QVariant(u"a,b"_s) << u"QStringList"_s << QVariant(u"a,b"_s);
        QTest::newRow("list with commas") << QVariant(QStringList{u"a,b"_s, u"c"_s}) << u"QStringList"_s
                                          << QVariant(u"a,b,c"_s) << u"QStringList"_s << QVariant(u"a,b,c"_s);
        QTest::newRow("list of one") << QVariant(QStringList{u"a"_s}) << u"QStringList"_s << QVariant(u"a"_s)
                                     << u"QString"_s << QVariant(u"a"_s);
        QTest::newRow("list of none")
            << QVariant(QStringList()) << u"QStringList"_s << QVariant(u""_s) << u""_s << QVariant();
        same("bytes", QByteArray("\0\x01 \xff,", 5), u"QByteArray"_s);
        same("map", QVariantMap{{u"k"_s, 1}, {u"l"_s, u"x"_s}}, u"QVariantMap"_s);
        same("rect", QRect(1, 2, 3, 4), u"QRect"_s);
        same("point", QPoint(1, 2), u"QPoint"_s);
        same("invalid", QVariant(), u""_s);
        same("date", QDate(2024, 2, 29), u"QDate"_s);
    }

    void readsEveryKindOfValue()
    {
        QFETCH(QVariant, value);
        QFETCH(QString, type);
        QFETCH(QVariant, shown);
        QFETCH(QString, freshType);
        QFETCH(QVariant, freshShown);
        const auto store = m_files.empty();
        store->setValue(u"k"_s, value);
        const auto fresh = m_files.reparsed(*store);

        SettingsModel model;
        model.setSettings(store.get());
        SettingsModel freshModel;
        freshModel.setSettings(fresh.get());

        QCOMPARE(model.index(0, 1).data(), QVariant(type));
        QCOMPARE(model.index(0, 2).data(), shown);
        QCOMPARE(model.index(0, 2).data(Qt::EditRole), shown);
        QCOMPARE(freshModel.index(0, 1).data(), QVariant(freshType));
        QCOMPARE(freshModel.index(0, 2).data(), freshShown);
    }

    void readsNullVariantsOfAType()
    {
        Fixture f(m_files.filled({{u"k"_s, QVariant(QMetaType::fromType<int>())}}));

        QCOMPARE(f.model.index(0, 1).data(), QVariant(u"int"_s));
    }

    void showsNamesOfEveryKind()
    {
        const auto store = m_files.empty();
        const QStringList paths{u"a b/c d"_s, u"50%/%1"_s, u"Общие/Ключ"_s, u"q?!;=/\\x"_s};
        for (const QString &path : paths)
            store->setValue(path, path);
        const auto fresh = m_files.reparsed(*store);

        for (QSettings *settings : {store.get(), fresh.get()}) {
            SettingsModel model;
            model.setSettings(settings);

            for (int row = 0; row < model.rowCount(); ++row) {
                const QModelIndex group = model.index(row, 0);
                const QModelIndex key = model.index(0, 0, group);
                const QString path =
                    settings->value(group.data().toString() + u'/' + key.data().toString()).toString();
                QVERIFY(!path.isEmpty());
                QCOMPARE(key.data(Qt::ToolTipRole).toString(),
                         group.data().toString() + u'/' + key.data().toString());
            }
            QCOMPARE(model.rowCount(), paths.size());
        }
    }

    void substitutesInPathsOfGroupsWithPercent()
    {
        Fixture f(m_files.filled({{u"a%1b/k"_s, 1}}));

        QCOMPARE(find(f.model, {u"a%1b"_s, u"k"_s}).data(Qt::ToolTipRole), QVariant(u"akb/%2"_s));
    }

    void beginsPathsWithTheCurrentGroup()
    {
        const auto store = m_files.empty();
        store->setValue(u"out/in/k"_s, 1);
        store->setValue(u"out/l"_s, 2);
        store->setValue(u"foreign"_s, 3);
        store->beginGroup(u"out"_s);
        SettingsModel model;
        model.setReadOnly(false);

        model.setSettings(store.get());

        QCOMPARE(treeText(model), u"in{k=1} l=2"_s);
        QCOMPARE(find(model, {u"in"_s}).data(Qt::ToolTipRole), QVariant(u"out/in"_s));
        QCOMPARE(find(model, {u"in"_s, u"k"_s}).data(Qt::ToolTipRole), QVariant(u"out/in/k"_s));
        QCOMPARE(find(model, {u"l"_s}).data(Qt::ToolTipRole), QVariant(u"out/l"_s));
        QCOMPARE(store->group(), u"out"_s);

        QVERIFY(model.setData(find(model, {u"l"_s}, 2), u"new"_s));
        QCOMPARE(entries(*store), (QStringList{u"in/k=1"_s, u"l=2"_s, u"out/l=new"_s}));
    }

    void submitsIntoTheCurrentGroup()
    {
        const auto store = m_files.empty();
        store->setValue(u"out/in/k"_s, 1);
        store->setValue(u"foreign"_s, 3);
        store->beginGroup(u"out"_s);
        SettingsModel model;
        model.setReadOnly(false);
        model.setEditStrategy(SettingsModel::OnManualSubmit);
        model.setSettings(store.get());
        model.setData(find(model, {u"in"_s, u"k"_s}, 2), u"new"_s);

        model.submitAll();

        QCOMPARE(store->group(), u"out"_s);
        store->endGroup();
        QCOMPARE(entries(*store), (QStringList{u"foreign=3"_s, u"out/in/k=new"_s}));
    }

    void answersForEachCell_data()
    {
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<int>("column");
        QTest::addColumn<int>("role");
        QTest::addColumn<QVariant>("expected");

        const QStringList group{u"g"_s};
        const QStringList key{u"g"_s, u"k"_s};
        const QStringList list{u"g"_s, u"list"_s};
        for (int role : {int(Qt::DisplayRole), int(Qt::EditRole)}) {
            const auto row = [role](const char *text) -> QTestData & {
                return QTest::addRow("%s, role %d", text, role);
            };
            row("name of a group") << group << 0 << role << QVariant(u"g"_s);
            row("type of a group") << group << 1 << role << QVariant();
            row("value of a group") << group << 2 << role << QVariant();
            row("name of a key") << key << 0 << role << QVariant(u"k"_s);
            row("type of a key") << key << 1 << role << QVariant(u"int"_s);
            row("value of a key") << key << 2 << role << QVariant(5);
            row("type of a list") << list << 1 << role << QVariant(u"QStringList"_s);
            row("value of a list") << list << 2 << role << QVariant(u"a,b"_s);
        }
        for (int column : {0, 1, 2}) {
            QTest::addRow("tool tip of a group, column %d", column)
                << group << column << int(Qt::ToolTipRole) << QVariant(u"g"_s);
            QTest::addRow("tool tip of a key, column %d", column)
                << key << column << int(Qt::ToolTipRole) << QVariant(u"g/k"_s);
            for (int role : {int(Qt::StatusTipRole), int(Qt::FontRole), int(Qt::CheckStateRole),
                             int(Qt::TextAlignmentRole), int(Qt::UserRole), -1})
                QTest::addRow("column %d, role %d", column, role) << key << column << role << QVariant();
        }
        for (const QStringList &names : {group, key}) {
            for (int column : {1, 2})
                QTest::addRow("decoration, depth %d, column %d", int(names.size()), column)
                    << names << column << int(Qt::DecorationRole) << QVariant();
        }
    }

    void answersForEachCell()
    {
        QFETCH(QStringList, names);
        QFETCH(int, column);
        QFETCH(int, role);
        QFETCH(QVariant, expected);
        Fixture f(m_files.filled({{u"g/k"_s, 5}, {u"g/list"_s, QStringList{u"a"_s, u"b"_s}}}));

        const QVariant answer = f.model.data(find(f.model, names, column), role);

        QCOMPARE(answer, expected);
        QCOMPARE(answer.metaType(), expected.metaType());
    }

    void knowsNoDataOfTheInvalidIndex()
    {
        Fixture f(m_files.parsed("a=1\n"));

        for (int role = 0; role < 32; ++role)
            QVERIFY(!f.model.data({}, role).isValid());
    }

    void answersForTheRootAsForAKey()
    {
        const auto store = m_files.empty();
        ReachableModel model;
        model.setSettings(store.get());
        store->setValue(u"a"_s, 1);
        QModelIndex root;
        connect(&model, &QAbstractItemModel::rowsInserted, this,
                [&root](const QModelIndex &parent) { root = parent; });
        model.refresh();
        QVERIFY(root.isValid());

        const auto key = root.data(Qt::DecorationRole).value<QIcon>().pixmap(16).toImage();
        QCOMPARE(key, find(model, {u"a"_s}).data(Qt::DecorationRole).value<QIcon>().pixmap(16).toImage());
        const QVariant type = model.data(model.at(root, 1), Qt::DisplayRole);
        QCOMPARE(type.metaType(), QMetaType::fromType<QString>());
        QCOMPARE(type.toString(), u""_s);
        QCOMPARE(model.data(root, Qt::DisplayRole), QVariant(u""_s));
        QCOMPARE(model.data(model.at(root, 2), Qt::DisplayRole), QVariant());
    }

    void decoratesWithTheStandardIcons()
    {
        Fixture f(m_files.parsed("a=1\n[g]\nk=1\n"));
        const auto image = [](const QVariant &icon) {
            return icon.value<QIcon>().pixmap(16, QIcon::Normal, QIcon::Off).toImage();
        };
        const auto standard = [](QStyle::StandardPixmap which) {
            QIcon icon;
            icon.addPixmap(QApplication::style()->standardPixmap(which), QIcon::Normal, QIcon::Off);
            return icon.pixmap(16).toImage();
        };

        const QVariant group = find(f.model, {u"g"_s}).data(Qt::DecorationRole);
        const QVariant key = find(f.model, {u"a"_s}).data(Qt::DecorationRole);

        QCOMPARE(group.metaType(), QMetaType::fromType<QIcon>());
        QCOMPARE(key.metaType(), QMetaType::fromType<QIcon>());
        QCOMPARE(image(group), standard(QStyle::SP_DirIcon));
        QCOMPARE(image(key), standard(QStyle::SP_FileIcon));
        QVERIFY(image(key) != image(group));
        for (const QVariant &icon : {group, key}) {
            for (const QIcon::Mode mode : {QIcon::Normal, QIcon::Disabled, QIcon::Active, QIcon::Selected}) {
                for (const QIcon::State state : {QIcon::Off, QIcon::On}) {
                    const bool isGiven = mode == QIcon::Normal && state == QIcon::Off;
                    QCOMPARE(icon.value<QIcon>().availableSizes(mode, state).isEmpty(), !isGiven);
                }
            }
        }
    }

    void knowsItsShape()
    {
        Fixture f(m_files.parsed("a=1\n[g]\nk=1\nl=2\n"));
        const QModelIndex group = f.model.index(0, 0);
        const QModelIndex key = f.model.index(1, 0, group);

        QCOMPARE(f.model.rowCount(), 2);
        QCOMPARE(f.model.rowCount(group), 2);
        QCOMPARE(f.model.rowCount(group.siblingAtColumn(2)), 2);
        QCOMPARE(f.model.rowCount(key), 0);
        QCOMPARE(f.model.columnCount(key), 3);
        QCOMPARE(f.model.columnCount(group), 3);
        QVERIFY(f.model.hasChildren(group));
        QVERIFY(f.model.hasChildren(group.siblingAtColumn(1)));
        QVERIFY(!f.model.hasChildren(key));
        QVERIFY(f.model.hasChildren({}));
        QCOMPARE(f.model.parent(key), group);
        QCOMPARE(f.model.parent(key.siblingAtColumn(2)), group);
        QCOMPARE(f.model.parent(group), QModelIndex());
        QCOMPARE(f.model.parent({}), QModelIndex());
        QCOMPARE(f.model.index(1, 2, group).row(), 1);
        QCOMPARE(f.model.index(1, 2, group).column(), 2);
        QCOMPARE(f.model.index(1, 2, group).internalPointer(), key.internalPointer());
        QVERIFY(!f.model.index(2, 0, group).isValid());
        QVERIFY(!f.model.index(0, 3, group).isValid());
        QVERIFY(!f.model.index(-1, 0, group).isValid());
        QVERIFY(!f.model.index(0, -1).isValid());
        QVERIFY(!f.model.index(0, 0, key).isValid());
    }

    void showsAnEmptyGroup()
    {
        Fixture f(m_files.parsed("[g]\nk=1\n"), AtOnce);
        const QModelIndex group = f.model.index(0, 0);

        QVERIFY(f.model.removeRows(0, 1, group));

        QCOMPARE(f.model.rowCount(group), 0);
        QVERIFY(f.model.hasChildren(group));
    }

    // What can be edited.

    void allowsEditingOfValuesAlone()
    {
        Fixture f(m_files.parsed("a=1\n[g]\nk=1\n"));
        const Qt::ItemFlags shown = Qt::ItemIsSelectable | Qt::ItemIsEnabled;
        const QModelIndex value = find(f.model, {u"g"_s, u"k"_s}, 2);

        QCOMPARE(f.model.flags(value), shown);
        f.model.setReadOnly(false);

        QCOMPARE(f.model.flags(value), shown | Qt::ItemIsEditable);
        QCOMPARE(f.model.flags(value.siblingAtColumn(0)), shown);
        QCOMPARE(f.model.flags(value.siblingAtColumn(1)), shown);
        for (int column : {0, 1, 2})
            QCOMPARE(f.model.flags(find(f.model, {u"g"_s}, column)), shown);
        QCOMPARE(f.model.flags({}), Qt::NoItemFlags);
        QCOMPARE(f.recorder.take(), QStringList());
    }

    void refusesEdits_data()
    {
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<int>("column");
        QTest::addColumn<bool>("readOnly");

        QTest::newRow("no index") << QStringList() << 0 << false;
        QTest::newRow("name of a key") << QStringList{u"a"_s} << 0 << false;
        QTest::newRow("type of a key") << QStringList{u"a"_s} << 1 << false;
        QTest::newRow("value of a group") << QStringList{u"g"_s} << 2 << false;
        QTest::newRow("read-only") << QStringList{u"a"_s} << 2 << true;
    }

    void refusesEdits()
    {
        QFETCH(QStringList, names);
        QFETCH(int, column);
        QFETCH(bool, readOnly);
        Fixture f(m_files.parsed("a=1\n[g]\nk=1\n"));
        f.model.setReadOnly(readOnly);

        for (int role : {int(Qt::EditRole), int(Qt::DisplayRole), int(Qt::ToolTipRole)})
            QVERIFY(!f.model.setData(find(f.model, names, column), u"new"_s, role));

        QCOMPARE(f.recorder.take(), QStringList());
        QCOMPARE(treeText(f.model), u"g{k=1} a=1"_s);
        QCOMPARE(entries(*f.store), (QStringList{u"a=1"_s, u"g/k=1"_s}));
    }

    void refusesEditsOfWidenedFlagsWhileReadOnly()
    {
        const auto store = m_files.parsed("a=1\n");
        WidenedModel model;
        model.setSettings(store.get());

        QVERIFY(!model.setData(model.index(0, 2), 2));

        QCOMPARE(treeText(model), u"a=1"_s);
    }

    void asksTheFlagsOfASubclass()
    {
        const auto store = m_files.parsed("[g]\nk=1\n");
        WidenedModel model;
        model.setSettings(store.get());
        model.setReadOnly(false);
        ModelRecorder recorder(&model);

        QVERIFY(model.setData(find(model, {u"g"_s, u"k"_s}, 0), u"new"_s));
        QVERIFY(model.setData(find(model, {u"g"_s}, 2), u"new"_s));

        QCOMPARE(recorder.take(), (QStringList{u"changed g/k 0-0 []"_s, u"changed g 2-2 []"_s}));
        QCOMPARE(find(model, {u"g"_s, u"k"_s}, 2).data(), QVariant(u"1"_s));
        QCOMPARE(find(model, {u"g"_s}, 2).data(), QVariant(u"new"_s));
        QCOMPARE(store->value(u"g"_s), QVariant(u"new"_s));
    }

    void editsTheStoreAtOnce_data()
    {
        QTest::addColumn<int>("role");

        QTest::newRow("edit role") << int(Qt::EditRole);
        QTest::newRow("display role") << int(Qt::DisplayRole);
    }

    void editsTheStoreAtOnce()
    {
        QFETCH(int, role);
        Fixture f(m_files.filled({{u"g/k"_s, 5}}), AtOnce);
        const QModelIndex value = find(f.model, {u"g"_s, u"k"_s}, 2);
        f.recorder.snapshot = [&] { return entries(*f.store).join(u' '); };

        QVERIFY(f.model.setData(value, u"text"_s, role));

        QCOMPARE(f.recorder.take(), QStringList{u"changed g/k 2-2 []: g/k=text"_s});
        QCOMPARE(value.data(), QVariant(u"text"_s));
        QCOMPARE(value.siblingAtColumn(1).data(), QVariant(u"int"_s));
        f.model.refresh();
        QCOMPARE(value.siblingAtColumn(1).data(), QVariant(u"QString"_s));
    }

    void acceptsOtherRolesAndChangesNothing()
    {
        Fixture f(m_files.parsed("a=1\n"), AtOnce);

        QVERIFY(f.model.setData(f.model.index(0, 2), u"new"_s, Qt::ToolTipRole));

        QCOMPARE(f.recorder.take(), QStringList{u"changed a 2-2 []"_s});
        QCOMPARE(treeText(f.model), u"a=1"_s);
        QCOMPARE(entries(*f.store), QStringList{u"a=1"_s});
    }

    void storesAnEditedListAsOneText()
    {
        Fixture f(m_files.filled({{u"list"_s, QStringList{u"a"_s, u"b"_s}}}), AtOnce);
        const QModelIndex value = f.model.index(0, 2);

        QVERIFY(f.model.setData(value, value.data(Qt::EditRole)));

        QCOMPARE(f.store->value(u"list"_s), QVariant(u"a,b"_s));
        QCOMPARE(value.siblingAtColumn(1).data(), QVariant(u"QStringList"_s));
    }

    void removesRowsFromTheStoreAtOnce()
    {
        Fixture f(m_files.parsed("a=1\nb=2\nc=3\n[g]\nk=1\nl\\m=1\n"), AtOnce);
        f.recorder.snapshot = [&] { return treeText(f.model) + u'|' + entries(*f.store).join(u' '); };

        QVERIFY(f.model.removeRows(0, 3));

        QCOMPARE(f.recorder.take(),
                 (QStringList{u"removing none 0..2: g{l{m=1} k=1} a=1 b=2 c=3|a=1 b=2 c=3 g/k=1 g/l/m=1"_s,
                              u"removed none 0..2: c=3|c=3"_s}));
    }

    void removesRowsOfAGroup()
    {
        Fixture f(m_files.parsed("[g]\nk=1\nl=2\nm=3\n"), AtOnce);

        QVERIFY(f.model.removeRows(1, 1, f.model.index(0, 0)));

        QCOMPARE(f.recorder.take(), removals(u"g"_s, 1, 1));
        QCOMPARE(treeText(f.model), u"g{k=1 m=3}"_s);
        QCOMPARE(entries(*f.store), (QStringList{u"g/k=1"_s, u"g/m=3"_s}));
    }

    void announcesRemovalsBelowTheIndexGiven()
    {
        Fixture f(m_files.parsed("[g]\nk=1\nl=2\nm=3\n"), AtOnce);
        const QModelIndex group = f.model.index(0, 0);
        QSignalSpy removing(&f.model, &QAbstractItemModel::rowsAboutToBeRemoved);
        QSignalSpy removed(&f.model, &QAbstractItemModel::rowsRemoved);

        for (const int column : {2, 1, 0}) {
            const QModelIndex parent = group.siblingAtColumn(column);
            QVERIFY(f.model.removeRows(0, 1, parent));
            QCOMPARE(removing.takeFirst().first().toModelIndex(), parent);
            QCOMPARE(removed.takeFirst().first().toModelIndex(), parent);
        }

        QCOMPARE(f.model.rowCount(group), 0);
    }

    void refusesRemovals_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<int>("count");
        QTest::addColumn<bool>("readOnly");

        QTest::newRow("negative row") << -1 << 1 << false;
        QTest::newRow("no rows") << 0 << 0 << false;
        QTest::newRow("negative count") << 1 << -1 << false;
        QTest::newRow("one too many") << 1 << 2 << false;
        QTest::newRow("behind the end") << 2 << 1 << false;
        QTest::newRow("overflowing") << 1 << std::numeric_limits<int>::max() << false;
        QTest::newRow("read-only") << 0 << 1 << true;
    }

    void refusesRemovals()
    {
        QFETCH(int, row);
        QFETCH(int, count);
        QFETCH(bool, readOnly);
        Fixture f(m_files.parsed("a=1\nb=2\n"));
        f.model.setReadOnly(readOnly);

        for (SettingsModel::EditStrategy strategy :
             {SettingsModel::OnFieldChange, SettingsModel::OnManualSubmit}) {
            f.model.setEditStrategy(strategy);
            QVERIFY(!f.model.removeRows(row, count));
        }

        QCOMPARE(f.recorder.take(), QStringList());
        QCOMPARE(treeText(f.model), u"a=1 b=2"_s);
        f.model.setEditStrategy(SettingsModel::OnManualSubmit);
        f.model.submitAll();
        QCOMPARE(entries(*f.store), (QStringList{u"a=1"_s, u"b=2"_s}));
    }

    // The manual strategy.

    void submitsNothingOfOnFieldChange()
    {
        Fixture f(m_files.parsed("a=1\n"));
        f.store->setValue(u"b"_s, 2);

        f.model.submitAll();
        f.model.revertAll();

        QCOMPARE(f.recorder.take(), QStringList());
        QCOMPARE(entries(*f.store), (QStringList{u"a=1"_s, u"b=2"_s}));
        QCOMPARE(treeText(f.model), u"a=1"_s);
    }

    void keepsEditsUntilSubmit()
    {
        Fixture f(m_files.parsed("a=1\nb=2\n[g]\nk=1\nl=2\n"), Manual);

        QVERIFY(f.model.setData(find(f.model, {u"g"_s, u"k"_s}, 2), u"new"_s));
        QVERIFY(f.model.removeRows(1, 1, f.model.index(0, 0)));
        QVERIFY(f.model.removeRows(1, 1));
        QCOMPARE(entries(*f.store), (QStringList{u"a=1"_s, u"b=2"_s, u"g/k=1"_s, u"g/l=2"_s}));
        f.recorder.take();
        f.model.submitAll();

        QCOMPARE(entries(*f.store), (QStringList{u"b=2"_s, u"g/k=new"_s}));
        QCOMPARE(f.recorder.take(), QStringList());
        QCOMPARE(entries(*m_files.reparsed(*f.store)), (QStringList{u"b=2"_s, u"g/k=new"_s}));
    }

    void replacesTheWholeGroupOnSubmit()
    {
        Fixture f(m_files.parsed("a=1\n"));
        f.model.setEditStrategy(SettingsModel::OnManualSubmit);
        f.store->setValue(u"foreign"_s, 2);
        f.store->setValue(u"other/foreign"_s, 3);

        f.model.submitAll();

        QCOMPARE(entries(*f.store), QStringList{u"a=1"_s});
    }

    void dropsOnSubmitWhatOthersWroteSince()
    {
        Fixture f(m_files.parsed("a=1\nb=2\n"), Manual);
        f.model.removeRows(0, 1);
        f.model.submitAll();
        f.store->setValue(u"a"_s, 1);

        f.model.submitAll();

        QCOMPARE(entries(*f.store), QStringList{u"b=2"_s});
    }

    void revertsToTheStore()
    {
        Fixture f(m_files.parsed("a=1\nb=2\n[g]\nk=1\nl=2\n"), Manual);
        f.model.setData(find(f.model, {u"b"_s}, 2), u"new"_s);
        f.model.removeRows(0, 1, f.model.index(0, 0));
        f.model.removeRows(1, 1);
        QCOMPARE(treeText(f.model), u"g{l=2} b=new"_s);
        f.recorder.take();

        f.model.revertAll();

        QCOMPARE(treeText(f.model), u"g{k=1 l=2} a=1 b=2"_s);
        QCOMPARE(f.recorder.take(), inserts(u"g"_s, 0) + changes({u"g/k"_s, u"g/l"_s}) +
                                        inserts(u"root"_s, 1) + changes({u"a"_s, u"b"_s}));
        f.model.submitAll();
        QCOMPARE(entries(*f.store), (QStringList{u"a=1"_s, u"b=2"_s, u"g/k=1"_s, u"g/l=2"_s}));
    }

    void strandsPendingChangesWhenTheStrategyChanges()
    {
        Fixture f(m_files.parsed("a=1\nb=2\n"), Manual);
        f.model.setData(f.model.index(0, 2), u"new"_s);
        f.model.removeRows(1, 1);
        f.recorder.take();

        f.model.setEditStrategy(SettingsModel::OnFieldChange);
        f.model.submitAll();
        f.model.revertAll();

        QCOMPARE(treeText(f.model), u"a=new"_s);
        QCOMPARE(entries(*f.store), (QStringList{u"a=1"_s, u"b=2"_s}));
        QCOMPARE(f.recorder.take(), QStringList());
        f.model.setEditStrategy(SettingsModel::OnManualSubmit);
        f.model.submitAll();
        QCOMPARE(entries(*f.store), QStringList{u"a=new"_s});
    }

    void keepsEverythingInTheTreeWithAnUnknownStrategy()
    {
        Fixture f(m_files.parsed("a=1\nb=2\n"), AtOnce);
        QDataStream number(QByteArray::fromHex("00000002"));
        auto strategy = SettingsModel::OnFieldChange;
        number >> strategy;

        f.model.setEditStrategy(strategy);
        QVERIFY(f.model.setData(f.model.index(0, 2), u"new"_s));
        QVERIFY(f.model.removeRows(1, 1));
        f.model.submitAll();
        f.model.revertAll();

        QCOMPARE(int(f.model.editStrategy()), 2);
        QCOMPARE(treeText(f.model), u"a=new"_s);
        QCOMPARE(entries(*f.store), (QStringList{u"a=1"_s, u"b=2"_s}));
        f.model.setEditStrategy(SettingsModel::OnManualSubmit);
        f.model.revertAll();
        QCOMPARE(treeText(f.model), u"a=1 b=2"_s);
    }

    void dropsPendingChangesWithTheModel()
    {
        const auto store = m_files.parsed("a=1\nb=2\n");
        {
            SettingsModel model;
            model.setSettings(store.get());
            model.setReadOnly(false);
            model.setEditStrategy(SettingsModel::OnManualSubmit);
            model.setData(model.index(0, 2), u"new"_s);
            model.removeRows(1, 1);
        }

        QCOMPARE(entries(*store), (QStringList{u"a=1"_s, u"b=2"_s}));
    }

    void losesTheGroupOfANameThatIsAKeyTooOnSubmit()
    {
        Fixture f(m_files.parsed("x=1\nx\\y=2\n"));
        f.model.setEditStrategy(SettingsModel::OnManualSubmit);
        QCOMPARE(treeText(f.model), u"x{y=2} x=1"_s);

        f.model.submitAll();

        QCOMPARE(entries(*f.store), QStringList{u"x=1"_s});
    }

    // Reset and merge.

    void appendsOnClear()
    {
        Fixture f(m_files.parsed("a=1\n[g]\nk=1\n"));

        f.model.clear();
        f.model.clear();

        QCOMPARE(f.recorder.take(), (QStringList{u"resetting"_s, u"reset"_s, u"resetting"_s, u"reset"_s}));
        QCOMPARE(treeText(f.model), u"g{k=1} a=1 g{k=1} a=1 g{k=1} a=1"_s);
    }

    void cutsTheCopiesOnRefresh()
    {
        Fixture f(m_files.parsed("a=1\n[g]\nk=1\n"));
        f.model.clear();
        f.recorder.take();

        f.model.refresh();

        QCOMPARE(f.recorder.take(), changes({u"g/k"_s, u"a"_s}) + removals(u"root"_s, 2, 3));
        QCOMPARE(treeText(f.model), u"g{k=1} a=1"_s);
    }

    void reportsEveryKeyOnRefresh()
    {
        Fixture f(m_files.parsed("a=1\nb=2\n[g]\nk=1\nh\\l=2\n"));

        f.model.refresh();

        QCOMPARE(f.recorder.take(), changes({u"g/h/l"_s, u"g/k"_s, u"a"_s, u"b"_s}));
        QCOMPARE(f.store->group(), QString());
    }

    void readsValuesAgainOnRefresh()
    {
        Fixture f(m_files.parsed("a=1\n"));
        f.store->setValue(u"a"_s, 5);

        f.model.refresh();

        QCOMPARE(f.model.index(0, 2).data(), QVariant(5));
        QCOMPARE(f.model.index(0, 1).data(), QVariant(u"int"_s));
    }

    void insertsANewKeyAtItsPlace()
    {
        Fixture f(m_files.parsed("[g]\na=1\nc=3\n"));
        f.store->setValue(u"g/b"_s, 2);
        f.recorder.snapshot = [&] {
            const QModelIndex row = f.model.index(1, 0, f.model.index(0, 0));
            return treeText(f.model) + u" path "_s + row.data(Qt::ToolTipRole).toString() + u" type "_s +
                   row.siblingAtColumn(1).data().toString();
        };

        f.model.refresh();

        QCOMPARE(f.recorder.take(), (QStringList{u"changed g/a 0-2 []: g{a=1 c=3} path g/c type QString"_s,
                                                 u"inserting g 1..1: g{a=1 c=3} path g/c type QString"_s,
                                                 u"inserted g 1..1: g{a=1 = c=3} path  type "_s,
                                                 u"changed g/b 0-2 []: g{a=1 b=2 c=3} path g/b type int"_s,
                                                 u"changed g/c 0-2 []: g{a=1 b=2 c=3} path g/b type int"_s}));
    }

    void insertsANewGroupWithoutName()
    {
        Fixture f(m_files.parsed("a=1\n[z]\nk=1\n"));
        f.store->setValue(u"m/n/k"_s, u"2"_s);
        f.recorder.snapshot = [&] { return treeText(f.model); };

        f.model.refresh();

        QCOMPARE(f.recorder.take(),
                 (QStringList{u"inserting root 0..0: z{k=1} a=1"_s, u"inserted root 0..0: {} z{k=1} a=1"_s,
                              u"inserting m 0..0: m{} z{k=1} a=1"_s, u"inserted m 0..0: m{{}} z{k=1} a=1"_s,
                              u"inserting m/n 0..0: m{n{}} z{k=1} a=1"_s,
                              u"inserted m/n 0..0: m{n{=}} z{k=1} a=1"_s,
                              u"changed m/n/k 0-2 []: m{n{k=2}} z{k=1} a=1"_s,
                              u"changed z/k 0-2 []: m{n{k=2}} z{k=1} a=1"_s,
                              u"changed a 0-2 []: m{n{k=2}} z{k=1} a=1"_s}));
        QCOMPARE(find(f.model, {u"m"_s, u"n"_s}).data(Qt::ToolTipRole), QVariant(u"m/n"_s));
    }

    void givesTopLevelNotificationsTheIndexOfTheRoot()
    {
        Fixture f(m_files.empty());
        f.store->setValue(u"k"_s, 1);
        QSignalSpy inserted(&f.model, &QAbstractItemModel::rowsInserted);
        QSignalSpy removed(&f.model, &QAbstractItemModel::rowsRemoved);
        QModelIndex parent;
        connect(&f.model, &QAbstractItemModel::rowsAboutToBeInserted, this,
                [&](const QModelIndex &index) { parent = index; });

        f.model.refresh();
        f.store->remove(u"k"_s);
        f.model.refresh();

        QCOMPARE(inserted.size(), 1);
        QCOMPARE(removed.size(), 1);
        QCOMPARE(inserted.at(0).at(0).toModelIndex(), parent);
        QCOMPARE(removed.at(0).at(0).toModelIndex(), parent);
        QVERIFY(parent.isValid());
        QCOMPARE(parent.row(), 0);
        QCOMPARE(parent.column(), 0);
        QVERIFY(parent.internalPointer());
        QCOMPARE(f.model.parent(parent), QModelIndex());
        QCOMPARE(f.model.rowCount(parent), 0);
        QVERIFY(f.model.hasChildren(parent));
        QCOMPARE(parent.data(), QVariant(QString()));
        QCOMPARE(f.model.flags(parent), Qt::ItemIsSelectable | Qt::ItemIsEnabled);
        QVERIFY(!parent.data(Qt::DecorationRole).value<QIcon>().isNull());
    }

    void answersForTheRootAsForAnyKeyless()
    {
        Fixture f(m_files.empty());
        f.store->setValue(u"k"_s, 1);
        QStringList answers;
        connect(&f.model, &QAbstractItemModel::rowsInserted, this, [&](const QModelIndex &parent) {
            answers += treeText(f.model, parent);
            answers += QString::number(f.model.rowCount(parent));
            answers += parent.data(Qt::ToolTipRole).toString();
            answers += f.model.index(0, 0, parent) == f.model.index(0, 0) ? u"same"_s : u"other"_s;
        });

        f.model.refresh();

        QCOMPARE(answers, (QStringList{u"="_s, u"1"_s, u""_s, u"same"_s}));
    }

    void needsTwoRefreshesForAVanishedEntry()
    {
        Fixture f(m_files.parsed("[P]\nk=1\n[Q]\nk=1\n[R]\nk=1\n"));
        f.store->remove(u"Q"_s);

        f.model.refresh();
        QCOMPARE(treeText(f.model), u"P{k=1} Q{k=1}"_s);
        QCOMPARE(f.recorder.take(), changes({u"P/k"_s, u"R/k"_s}) + removals(u"root"_s, 2, 2));

        f.model.refresh();
        QCOMPARE(treeText(f.model), u"P{k=1} R{k=1}"_s);
        QCOMPARE(f.recorder.take(), changes({u"P/k"_s}) + inserts(u"root"_s, 1) + inserts(u"R"_s, 0) +
                                        changes({u"R/k"_s}) + removals(u"root"_s, 2, 2));
    }

    void cutsTheTailWhicheverRowsStandThere()
    {
        Fixture f(m_files.parsed("[g]\na=1\nb=2\nc=3\nd=4\n"));
        f.store->remove(u"g/a"_s);
        f.store->remove(u"g/b"_s);
        f.recorder.snapshot = [&] { return treeText(f.model); };

        f.model.refresh();

        QCOMPARE(f.recorder.take(),
                 (QStringList{u"changed g/c 0-2 []: g{a=1 b=2 c=3 d=4}"_s,
                              u"changed g/d 0-2 []: g{a=1 b=2 c=3 d=4}"_s,
                              u"removing g 2..3: g{a=1 b=2 c=3 d=4}"_s, u"removed g 2..3: g{a=1 b=2}"_s}));
    }

    void tellsOfAnEntryAboveItsPlaceByAnEmptyRemoval()
    {
        Fixture f(m_files.parsed("[g]\nx=1\nx\\y=2\n"));
        QCOMPARE(treeText(f.model), u"g{x{y=2} x=1}"_s);
        f.recorder.snapshot = [&] { return treeText(f.model); };

        f.model.refresh();

        QCOMPARE(
            f.recorder.take(),
            (QStringList{u"changed g/x/y 0-2 []: g{x{y=2} x=1}"_s, u"removing g 1..-1: g{x={y=2} x=1}"_s,
                         u"removed g 1..-1: g{x={y=2} x=1}"_s, u"changed g/x 0-2 []: g{x=1{y=2} x=1}"_s}));
        const QModelIndex x = find(f.model, {u"g"_s, u"x"_s});
        QCOMPARE(x.row(), 0);
        QVERIFY(!f.model.hasChildren(x));
        QCOMPARE(f.model.rowCount(x), 1);

        // The next merge turns the key into a group, and back.
        f.model.refresh();
        QCOMPARE(
            f.recorder.take(),
            (QStringList{u"changed g/x/y 0-2 []: g{x{y=2} x=1}"_s, u"removing g 1..-1: g{x={y=2} x=1}"_s,
                         u"removed g 1..-1: g{x={y=2} x=1}"_s, u"changed g/x 0-2 []: g{x=1{y=2} x=1}"_s}));
    }

    void turnsAGroupIntoAKeyThatKeepsItsRows()
    {
        Fixture f(m_files.parsed("[g]\nx\\y=2\n"));
        f.store->remove(u"g/x"_s);
        f.store->setValue(u"g/x"_s, 7);

        f.model.refresh();

        QCOMPARE(f.recorder.take(), changes({u"g/x"_s}));
        QCOMPARE(treeText(f.model), u"g{x=7{y=2}}"_s);
        QCOMPARE(find(f.model, {u"g"_s, u"x"_s}, 1).data(), QVariant(u"int"_s));
    }

    void turnsAKeyIntoAGroup()
    {
        Fixture f(m_files.parsed("[g]\nx=2\n"));
        f.store->remove(u"g/x"_s);
        f.store->setValue(u"g/x/y"_s, u"7"_s);

        f.model.refresh();

        QCOMPARE(f.recorder.take(), inserts(u"g/x"_s, 0) + changes({u"g/x/y"_s}));
        QCOMPARE(treeText(f.model), u"g{x{y=7}}"_s);
        QCOMPARE(find(f.model, {u"g"_s, u"x"_s}, 1).data(), QVariant());
        QCOMPARE(find(f.model, {u"g"_s, u"x"_s}, 2).data(), QVariant());
    }

    void appendsWhenThePlaceLiesBehindTheEnd()
    {
        Fixture f(m_files.parsed("[g]\nx\\y=1\n"));
        f.store->setValue(u"g/x"_s, u"2"_s);
        f.store->setValue(u"g/z"_s, u"3"_s);

        f.model.refresh();

        QCOMPARE(f.recorder.take(), changes({u"g/x/y"_s}) + removals(u"g"_s, 1, -1) + changes({u"g/x"_s}) +
                                        inserts(u"g"_s, 2) + changes({u"g/z"_s}));
        QCOMPARE(treeText(f.model), u"g{x=2{y=1} z=3}"_s);
    }

    void overwritesEditsOfTheTreeOnRefresh()
    {
        Fixture f(m_files.parsed("a=1\n"), Manual);
        f.model.setData(f.model.index(0, 2), u"new"_s);

        f.model.refresh();

        QCOMPARE(treeText(f.model), u"a=1"_s);
    }

    // Where a store offers what cannot be followed.

    void doesNotDescendIntoAGroupWithoutName_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("tree");

        QTest::newRow("[]") << QByteArray("[]\nk=1\n[a]\nk=2\n") << u"{} a{k=2}"_s;
        QTest::newRow("[/x]") << QByteArray("[/x]\nk=1\n[a]\nk=2\n") << u"{} a{k=2}"_s;
        QTest::newRow("inside a group") << QByteArray("[a]\n/x=1\nk=2\n") << u"a{{} k=2}"_s;
        QTest::newRow("the only one") << QByteArray("[/]\nk=1\n") << u"{}"_s;
    }

    void doesNotDescendIntoAGroupWithoutName()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, tree);
        const auto store = m_files.parsed(content);
        SettingsModel model;

        model.setSettings(store.get());
        QCOMPARE(treeText(model), tree);
        QCOMPARE(store->group(), QString());

        model.refresh();
        QCOMPARE(treeText(model), tree);
        QCOMPARE(store->group(), QString());

        const auto empty = m_files.empty();
        SettingsModel merged;
        merged.setSettings(empty.get());
        const auto other = m_files.parsed(content);
        merged.setSettings(other.get());
        merged.refresh();
        QCOMPARE(treeText(merged), tree);
    }

    void showsAKeyWithoutNameWithoutValue()
    {
        const auto store = m_files.parsed("=5\na=1\n[g]\n=6\nk=2\n");
        SettingsModel model;

        model.setSettings(store.get());
        model.refresh();

        QCOMPARE(treeText(model), u"g{= k=2} = a=1"_s);
        QCOMPARE(model.index(1, 1).data(), QVariant(u""_s));
        QCOMPARE(model.index(1, 2).data(), QVariant());
        QCOMPARE(find(model, {u"g"_s, u""_s}).data(Qt::ToolTipRole), QVariant(u"g/"_s));
    }

    void submitsAroundEntriesWithoutName()
    {
        Fixture f(m_files.parsed("=5\na=1\n[g]\n=6\n/x=7\nk=2\nl=3\n[z]\nk=3\n[]\nk=4\n"));
        f.model.setEditStrategy(SettingsModel::OnManualSubmit);

        f.model.submitAll();

        QCOMPARE(entries(*f.store), (QStringList{u"a=1"_s, u"g/k=2"_s, u"g/l=3"_s, u"z/k=3"_s}));
    }

    void leavesTheStoreAloneForEntriesWithoutName()
    {
        Fixture f(m_files.parsed("=5\na=1\n[g]\n=6\n/x=7\nk=2\n"), AtOnce);
        const QStringList keys = f.store->allKeys();

        QVERIFY(f.model.setData(find(f.model, {u""_s}, 2), u"new"_s));
        QVERIFY(f.model.setData(f.model.index(1, 2, find(f.model, {u"g"_s})), u"new"_s));
        QCOMPARE(treeText(f.model), u"g{{} =new k=2} =new a=1"_s);
        QVERIFY(f.model.removeRows(0, 2, find(f.model, {u"g"_s})));
        QVERIFY(f.model.removeRows(1, 1));

        QCOMPARE(treeText(f.model), u"g{k=2} a=1"_s);
        QCOMPARE(f.store->allKeys(), keys);
    }

    void editsAKeyWithoutNameUnderThePathThatPercentMadeOfIt()
    {
        Fixture f(m_files.parsed("[a%251b]\n=6\n"), AtOnce);
        const QModelIndex nameless = f.model.index(0, 2, f.model.index(0, 0));
        QCOMPARE(nameless.data(Qt::ToolTipRole), QVariant(u"ab/%2"_s));

        QVERIFY(f.model.setData(nameless, u"new"_s));

        QCOMPARE(f.store->value(u"ab/%2"_s), QVariant(u"new"_s));
        QVERIFY(f.model.removeRows(0, 1, f.model.index(0, 0)));
        QVERIFY(!f.store->contains(u"ab/%2"_s));
    }

    void walksDeeperThanTheStack()
    {
        constexpr int depth = 10'000;
        Fixture f(m_files.filled({{u"g/"_s.repeated(depth) + u"k"_s, 1}}), Manual);

        QModelIndex key;
        for (QModelIndex next = f.model.index(0, 0); next.isValid(); next = f.model.index(0, 0, next))
            key = next;
        QCOMPARE(key.data(), QVariant(u"k"_s));
        QCOMPARE(key.data(Qt::ToolTipRole).toString().size(), 2 * depth + 1);
        QVERIFY(f.model.setData(key.siblingAtColumn(2), 2));
        f.model.submitAll();
        f.model.refresh();

        QCOMPARE(f.store->value(u"g/"_s.repeated(depth) + u"k"_s), QVariant(2));
        QCOMPARE(key.siblingAtColumn(2).data(), QVariant(2));
        QVERIFY(f.model.removeRows(0, 1));
        QCOMPARE(f.model.rowCount(), 0);
    }

    // Other stores.

    void worksOnTheNativeFormat()
    {
        QTemporaryDir home;
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.path()));
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, home.path());
        QSettings store(u"Sito Tests"_s, u"settings model"_s);
        QVERIFY(store.fileName().startsWith(home.path()));
        store.setFallbacksEnabled(false);
        store.setValue(u"window/geometry"_s, QRect(1, 2, 3, 4));
        store.setValue(u"window/Имя"_s, u"x"_s);
        store.setValue(u"top"_s, 1);
        SettingsModel model;
        model.setReadOnly(false);

        model.setSettings(&store);
        QCOMPARE(treeText(model), u"window{geometry= Имя=x} top=1"_s);
        QVERIFY(model.setData(find(model, {u"window"_s, u"Имя"_s}, 2), u"y"_s));
        QVERIFY(model.removeRows(1, 1));
        store.sync();

        QFile file(store.fileName());
        QVERIFY(file.open(QIODevice::ReadOnly));
        const auto copy = m_files.parsed(file.readAll());
        QCOMPARE(entries(*copy), (QStringList{u"window/geometry="_s, u"window/Имя=y"_s}));
        QCOMPARE(copy->value(u"window/geometry"_s), QVariant(QRect(1, 2, 3, 4)));
    }

    void seesWhatAnotherObjectChanged()
    {
        const auto store = m_files.parsed("a=1\n");
        QSettings other(store->fileName(), QSettings::IniFormat);
        SettingsModel model;
        model.setSettings(store.get());

        other.setValue(u"b"_s, u"2"_s);
        model.refresh();

        QCOMPARE(treeText(model), u"a=1 b=2"_s);
    }

    void showsNothingBeyondTheThirdColumn()
    {
        // An index that createIndex() of a subclass makes: index() gives none there.
        class Wide : public SettingsModel
        {
        public:
            QModelIndex beyond(const QModelIndex &index) const
            {
                return createIndex(index.row(), 3, index.internalPointer());
            }
        };
        const auto store = m_files.parsed("a=1\n");
        Wide model;
        model.setSettings(store.get());

        const QModelIndex beyond = model.beyond(model.index(0, 0));

        QVERIFY(!model.index(0, 3).isValid());
        for (const int role : {Qt::DisplayRole, Qt::EditRole, Qt::DecorationRole})
            QVERIFY(!model.data(beyond, role).isValid());
        QCOMPARE(model.data(beyond, Qt::ToolTipRole).toString(), u"a"_s);
    }

    void asksTheMostDerivedRowCountBeforeRemoving()
    {
        class Short : public SettingsModel
        {
        public:
            int rowCount(const QModelIndex &) const override { return 1; }
        };
        const auto store = m_files.parsed("a=1\nb=2\n");
        Short model;
        model.setSettings(store.get());
        model.setReadOnly(false);

        QVERIFY(!model.removeRows(1, 1));
        QVERIFY(model.removeRows(0, 1));
        QCOMPARE(store->allKeys(), QStringList(u"b"_s));
    }
};

QTEST_MAIN(TestSettingsModel)
#include "tst_settingsmodel.moc"
