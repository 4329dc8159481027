// SPDX-License-Identifier: MIT
#include <browser/settings/settingswindow.h>

#include <hostkit/views/icons.h>
#include <browser/parts/noticebar.h>
#include <browser/settings/inifile.h>
#include <browser/settings/settingsfile.h>

#include <data/exception.h>
#include <hostkit/settings/scratchstore.h>
#include <hostkit/settings/settingschanges.h>
#include <hostkit/settings/settingsdelegate.h>
#include <hostkit/settings/settingsvalue.h>
#include <hostkit/settings/settingsviewproxy.h>
#include <settings/settingsmodel.h>

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QBoxLayout>
#include <QClipboard>
#include <QCloseEvent>
#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPainter>
#include <QPushButton>
#include <QScrollBar>
#include <QSet>
#include <QSettings>
#include <QSortFilterProxyModel>
#include <QSplitter>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QTreeView>

#include <algorithm>
#include <functional>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

constexpr int valueColumn = 2;
constexpr int searchDelay = 200; // ms
constexpr int watchDelay = 150;  // ms; a write is told of several times

/// Tells whether a row holds a pending change, or a removal below it.
constexpr int pendingRole = Qt::UserRole + 1;

using Changes = QList<SettingsChanges::Change>;

/// With `OnFieldChange`, has changes written by somebody else, and makes them when they are written.
class StoreModel : public SettingsModel
{
public:
    explicit StoreModel(QObject *parent) : SettingsModel(parent) {}

    /// Whether changes wait.
    bool isManual() const { return editStrategy() == OnManualSubmit && !m_written; }

    bool setData(const QModelIndex &index, const QVariant &value, int role) override
    {
        if (isManual() || !flags(index).testFlag(Qt::ItemIsEditable) || isNameless(index) ||
            (role != Qt::EditRole && role != Qt::DisplayRole))
            return SettingsModel::setData(index, value, role);
        SettingsChanges::Change change;
        change.path = settingsPath(index);
        change.newValue = value;
        const Written written(*this, {change});
        return written && SettingsModel::setData(index, settings()->value(change.path), role);
    }

    bool removeRows(int row, int count, const QModelIndex &parent) override
    {
        if (isManual() || readOnly() || row < 0 || count < 1 || row > rowCount(parent) - count)
            return SettingsModel::removeRows(row, count, parent);
        Changes removals;
        for (int i = row; i < row + count; ++i) {
            const QModelIndex gone = index(i, 0, parent);
            SettingsChanges::Change change;
            change.path = settingsPath(gone);
            change.removal = true;
            change.group = hasChildren(gone);
            if (!isNameless(gone))
                removals += change;
        }
        const Written written(*this, removals);
        return written && SettingsModel::removeRows(row, count, parent);
    }

    std::function<bool(const Changes &)> write;

private:
    /// Has changes written; then the model keeps away from the store, which has them.
    class Written
    {
    public:
        Written(StoreModel &model, const Changes &changes) : m_model(model)
        {
            if (!m_model.write(changes))
                return;
            m_model.m_written = true;
            m_model.setEditStrategy(OnManualSubmit);
        }
        ~Written()
        {
            if (std::exchange(m_model.m_written, false))
                m_model.setEditStrategy(OnFieldChange);
        }
        explicit operator bool() const { return m_model.m_written; }

    private:
        Q_DISABLE_COPY_MOVE(Written)
        StoreModel &m_model;
    };

    static bool isNameless(const QModelIndex &index)
    {
        return index.siblingAtColumn(0).data().toString().isEmpty();
    }

    bool m_written = false;
};

/// The rows that the search finds, with what is above them; marks pending changes.
class SearchModel : public QSortFilterProxyModel
{
public:
    SearchModel(const SettingsChanges &changes, QObject *parent)
        : QSortFilterProxyModel(parent), m_changes(changes)
    {
        setRecursiveFilteringEnabled(true);
    }

    void search(const QString &text)
    {
        m_text = text;
        invalidateFilter();
    }
    const QString &text() const { return m_text; }

    QVariant data(const QModelIndex &index, int role) const override
    {
        switch (role) {
        case Qt::FontRole:
            if (isPending(index)) {
                QFont font = QApplication::font("QTreeView");
                font.setBold(true);
                return font;
            }
            return {};
        case pendingRole:
            return isPending(index);
        case Qt::ToolTipRole:
            return settingsPath(index);
        case Qt::AccessibleTextRole: {
            QString text = settingsValueText(settingsValue(index));
            if (index.column() == 0 && m_changes.isEdited(settingsPath(index)))
                text += SettingsWindow::tr(", правка ждёт записи");
            else if (index.column() == 0 && isPending(index))
                text +=
                    SettingsWindow::tr(", ждут удаления: %1").arg(m_changes.removalsIn(settingsPath(index)));
            return text;
        }
        default:
            return QSortFilterProxyModel::data(index, role);
        }
    }

    Qt::ItemFlags flags(const QModelIndex &index) const override
    {
        Qt::ItemFlags flags = QSortFilterProxyModel::flags(index);
        const bool editable = flags.testFlag(Qt::ItemIsEditable) &&
                              !index.siblingAtColumn(0).data().toString().isEmpty() &&
                              SettingsDelegate::isEditable(settingsValue(index));
        flags.setFlag(Qt::ItemIsEditable, editable);
        return flags;
    }

    /// The marks may be others now.
    void remark(const QModelIndex &parent = {})
    {
        const int rows = rowCount(parent);
        if (rows == 0)
            return;
        Q_EMIT dataChanged(index(0, 0, parent), index(rows - 1, valueColumn, parent),
                           {Qt::FontRole, pendingRole, Qt::AccessibleTextRole});
        for (int row = 0; row < rows; ++row)
            remark(index(row, 0, parent));
    }

protected:
    bool filterAcceptsRow(int row, const QModelIndex &parent) const override
    {
        if (m_text.isEmpty())
            return true;
        const QModelIndex first = sourceModel()->index(row, 0, parent);
        if (settingsPath(first).contains(m_text, Qt::CaseInsensitive))
            return true;
        for (int column = 0; column <= valueColumn; ++column) {
            const QVariant value = settingsValue(first.siblingAtColumn(column));
            const QString text =
                value.typeId() == QMetaType::QString ? value.toString() : settingsValueText(value);
            if (text.contains(m_text, Qt::CaseInsensitive))
                return true;
        }
        return false;
    }

private:
    bool isPending(const QModelIndex &index) const
    {
        const QString path = settingsPath(index);
        return m_changes.removalsIn(path) > 0 ||
               (m_changes.isEdited(path) && !hasChildren(index.siblingAtColumn(0)));
    }

    const SettingsChanges &m_changes;
    QString m_text;
};

/// Marks pending changes with a bar before the name.
class MarkingDelegate : public SettingsDelegate
{
public:
    using SettingsDelegate::SettingsDelegate;

    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option,
                          const QModelIndex &index) const override
    {
        QWidget *editor = SettingsDelegate::createEditor(parent, option, index);
        if (editor)
            editorMade(editor);
        return editor;
    }

    std::function<void(QWidget *)> editorMade;

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        SettingsDelegate::paint(painter, option, index);
        if (index.column() != 0 || !index.data(pendingRole).toBool())
            return;
        QRect bar = option.rect;
        bar.setWidth(std::max(2, option.fontMetrics.averageCharWidth() / 3));
        const bool selected = option.state.testFlag(QStyle::State_Selected);
        painter->fillRect(bar, option.palette.color(selected ? QPalette::HighlightedText : QPalette::Link));
    }

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        // Room for an editor.
        QSize size = SettingsDelegate::sizeHint(option, index);
        size.setHeight(std::max(size.height(), option.fontMetrics.height() * 3 / 2));
        return size;
    }
};

/// Keeps the rows that a view shows where they are, while others come and go above them.
class Anchor
{
public:
    explicit Anchor(QTreeView *view) : m_view(view)
    {
        for (QModelIndex index = view->indexAt(QPoint(0, 0)); index.isValid();
             index = view->indexBelow(index)) {
            const int top = view->visualRect(index).top();
            if (top > view->viewport()->height())
                break;
            m_rows.append({index, top});
        }
    }
    ~Anchor()
    {
        for (const Row &row : m_rows) {
            if (!row.index.isValid())
                continue;
            QScrollBar *bar = m_view->verticalScrollBar();
            // Brings the layout up to date before the bar gets its new value.
            const int top = m_view->visualRect(row.index).top();
            bar->setValue(bar->value() + top - row.top);
            return;
        }
    }

private:
    Q_DISABLE_COPY_MOVE(Anchor)
    struct Row
    {
        QPersistentModelIndex index;
        int top;
    };
    QTreeView *m_view;
    QList<Row> m_rows;
};

/// The entries below \a index and itself.
int countEntries(const QModelIndex &index)
{
    int count = 1;
    for (int row = 0; row < index.model()->rowCount(index); ++row)
        count += countEntries(index.model()->index(row, 0, index));
    return count;
}

} // namespace

class SettingsWindowPrivate
{
public:
    explicit SettingsWindowPrivate(SettingsWindow *window)
        : q(window), changes(window), proxy(window), search(changes, window)
    {
        search.setSourceModel(&proxy);
    }

    void build();
    QAction *addAction(const QString &name, const QKeySequence &keys, void (SettingsWindowPrivate::*slot)());
    void retranslate();
    void updateState();

    bool open(std::unique_ptr<QSettings> newStore);
    void takeModel();
    bool mayClose();
    bool finishEditing(SettingsDelegate::Refused refused = SettingsDelegate::Refused::Keep);
    bool isManual() const { return model && model->isManual(); }

    // Actions.
    void chooseFile();
    void submit();
    void revert();
    void refresh();
    void reload();
    void removeSelected();
    void copyPaths();
    void editCurrent();
    void dismissSelected();
    void focusSearch() { searchLine->setFocus(Qt::ShortcutFocusReason), searchLine->selectAll(); }
    void expandAll() { tree->expandAll(); }
    void collapseAll() { tree->collapseAll(); }
    void chooseImmediate();
    void chooseManual() { setStrategy(SettingsModel::OnManualSubmit); }
    void setStrategy(SettingsModel::EditStrategy strategy);

    bool trySubmit();
    bool writeAtOnce(const Changes &wanted);
    struct Outcome;
    Outcome write(const Changes &wanted);
    void showFile(const Outcome &outcome);
    QString droppedText(int dropped) const;
    void showFileAfterEditing(Outcome outcome);
    static Outcome foundChanged();
    void tell(const Outcome &outcome, int dropped = 0);
    void editingEnded();
    void applySearch();
    void noteExpanded(const QModelIndex &index);
    void expandAgain(const QModelIndex &index, bool withChildren);
    QList<QPersistentModelIndex> selectedRows() const;

    // The file.
    QByteArray fingerprint(QByteArray *text = nullptr) const;
    void watch();
    void lookAtFile();
    bool isFileGone() const;
    QString fileProblem() const;
    bool becameAmbiguous() const;
    bool hasAmbiguousNames() const { return hasAmbiguousNames(*store); }
    static bool hasAmbiguousNames(QSettings &content);

    SettingsWindow *q;
    std::unique_ptr<QSettings> store;
    StoreModel *model = nullptr;
    SettingsChanges changes;
    SettingsViewProxy proxy;
    SearchModel search;
    bool ambiguous = false;
    SettingsModel::EditStrategy chosen = SettingsModel::OnManualSubmit; ///< where no other one is forced
    QByteArray safe; ///< the fingerprint that needs no copy: of what was copied or written here
    bool hasWidths = false;
    /// Paths of the groups that were expanded when they went.
    QSet<QString> wereExpanded;
    QByteArray seen;
    QByteArray lastText;                      ///< what the file held when it was last read or written
    bool stale = false;                       ///< something in the tree is older than what was seen
    std::shared_ptr<const Outcome> postponed; ///< to be shown when no editor is open any more
    /// Of the keys whose edits were refused while what the file holds could not be shown.
    QHash<QString, QVariant> toldValues;
    QFileSystemWatcher watcher;
    QTimer watchTimer;
    QTimer searchTimer;

    QMenuBar *menuBar = nullptr;
    QMenu *fileMenu = nullptr;
    QMenu *editMenu = nullptr;
    QMenu *viewMenu = nullptr;
    QToolBar *toolBar = nullptr;
    QHash<QString, QAction *> actions;
    NoticeBar *stateBar = nullptr;
    NoticeBar *noticeBar = nullptr;
    QLineEdit *searchLine = nullptr;
    QTreeView *tree = nullptr;
    QWidget *panel = nullptr;
    QLabel *panelTitle = nullptr;
    QTreeView *pendingList = nullptr;
    QPushButton *dismissButton = nullptr;
    QLabel *status = nullptr;
};

void SettingsWindowPrivate::build()
{
    q->setObjectName(u"settingsWindow"_s);
    menuBar = new QMenuBar(q);
    fileMenu = menuBar->addMenu(QString());
    editMenu = menuBar->addMenu(QString());
    viewMenu = menuBar->addMenu(QString());

    using Self = SettingsWindowPrivate;
    QAction *open = addAction(u"open"_s, QKeySequence::Open, &Self::chooseFile);
    QAction *submitAction = addAction(u"submit"_s, QKeySequence::Save, &Self::submit);
    QAction *revertAction = addAction(u"revert"_s, QKeySequence(u"Ctrl+Shift+Z"_s), &Self::revert);
    QAction *refreshAction = addAction(u"refresh"_s, QKeySequence::Refresh, &Self::refresh);
    QAction *immediate = addAction(u"immediate"_s, {}, &Self::chooseImmediate);
    QAction *manual = addAction(u"manual"_s, {}, &Self::chooseManual);
    QAction *edit = addAction(u"edit"_s, {}, &Self::editCurrent);
    QAction *remove = addAction(u"remove"_s, QKeySequence::Delete, &Self::removeSelected);
    // The list of pending changes has another use for the key.
    remove->setShortcutContext(Qt::WidgetShortcut);
    QAction *copy = addAction(u"copyPath"_s, QKeySequence(u"Ctrl+Shift+C"_s), &Self::copyPaths);
    QAction *find = addAction(u"find"_s, QKeySequence::Find, &Self::focusSearch);
    QAction *expand = addAction(u"expandAll"_s, QKeySequence(u"Ctrl+Shift+E"_s), &Self::expandAll);
    QAction *collapse = addAction(u"collapseAll"_s, QKeySequence(u"Ctrl+Shift+W"_s), &Self::collapseAll);
    QAction *close = addAction(u"close"_s, QKeySequence::Close, nullptr);
    QObject::connect(close, &QAction::triggered, q, &QWidget::close);
    auto *strategies = new QActionGroup(q);
    for (QAction *action : {immediate, manual}) {
        action->setCheckable(true);
        strategies->addAction(action);
    }
    const auto icon = [](QAction *action, Icons::Shape shape) { action->setIcon(Icons::icon(shape)); };
    icon(open, Icons::Shape::Open);
    icon(remove, Icons::Shape::Trash);
    icon(copy, Icons::Shape::Copy);
    icon(edit, Icons::Shape::Edit);
    fileMenu->addActions({open, refreshAction});
    fileMenu->addSeparator();
    fileMenu->addActions({submitAction, revertAction});
    fileMenu->addSeparator();
    fileMenu->addActions({immediate, manual});
    fileMenu->addSeparator();
    fileMenu->addAction(close);
    editMenu->addActions({edit, remove, copy});
    editMenu->addSeparator();
    editMenu->addAction(find);
    viewMenu->addActions({expand, collapse});

    toolBar = new QToolBar(q);
    toolBar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    toolBar->addActions({open, refreshAction, submitAction, revertAction, remove});
    for (QAction *action : toolBar->actions())
        toolBar->widgetForAction(action)->setFocusPolicy(Qt::TabFocus);

    stateBar = new NoticeBar(q);
    stateBar->setObjectName(u"stateBar"_s);
    stateBar->setClosable(false);
    noticeBar = new NoticeBar(q);
    noticeBar->setObjectName(u"noticeBar"_s);
    QObject::connect(noticeBar, &NoticeBar::triggered, q, [this] { refresh(); });

    searchLine = new QLineEdit(q);
    searchLine->setObjectName(u"search"_s);
    searchLine->setClearButtonEnabled(true);
    searchTimer.setSingleShot(true);
    searchTimer.setInterval(searchDelay);
    QObject::connect(searchLine, &QLineEdit::textChanged, &searchTimer, qOverload<>(&QTimer::start));
    QObject::connect(&searchTimer, &QTimer::timeout, q, [this] { applySearch(); });
    QObject::connect(searchLine, &QLineEdit::returnPressed, q, [this] {
        applySearch();
        tree->setFocus(Qt::OtherFocusReason);
    });

    tree = new QTreeView(q);
    tree->setObjectName(u"tree"_s);
    tree->setModel(&search);
    auto *delegate = new MarkingDelegate(tree);
    delegate->editorMade = [this](QWidget *editor) {
        // Views close editors by themselves, too.
        QObject::connect(
            editor, &QObject::destroyed, q, [this] { editingEnded(); }, Qt::QueuedConnection);
        updateState();
    };
    QObject::connect(delegate, &QAbstractItemDelegate::closeEditor, q, [this] { updateState(); });
    tree->setItemDelegate(delegate);
    // The view forgets what it does not show. A group that is new in the model gets its name after the row.
    QObject::connect(&search, &QAbstractItemModel::rowsAboutToBeRemoved, q,
                     [this](const QModelIndex &parent, int first, int last) {
                         for (int row = first; row <= last; ++row)
                             noteExpanded(search.index(row, 0, parent));
                     });
    const auto expandRows = [this](const QModelIndex &parent, int first, int last, bool withChildren) {
        for (int row = first; row <= last && !wereExpanded.isEmpty(); ++row)
            expandAgain(search.index(row, 0, parent), withChildren);
    };
    QObject::connect(&search, &QAbstractItemModel::rowsInserted, q,
                     [expandRows](const QModelIndex &parent, int first, int last) {
                         expandRows(parent, first, last, true);
                     });
    QObject::connect(&search, &QAbstractItemModel::dataChanged, q,
                     [expandRows](const QModelIndex &topLeft, const QModelIndex &bottomRight) {
                         expandRows(topLeft.parent(), topLeft.row(), bottomRight.row(), false);
                     });
    tree->setSelectionMode(QAbstractItemView::ExtendedSelection);
    tree->setUniformRowHeights(true);
    tree->setAlternatingRowColors(true);
    tree->setAllColumnsShowFocus(true);
    tree->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    tree->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed);
    tree->setContextMenuPolicy(Qt::ActionsContextMenu);
    tree->addActions({edit, remove, copy});
    tree->header()->setSectionsMovable(false);
    QObject::connect(tree->selectionModel(), &QItemSelectionModel::selectionChanged, q,
                     [this] { updateState(); });
    QObject::connect(&proxy, &QAbstractItemModel::modelReset, q, [this] { updateState(); });

    panel = new QWidget(q);
    panelTitle = new QLabel(panel);
    pendingList = new QTreeView(panel);
    pendingList->setObjectName(u"pending"_s);
    pendingList->setModel(&changes);
    pendingList->setRootIsDecorated(false);
    pendingList->setUniformRowHeights(true);
    pendingList->setAllColumnsShowFocus(true);
    panelTitle->setBuddy(pendingList);
    dismissButton = new QPushButton(panel);
    dismissButton->setObjectName(u"dismiss"_s);
    QAction *dismiss = addAction(u"dismiss"_s, QKeySequence::Delete, &Self::dismissSelected);
    dismiss->setShortcutContext(Qt::WidgetShortcut);
    pendingList->addAction(dismiss);
    pendingList->setContextMenuPolicy(Qt::ActionsContextMenu);
    QObject::connect(dismissButton, &QPushButton::clicked, dismiss, &QAction::trigger);
    QObject::connect(pendingList, &QTreeView::activated, q, [this](const QModelIndex &index) {
        // Shows the entry in the tree.
        const QString path = changes.changes().at(index.row()).path;
        const QModelIndexList found =
            proxy.match(proxy.index(0, 0), Qt::ToolTipRole, path, 1, Qt::MatchExactly | Qt::MatchRecursive);
        if (found.isEmpty())
            return;
        const QPersistentModelIndex entry(found.first());
        if (!search.mapFromSource(entry).isValid()) {
            searchLine->clear();
            applySearch();
        }
        if (const QModelIndex shown = search.mapFromSource(entry); shown.isValid())
            tree->setCurrentIndex(shown);
    });
    QObject::connect(pendingList->selectionModel(), &QItemSelectionModel::currentChanged, q,
                     [this] { updateState(); });
    auto *panelTop = new QHBoxLayout;
    panelTop->addWidget(panelTitle, 1);
    panelTop->addWidget(dismissButton);
    auto *panelLayout = new QVBoxLayout(panel);
    panelLayout->setContentsMargins({});
    panelLayout->addLayout(panelTop);
    panelLayout->addWidget(pendingList);
    QObject::connect(&changes, &SettingsChanges::changed, q, [this] {
        search.remark();
        updateState();
    });

    status = new QLabel(q);
    status->setObjectName(u"status"_s);
    status->setTextFormat(Qt::PlainText);
    status->setTextInteractionFlags(Qt::TextSelectableByMouse);

    auto *splitter = new QSplitter(Qt::Vertical, q);
    splitter->addWidget(tree);
    splitter->addWidget(panel);
    splitter->setStretchFactor(0, 3);
    splitter->setStretchFactor(1, 1);
    splitter->setChildrenCollapsible(false);
    auto *layout = new QVBoxLayout(q);
    layout->setMenuBar(menuBar);
    layout->addWidget(toolBar);
    layout->addWidget(stateBar);
    layout->addWidget(noticeBar);
    layout->addWidget(searchLine);
    layout->addWidget(splitter, 1);
    layout->addWidget(status);

    watchTimer.setSingleShot(true);
    watchTimer.setInterval(watchDelay);
    QObject::connect(&watcher, &QFileSystemWatcher::fileChanged, &watchTimer, qOverload<>(&QTimer::start));
    QObject::connect(&watcher, &QFileSystemWatcher::directoryChanged, &watchTimer,
                     qOverload<>(&QTimer::start));
    QObject::connect(&watchTimer, &QTimer::timeout, q, [this] { lookAtFile(); });

    const int unit = q->fontMetrics().averageCharWidth();
    q->resize(unit * 150, unit * 105);
    pendingList->header()->resizeSection(0, unit * 20);
    pendingList->header()->resizeSection(1, unit * 40);
    pendingList->header()->resizeSection(2, unit * 30);
    tree->setFocus();
    retranslate();
}

QAction *SettingsWindowPrivate::addAction(const QString &name, const QKeySequence &keys,
                                          void (SettingsWindowPrivate::*slot)())
{
    auto *action = new QAction(q);
    action->setObjectName(name);
    action->setShortcut(keys);
    action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    q->addAction(action);
    if (slot)
        QObject::connect(action, &QAction::triggered, q, [this, slot] { (this->*slot)(); });
    actions.insert(name, action);
    return action;
}

void SettingsWindowPrivate::retranslate()
{
    const auto text = [this](const QString &name, const QString &label, const QString &tip = QString()) {
        actions.value(name)->setText(label);
        if (!tip.isEmpty())
            actions.value(name)->setToolTip(tip);
    };
    fileMenu->setTitle(SettingsWindow::tr("&Файл"));
    editMenu->setTitle(SettingsWindow::tr("&Правка"));
    viewMenu->setTitle(SettingsWindow::tr("&Вид"));
    text(u"open"_s, SettingsWindow::tr("&Открыть…"), SettingsWindow::tr("Открыть файл INI"));
    text(u"submit"_s, SettingsWindow::tr("&Записать"),
         SettingsWindow::tr("Записать все ожидающие изменения в файл"));
    text(u"revert"_s, SettingsWindow::tr("О&тменить всё"),
         SettingsWindow::tr("Отменить все ожидающие изменения"));
    text(u"refresh"_s, SettingsWindow::tr("О&бновить"),
         SettingsWindow::tr("Прочитать файл заново; ожидающие изменения останутся"));
    text(u"immediate"_s, SettingsWindow::tr("Записывать &сразу"));
    text(u"manual"_s, SettingsWindow::tr("Записывать по &команде"));
    text(u"edit"_s, SettingsWindow::tr("&Изменить"));
    text(u"remove"_s, SettingsWindow::tr("&Удалить…"), SettingsWindow::tr("Удалить выбранные записи"));
    text(u"copyPath"_s, SettingsWindow::tr("&Копировать путь"));
    text(u"find"_s, SettingsWindow::tr("&Найти"));
    text(u"expandAll"_s, SettingsWindow::tr("&Развернуть всё"));
    text(u"collapseAll"_s, SettingsWindow::tr("&Свернуть всё"));
    text(u"close"_s, SettingsWindow::tr("&Закрыть"));
    text(u"dismiss"_s, SettingsWindow::tr("Отменить это изменение"));
    dismissButton->setText(SettingsWindow::tr("Отменить &это"));
    dismissButton->setToolTip(SettingsWindow::tr("Отменить выбранное изменение, остальные останутся"));
    toolBar->setAccessibleName(SettingsWindow::tr("Панель инструментов"));
    searchLine->setPlaceholderText(SettingsWindow::tr("Поиск по имени, пути, типу и значению"));
    searchLine->setAccessibleName(SettingsWindow::tr("Поиск"));
    tree->setAccessibleName(SettingsWindow::tr("Записи"));
    pendingList->setAccessibleName(SettingsWindow::tr("Изменения, которые ждут записи"));
    // The headers and marks come with the models' texts.
    if (model)
        Q_EMIT model->headerDataChanged(Qt::Horizontal, 0, valueColumn);
    Q_EMIT changes.headerDataChanged(Qt::Horizontal, 0, SettingsChanges::ColumnCount - 1);
    tree->viewport()->update();
    pendingList->viewport()->update();
    updateState();
}

void SettingsWindowPrivate::updateState()
{
    const bool open = model != nullptr;
    const bool writable = open && !model->readOnly();
    const int pending = changes.rowCount();
    const bool submits = pending > 0 || SettingsDelegate::isEditing(tree) || (isManual() && isFileGone());
    const bool selected = tree->selectionModel()->hasSelection();
    actions.value(u"submit"_s)->setEnabled(writable && submits);
    actions.value(u"revert"_s)->setEnabled(writable && pending > 0);
    actions.value(u"refresh"_s)->setEnabled(open);
    actions.value(u"immediate"_s)->setEnabled(writable);
    actions.value(u"manual"_s)->setEnabled(writable && !ambiguous);
    actions.value(u"immediate"_s)->setChecked(open && !isManual());
    actions.value(u"manual"_s)->setChecked(isManual());
    actions.value(u"remove"_s)->setEnabled(writable && selected);
    actions.value(u"copyPath"_s)->setEnabled(selected);
    actions.value(u"edit"_s)->setEnabled(
        writable && tree->currentIndex().siblingAtColumn(valueColumn).flags().testFlag(Qt::ItemIsEditable));
    const bool canDismiss = writable && pendingList->currentIndex().isValid();
    actions.value(u"dismiss"_s)->setEnabled(canDismiss);
    dismissButton->setEnabled(canDismiss);
    panel->setVisible(isManual());
    panelTitle->setText(pending > 0 ? SettingsWindow::tr("&Ждут записи: %1").arg(pending)
                                    : SettingsWindow::tr("Ничто не &ждёт записи"));
    q->setWindowModified(pending > 0);
    const QString file = q->fileName();
    q->setWindowTitle(file.isEmpty()
                          ? SettingsWindow::tr("Настройки")
                          : SettingsWindow::tr("%1[*] - настройки").arg(QFileInfo(file).fileName()));
    status->setText(QFileInfo(file).fileName());
    status->setToolTip(QDir::toNativeSeparators(file));
    if (open && model->readOnly())
        stateBar->tell(Icons::Shape::Information,
                       SettingsWindow::tr("Файл доступен только для чтения: изменить его нельзя"));
    else if (ambiguous)
        stateBar->tell(Icons::Shape::Information,
                       SettingsWindow::tr("Здесь есть записи без имени или имена, которые сразу и группа, и "
                                          "ключ: запись по команде потеряла бы часть из них и недоступна"));
    else
        stateBar->clear();
}

// Opening and closing.

bool SettingsWindowPrivate::open(std::unique_ptr<QSettings> newStore)
{
    newStore->setFallbacksEnabled(false);
    changes.setModel(nullptr);
    proxy.setSourceModel(nullptr);
    delete std::exchange(model, nullptr);
    store = std::move(newStore);
    chosen = SettingsModel::OnManualSubmit;
    safe.clear();
    postponed.reset();
    toldValues.clear();
    lastText.clear();
    wereExpanded.clear();
    noticeBar->clear();
    takeModel();
    tree->expandAll();
    tree->setCurrentIndex(search.index(0, 0));
    watch();
    return true;
}

/// A new model of the store as it is.
void SettingsWindowPrivate::takeModel()
{
    auto *old = std::exchange(model, new StoreModel(q));
    model->write = [this](const Changes &wanted) { return writeAtOnce(wanted); };
    seen = fingerprint(&lastText);
    store->sync();
    stale = false;
    model->setSettings(store.get());
    ambiguous = hasAmbiguousNames();
    model->setReadOnly(isReadOnlyStore(*store));
    model->setEditStrategy(ambiguous ? SettingsModel::OnFieldChange : chosen);
    proxy.setSourceModel(model);
    changes.setModel(model);
    // There are no columns to be given a width before.
    if (!std::exchange(hasWidths, true)) {
        const int unit = q->fontMetrics().averageCharWidth();
        tree->header()->resizeSection(0, unit * 45);
        tree->header()->resizeSection(1, unit * 20);
    }
    delete old;
    updateState();
}

/// Whether no editor is open any more: what is typed was taken. Tells why not.
bool SettingsWindowPrivate::finishEditing(SettingsDelegate::Refused refused)
{
    const QString told = noticeBar->text();
    if (SettingsDelegate::finishEditing(tree, refused))
        return true;
    tree->scrollTo(tree->currentIndex());
    // The model may have told more.
    if (noticeBar->text() == told)
        noticeBar->tell(
            Icons::Shape::Warning,
            SettingsDelegate::isRefused(tree)
                ? SettingsWindow::tr(
                      "Введённое значение не записано. Enter в его поле повторит запись, Esc отменит правку")
                : SettingsWindow::tr("Сначала исправьте введённое значение или отмените его правку (Esc)"));
    return false;
}

bool SettingsWindowPrivate::mayClose()
{
    if (!finishEditing())
        return false;
    changes.synchronize();
    if (changes.isEmpty())
        return true;
    QMessageBox box(
        QMessageBox::Question, SettingsWindow::tr("Настройки"),
        SettingsWindow::tr("Изменений, которые ждут записи: %1. Записать их?").arg(changes.rowCount()),
        QMessageBox::NoButton, q);
    QPushButton *save = box.addButton(SettingsWindow::tr("&Записать"), QMessageBox::AcceptRole);
    QPushButton *discard = box.addButton(SettingsWindow::tr("&Отбросить"), QMessageBox::DestructiveRole);
    box.addButton(SettingsWindow::tr("От&мена"), QMessageBox::RejectRole);
    box.setDefaultButton(save);
    box.exec();
    if (box.clickedButton() == save)
        return trySubmit();
    if (box.clickedButton() != discard)
        return false;
    changes.dismissAll();
    return true;
}

void SettingsWindowPrivate::chooseFile()
{
    const QString name = QFileDialog::getOpenFileName(
        q, SettingsWindow::tr("Открыть файл настроек"), QFileInfo(q->fileName()).path(),
        SettingsWindow::tr("Файлы настроек (*.ini *.conf);;Все файлы (*)"));
    if (!name.isEmpty())
        q->openFile(name);
}

// Writing.

struct SettingsWindowPrivate::Outcome
{
    bool written = false;
    bool outdated = false; ///< the file was not what the window shows
    bool conflict = false; ///< it may be written all the same, if the user wants that
    Icons::Shape icon = Icons::Shape::Warning;
    QString message = {};
    QVariant found = {}; ///< with a conflict over a single edit: what the file holds
};

/// Brings \a wanted into the file, unless something speaks against it. The tree is left alone.
SettingsWindowPrivate::Outcome SettingsWindowPrivate::write(const Changes &wanted)
{
    const auto refusal = [](const QString &reason) {
        Outcome outcome;
        outcome.message = SettingsWindow::tr("Ничего не записано: %1").arg(reason);
        return outcome;
    };
    SettingsFile file(*store, lastText);
    if (!file.error().isEmpty())
        return refusal(file.error());
    Changes all;
    const bool gone = isFileGone();
    if (gone && !isManual()) {
        Outcome outcome;
        outcome.message = SettingsWindow::tr("Ничего не записано. %1").arg(fileProblem());
        return outcome;
    }
    if (gone) {
        for (auto entry = changes.known().cbegin(); entry != changes.known().cend(); ++entry) {
            SettingsChanges::Change change;
            change.path = entry.key();
            change.newValue = entry.value();
            if (change.newValue.isValid())
                all += change;
        }
    }
    all += wanted;
    const bool outdated = !gone && (stale || file.fingerprint() != seen);
    if (outdated) {
        if (isManual() && hasAmbiguousNames(file.content()))
            return refusal(
                SettingsWindow::tr("файл изменён другой программой, и в нём теперь есть записи без "
                                   "имени или имена, которые сразу и группа, и ключ"));
        QStringList conflicts = file.conflicts(wanted, changes.known());
        conflicts.removeIf([&](const QString &path) {
            return toldValues.contains(path) &&
                   isSameSettingsValue(toldValues.value(path), file.content().value(path));
        });
        if (!conflicts.isEmpty()) {
            Outcome outcome = refusal(SettingsWindow::tr("изменено и здесь, и в файле другой программой: %1")
                                          .arg(conflicts.join(u", "_s)));
            // An editor hides it.
            if (!isManual() && !wanted.first().removal) {
                const QString path = conflicts.first();
                outcome.found = file.content().value(path);
                outcome.message +=
                    u". "_s +
                    (file.content().contains(path)
                         ? SettingsWindow::tr("В файле теперь: %1").arg(settingsValueText(outcome.found))
                         : SettingsWindow::tr("В файле этой записи больше нет"));
            }
            outcome.outdated = outcome.conflict = true;
            return outcome;
        }
    }
    if (file.exists() && file.fingerprint() != safe) {
        if (const QString error = file.backUp(); !error.isEmpty())
            return refusal(error);
        safe = file.fingerprint();
    }
    if (const QString error = file.write(all); !error.isEmpty())
        return refusal(error);
    safe = seen = file.fingerprint();
    lastText = file.text();
    stale = outdated;
    watch();
    QStringList told;
    if (outdated)
        told += SettingsWindow::tr("Файл был изменён другой программой. Показано то, что в нём теперь");
    if (!file.flattened().isEmpty())
        told +=
            SettingsWindow::tr("Файл INI хранит список из одного элемента как текст, а пустой - как пустое "
                               "значение: %1")
                .arg(file.flattened().join(u", "_s));
    if (!file.keptIn().isEmpty())
        told += SettingsWindow::tr("Файл записан целиком заново: комментарии и то, чего QSettings не читает, "
                                   "остались только в копии «%1»")
                    .arg(file.keptIn());
    return {true, outdated, false, Icons::Shape::Information, told.join(u". "_s)};
}

/// What of the pending changes was \a dropped just now.
QString SettingsWindowPrivate::droppedText(int dropped) const
{
    const QStringList &grown = changes.grownGroups();
    QStringList texts;
    if (dropped > grown.size())
        texts += SettingsWindow::tr("Отброшено правок, записей которых больше нет: %1")
                     .arg(dropped - grown.size());
    if (!grown.isEmpty())
        texts += SettingsWindow::tr("Отменено удаление групп, в которые другая программа записала новое: %1")
                     .arg(grown.join(u", "_s));
    return texts.join(u". "_s);
}

/// What the file holds now, and what came of writing it.
void SettingsWindowPrivate::showFile(const Outcome &outcome)
{
    int dropped = 0;
    if (outcome.outdated) {
        postponed.reset();
        toldValues.clear();
        stale = false;
        // What is written from now on is seen later.
        seen = fingerprint(&lastText);
        store->sync();
        if (ambiguous || hasAmbiguousNames()) {
            reload();
        } else {
            const Anchor anchor(tree);
            dropped = changes.refresh(outcome.conflict ? SettingsChanges::Grown::Keep
                                                       : SettingsChanges::Grown::Drop);
            watch();
            updateState();
        }
    }
    tell(outcome, dropped);
}

void SettingsWindowPrivate::tell(const Outcome &outcome, int dropped)
{
    noticeBar->clear();
    QStringList messages(outcome.message);
    if (dropped > 0)
        messages += droppedText(dropped);
    if (outcome.conflict && (!isManual() || !changes.isEmpty()))
        messages += SettingsWindow::tr("Повторите, чтобы заменить то, что в файле");
    messages.removeAll(QString());
    if (!messages.isEmpty())
        noticeBar->tell(outcome.icon, messages.join(u". "_s));
}

/// The same; but as long as that would close an editor, it waits.
void SettingsWindowPrivate::showFileAfterEditing(Outcome outcome)
{
    if (SettingsDelegate::isEditing(tree)) {
        const auto content = ScratchStore::ofFile(store->fileName(), store->format());
        const QString path = settingsPath(tree->currentIndex());
        if (ambiguous || !content || hasAmbiguousNames(**content) || !(*content)->contains(path)) {
            if (!outcome.written) {
                tell(outcome);
                if (outcome.conflict)
                    toldValues.insert(path, outcome.found);
                outcome = foundChanged();
            }
            postponed = std::make_shared<const Outcome>(outcome);
            return;
        }
    }
    showFile(outcome);
}

SettingsWindowPrivate::Outcome SettingsWindowPrivate::foundChanged()
{
    return {false, true, false, Icons::Shape::Information,
            SettingsWindow::tr("Файл был изменён другой программой. Показано то, что в нём теперь")};
}

void SettingsWindowPrivate::editingEnded()
{
    if (!store || SettingsDelegate::isEditing(tree))
        return;
    if (const auto outcome = std::exchange(postponed, nullptr))
        showFile(*outcome);
    // It may have waited for the editor.
    if (!searchTimer.isActive())
        applySearch();
}

/// A view is in the middle of an edit: what else has changed is shown afterwards.
bool SettingsWindowPrivate::writeAtOnce(const Changes &wanted)
{
    const Outcome outcome = write(wanted);
    if (outcome.outdated)
        QMetaObject::invokeMethod(
            q,
            [this, outcome, of = store.get()] {
                if (store.get() == of)
                    showFileAfterEditing(outcome);
            },
            Qt::QueuedConnection);
    else
        showFile(outcome);
    return outcome.written;
}

bool SettingsWindowPrivate::trySubmit()
{
    if (!finishEditing())
        return false;
    changes.synchronize();
    if (changes.isEmpty() && !isFileGone())
        return true;
    const Outcome outcome = write(changes.changes());
    if (outcome.written) {
        const Anchor anchor(tree);
        changes.dismissAll();
    }
    showFile(outcome);
    return outcome.written;
}

void SettingsWindowPrivate::submit()
{
    // An editor may hold all there is to be written.
    if (!finishEditing(SettingsDelegate::Refused::TryAgain))
        return;
    changes.synchronize();
    if (isManual() && (!changes.isEmpty() || isFileGone()))
        trySubmit();
}

void SettingsWindowPrivate::revert()
{
    if (!model)
        return;
    if (const QString problem = fileProblem(); !problem.isEmpty()) {
        noticeBar->tell(Icons::Shape::Warning, SettingsWindow::tr("Ничего не отменено. %1").arg(problem),
                        SettingsWindow::tr("Обновить"));
        return;
    }
    if (becameAmbiguous()) {
        reload();
        return;
    }
    // An open editor keeps what is typed, as long as its entry is there.
    const bool editing = SettingsDelegate::isEditing(tree);
    const Anchor anchor(tree);
    changes.dismissAll();
    if (editing && !SettingsDelegate::isEditing(tree))
        noticeBar->tell(Icons::Shape::Warning,
                        SettingsWindow::tr("Отброшено правок, записей которых больше нет: %1").arg(1));
}

void SettingsWindowPrivate::refresh()
{
    if (model && !q->fileName().isEmpty() && finishEditing())
        reload();
}

void SettingsWindowPrivate::reload()
{
    noticeBar->clear();
    if (const QString problem = fileProblem(); !problem.isEmpty()) {
        noticeBar->tell(Icons::Shape::Warning, problem, SettingsWindow::tr("Обновить"));
        return;
    }
    changes.synchronize();
    const int pending = changes.rowCount();
    if (pending > 0 && becameAmbiguous()) {
        QMessageBox box(
            QMessageBox::Warning, SettingsWindow::tr("Настройки"),
            SettingsWindow::tr("Обновление отбросит изменения, которые ждут записи: %1. Обновить?")
                .arg(pending),
            QMessageBox::NoButton, q);
        box.setInformativeText(SettingsWindow::tr(
            "Другая программа записала в файл записи без имени или имена, которые сразу и группа, и ключ."));
        QPushButton *drop = box.addButton(SettingsWindow::tr("&Обновить"), QMessageBox::DestructiveRole);
        QPushButton *keep = box.addButton(SettingsWindow::tr("От&мена"), QMessageBox::RejectRole);
        box.setDefaultButton(keep);
        box.setEscapeButton(keep);
        box.exec();
        if (box.clickedButton() != drop) {
            noticeBar->tell(Icons::Shape::Information, SettingsWindow::tr("Файл изменён другой программой"),
                            SettingsWindow::tr("Обновить"));
            return;
        }
        noticeBar->tell(Icons::Shape::Information,
                        SettingsWindow::tr("Отброшено изменений, которые ждали записи: %1").arg(pending));
    }
    postponed.reset();
    toldValues.clear();
    stale = false;
    seen = fingerprint(&lastText);
    store->sync();
    const bool wasAmbiguous = std::exchange(ambiguous, hasAmbiguousNames());
    if (ambiguous || wasAmbiguous) {
        // A merge mixes up rows of the same name.
        QSet<QString> collapsed;
        const std::function<void(const QModelIndex &)> note = [&](const QModelIndex &parent) {
            for (int row = 0; row < search.rowCount(parent); ++row) {
                const QModelIndex index = search.index(row, 0, parent);
                if (search.hasChildren(index) && !tree->isExpanded(index))
                    collapsed.insert(settingsPath(index));
                note(index);
            }
        };
        note({});
        const QString current = settingsPath(tree->currentIndex());
        const int scrolled = tree->verticalScrollBar()->value();
        takeModel();
        tree->expandAll();
        const std::function<void(const QModelIndex &)> restore = [&](const QModelIndex &parent) {
            for (int row = 0; row < search.rowCount(parent); ++row) {
                const QModelIndex index = search.index(row, 0, parent);
                if (settingsPath(index) == current)
                    tree->setCurrentIndex(index);
                restore(index);
                tree->setExpanded(index, !collapsed.contains(settingsPath(index)));
            }
        };
        restore({});
        tree->verticalScrollBar()->setValue(scrolled);
    } else {
        const Anchor anchor(tree);
        const int dropped = changes.refresh();
        model->setReadOnly(isReadOnlyStore(*store));
        if (dropped > 0)
            noticeBar->tell(Icons::Shape::Warning, droppedText(dropped));
    }
    watch();
    updateState();
    tree->viewport()->update();
}

// Editing.

QList<QPersistentModelIndex> SettingsWindowPrivate::selectedRows() const
{
    QList<QPersistentModelIndex> rows;
    const QModelIndexList selected = tree->selectionModel()->selectedRows();
    for (const QModelIndex &index : selected) {
        bool inside = false;
        for (QModelIndex above = index.parent(); above.isValid(); above = above.parent())
            inside = inside || selected.contains(above);
        if (!inside)
            rows += index;
    }
    return rows;
}

void SettingsWindowPrivate::removeSelected()
{
    const QList<QPersistentModelIndex> rows = selectedRows();
    if (rows.isEmpty() || !model || model->readOnly() || !finishEditing())
        return;
    int entries = 0;
    qsizetype edits = 0;
    changes.synchronize();
    for (const QPersistentModelIndex &row : rows) {
        if (row.data().toString().isEmpty()) {
            noticeBar->tell(
                Icons::Shape::Warning,
                SettingsWindow::tr("У записи «%1» нет имени, её нельзя удалить").arg(settingsPath(row)));
            return;
        }
        // What the search hides goes too.
        entries += countEntries(search.mapToSource(row));
        const QString path = settingsPath(row);
        edits += std::count_if(
            changes.changes().begin(), changes.changes().end(), [&](const SettingsChanges::Change &change) {
                return !change.removal && (change.path == path || change.path.startsWith(path + u'/'));
            });
    }
    QString question = rows.size() == 1
                           ? SettingsWindow::tr("Удалить «%1»?").arg(settingsPath(rows.first()))
                           : SettingsWindow::tr("Удалить выбранное? Записей выбрано: %1").arg(rows.size());
    QStringList details;
    if (entries > rows.size())
        details += SettingsWindow::tr("Вместе с содержимым групп записей: %1.").arg(entries);
    if (edits > 0)
        details += SettingsWindow::tr("Правки, которые ждут записи, пропадут: %1.").arg(edits);
    if (ambiguous)
        details += SettingsWindow::tr("С ключом удаляется и группа того же имени.");
    details += isManual() ? SettingsWindow::tr("Файл изменится после команды «Записать».")
                          : SettingsWindow::tr("Файл изменится сразу.");
    QMessageBox box(QMessageBox::Question, SettingsWindow::tr("Удаление"), question, QMessageBox::NoButton,
                    q);
    box.setInformativeText(details.join(u' '));
    QPushButton *yes = box.addButton(SettingsWindow::tr("&Удалить"), QMessageBox::DestructiveRole);
    QPushButton *no = box.addButton(SettingsWindow::tr("От&мена"), QMessageBox::RejectRole);
    box.setDefaultButton(no);
    box.setEscapeButton(no);
    box.exec();
    if (box.clickedButton() != yes)
        return;
    const bool removed = std::all_of(rows.begin(), rows.end(), [this](const QPersistentModelIndex &row) {
        return !row.isValid() || search.removeRow(row.row(), row.parent());
    });
    changes.synchronize();
    if (ambiguous && !isManual() && removed)
        refresh();
}

void SettingsWindowPrivate::copyPaths()
{
    QStringList paths;
    QModelIndexList rows = tree->selectionModel()->selectedRows();
    // In the order of the tree, not of the selecting.
    const auto place = [](const QModelIndex &row) {
        QList<int> rowPath;
        for (QModelIndex index = row; index.isValid(); index = index.parent())
            rowPath.prepend(index.row());
        return rowPath;
    };
    std::sort(rows.begin(), rows.end(),
              [&](const QModelIndex &one, const QModelIndex &other) { return place(one) < place(other); });
    for (const QModelIndex &row : std::as_const(rows))
        paths += settingsPath(row);
    QApplication::clipboard()->setText(paths.join(u'\n'));
}

void SettingsWindowPrivate::editCurrent()
{
    const QModelIndex index = tree->currentIndex().siblingAtColumn(valueColumn);
    if (index.flags().testFlag(Qt::ItemIsEditable)) {
        tree->setCurrentIndex(index);
        tree->edit(index);
    }
}

void SettingsWindowPrivate::dismissSelected()
{
    const int row = pendingList->currentIndex().row();
    if (row < 0)
        return;
    const Anchor anchor(tree);
    const int dropped = changes.dismiss(row);
    if (dropped < 0)
        noticeBar->tell(Icons::Shape::Warning,
                        SettingsWindow::tr("Ничего не отменено. %1").arg(fileProblem()),
                        SettingsWindow::tr("Обновить"));
    else if (dropped > 0)
        noticeBar->tell(Icons::Shape::Warning, droppedText(dropped));
    pendingList->setCurrentIndex(changes.index(std::min(row, changes.rowCount() - 1), 0));
}

void SettingsWindowPrivate::chooseImmediate()
{
    // Pending changes that cannot be dropped would be stranded.
    QString problem = isManual() ? fileProblem() : QString();
    if (problem.isEmpty() && isManual() && becameAmbiguous())
        problem = SettingsWindow::tr("Файл изменён другой программой");
    if (problem.isEmpty()) {
        setStrategy(SettingsModel::OnFieldChange);
        return;
    }
    noticeBar->tell(Icons::Shape::Warning, problem, SettingsWindow::tr("Обновить"));
    updateState();
}

void SettingsWindowPrivate::setStrategy(SettingsModel::EditStrategy strategy)
{
    // Pending changes would be stranded.
    if (model && model->editStrategy() != strategy &&
        (strategy == SettingsModel::OnManualSubmit || mayClose())) {
        model->setEditStrategy(strategy);
        chosen = strategy;
        // What is changed from now on is changed in what the file holds.
        const SettingsFile file(*store);
        if (file.exists() && file.error().isEmpty() && file.fingerprint() != seen)
            showFileAfterEditing(foundChanged());
    }
    updateState();
}

void SettingsWindowPrivate::noteExpanded(const QModelIndex &index)
{
    if (tree->isExpanded(index))
        wereExpanded.insert(settingsPath(index));
    for (int row = 0; row < search.rowCount(index); ++row)
        noteExpanded(search.index(row, 0, index));
}

void SettingsWindowPrivate::expandAgain(const QModelIndex &index, bool withChildren)
{
    if (search.hasChildren(index) && wereExpanded.remove(settingsPath(index)))
        tree->expand(index);
    for (int row = 0; withChildren && row < search.rowCount(index); ++row)
        expandAgain(search.index(row, 0, index), true);
}

void SettingsWindowPrivate::applySearch()
{
    searchTimer.stop();
    // Its row may be hidden.
    if (searchLine->text() == search.text() || !finishEditing())
        return;
    search.search(searchLine->text());
    if (!search.text().isEmpty())
        tree->expandAll();
    if (tree->currentIndex().isValid())
        tree->scrollTo(tree->currentIndex());
    updateState();
}

// The file.

/// Empty when there is no file; then \a text stays what it is.
QByteArray SettingsWindowPrivate::fingerprint(QByteArray *text) const
{
    QFile file(q->fileName());
    if (q->fileName().isEmpty() || !file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray content = file.readAll();
    if (text)
        *text = content;
    return QCryptographicHash::hash(content, QCryptographicHash::Sha256);
}

void SettingsWindowPrivate::watch()
{
    const QStringList watched = watcher.files() + watcher.directories();
    QStringList wanted;
    for (const QString &path : {q->fileName(), QFileInfo(q->fileName()).absolutePath()}) {
        if (QFileInfo::exists(path))
            wanted += path;
    }
    for (const QString &path : watched) {
        if (!wanted.contains(path))
            watcher.removePath(path);
    }
    for (const QString &path : std::as_const(wanted)) {
        if (!watched.contains(path))
            watcher.addPath(path);
    }
}

void SettingsWindowPrivate::lookAtFile()
{
    if (!store)
        return;
    watch();
    const QByteArray now = fingerprint();
    if (now == seen)
        return;
    if (isFileGone())
        noticeBar->tell(Icons::Shape::Warning, fileProblem(), SettingsWindow::tr("Обновить"));
    else
        noticeBar->tell(Icons::Shape::Information, SettingsWindow::tr("Файл изменён другой программой"),
                        SettingsWindow::tr("Обновить"));
    updateState();
}

bool SettingsWindowPrivate::isFileGone() const
{
    return !QFileInfo::exists(q->fileName()) && changes.storeState() == SettingsChanges::StoreState::Missing;
}

/// Why the file cannot be read now; empty when it can, and for a file that is still to come.
QString SettingsWindowPrivate::fileProblem() const
{
    const QString name = q->fileName();
    if (isFileGone()) {
        const QString gone = SettingsWindow::tr("Файла «%1» больше нет. Показано то, что в нём было")
                                 .arg(QDir::toNativeSeparators(name));
        if (ambiguous || model->readOnly())
            return gone;
        return isManual() ? SettingsWindow::tr("%1. Команда «Записать» создаст его заново").arg(gone)
                          : SettingsWindow::tr("%1. Чтобы создать его заново, перейдите к записи по команде")
                                .arg(gone);
    }
    try {
        if (QFileInfo::exists(name))
            requireIniFile(name);
    } catch (const Exception &exception) {
        return exception.message();
    }
    return {};
}

/// Whether the file got names that a merge would mix up. The store is left alone.
bool SettingsWindowPrivate::becameAmbiguous() const
{
    const auto content = ambiguous ? nullptr : ScratchStore::ofFile(store->fileName(), store->format());
    return content && hasAmbiguousNames(**content);
}

/// Whether a merge or a submit of this store would mix up entries or lose some.
bool SettingsWindowPrivate::hasAmbiguousNames(QSettings &content)
{
    const std::function<bool()> look = [&] {
        const QStringList groups = content.childGroups();
        const QStringList keys = content.childKeys();
        if (groups.contains(QString()) || keys.contains(QString()))
            return true;
        for (const QString &group : groups) {
            if (keys.contains(group))
                return true;
            content.beginGroup(group);
            const bool found = look();
            content.endGroup();
            if (found)
                return true;
        }
        return false;
    };
    return look();
}

SettingsWindow::SettingsWindow(QWidget *parent)
    : QWidget(parent, Qt::Window), d(std::make_unique<SettingsWindowPrivate>(this))
{
    d->build();
}

SettingsWindow::~SettingsWindow()
{
    d->changes.disconnect(this);
    d->proxy.disconnect(this);
    d->changes.setModel(nullptr);
    d->proxy.setSourceModel(nullptr);
    // Before the store, and the views before the models that they show.
    delete std::exchange(d->model, nullptr);
    delete std::exchange(d->tree, nullptr);
    delete std::exchange(d->pendingList, nullptr);
}

QString SettingsWindow::fileName() const
{
    return d->store ? d->store->fileName() : QString();
}

bool SettingsWindow::openFile(const QString &fileName)
{
    try {
        requireIniFile(fileName);
    } catch (const Exception &exception) {
        d->noticeBar->tell(Icons::Shape::Warning, exception.message());
        return false;
    }
    return d->mayClose() &&
           d->open(std::make_unique<QSettings>(QFileInfo(fileName).absoluteFilePath(), QSettings::IniFormat));
}

void SettingsWindow::openStore(std::unique_ptr<QSettings> store)
{
    try {
        // Its file may be still to come.
        if (QFileInfo::exists(store->fileName()))
            requireIniFile(store->fileName());
    } catch (const Exception &exception) {
        d->noticeBar->tell(Icons::Shape::Warning, exception.message());
        return;
    }
    if (d->mayClose())
        d->open(std::move(store));
}

bool SettingsWindow::event(QEvent *event)
{
    // Not every file system tells of changes.
    if (event->type() == QEvent::WindowActivate)
        d->watchTimer.start();
    return QWidget::event(event);
}

void SettingsWindow::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::LanguageChange)
        d->retranslate();
}

void SettingsWindow::closeEvent(QCloseEvent *event)
{
    event->setAccepted(d->mayClose());
}

} // namespace sito
