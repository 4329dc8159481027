// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractItemDelegate>
#include <QFrame>
#include <QPersistentModelIndex>
#include <QPointer>
#include <QVariant>

#include <optional>

class QComboBox;
class QLabel;
class QLineEdit;
class QListView;
class QPlainTextEdit;
class QStandardItemModel;
class QToolButton;

namespace sito {

/// The editor of one value in an item view. Ends by itself: on Enter, Tab, and when the focus goes elsewhere
/// with ended(), unless what is typed is no value; on Esc with ended() too.
class SettingsEditor : public QFrame
{
    Q_OBJECT

public:
    using EndHint = QAbstractItemDelegate::EndEditHint;

    /// One for values of the type of \a value; null when there is none.
    static SettingsEditor *create(const QVariant &value, QWidget *parent);
    static bool exists(const QVariant &value);

    ~SettingsEditor() override;

    void setIndex(const QModelIndex &index) { m_index = index; }
    /// Whether there is a value to be had for a cell that is still there.
    bool isOpen() const { return !m_ended && m_index.isValid(); }

    /// Shows \a value, unless something else was typed already.
    void load(const QVariant &value);
    const QVariant &loaded() const { return m_loaded; }
    /// Whether something else is shown than what was loaded.
    virtual bool isChanged() const = 0;
    /// What is typed as a value; nothing, and why in \a problem, when it is none.
    virtual std::optional<QVariant> value(QString *problem) const = 0;

    /// Marks the input as wrong and tells why; an empty \a problem takes the mark away.
    void setProblem(const QString &problem);
    const QString &problem() const { return m_problem; }
    /// The value that may be given to the model: not one that was refused.
    std::optional<QVariant> newValue(QString *problem) const;
    bool isRefused() const;
    /// Ends the editor with its value, or stays and tells what is wrong. One that was refused needs \a again.
    /// Whether it ended.
    bool finish(EndHint hint, bool again = false);
    void cancel();
    bool hasEnded() const { return m_ended; }
    /// To be called by who is told ended(): the value was not taken, the editor stays.
    void refuse(const QString &problem);

    /// The place for the editor of a cell at \a cell, inside of the parent.
    void place(const QRect &cell);

    bool eventFilter(QObject *watched, QEvent *event) override;

Q_SIGNALS:
    void ended(SettingsEditor::EndHint hint);

protected:
    SettingsEditor(const QVariant &value, QWidget *parent);

    virtual void display(const QVariant &value) = 0;
    /// What is typed stays, and is a change of \a value from now on.
    virtual void rebase(const QVariant &value) { m_loaded = value; }
    /// What Enter, Tab and others do in \a watched; whether that was all.
    virtual bool handleKey(QObject *watched, QKeyEvent *event);
    virtual QSize neededSize(const QRect &cell) const;
    /// The widget that is typed in, which gets the keys filtered.
    void setField(QWidget *field);
    void inputChanged();

    // What an editor has no use for would move the view's current index, which closes the editor.
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
    /// In the parent, so that it may be wider than the editor.
    QPointer<QLabel> m_message;
    QString m_problem;
    std::optional<QVariant> m_refused;
    QString m_refusal;
    bool m_ended = false;
    bool m_empty = true;
};

/// A line, with a button for the dialog when the type has one.
class LineSettingsEditor : public SettingsEditor
{
    Q_OBJECT

public:
    LineSettingsEditor(const QVariant &value, QWidget *parent);
    bool isChanged() const override;
    std::optional<QVariant> value(QString *problem) const override;

protected:
    void display(const QVariant &value) override;
    void rebase(const QVariant &value) override;
    bool handleKey(QObject *watched, QKeyEvent *event) override;

private:
    void choose();
    void showSample();

    QLineEdit *m_line;
    QToolButton *m_button = nullptr;
    QString m_shown;
    /// In the dialog.
    QVariant m_chosen;
};

class ChoiceSettingsEditor : public SettingsEditor
{
    Q_OBJECT

public:
    ChoiceSettingsEditor(const QVariant &value, QWidget *parent);
    bool isChanged() const override;
    std::optional<QVariant> value(QString *problem) const override;

protected:
    void display(const QVariant &value) override;
    void changeEvent(QEvent *event) override;

private:
    void setTexts();

    QComboBox *m_choice;
};

class TextSettingsEditor : public SettingsEditor
{
    Q_OBJECT

public:
    TextSettingsEditor(const QVariant &value, QWidget *parent);
    bool isChanged() const override;
    std::optional<QVariant> value(QString *problem) const override;

protected:
    void display(const QVariant &value) override;
    void rebase(const QVariant &value) override;
    bool handleKey(QObject *watched, QKeyEvent *event) override;
    QSize neededSize(const QRect &cell) const override;

private:
    QString text() const;

    QPlainTextEdit *m_text;
    QString m_shown;
    bool m_escaped = false;
};

class ListSettingsEditor : public SettingsEditor
{
    Q_OBJECT

public:
    ListSettingsEditor(const QVariant &value, QWidget *parent);
    bool isChanged() const override;
    std::optional<QVariant> value(QString *problem) const override;

protected:
    void display(const QVariant &value) override;
    bool handleKey(QObject *watched, QKeyEvent *event) override;
    QSize neededSize(const QRect &cell) const override;

private:
    QVariant items() const;
    QList<SettingsEditor *> openEditors() const;
    bool endItems();
    void add();
    void removeCurrent();
    void moveCurrent(int by);

    QListView *m_list;
    QStandardItemModel *m_items;
};

} // namespace sito
