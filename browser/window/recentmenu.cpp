// SPDX-License-Identifier: MIT
#include <browser/window/recentmenu.h>

#include <browser/window/keptviews.h>

#include <hostkit/text/labeltext.h>
#include <hostkit/views/icons.h>

#include <data/exception.h>

#include <QAction>
#include <QFileInfo>
#include <QStringList>

namespace sito {

using namespace Qt::StringLiterals;
using Icons::Shape;

RecentMenu::RecentMenu(KeptViews &views, QWidget *parent) : QMenu(parent), m_views(views)
{
    setObjectName(u"recentMenu"_s);
    connect(this, &QMenu::aboutToShow, this, &RecentMenu::fill);
}

void RecentMenu::fill()
{
    clear();
    const QStringList recent = m_views.recentSources();
    for (const QString &url : recent) {
        SourceLocation location;
        try {
            location = SourceLocation::fromUrl(url);
        } catch (const Exception &exception) {
            Q_EMIT failed(exception.message());
            continue;
        }
        if (location.isFile() && !QFileInfo::exists(location.file))
            continue;
        const QIcon icon = Icons::icon(location.isFile() ? Shape::Open : Shape::Server);
        const QString text = labelText(location.displayName());
        connect(addAction(icon, text), &QAction::triggered, this,
                [this, location] { Q_EMIT chosen(location); });
    }
    if (isEmpty()) {
        addAction(tr("Пусто"))->setEnabled(false);
        return;
    }
    addSeparator();
    connect(addAction(tr("Забыть все")), &QAction::triggered, this,
            [this] { m_views.forgetRecentSources(); });
}

} // namespace sito
