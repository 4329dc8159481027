// SPDX-License-Identifier: MIT
#include <browser/window/screenshot.h>

#include <browser/parts/messagebar.h>
#include <browser/settings/settingswindow.h>
#include <browser/window/mainwindow.h>
#include <browser/window/tablepage.h>

#include <hostkit/table/tablemodel.h>
#include <hostkit/values/valuelistwidget.h>
#include <hostkit/views/filterheader.h>

#include <database/memorytable.h>

#include <data/exception.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QPainter>
#include <QPixmap>
#include <QSaveFile>
#include <QTableView>
#include <QTimer>

#include <functional>

namespace sito {

using namespace Qt::StringLiterals;

namespace {

/// Longer than the largest database takes to load.
constexpr int maxWaitMilliseconds = 600000;
/// For how long the rows of other tables may be counted.
constexpr int countMilliseconds = 5000;
/// The quality of a PNG is how little it is compressed.
constexpr int smallest = 0;

/// Whether \a done has come true within \a milliseconds.
bool waitFor(int milliseconds, const std::function<bool()> &done)
{
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > milliseconds)
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 100);
    }
    return true;
}

void waitUntil(const std::function<bool()> &done)
{
    if (!waitFor(maxWaitMilliseconds, done))
        throw Exception(QCoreApplication::translate("Screenshot", "Окно не готово и через десять минут"));
}

/// Lets everything that was posted be carried out and laid out.
void settle()
{
    for (int i = 0; i < 5; ++i) {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

void throwMessages(const MainWindow &window)
{
    if (!window.messageBar()->messages().isEmpty())
        throw Exception(window.messageBar()->messages().join(u"; "_s));
}

} // namespace

void Screenshot::take(MainWindow &window, const CommandLine &commandLine)
{
    // Wakes the waiting loop now and then, for what no event tells of.
    QTimer pulse;
    pulse.start(20);
    if (commandLine.screenshotSize.isValid())
        window.resize(commandLine.screenshotSize);
    window.show();
    waitUntil([&window] { return window.isSettled(); });
    waitFor(countMilliseconds, [&window] { return window.areRowsCounted(); });
    settle();
    throwMessages(window);

    QWidget *shown = &window;
    QWidget *popup = nullptr;
    if (commandLine.showsSettings) {
        shown = window.showSettings();
        if (commandLine.screenshotSize.isValid())
            shown->resize(commandLine.screenshotSize);
    } else if (!commandLine.popupColumn.isEmpty()) {
        TablePage *page = window.page();
        const int column = page ? page->table()->columnIndex(commandLine.popupColumn) : -1;
        if (column < 0)
            throw Exception(tr("Столбца «%1» нет").arg(commandLine.popupColumn));
        page->view()->scrollTo(page->model()->index(0, column));
        settle();
        page->header()->requestFilter(column);
        popup = QApplication::activePopupWidget();
        throwMessages(window);
        if (!popup)
            throw Exception(tr("У столбца «%1» нет фильтра").arg(commandLine.popupColumn));
        const auto *values = popup->findChild<ValueListWidget *>();
        waitUntil([values] { return !values || values->isReady(); });
    }
    settle();
    throwMessages(window);

    QPixmap picture = shown->grab();
    if (popup) {
        QPainter painter(&picture);
        const QPoint place = shown->mapFromGlobal(popup->mapToGlobal(QPoint(0, 0)));
        painter.drawPixmap(place, popup->grab());
    }
    QSaveFile file(commandLine.screenshotFile);
    if (!file.open(QIODevice::WriteOnly) || !picture.save(&file, "PNG", smallest) || !file.commit())
        throw Exception(
            tr("Не удалось записать «%1»: %2").arg(commandLine.screenshotFile, file.errorString()));
    if (popup)
        popup->close();
}

} // namespace sito
