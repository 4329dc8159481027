// SPDX-License-Identifier: MIT
#include <browser/settings/settingswindow.h>

#include <browser/parts/noticebar.h>
#include <browser/parts/question.h>
#include <browser/settings/pendingpanel.h>
#include <browser/settings/settingsactions.h>
#include <browser/settings/settingstree.h>
#include <browser/settings/treeanchor.h>

#include <hostkit/settings/inifile.h>
#include <hostkit/settings/settingsvalue.h>
#include <hostkit/views/icons.h>
#include <settings/settingsmodel.h>

#include <QAction>
#include <QApplication>
#include <QBoxLayout>
#include <QClipboard>
#include <QCloseEvent>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QSplitter>
#include <QToolBar>

#include <algorithm>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

SettingsWindow::SettingsWindow(QWidget *parent) : QWidget(parent, Qt::Window)
{
    build();
}

SettingsWindow::~SettingsWindow()
{
    m_document.disconnect(this);
    m_document.changes().disconnect(this);
    m_tree->disconnect(this);
    m_panel->disconnect(this);
    // They must be deleted before the document that they show.
    delete std::exchange(m_tree, nullptr);
    delete std::exchange(m_panel, nullptr);
}

QString SettingsWindow::fileName() const
{
    return m_document.fileName();
}

bool SettingsWindow::openFile(const QString &fileName)
{
    if (const QString problem = IniFile::problem(fileName); !problem.isEmpty()) {
        m_noticeBar->tell(Icons::Shape::Warning, problem);
        return false;
    }
    if (!mayClose())
        return false;
    open(std::make_unique<QSettings>(QFileInfo(fileName).absoluteFilePath(), QSettings::IniFormat));
    return true;
}

void SettingsWindow::openStore(std::unique_ptr<QSettings> store)
{
    // The file may not exist yet.
    const QString name = store->fileName();
    if (const QString problem = QFileInfo::exists(name) ? IniFile::problem(name) : QString();
        !problem.isEmpty())
        m_noticeBar->tell(Icons::Shape::Warning, problem);
    else if (mayClose())
        open(std::move(store));
}

bool SettingsWindow::event(QEvent *event)
{
    // Not every file system reports changes.
    if (event->type() == QEvent::WindowActivate)
        m_document.lookSoon();
    return QWidget::event(event);
}

void SettingsWindow::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::LanguageChange)
        retranslate();
}

void SettingsWindow::closeEvent(QCloseEvent *event)
{
    event->setAccepted(mayClose());
}

void SettingsWindow::build()
{
    setObjectName(u"settingsWindow"_s);
    buildActions();
    m_stateBar = new NoticeBar(this);
    m_stateBar->setObjectName(u"stateBar"_s);
    m_stateBar->setClosable(false);
    m_noticeBar = new NoticeBar(this);
    m_noticeBar->setObjectName(u"noticeBar"_s);
    connect(m_noticeBar, &NoticeBar::triggered, this, &SettingsWindow::refresh);
    buildSearch();
    buildViews();
    m_status = new QLabel(this);
    m_status->setObjectName(u"status"_s);
    m_status->setTextFormat(Qt::PlainText);
    m_status->setTextInteractionFlags(Qt::TextSelectableByMouse);

    connect(&m_document, &SettingsDocument::modelReplaced, this,
            [this] { m_tree->setSource(m_document.model()); });
    connect(&m_document, &SettingsDocument::wrote, this, &SettingsWindow::wrote);
    connect(&m_document, &SettingsDocument::fileChanged, this, &SettingsWindow::tellOfChange);
    connect(&m_document.changes(), &SettingsChanges::changed, this, [this](const QModelIndexList &marked) {
        m_tree->remark(marked);
        updateState();
    });

    auto *splitter = new QSplitter(Qt::Vertical, this);
    splitter->addWidget(m_tree);
    splitter->addWidget(m_panel);
    splitter->setStretchFactor(0, 3);
    splitter->setStretchFactor(1, 1);
    splitter->setChildrenCollapsible(false);
    auto *layout = new QVBoxLayout(this);
    layout->setMenuBar(m_actions->menuBar);
    layout->addWidget(m_actions->toolBar);
    layout->addWidget(m_stateBar);
    layout->addWidget(m_noticeBar);
    layout->addWidget(m_searchLine);
    layout->addWidget(splitter, 1);
    layout->addWidget(m_status);
    const int unit = fontMetrics().averageCharWidth();
    resize(unit * 150, unit * 105);
    m_tree->setFocus();
    retranslate();
}

void SettingsWindow::buildActions()
{
    m_actions = new SettingsActions(this);
    const auto on = [this](QAction *action, auto slot) { connect(action, &QAction::triggered, this, slot); };
    on(m_actions->open, &SettingsWindow::chooseFile);
    on(m_actions->submit, &SettingsWindow::submit);
    on(m_actions->revert, &SettingsWindow::revert);
    on(m_actions->refresh, &SettingsWindow::refresh);
    on(m_actions->immediate, &SettingsWindow::chooseImmediate);
    on(m_actions->manual, [this] { setManual(true); });
    on(m_actions->edit, [this] { m_tree->editCurrent(); });
    on(m_actions->remove, &SettingsWindow::removeSelected);
    on(m_actions->copyPath,
       [this] { QApplication::clipboard()->setText(m_tree->selectedPaths().join(u'\n')); });
    on(m_actions->find, [this] {
        m_searchLine->setFocus(Qt::ShortcutFocusReason);
        m_searchLine->selectAll();
    });
    on(m_actions->expandAll, [this] { m_tree->expandAll(); });
    on(m_actions->collapseAll, [this] { m_tree->collapseAll(); });
    on(m_actions->close, &QWidget::close);
}

void SettingsWindow::buildSearch()
{
    m_searchLine = new QLineEdit(this);
    m_searchLine->setObjectName(u"search"_s);
    m_searchLine->setClearButtonEnabled(true);
    m_searchTimer.setSingleShot(true);
    m_searchTimer.setInterval(200);
    connect(m_searchLine, &QLineEdit::textChanged, &m_searchTimer, qOverload<>(&QTimer::start));
    connect(&m_searchTimer, &QTimer::timeout, this, &SettingsWindow::applySearch);
    connect(m_searchLine, &QLineEdit::returnPressed, this, [this] {
        applySearch();
        m_tree->setFocus(Qt::OtherFocusReason);
    });
}

void SettingsWindow::buildViews()
{
    m_tree = new SettingsTree(m_document.changes(), this);
    m_tree->setObjectName(u"tree"_s);
    m_tree->addActions({m_actions->edit, m_actions->remove, m_actions->copyPath});
    connect(m_tree, &SettingsTree::stateChanged, this, &SettingsWindow::updateState);
    connect(m_tree, &SettingsTree::editingEnded, this, &SettingsWindow::editingEnded);
    m_panel = new PendingPanel(m_document.changes(), this);
    connect(m_panel, &PendingPanel::activated, this, &SettingsWindow::showEntry);
    connect(m_panel, &PendingPanel::dismissed, this, &SettingsWindow::dismiss);
}

void SettingsWindow::retranslate()
{
    m_actions->retranslate();
    m_searchLine->setPlaceholderText(tr("Поиск по имени, пути, типу и значению"));
    m_searchLine->setAccessibleName(tr("Поиск"));
    m_tree->retranslate();
    updateState();
}

void SettingsWindow::updateState()
{
    const bool open = m_document.model() != nullptr;
    const bool writable = open && !m_document.isReadOnly();
    const bool isManual = m_document.isManual();
    const int pending = m_document.changes().rowCount();
    const bool submits = pending > 0 || m_tree->isEditing() || (isManual && m_document.isGone());
    const bool selected = m_tree->selectionModel()->hasSelection();
    m_actions->submit->setEnabled(writable && submits);
    m_actions->revert->setEnabled(writable && pending > 0);
    m_actions->refresh->setEnabled(open);
    m_actions->immediate->setEnabled(writable);
    m_actions->manual->setEnabled(writable && !m_document.isAmbiguous());
    m_actions->immediate->setChecked(open && !isManual);
    m_actions->manual->setChecked(isManual);
    m_actions->remove->setEnabled(writable && selected);
    m_actions->copyPath->setEnabled(selected);
    m_actions->edit->setEnabled(writable && m_tree->isCurrentEditable());
    m_panel->setWritable(writable);
    m_panel->setVisible(isManual);
    setWindowModified(pending > 0);
    const QString file = fileName();
    setWindowTitle(file.isEmpty() ? tr("Настройки")
                                  : tr("%1[*] - настройки").arg(QFileInfo(file).fileName()));
    m_status->setText(QFileInfo(file).fileName());
    m_status->setToolTip(QDir::toNativeSeparators(file));
    if (const QString state = stateText(); state.isEmpty())
        m_stateBar->clear();
    else
        m_stateBar->tell(Icons::Shape::Information, state);
}

/// The text about the file that is shown as long as the file is.
QString SettingsWindow::stateText() const
{
    QStringList texts;
    if (m_document.isReadOnly())
        texts += tr("Файл доступен только для чтения: изменить его нельзя");
    else if (m_document.isAmbiguous())
        texts +=
            tr("Здесь есть записи без имени или имена, которые сразу и группа, и ключ: запись по команде "
               "потеряла бы часть из них и недоступна");
    texts += m_document.unreadableText();
    texts.removeAll(QString());
    return texts.join(u". "_s);
}

// Opening and closing.

void SettingsWindow::open(std::unique_ptr<QSettings> store)
{
    m_postponed.reset();
    m_noticeBar->clear();
    m_tree->setSource(nullptr);
    m_document.open(std::move(store));
    m_tree->showFromTheTop();
    updateState();
}

/// Finishes open editors; returns whether all have taken their input. Tells the user why not.
bool SettingsWindow::finishEditing(SettingsDelegate::Refused refused)
{
    const QString told = m_noticeBar->text();
    if (m_tree->finishEditing(refused))
        return true;
    // The write may have told the user more already.
    if (m_noticeBar->text() == told)
        m_noticeBar->tell(
            Icons::Shape::Warning,
            SettingsDelegate::isRefused(m_tree)
                ? tr("Введённое значение не записано. Enter в его поле повторит запись, Esc отменит правку")
                : tr("Сначала исправьте введённое значение или отмените его правку (Esc)"));
    return false;
}

bool SettingsWindow::mayClose()
{
    if (!finishEditing())
        return false;
    SettingsChanges &changes = m_document.changes();
    changes.synchronize();
    if (changes.isEmpty())
        return true;
    QMessageBox box(QMessageBox::Question, tr("Настройки"),
                    tr("Изменений, которые ждут записи: %1. Записать их?").arg(changes.rowCount()),
                    QMessageBox::NoButton, this);
    QPushButton *save = box.addButton(tr("&Записать"), QMessageBox::AcceptRole);
    QPushButton *discard = box.addButton(tr("&Отбросить"), QMessageBox::DestructiveRole);
    box.addButton(tr("От&мена"), QMessageBox::RejectRole);
    box.setDefaultButton(save);
    box.exec();
    if (box.clickedButton() == save)
        return trySubmit();
    if (box.clickedButton() != discard)
        return false;
    m_document.revert();
    return true;
}

void SettingsWindow::chooseFile()
{
    const QString name =
        QFileDialog::getOpenFileName(this, tr("Открыть файл настроек"), QFileInfo(fileName()).path(),
                                     tr("Файлы настроек (*.ini *.conf);;Все файлы (*)"));
    if (!name.isEmpty())
        openFile(name);
}

// Writing.

/// The view is in the middle of an edit, so other changes of the file are shown afterwards.
void SettingsWindow::wrote(const Outcome &outcome)
{
    if (!outcome.outdated) {
        showOutcome(outcome);
        return;
    }
    QMetaObject::invokeMethod(
        this,
        [this, outcome, of = m_document.store()] {
            if (m_document.store() == of)
                showOutcomeAfterEditing(outcome);
        },
        Qt::QueuedConnection);
}

/// Shows what the file holds now, and the result of writing it.
void SettingsWindow::showOutcome(const Outcome &outcome)
{
    QString pendingText;
    if (outcome.outdated) {
        m_postponed.reset();
        pendingText =
            readAgain(outcome.conflict ? SettingsChanges::Grown::Keep : SettingsChanges::Grown::Drop);
    }
    // The message about a conflict names these entries already.
    tell(outcome, outcome.conflict ? QString() : pendingText);
}

/// Does the same, but waits while that would close an editor.
void SettingsWindow::showOutcomeAfterEditing(Outcome outcome)
{
    const QString path = settingsPath(m_tree->currentIndex());
    if (!m_tree->isEditing() || m_document.keepsRow(path)) {
        showOutcome(outcome);
        return;
    }
    if (!outcome.written) {
        tell(outcome);
        if (outcome.conflict)
            m_document.acceptConflict(path, outcome.found);
        outcome = SettingsDocument::foundChanged();
    }
    m_postponed = outcome;
}

void SettingsWindow::tell(const Outcome &outcome, const QString &pendingText)
{
    m_noticeBar->clear();
    QStringList messages{outcome.message, pendingText};
    if (outcome.conflict)
        messages += tr("Повторите, чтобы заменить то, что в файле");
    messages.removeAll(QString());
    if (!messages.isEmpty())
        m_noticeBar->tell(outcome.refused ? Icons::Shape::Warning : Icons::Shape::Information,
                          messages.join(u". "_s));
}

void SettingsWindow::tellOfProblem(const QString &problem)
{
    m_noticeBar->tell(Icons::Shape::Warning, problem, tr("Обновить"));
}

void SettingsWindow::tellOfChange()
{
    if (m_document.isGone())
        tellOfProblem(m_document.problem());
    else
        m_noticeBar->tell(Icons::Shape::Information, tr("Файл изменён другой программой"), tr("Обновить"));
    updateState();
}

void SettingsWindow::editingEnded()
{
    if (!m_document.model() || m_tree->isEditing())
        return;
    if (const auto outcome = std::exchange(m_postponed, std::nullopt))
        showOutcome(*outcome);
    // A search waits while an editor is open.
    if (!m_searchTimer.isActive())
        applySearch();
}

bool SettingsWindow::trySubmit()
{
    if (!finishEditing())
        return false;
    m_document.changes().synchronize();
    if (m_document.changes().isEmpty() && !m_document.isGone())
        return true;
    const TreeAnchor anchor(m_tree);
    const Outcome outcome = m_document.submit();
    showOutcome(outcome);
    return outcome.written;
}

void SettingsWindow::submit()
{
    // The value in an open editor may be the only change.
    if (finishEditing(SettingsDelegate::Refused::TryAgain) && m_document.isManual())
        trySubmit();
}

void SettingsWindow::revert()
{
    if (const QString problem = m_document.problem(); !problem.isEmpty()) {
        tellOfProblem(tr("Ничего не отменено. %1").arg(problem));
        return;
    }
    if (m_document.becameAmbiguous()) {
        reload();
        return;
    }
    // An open editor keeps its input as long as its entry exists.
    const bool editing = m_tree->isEditing();
    const TreeAnchor anchor(m_tree);
    m_document.revert();
    if (editing && !m_tree->isEditing())
        m_noticeBar->tell(Icons::Shape::Warning,
                          tr("Отброшено правок, записей которых больше нет: %1").arg(1));
}

void SettingsWindow::refresh()
{
    if (m_document.model() && !fileName().isEmpty() && finishEditing())
        reload();
}

void SettingsWindow::reload()
{
    m_noticeBar->clear();
    if (const QString problem = m_document.problem(); !problem.isEmpty()) {
        tellOfProblem(problem);
        return;
    }
    m_document.changes().synchronize();
    if (!m_document.changes().isEmpty() && m_document.becameAmbiguous() && !mayDropChanges())
        return;
    m_postponed.reset();
    if (const QString text = readAgain(SettingsChanges::Grown::Drop); !text.isEmpty())
        m_noticeBar->tell(Icons::Shape::Warning, text);
}

bool SettingsWindow::mayDropChanges()
{
    const int pending = m_document.changes().rowCount();
    const bool drops = isConfirmed(
        this, QMessageBox::Warning, tr("Настройки"),
        tr("Обновление отбросит изменения, которые ждут записи: %1. Обновить?").arg(pending),
        tr("Другая программа записала в файл записи без имени или имена, которые сразу и группа, и ключ."),
        tr("&Обновить"));
    if (drops)
        m_noticeBar->tell(Icons::Shape::Information,
                          tr("Отброшено изменений, которые ждали записи: %1").arg(pending));
    else
        tellOfChange();
    return drops;
}

/// Reads the file again; returns SettingsDocument::pendingText().
QString SettingsWindow::readAgain(SettingsChanges::Grown groups)
{
    const TreeAnchor anchor(m_tree);
    const bool isRead = m_document.reload(groups);
    updateState();
    m_tree->viewport()->update();
    return isRead ? m_document.pendingText() : QString();
}

// Editing.

void SettingsWindow::removeSelected()
{
    const QList<QPersistentModelIndex> rows = m_tree->selectedRows();
    if (rows.isEmpty() || m_document.isReadOnly() || !finishEditing())
        return;
    m_document.changes().synchronize();
    for (const QPersistentModelIndex &row : rows) {
        if (row.data().toString().isEmpty()) {
            m_noticeBar->tell(Icons::Shape::Warning,
                              tr("У записи «%1» нет имени, её нельзя удалить").arg(settingsPath(row)));
            return;
        }
    }
    const QString question = rows.size() == 1 ? tr("Удалить «%1»?").arg(settingsPath(rows.first()))
                                              : tr("Удалить выбранное? Записей выбрано: %1").arg(rows.size());
    if (!isConfirmed(this, QMessageBox::Question, tr("Удаление"), question, removalDetails(rows),
                     tr("&Удалить")))
        return;
    const bool removed = m_tree->remove(rows);
    m_document.changes().synchronize();
    if (m_document.isAmbiguous() && !m_document.isManual() && removed)
        refresh();
}

QString SettingsWindow::removalDetails(const QList<QPersistentModelIndex> &rows) const
{
    int entries = 0;
    qsizetype edits = 0;
    const QList<SettingsChange> &changes = m_document.changes().changes();
    for (const QPersistentModelIndex &row : rows) {
        entries += m_tree->countEntries(row);
        SettingsChange removal;
        removal.path = settingsPath(row);
        removal.removal = true;
        edits += std::count_if(changes.begin(), changes.end(), [&](const SettingsChange &change) {
            return !change.removal && removal.concerns(change.path);
        });
    }
    QStringList details;
    if (entries > rows.size())
        details += tr("Вместе с содержимым групп записей: %1.").arg(entries);
    if (edits > 0)
        details += tr("Правки, которые ждут записи, пропадут: %1.").arg(edits);
    if (m_document.isAmbiguous())
        details += tr("С ключом удаляется и группа того же имени.");
    details +=
        m_document.isManual() ? tr("Файл изменится после команды «Записать».") : tr("Файл изменится сразу.");
    return details.join(u' ');
}

void SettingsWindow::applySearch()
{
    m_searchTimer.stop();
    // The search may hide the row of an open editor.
    if (m_searchLine->text() == m_tree->searchText() || !finishEditing())
        return;
    m_tree->search(m_searchLine->text());
    updateState();
}

void SettingsWindow::showEntry(const QString &path)
{
    // A new current row closes an open editor, and drops input that is no value yet.
    if (!m_tree->hasEntry(path) || !finishEditing() || m_tree->showEntry(path))
        return;
    m_searchLine->clear();
    applySearch();
    m_tree->showEntry(path);
}

void SettingsWindow::dismiss(int row)
{
    const TreeAnchor anchor(m_tree);
    if (!m_document.changes().dismiss(row))
        tellOfProblem(tr("Ничего не отменено. %1").arg(m_document.problem()));
    else if (const QString text = m_document.pendingText(); !text.isEmpty())
        m_noticeBar->tell(Icons::Shape::Warning, text);
    m_panel->setCurrentRow(row);
}

void SettingsWindow::chooseImmediate()
{
    // Pending changes that can neither be written nor dropped must stay visible.
    const bool isManual = m_document.isManual();
    QString problem = isManual ? m_document.problem() : QString();
    if (problem.isEmpty() && isManual && m_document.becameAmbiguous())
        problem = tr("Файл изменён другой программой");
    if (problem.isEmpty()) {
        setManual(false);
        return;
    }
    tellOfProblem(problem);
    updateState();
}

void SettingsWindow::setManual(bool manual)
{
    // Pending changes are written or dropped first.
    if (m_document.model() && m_document.isManual() != manual && (manual || mayClose())) {
        m_document.setManual(manual);
        // Later changes must start from what the file holds now.
        if (m_document.isOutdated())
            showOutcomeAfterEditing(SettingsDocument::foundChanged());
    }
    updateState();
}

} // namespace sito
