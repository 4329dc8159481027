// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractItemDelegate>
#include <QFrame>
#include <QPersistentModelIndex>
#include <QPointer>
#include <QVariant>

#include <optional>

class QLabel;
class QToolButton;

namespace sito {

/// The editor of one value in an item view. Emits ended() when it is done: on Enter, Tab, and when the focus
/// goes elsewhere, unless the input is no value; and on Esc.
class SettingsEditor : public QFrame
{
    Q_OBJECT

public:
    using EndHint = QAbstractItemDelegate::EndEditHint;

    /// Whether there is an editor for values of the type of \a value.
    static bool exists(const QVariant &value);

    ~SettingsEditor() override;

    void setIndex(const QModelIndex &index) { m_index = index; }
    /// Whether the editor is open and its cell still exists.
    bool isOpen() const { return !m_ended && m_index.isValid(); }

    /// Shows \a value unless the input was changed; then only compares the input with \a value from now on.
    void load(const QVariant &value);
    const QVariant &loaded() const { return m_loaded; }
    /// Whether the input differs from the loaded value.
    virtual bool isChanged() const = 0;
    /// The input as a value; nothing, and why in \a problem, when it is none.
    virtual std::optional<QVariant> value(QString *problem) const = 0;

    /// Marks the input as wrong and shows why; an empty \a problem removes the mark.
    void setProblem(const QString &problem);
    const QString &problem() const { return m_problem; }
    /// The value for the model: value(), unless the model refused that value before.
    std::optional<QVariant> newValue(QString *problem) const;
    bool isRefused() const;
    /// Ends the editor with its value, or shows what is wrong. Offers a refused value to the model again only
    /// when \a again is true. Returns whether the editor ended.
    bool finish(EndHint hint, bool again = false);
    void cancel();
    bool hasEnded() const { return m_ended; }
    /// For slots of ended(): the model refused the value, so the editor stays open and shows \a problem.
    void refuse(const QString &problem);

    /// Moves the editor of the cell at \a cell to where it fits into the parent.
    void place(const QRect &cell);

    bool eventFilter(QObject *watched, QEvent *event) override;

Q_SIGNALS:
    void ended(SettingsEditor::EndHint hint);

protected:
    SettingsEditor(const QVariant &value, QWidget *parent);

    virtual void display(const QVariant &value) = 0;
    /// Keeps the input, as a change of \a value.
    virtual void rebase(const QVariant &value) { m_loaded = value; }
    /// Handles a key pressed in \a watched; returns whether it was consumed.
    virtual bool handleKey(QObject *watched, QKeyEvent *event);
    virtual QSize neededSize(const QRect &cell) const;
    /// Sets all texts but the input, when the editor is made and when the language changes.
    virtual void setTexts() = 0;
    /// Sets the widget that takes the input, and filters its keys.
    void setField(QWidget *field);
    void inputChanged();

    static bool isReturn(const QKeyEvent *event);
    static QToolButton *makeButton(const QString &text, QWidget *parent);

    void changeEvent(QEvent *event) override;
    // A key or click that an editor does not use would move the current index, and so close the editor.
    void keyPressEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;

    QVariant m_loaded;
    QRect m_cell;

private:
    void focusMoved(QWidget *now);
    void placeMessage();
    void focusField();

    QPersistentModelIndex m_index;
    QWidget *m_field = nullptr;
    QLabel *m_mark = nullptr;
    /// A child of the parent, so that it may be wider than the editor.
    QPointer<QLabel> m_message;
    QString m_problem;
    std::optional<QVariant> m_refused;
    QString m_refusal;
    bool m_ended = false;
    bool m_empty = true;
};

} // namespace sito
