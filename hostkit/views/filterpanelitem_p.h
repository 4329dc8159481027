// SPDX-License-Identifier: MIT
#pragma once

#include <QFrame>

class Filter;
class QCheckBox;
class QLabel;
class QToolButton;

namespace sito {

/// One filter in the panel: its switch with its name, its value, and the buttons to edit and to remove it.
class FilterPanelItem : public QFrame
{
    Q_OBJECT
public:
    explicit FilterPanelItem(Filter *filter, QWidget *parent);

    /// Shows the filter's current state.
    void update();
    QCheckBox *checkBox() const { return m_check; }

Q_SIGNALS:
    void editRequested(QWidget *button);
    void removeRequested();

protected:
    void changeEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void elide();

    Filter *m_filter;
    QCheckBox *m_check;
    QLabel *m_text;
    QToolButton *m_edit;
    QToolButton *m_remove;
    QString m_name;
    QString m_value;
};

} // namespace sito
