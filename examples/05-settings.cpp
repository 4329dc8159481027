// SPDX-License-Identifier: MIT
// Settings of an INI file in a tree: changes wait, are listed, and change only their own lines of the file.
#include <hostkit/settings/settingsdelegate.h>
#include <hostkit/settings/settingsdocument.h>
#include <hostkit/settings/settingsvalue.h>
#include <hostkit/settings/settingsviewproxy.h>
#include <settings/settingsmodel.h>

#include <QApplication>
#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTreeView>

using namespace Qt::StringLiterals;
using namespace sito;

QByteArray contentOf(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

int main(int argc, char **argv)
{
    QApplication application(argc, argv); // the model shows icons of its style
    QTextStream out(stdout);
    const QTemporaryDir directory;
    const QString fileName = directory.filePath(u"browser.ini"_s);
    {
        QFile file(fileName);
        if (!file.open(QIODevice::WriteOnly) ||
            file.write("; of the main window\n[window]\nheight=600\ntitle=Quotes\nwidth = 800\n") < 0)
            return 1;
    }

    SettingsDocument document;
    document.open(std::make_unique<QSettings>(fileName, QSettings::IniFormat));
    SettingsViewProxy proxy; // between the model and its views
    proxy.setSourceModel(document.model());
    QObject::connect(&document, &SettingsDocument::modelReplaced, &proxy,
                     [&] { proxy.setSourceModel(document.model()); });
    QTreeView view;
    view.setModel(&proxy);
    view.setItemDelegate(new SettingsDelegate(&view));

    // What the user does in the view: changes the width, and removes the title.
    const QModelIndex window = proxy.index(0, 0);
    proxy.setData(proxy.index(2, 2, window), u"1024"_s);
    proxy.removeRow(1, window);

    // An application connects to SettingsChanges::changed() instead.
    document.changes().synchronize();
    for (const SettingsChange &change : document.changes().changes()) {
        out << change.path << ": " << settingsValueText(change.oldValue) << " -> "
            << (change.removal ? u"removed"_s : settingsValueText(change.newValue)) << '\n';
    }

    SettingsDelegate::finishEditing(&view); // an open editor
    const SettingsDocument::Outcome outcome = document.submit();
    out << (outcome.written ? u"written:"_s : outcome.message) << '\n' << contentOf(fileName);
}
