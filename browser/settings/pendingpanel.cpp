// SPDX-License-Identifier: MIT
#include <browser/settings/pendingpanel.h>

#include <hostkit/settings/settingschanges.h>

#include <QAction>
#include <QBoxLayout>
#include <QEvent>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeView>

#include <algorithm>

namespace sito {

using namespace Qt::StringLiterals;

PendingPanel::PendingPanel(SettingsChanges &changes, QWidget *parent)
    : QWidget(parent),
      m_changes(changes),
      m_title(new QLabel(this)),
      m_list(new QTreeView(this)),
      m_dismiss(new QAction(this)),
      m_button(new QPushButton(this))
{
    m_list->setObjectName(u"pending"_s);
    m_list->setModel(&changes);
    m_list->setRootIsDecorated(false);
    m_list->setUniformRowHeights(true);
    m_list->setAllColumnsShowFocus(true);
    m_title->setBuddy(m_list);
    m_button->setObjectName(u"dismiss"_s);
    m_dismiss->setObjectName(u"dismiss"_s);
    m_dismiss->setShortcut(QKeySequence::Delete);
    m_dismiss->setShortcutContext(Qt::WidgetShortcut);
    m_list->addAction(m_dismiss);
    m_list->setContextMenuPolicy(Qt::ActionsContextMenu);
    connect(m_button, &QPushButton::clicked, m_dismiss, &QAction::trigger);
    connect(m_dismiss, &QAction::triggered, this, [this] {
        if (m_list->currentIndex().isValid())
            Q_EMIT dismissed(m_list->currentIndex().row());
    });
    connect(m_list, &QTreeView::activated, this,
            [this](const QModelIndex &index) { Q_EMIT activated(m_changes.changes().at(index.row()).path); });
    connect(m_list->selectionModel(), &QItemSelectionModel::currentChanged, this, &PendingPanel::updateState);
    connect(&changes, &SettingsChanges::changed, this, &PendingPanel::updateState);

    auto *top = new QHBoxLayout;
    top->addWidget(m_title, 1);
    top->addWidget(m_button);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->addLayout(top);
    layout->addWidget(m_list);

    const int unit = fontMetrics().averageCharWidth();
    m_list->header()->resizeSection(0, unit * 20);
    m_list->header()->resizeSection(1, unit * 40);
    m_list->header()->resizeSection(2, unit * 30);
    retranslate();
}

void PendingPanel::setWritable(bool writable)
{
    m_writable = writable;
    updateState();
}

void PendingPanel::setCurrentRow(int row)
{
    m_list->setCurrentIndex(m_changes.index(std::min(row, m_changes.rowCount() - 1), 0));
}

void PendingPanel::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::LanguageChange)
        retranslate();
}

void PendingPanel::retranslate()
{
    m_dismiss->setText(tr("Отменить это изменение"));
    m_button->setText(tr("Отменить &это"));
    m_button->setToolTip(tr("Отменить выбранное изменение, остальные останутся"));
    m_list->setAccessibleName(tr("Изменения, которые ждут записи"));
    // The model translates its headers when it is asked for them.
    Q_EMIT m_changes.headerDataChanged(Qt::Horizontal, 0, SettingsChanges::ColumnCount - 1);
    m_list->viewport()->update();
    updateState();
}

void PendingPanel::updateState()
{
    const int pending = m_changes.rowCount();
    m_title->setText(pending > 0 ? tr("&Ждут записи: %1").arg(pending) : tr("Ничто не &ждёт записи"));
    const bool canDismiss = m_writable && m_list->currentIndex().isValid();
    m_dismiss->setEnabled(canDismiss);
    m_button->setEnabled(canDismiss);
}

} // namespace sito
