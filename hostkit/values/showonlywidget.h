// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <data/keyvalue.h>

#include <QList>
#include <QWidget>

class QLabel;
class QListView;
class ValueFilter;

namespace sito {

class CheckedKeysModel;

/// The editor of ShowOnlyFilter: its keys, each with a check box. While none is checked, a line below them
/// says that at least one is needed, because a filter without keys would show everything.
///
/// **Threads.** For the GUI thread.
///
/// **Cost.** Grows with the keys of the filter.
class HOSTKIT_EXPORT ShowOnlyWidget : public QWidget
{
    Q_OBJECT
public:
    explicit ShowOnlyWidget(QWidget *parent = nullptr);
    ~ShowOnlyWidget() override;

    /// Lists the keys of \a filter, all of them checked.
    void setKeys(const ValueFilter &filter);
    /// The checked keys, in the order in which they are listed.
    QList<KeyValue> checkedKeys() const;
    /// Whether at least one key is checked, so that the choice can be applied.
    bool isComplete() const;
    /// Why it is not complete; empty when it is.
    QString error() const;

Q_SIGNALS:
    /// Emitted when isComplete() has changed, also by setKeys().
    void completeChanged(bool isComplete);

protected:
    void changeEvent(QEvent *event) override;

private:
    void updateState();
    void retranslate();

    QListView *m_view;
    CheckedKeysModel *m_keys;
    QLabel *m_error;
    bool m_isComplete = false;
};

} // namespace sito
