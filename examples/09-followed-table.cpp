// SPDX-License-Identifier: MIT
// A feed changes a table in another thread, and what is shown follows.
#include <database/memorytable.h>
#include <hostkit/parallel/task.h>
#include <hostkit/table/tablemodel.h>
#include <hostkit/text/exceptiontext.h>
#include <hostkit/views/filteredtableview.h>

#include <QApplication>
#include <QTextStream>

using namespace Qt::StringLiterals;
using namespace sito;

QString texts(const TableModel &model)
{
    QStringList rows;
    for (int row = 0; row < model.rowCount(); ++row)
        rows += model.index(row, 0).data().toString() + u' ' + model.index(row, 1).data().toString();
    return rows.join(u", "_s);
}

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    QTextStream out(stdout);
    MemoryTable quotes(u"quotes"_s, {{u"code"_s, FieldType::String}, {u"price"_s, FieldType::Int}});
    quotes.append({{u"GAZP"_s, 161}, {u"SBER"_s, 255}, {u"LKOH"_s, 6500}});
    FilteredTableView view(quotes, {0, 1}); // the table outlives it
    TableModel &model = *view.tableModel();
    model.setSortKeys({{1, Qt::DescendingOrder}});
    model.follow(&quotes.changes());
    model.waitForPass(); // only for this example: views follow by themselves
    out << "before: " << texts(model) << '\n';

    // The feed writes in its thread: each operation locks the table for itself, and tells what it did.
    parallel::Task feed;
    feed.start(
        [&quotes](const parallel::Context &) {
            quotes.update(quotes.row(1), 1, 7000);
            quotes.append({u"VTBR"_s, 170});
            quotes.remove(quotes.row(0));
        },
        [&] {
            model.waitForPass(); // only for this example: it need not wait for the next look at the changes
            out << "after: " << texts(model) << '\n';
            QCoreApplication::quit();
        },
        [&](const std::exception_ptr &problem) {
            out << exceptionText(problem) << '\n';
            QCoreApplication::exit(1);
        });
    return QApplication::exec();
}
