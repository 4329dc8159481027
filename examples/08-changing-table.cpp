// SPDX-License-Identifier: MIT
// A table that changes while it is shown: rows arrive in another thread, values are written in this one.
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
    quotes.append({{u"GAZP"_s, 161}, {u"SBER"_s, 255}});
    FilteredTableView view(quotes, {0, 1}); // the table outlives it
    TableModel &model = *view.tableModel();
    model.waitForPass(); // only for this example: views follow by themselves

    // New rows may be appended by any thread: the table locks itself, and what is shown stays as it is.
    parallel::Task feed;
    feed.start(
        [&quotes](const parallel::Context &) {
            quotes.append({{u"LKOH"_s, 6500}, {u"VTBR"_s, 1}});
        },
        [&] {
            out << "appended, but not reloaded: " << texts(model) << '\n';
            model.reload(); // lists, filters and sorts in the background, then emits passFinished()
        },
        [&](const std::exception_ptr &problem) {
            out << exceptionText(problem) << '\n';
            QCoreApplication::exit(1);
        });

    // Rows that are shown are written in the thread that paints them. Removed ones live while they are shown.
    QObject::connect(&model, &TableModel::passFinished, &view, [&, passes = 0]() mutable {
        out << "reloaded: " << texts(model) << '\n';
        if (++passes == 2)
            return QCoreApplication::quit();
        quotes.update(model.record(0), 1, 170);
        quotes.remove(model.record(1));
        out << "written and removed: " << texts(model) << '\n';
        model.reload();
    });
    return QApplication::exec();
}
