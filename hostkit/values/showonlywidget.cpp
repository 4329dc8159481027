// SPDX-License-Identifier: MIT
#include <hostkit/values/showonlywidget.h>

#include <hostkit/values/checkedkeysmodel_p.h>

#include <QEvent>
#include <QLabel>
#include <QListView>
#include <QVBoxLayout>

#include <utility>

namespace sito {

using namespace Qt::StringLiterals;

ShowOnlyWidget::ShowOnlyWidget(QWidget *parent)
    : QWidget(parent),
      m_view(new QListView(this)),
      m_keys(new CheckedKeysModel(m_view)),
      m_error(new QLabel(this))
{
    m_view->setObjectName(u"keptKeys"_s);
    m_view->setUniformItemSizes(true);
    m_view->setModel(m_keys);
    m_error->setObjectName(u"error"_s);
    m_error->setWordWrap(true);
    QSizePolicy policy = m_error->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    m_error->setSizePolicy(policy);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view, 1);
    layout->addWidget(m_error);
    setFocusProxy(m_view);
    connect(m_keys, &QAbstractItemModel::dataChanged, this, &ShowOnlyWidget::updateState);
    connect(m_keys, &QAbstractItemModel::modelReset, this, &ShowOnlyWidget::updateState);
    retranslate();
}

ShowOnlyWidget::~ShowOnlyWidget() = default;

void ShowOnlyWidget::setKeys(const ValueFilter &filter)
{
    m_keys->fill(filter);
    m_view->setCurrentIndex(m_keys->index(0));
}

QList<KeyValue> ShowOnlyWidget::checkedKeys() const
{
    return m_keys->checkedKeys();
}

bool ShowOnlyWidget::isComplete() const
{
    return m_keys->isAnyChecked();
}

QString ShowOnlyWidget::error() const
{
    return isComplete() ? QString() : tr("Отметьте хотя бы одно значение");
}

void ShowOnlyWidget::updateState()
{
    const bool isNow = isComplete();
    m_error->setVisible(!isNow);
    m_view->setAccessibleDescription(error());
    if (std::exchange(m_isComplete, isNow) != isNow)
        Q_EMIT completeChanged(isNow);
}

void ShowOnlyWidget::retranslate()
{
    m_view->setAccessibleName(tr("Показываемые значения"));
    m_error->setText(tr("Отметьте хотя бы одно значение"));
    updateState();
}

void ShowOnlyWidget::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::LanguageChange)
        retranslate();
}

} // namespace sito
