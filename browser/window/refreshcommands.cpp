// SPDX-License-Identifier: MIT
#include <browser/window/refreshcommands.h>

#include <browser/parts/messagebar.h>
#include <browser/window/exportcommands.h>
#include <browser/window/keptviews.h>
#include <browser/window/tablepage.h>
#include <browser/window/tablepages.h>
#include <browser/window/workspace.h>

#include <hostkit/table/tablemodel.h>

#include <database/memorydatabase.h>
#include <database/memorytable.h>

#include <QApplication>
#include <QLocale>
#include <QSettings>

#include <algorithm>
#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

const QString intervalKey = u"window/refresh"_s;
const QString off = u"off"_s;
/// How soon to try again when something was in the way, in milliseconds.
constexpr int soon = 1000;

} // namespace

RefreshCommands::RefreshCommands(const Parts &parts, QSettings &store, QWidget &window)
    : Commands(window),
      m_workspace(parts.workspace),
      m_pages(parts.pages),
      m_views(parts.views),
      m_exports(parts.exports),
      m_messages(parts.messages),
      m_store(store)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &RefreshCommands::beginByItself);
    connect(&m_workspace, &Workspace::refreshed, this, &RefreshCommands::onRefreshed);
    connect(&m_workspace, &Workspace::refreshFailed, this, &RefreshCommands::onFailed);
    connect(&m_workspace, &Workspace::reshaped, this, &RefreshCommands::loadAgain);
    connect(&m_workspace, &Workspace::opened, this, [this] { m_failure.clear(); });
    connect(&m_workspace, &Workspace::tableLoaded, this, [this](const QString &table) {
        m_workspace.setGrowingColumn(table, m_views.growingColumn(table));
    });
    arm();
}

QStringList RefreshCommands::intervals()
{
    return {off, u"5"_s, u"30"_s, u"60"_s, u"300"_s};
}

QString RefreshCommands::interval() const
{
    const QString name = m_store.value(intervalKey).toString();
    return name.toInt() > 0 ? name : off;
}

void RefreshCommands::setInterval(const QString &name)
{
    m_store.setValue(intervalKey, name);
    arm();
}

QStringList RefreshCommands::growingColumns() const
{
    QStringList numbers;
    QStringList others;
    // A CSV file is always read whole.
    const bool canRead = m_pages.page() && !m_workspace.location().isCsv();
    const MemoryTable *table = canRead ? m_pages.page()->table() : nullptr;
    for (int column = 0; table && column < table->columnCount(); ++column) {
        const ColumnSpec &spec = table->columnSpec(column);
        const bool isNumber = spec.type == FieldType::Int || spec.type == FieldType::Int64;
        if (SourceConnection::canGrow(spec))
            (isNumber && !spec.nullable ? numbers : others).append(spec.name);
    }
    return numbers + others;
}

QString RefreshCommands::growingColumn() const
{
    const QString column =
        m_pages.page() ? m_views.growingColumn(m_pages.page()->table()->name()) : QString();
    return growingColumns().contains(column) ? column : QString();
}

void RefreshCommands::setGrowingColumn(const QString &column)
{
    if (!m_pages.page())
        return;
    const QString table = m_pages.page()->table()->name();
    m_views.setGrowingColumn(table, column);
    m_workspace.setGrowingColumn(table, column);
}

void RefreshCommands::arm()
{
    constexpr int longest = 24 * 60 * 60;
    const int seconds = std::min(interval().toInt(), longest);
    if (seconds > 0)
        m_timer.start(seconds * 1000);
    else
        m_timer.stop();
}

bool RefreshCommands::canBegin() const
{
    return m_pages.page() && m_workspace.isSettled() && !m_exports.isBusy();
}

void RefreshCommands::refresh()
{
    if (!m_pages.page())
        return;
    if (!canBegin()) {
        Q_EMIT refused(tr("Обновить можно, когда закончится то, что начато"));
        return;
    }
    m_isAsked = true;
    arm();
    m_workspace.refresh(m_pages.page()->table()->name(), false);
}

void RefreshCommands::beginByItself()
{
    const bool isInTheWay = QApplication::activeModalWidget() || QApplication::activePopupWidget();
    // The rest of a table is read for whoever asks for it.
    if (!canBegin() || isInTheWay || m_pages.page()->model()->isPassRunning() ||
        !m_workspace.isComplete(m_pages.page()->table()->name())) {
        m_timer.start(soon);
        return;
    }
    m_isAsked = false;
    arm();
    m_workspace.refresh(m_pages.page()->table()->name(), true);
}

void RefreshCommands::onRefreshed(const QList<SourceConnection::RefreshedTable> &tables)
{
    arm();
    const bool wasGone = !m_failure.isEmpty();
    m_messages.removeMessage(std::exchange(m_failure, {}));
    const SourceConnection::RefreshedTable &shown = tables.first();
    const TableRefresh::Counts &counts = shown.counts;
    if (wasGone) {
        Q_EMIT done(tr("Источник снова доступен"));
    } else if (m_isAsked && !shown.isReshaped && counts == TableRefresh::Counts()) {
        Q_EMIT done(tr("Изменений нет"));
    } else if (m_isAsked && !shown.isReshaped) {
        const QLocale locale;
        Q_EMIT done(tr("Строк добавлено: %1, удалено: %2, изменено: %3")
                        .arg(locale.toString(counts.added), locale.toString(counts.removed),
                             locale.toString(counts.changed)));
    }
    for (const SourceConnection::RefreshedTable &table : tables) {
        if (table.isReshaped)
            Q_EMIT done(tr("Столбцы таблицы %1 изменились, она загружена заново").arg(table.name));
    }
    const bool hasSessions = tables.size() > 1;
    if (hasSessions && (tables.last().isReshaped || tables.last().counts != TableRefresh::Counts())) {
        if (tables.last().isReshaped)
            loadAgain(tables.last().name);
        m_workspace.withSessions(*this, Workspace::WithoutSessions::GoOn,
                                 [this] { guarded([this] { m_pages.renewSessionFilters(); }); });
    }
    if (shown.isReshaped)
        loadAgain(shown.name);
}

/// Loads \a table, which no longer fits its columns, as a whole.
void RefreshCommands::loadAgain(const QString &table)
{
    // Not under an open list of values or menu.
    if (QApplication::activePopupWidget() || QApplication::activeModalWidget()) {
        QTimer::singleShot(soon, this, [this, table] {
            if (MemoryDatabase::instance().tableNames().contains(table))
                loadAgain(table);
        });
        return;
    }
    TablePage *page = m_pages.find(table);
    const bool isShown = page && page == m_pages.page();
    if (page)
        m_pages.close(*page);
    m_workspace.dropTable(table);
    if (isShown)
        m_workspace.load(table, {}, false, SourceConnection::Extent::Whole);
}

void RefreshCommands::onFailed(const QString &message, bool byItself)
{
    arm();
    if (byItself && !m_failure.isEmpty())
        return;
    m_messages.removeMessage(
        std::exchange(m_failure, tr("Не удалось обновить: %1").arg(message).simplified()));
    Q_EMIT failed(m_failure);
}

} // namespace sito
