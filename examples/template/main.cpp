// SPDX-License-Identifier: MIT
#include <database/memorytable.h>
#include <hostkit/views/filteredtableview.h>

#include <QApplication>
#include <QTextStream>

using namespace Qt::StringLiterals;

int main(int argc, char **argv)
{
    QApplication application(argc, argv);

    // Your table. It must outlive all that shows or filters it.
    MemoryTable quotes(u"quotes"_s, {{u"code"_s, FieldType::String}, {u"price"_s, FieldType::Double}});
    quotes.append({{u"GAZP"_s, 161.5}, {u"SBER"_s, 255.25}, {u"VTBR"_s, 0.5}});

    sito::FilteredTableView view(quotes, {0, 1});
    view.setWindowTitle(u"Quotes"_s);
    view.resize(480, 320);
    view.show();

    // For tests: ends at once and says how many rows the window shows.
    if (QApplication::arguments().contains(u"--test"_s)) {
        QTextStream(stdout) << view.model()->rowCount() << " rows\n";
        return 0;
    }
    return QApplication::exec();
}
