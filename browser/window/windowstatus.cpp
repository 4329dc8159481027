// SPDX-License-Identifier: MIT
#include <browser/window/windowstatus.h>

#include <hostkit/table/tablemodel.h>
#include <hostkit/views/icons.h>

#include <QLabel>
#include <QLocale>
#include <QProgressBar>
#include <QStatusBar>
#include <QToolButton>

namespace sito {

using namespace Qt::StringLiterals;

WindowStatus::WindowStatus(QStatusBar &bar)
    : QObject(&bar),
      m_activity(new QLabel),
      m_progress(new QProgressBar),
      m_cancel(new QToolButton),
      m_rows(new QLabel),
      m_time(new QLabel),
      m_asOf(new QLabel)
{
    const int character = bar.fontMetrics().averageCharWidth();
    m_activity->setObjectName(u"activity"_s);
    m_activity->setTextFormat(Qt::PlainText);
    m_progress->setObjectName(u"progress"_s);
    m_progress->setTextVisible(false);
    m_progress->setMaximumWidth(character * 30);
    m_progress->setMaximumHeight(bar.fontMetrics().height());
    m_cancel->setObjectName(u"cancel"_s);
    m_cancel->setAutoRaise(true);
    m_cancel->setIcon(Icons::icon(Icons::Shape::Close));
    m_cancel->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_cancel->setFocusPolicy(Qt::StrongFocus);
    connect(m_cancel, &QToolButton::clicked, this, &WindowStatus::interrupted);
    m_rows->setObjectName(u"rows"_s);
    m_time->setObjectName(u"time"_s);
    m_asOf->setObjectName(u"asOf"_s);
    for (QLabel *label : {m_rows, m_time, m_asOf})
        label->setContentsMargins(character, 0, character, 0);
    // Permanent, all of them: a message of the bar hides the others.
    for (QWidget *widget :
         std::initializer_list<QWidget *>{m_activity, m_progress, m_cancel, m_rows, m_time, m_asOf})
        bar.addPermanentWidget(widget);
    showActivity(QString());
}

void WindowStatus::showActivity(const QString &text, int done, int total)
{
    m_activity->setText(text.isEmpty() ? text : text + u'…');
    m_progress->setRange(0, total);
    m_progress->setValue(done);
    for (QWidget *widget : std::initializer_list<QWidget *>{m_activity, m_progress, m_cancel})
        widget->setVisible(!text.isEmpty());
}

void WindowStatus::showRows(const TableModel *model)
{
    if (!model) {
        m_rows->clear();
        m_time->clear();
        return;
    }
    const QLocale locale;
    m_rows->setText(tr("Показано строк: %1 из %2")
                        .arg(locale.toString(model->rowCount()), locale.toString(model->totalRowCount())));
    const double milliseconds = double(model->lastPassNanoseconds()) / 1e6;
    const int digits = milliseconds < 10 ? 2 : 0;
    m_time->setText(model->lastPassNanoseconds() > 0
                        ? tr("Проход: %1 мс").arg(locale.toString(milliseconds, 'f', digits))
                        : QString());
}

void WindowStatus::showAsOf(const QDateTime &moment)
{
    m_moment = moment;
    m_asOf->setVisible(moment.isValid());
    if (!moment.isValid())
        return;
    const QLocale locale;
    const QDateTime local = moment.toLocalTime();
    // The long format would add the zone.
    const QString format = locale.timeFormat(QLocale::ShortFormat).replace("mm"_L1, "mm:ss"_L1);
    m_asOf->setText(tr("По состоянию на %1").arg(locale.toString(local.time(), format)));
    m_asOf->setToolTip(tr("Таблица прочитана: %1").arg(locale.toString(local, QLocale::LongFormat)));
}

void WindowStatus::retranslate()
{
    showAsOf(m_moment);
    m_cancel->setText(tr("Прервать"));
    m_cancel->setAccessibleName(m_cancel->text());
    m_progress->setAccessibleName(tr("Ход работы"));
    m_rows->setToolTip(tr("Показано строк и всего строк"));
    m_time->setToolTip(tr("Время последнего прохода: отбор и сортировка"));
}

} // namespace sito
