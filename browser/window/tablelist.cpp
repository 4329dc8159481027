// SPDX-License-Identifier: MIT
#include <browser/window/tablelist.h>

#include <hostkit/views/icons.h>

#include <QEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QLocale>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace sito {

using namespace Qt::StringLiterals;

TableList::TableList(QWidget *parent) : QWidget(parent), m_search(new QLineEdit), m_tree(new QTreeWidget)
{
    m_search->setObjectName(u"tableSearch"_s);
    m_search->setClearButtonEnabled(true);
    m_search->installEventFilter(this);
    m_tree->setObjectName(u"tableTree"_s);
    m_tree->setColumnCount(2);
    m_tree->setRootIsDecorated(false);
    m_tree->setUniformRowHeights(true);
    m_tree->setAllColumnsShowFocus(true);
    m_tree->setFrameShape(QFrame::NoFrame);
    m_tree->header()->setStretchLastSection(false);
    m_tree->header()->setSectionsMovable(false);
    m_tree->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    m_tree->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    m_tree->headerItem()->setTextAlignment(1, Qt::AlignRight | Qt::AlignVCenter);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    auto *searchLayout = new QVBoxLayout;
    const int gap = fontMetrics().height() / 3;
    searchLayout->setContentsMargins(gap, gap, gap, gap);
    searchLayout->addWidget(m_search);
    layout->addLayout(searchLayout);
    layout->addWidget(m_tree, 1);

    connect(m_search, &QLineEdit::textChanged, this, &TableList::narrow);
    const auto choose = [this](const QTreeWidgetItem *item) {
        const QString name = item->data(0, Qt::UserRole).toString();
        Q_EMIT chosen(name);
    };
    connect(m_tree, &QTreeWidget::itemClicked, this, choose);
    connect(m_tree, &QTreeWidget::itemActivated, this, choose);
    retranslate();
}

void TableList::fillItem(QTreeWidgetItem &item, const SourceConnection::TableInfo &table) const
{
    item.setText(0, table.name);
    item.setData(0, Qt::UserRole, table.name);
    item.setIcon(0, Icons::icon(table.error.isEmpty() ? Icons::Shape::Table : Icons::Shape::Warning));
    const QString count = QLocale().toString(table.rowCount);
    item.setText(1, table.rowCount < 0 ? u"?"_s : table.isEstimate ? u"≈\u00A0"_s + count : count);
    item.setTextAlignment(1, Qt::AlignRight | Qt::AlignVCenter);
    const QString note = table.error.isEmpty()
                             ? tr("%1, строк: %2, столбцов: %3")
                                   .arg(table.name, item.text(1), QLocale().toString(table.columns.size()))
                             : table.error;
    for (int column : {0, 1}) {
        item.setToolTip(column, note);
        item.setData(column, Qt::ForegroundRole,
                     table.error.isEmpty() ? QVariant() : palette().brush(QPalette::PlaceholderText));
    }
    item.setData(0, Qt::AccessibleDescriptionRole, note);
}

void TableList::setTables(const QList<SourceConnection::TableInfo> &tables)
{
    m_tables = tables;
    m_tree->clear();
    m_search->clear(); // it was about the tables before
    for (const SourceConnection::TableInfo &table : tables)
        fillItem(*new QTreeWidgetItem(m_tree), table);
    narrow();
    setCurrent(m_current);
}

void TableList::setCurrent(const QString &name)
{
    m_current = name;
    m_tree->clearSelection();
    for (int i = 0; i < m_tree->topLevelItemCount(); ++i) {
        QTreeWidgetItem *item = m_tree->topLevelItem(i);
        const bool isCurrent = item->data(0, Qt::UserRole).toString() == name;
        QFont font = item->font(0);
        font.setBold(isCurrent);
        item->setFont(0, font);
        if (isCurrent)
            m_tree->setCurrentItem(item);
    }
}

void TableList::setProblem(const QString &name, const QString &problem)
{
    for (int i = 0; i < m_tree->topLevelItemCount(); ++i) {
        if (m_tables.at(i).name != name || m_tables.at(i).error == problem)
            continue;
        m_tables[i].error = problem;
        fillItem(*m_tree->topLevelItem(i), m_tables.at(i));
    }
}

void TableList::setRowCount(const QString &name, qint64 count)
{
    for (int i = 0; i < m_tree->topLevelItemCount(); ++i) {
        SourceConnection::TableInfo &table = m_tables[i];
        if (table.name != name)
            continue;
        table.rowCount = count;
        table.isEstimate = false;
        fillItem(*m_tree->topLevelItem(i), m_tables.at(i));
    }
}

void TableList::narrow()
{
    for (int i = 0; i < m_tree->topLevelItemCount(); ++i) {
        QTreeWidgetItem *item = m_tree->topLevelItem(i);
        item->setHidden(!item->text(0).contains(m_search->text(), Qt::CaseInsensitive));
    }
}

void TableList::retranslate()
{
    m_search->setPlaceholderText(tr("Найти таблицу"));
    m_search->setAccessibleName(m_search->placeholderText());
    m_tree->setHeaderLabels({tr("Таблица"), tr("Строк")});
    m_tree->setAccessibleName(tr("Таблицы источника"));
    for (int i = 0; i < m_tree->topLevelItemCount(); ++i)
        fillItem(*m_tree->topLevelItem(i), m_tables.at(i));
}

void TableList::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::LanguageChange || event->type() == QEvent::PaletteChange)
        retranslate();
}

bool TableList::eventFilter(QObject *watched, QEvent *event)
{
    // From the search field the arrows go on to the list, and Enter opens the first table found.
    if (watched == m_search && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent *>(event)->key();
        const bool opens = key == Qt::Key_Return || key == Qt::Key_Enter;
        if (opens || key == Qt::Key_Down) {
            for (int i = 0; i < m_tree->topLevelItemCount(); ++i) {
                QTreeWidgetItem *item = m_tree->topLevelItem(i);
                if (item->isHidden())
                    continue;
                m_tree->setCurrentItem(item);
                m_tree->setFocus(Qt::OtherFocusReason);
                if (opens)
                    Q_EMIT chosen(item->text(0));
                break;
            }
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace sito
