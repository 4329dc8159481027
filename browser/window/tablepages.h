// SPDX-License-Identifier: MIT
#pragma once

#include <browser/window/showrequest.h>

#include <QHash>
#include <QPointer>
#include <QStackedWidget>

class MemoryTable;
class QLabel;

namespace sito {

class KeptViews;
class PageActions;
class TablePage;

/// The pages of the loaded tables, one of which is shown, or a text in the middle where there is none.
/// Layouts and filters come from what is kept, and go there.
class TablePages : public QStackedWidget
{
    Q_OBJECT
public:
    /// \a actions are shown in context menus. Neither is owned; both must outlive the object.
    TablePages(KeptViews &views, PageActions &actions, QWidget *parent = nullptr);

    /// The page that is shown; null when there is none.
    TablePage *page() const { return m_page; }
    /// The page of \a table; null when there is none.
    TablePage *find(const QString &table) const { return m_pages.value(table); }
    /// Makes the page of \a table, which must outlive it, and shows it with the filters of \a request or,
    /// without any or when one of them is wrong, with those that are kept.
    void add(MemoryTable &table, const ShowRequest &request);
    /// Shows \a page, with the filters of \a request if it has any.
    void showPage(TablePage &page, const ShowRequest &request);
    /// Calls TablePage::renewSessionFilter() of all.
    void renewSessionFilters();
    /// Keeps the layout and the filters of \a page and deletes it. If it is shown and has the focus, the next
    /// page takes that.
    void close(TablePage &page);
    /// Keeps the layouts and deletes the pages. The first one after that takes the focus.
    void closeAll();
    void keepLayouts();

    void setText(const QString &text);
    /// How much of a pass of the page is done, in percent; -1 while none lasts.
    int passed() const { return m_passed; }

Q_SIGNALS:
    /// \a page is shown now; null for none.
    void shown(sito::TablePage *page);
    void failed(const QString &message);
    void restWanted(const QString &table);
    void selectionDropped();
    /// The selection or the filters of a page have changed.
    void changed();
    void passStarted();
    /// A pass has come further, or ended, or changes of the table are shown.
    void passChanged();

private:
    void follow(TablePage &page);
    void setPage(TablePage &page);
    /// Whether the filters of \a request have taken the place of those of \a page; all or none.
    bool applyRequest(TablePage &page, const ShowRequest &request);
    void restoreFilters(TablePage &page);
    void setPassed(const TablePage *page, int percent);

    KeptViews &m_views;
    PageActions &m_actions;
    QHash<QString, TablePage *> m_pages;
    QPointer<TablePage> m_page;
    QWidget *m_empty;
    QLabel *m_text;
    int m_passed = -1;
    bool m_takesFocus = false;
};

} // namespace sito
