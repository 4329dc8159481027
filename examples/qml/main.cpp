// SPDX-License-Identifier: MIT
// A table and a tree of settings in views of Qt Quick.
//   sito-qml [PICTURE]     PICTURE: saves a picture there, prints what is visible, and ends
#include <database/memorytable.h>
#include <hostkit/settings/settingsviewproxy.h>
#include <hostkit/table/tablemodel.h>
#include <hostkit/text/translations.h>
#include <settings/settingsmodel.h>

#include <QApplication>
#include <QQuickItem>
#include <QQuickView>
#include <QSettings>
#include <QTemporaryDir>
#include <QTextStream>

#include <map>
#include <utility>

using namespace Qt::StringLiterals;
using namespace sito;

/// The texts in and below an item, by their place: line after line.
void collectTexts(const QQuickItem *item, std::map<std::pair<qreal, qreal>, QString> &texts)
{
    const QPointF place = item->mapToScene({});
    texts[{place.y(), place.x()}] += item->property("text").toString();
    for (const QQuickItem *child : item->childItems())
        collectTexts(child, texts);
}

int main(int argc, char **argv)
{
    QApplication application(argc, argv); // of widgets: SettingsModel takes its icons from their style
    const Translations translations(QLocale::English);

    MemoryTable quotes(u"quotes"_s, {{u"code"_s, FieldType::String}, {u"volume"_s, FieldType::Int, true}});
    quotes.append({{u"SBER"_s, 10}, {u"GAZP"_s, 20}, {u"VTBR"_s, std::monostate()}});
    TableModel rows(quotes, {0, 1});
    rows.sort(1, Qt::DescendingOrder);
    rows.waitForPass(); // only for this example; views follow by themselves

    const QTemporaryDir directory;
    QSettings store(directory.filePath(u"a.ini"_s), QSettings::IniFormat);
    store.setValue(u"window/width"_s, 640);
    store.setValue(u"window/title"_s, u"Quotes"_s);
    SettingsModel settings;
    settings.setSettings(&store);
    SettingsViewProxy tree; // every view of settings needs it
    tree.setSourceModel(&settings);

    QQuickView view;
    view.setInitialProperties(
        {{u"rows"_s, QVariant::fromValue(&rows)}, {u"settings"_s, QVariant::fromValue(&tree)}});
    view.setSource(u"qrc:/main.qml"_s);
    if (view.status() != QQuickView::Ready)
        return 1;
    view.show();
    if (argc < 2)
        return QApplication::exec();

    const QImage picture = view.grabWindow(); // also lays the cells out
    std::map<std::pair<qreal, qreal>, QString> texts;
    collectTexts(view.rootObject(), texts);
    for (const auto &[place, text] : texts)
        QTextStream(stdout) << text << (text.isEmpty() ? "" : "\n");
    return picture.save(QString::fromLocal8Bit(argv[1])) ? 0 : 1;
}
