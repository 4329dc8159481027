// SPDX-License-Identifier: MIT
// Uses something of every component. Ends with 0 when each works and the library has the version of its headers.
#include <data/exception.h>
#include <data/indexlist.h>
#include <data/record.h>
#include <database/memorytable.h>
#include <filterfuncs/lambdafilterfunc.h>
#include <hostkit/table/tablemodel.h>
#include <hostkit/text/translations.h>
#include <hostkit/values/showonlywidget.h>
#include <settings/settingsmodel.h>
#include <sito_version.h>
#include <sources/openserverdialog.h>
#include <sources/sourcelocation.h>

#include <QApplication>
#include <QString>

#include <cstring>

#if SITO_VERSION < SITO_VERSION_CHECK(0, 2, 0) ||                                                            \
    SITO_VERSION != SITO_VERSION_CHECK(SITO_VERSION_MAJOR, SITO_VERSION_MINOR, SITO_VERSION_PATCH)
#error "the number of the version"
#endif

int main(int argc, char **argv)
{
    QApplication application(argc, argv);

    MemoryTable table(QStringLiteral("numbers"), {{QStringLiteral("number"), FieldType::Int}});
    for (int number = 0; number < 5; ++number)
        table.append({qint32(number)});
    const LambdaFilterFunc odd(
        [&table](const Record &row) { return row.field(0).toString().toInt() % 2 == 1; });
    int shown = 0;
    for (unsigned char *row : *table.masterIndex())
        shown += odd.filter(Record(row)) ? 0 : 1;

    const sito::TableModel model(table, {0});
    const SettingsModel settings;
    bool refused = false;
    try {
        sito::SourceLocation::fromUrl(QStringLiteral("postgresql://host:port"));
    } catch (const Exception &) {
        refused = true;
    }

    // A host in English: each library has its texts inside, wherever it was moved to.
    const sito::Translations translations(QLocale(QLocale::English));
    const bool isEnglish =
        model.headerData(0, Qt::Horizontal, Qt::ToolTipRole).toString().contains(u"Type:") &&
        sito::ShowOnlyWidget().error() == u"Check at least one value" &&
        settings.headerData(0, Qt::Horizontal).toString() == u"Key" &&
        sito::OpenServerDialog().windowTitle() == u"Open a database on a server";

    const bool works = isEnglish && std::strcmp(sito::libraryVersion(), SITO_VERSION_STRING) == 0 &&
                       shown == 3 && model.rowCount() == 5 && settings.rowCount() == 0 && refused &&
                       sito::SourceLocation::fromFile(QStringLiteral("a.sqlite")).isFile();
    return works ? 0 : 1;
}
