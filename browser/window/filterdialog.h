// SPDX-License-Identifier: MIT
#pragma once

#include <QDialog>

class Filter;

namespace sito {

/// Edits a filter in the widget that the filter makes for it. Closes when the filter is deleted.
class FilterDialog : public QDialog
{
    Q_OBJECT
public:
    /// A dialog over \a filter, which is not owned, with the title \a name; deleted when it is closed. Null
    /// when the filter has no widget.
    static FilterDialog *make(Filter &filter, const QString &name, QWidget *parent);

    /// Gives the filter what was entered; to be called when the dialog was accepted. Throws what the filter
    /// throws.
    void apply();

private:
    FilterDialog(Filter &filter, QWidget *parent);

    Filter &m_filter;
    QWidget *m_editor;
};

} // namespace sito
