// SPDX-License-Identifier: MIT
#include <browser/window/filterdialog.h>

#include <hostkit/values/showonlywidget.h>

#include <filters/filter.h>

#include <QDialogButtonBox>
#include <QPushButton>
#include <QVBoxLayout>

#include <memory>

namespace sito {

using namespace Qt::StringLiterals;

FilterDialog *FilterDialog::make(Filter &filter, const QString &name, QWidget *parent)
{
    auto dialog = std::unique_ptr<FilterDialog>(new FilterDialog(filter, parent));
    if (!dialog->m_editor)
        return nullptr;
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setObjectName(u"filterDialog"_s);
    dialog->setWindowTitle(name);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    auto *layout = new QVBoxLayout(dialog.get());
    layout->addWidget(dialog->m_editor);
    layout->addWidget(buttons);
    if (auto *kept = qobject_cast<ShowOnlyWidget *>(dialog->m_editor)) {
        QPushButton *ok = buttons->button(QDialogButtonBox::Ok);
        const auto update = [kept, ok] {
            ok->setEnabled(kept->isComplete());
            ok->setToolTip(kept->error());
        };
        connect(kept, &ShowOnlyWidget::completeChanged, ok, update);
        update();
    }
    filter.init(dialog->m_editor);
    connect(buttons, &QDialogButtonBox::accepted, dialog.get(), &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, dialog.get(), &QDialog::reject);
    connect(&filter, &QObject::destroyed, dialog.get(), &QDialog::reject);
    return dialog.release();
}

FilterDialog::FilterDialog(Filter &filter, QWidget *parent)
    : QDialog(parent), m_filter(filter), m_editor(filter.createFilterWidget(this))
{
}

void FilterDialog::apply()
{
    m_filter.apply(m_editor);
}

} // namespace sito
