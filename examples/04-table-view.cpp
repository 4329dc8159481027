// SPDX-License-Identifier: MIT
// A table in a view: titles sort, buttons in the header choose values, a panel shows all filters.
//   04-table-view [PICTURE]     PICTURE: saves a picture there, prints what is visible, and ends
#include <database/memorytable.h>
#include <hostkit/filters/filterlist.h>
#include <hostkit/table/tablemodel.h>
#include <hostkit/values/valuelistfilter.h>
#include <hostkit/views/filteredtableview.h>
#include <hostkit/views/filterpanel.h>

#include <QApplication>
#include <QLabel>
#include <QMenu>
#include <QSplitter>
#include <QTextStream>

using namespace Qt::StringLiterals;
using namespace sito;

void printWhatIsVisible(const FilteredTableView &view, const FilterPanel &panel)
{
    QTextStream out(stdout);
    const TableModel &rows = *view.tableModel();
    for (int row = 0; row < rows.rowCount(); ++row)
        out << rows.index(row, 0).data().toString() << ' ' << rows.index(row, 1).data().toString() << '\n';
    for (const QWidget *item : panel.findChildren<QWidget *>(u"filterPanelItem"_s)) {
        if (item->isVisible())
            out << "in the panel: " << item->findChild<QLabel *>(u"text"_s)->text() << '\n';
    }
}

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    MemoryTable quotes(u"quotes"_s, {{u"code"_s, FieldType::String}, {u"volume"_s, FieldType::Int, true}});
    quotes.append({{u"GAZP"_s, 20}, {u"SBER"_s, 10}, {u"VTBR"_s, 30}, {u"GAZP"_s, std::monostate()}});

    QSplitter window;
    auto *view = new FilteredTableView(quotes, {0, 1}, &window);
    auto *panel = new FilterPanel(&window);
    panel->setFilters(view->filters());
    QObject::connect(panel, &FilterPanel::editRequested, view, [view](Filter *filter, QWidget *button) {
        if (auto *values = qobject_cast<SelectFilter *>(filter))
            view->select(*values, {button->mapToGlobal(QPoint()), button->size()});
    });
    QObject::connect(view, &FilteredTableView::cellMenuRequested, view, [view](auto &, const QPoint &place) {
        auto *menu = new QMenu(view);
        menu->setAttribute(Qt::WA_DeleteOnClose);
        menu->addAction(u"Hide these"_s, view, &FilteredTableView::hideSelectedValues);
        menu->popup(place);
    });
    window.resize(640, 240);
    window.show();

    // What the user does by a click on a title, and by one on the menu of a cell:
    view->setSorting(1, Qt::DescendingOrder, false);
    view->tableModel()->waitForPass(); // only for this example; views follow by themselves
    view->selectionModel()->select(view->tableModel()->index(2, 0), QItemSelectionModel::Select);
    view->hideSelectedValues();
    if (argc < 2)
        return QApplication::exec();

    view->tableModel()->waitForPass();
    QApplication::processEvents();
    printWhatIsVisible(*view, *panel);
    return window.grab().save(QString::fromLocal8Bit(argv[1])) ? 0 : 1;
}
