// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QStyledItemDelegate>

class QAbstractItemView;

namespace sito {

/// Shows and edits the values of a SettingsModel, each in its own type: an edit never turns a number into a
/// text or a list into a joined string. Works through SettingsViewProxy and any proxy on top of it, and on
/// any other model whose `Qt::EditRole` returns typed values.
///
/// \code
/// view.setModel(&proxy);
/// view.setItemDelegate(new SettingsDelegate(&view));
/// \endcode
///
/// **Editors**
/// - bool: a choice of "Да" and "Нет".
/// - Whole numbers of every width, float, double: a line. It accepts the full range of the type, `inf` and
///   `nan`, and a comma as the decimal point. Nothing is clamped.
/// - QString: a text field that grows with its lines. Enter ends; Shift+Enter or Alt+Enter starts a line. A
///   text with characters that a field would lose is shown with escapes (`\r`, `\u0000`).
/// - QChar, QByteArray: a line, with escapes (`\xff`).
/// - QDate, QTime, QDateTime: a line in ISO form, with milliseconds, offset and zone.
/// - QColor, QFont: a line and a button for the dialog.
/// - QSize, QPoint, QRect, QSizeF, QPointF, QRectF: a line of numbers.
/// - QKeySequence, QUuid, QUrl: a line.
/// - QStringList, QVariantList: a list. Its items are edited in their own types, added, removed and moved.
///
/// Values of all other types, such as maps, are shown but not edited; their tool tip says so. What an INI
/// file holds as a plain text ("5", "true") is a text, and stays one.
///
/// An INI file cannot tell a list of one item from a text, nor an empty list from no value. A `QStringList`
/// that was edited down to one item, or an empty list of either type, is a list until the file is read again,
/// and a QString, or invalid, after that. Hosts that read such keys call `toStringList()`, which returns the
/// one item or none in both cases.
///
/// **Nothing gets lost**
/// - Input that is no value of the type is marked with the reason while one types. Enter, Tab and a click
///   elsewhere keep the editor open then; only Esc drops the input.
/// - When the model refuses the value, the editor stays open. Only Enter offers the same value again.
/// - When the value changes below an open editor, the editor shows the new one unless something was typed.
/// - An editor that ends with the value it began with writes nothing, and neither does a dialog that is
///   accepted unchanged. What neither the text nor the dialog shows of a font (overline, kerning, further
///   families) stays as it was.
/// - Before a host writes, closes or replaces the store of a view, it calls finishEditing().
///
/// **Threads.** For the GUI thread.
///
/// **Cost.** A text is made for each cell that is painted; there is one editor per view, made when it is
/// opened.
class HOSTKIT_EXPORT SettingsDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit SettingsDelegate(QObject *parent = nullptr);
    ~SettingsDelegate() override;

    /// Returns whether values of the type of \a value have an editor.
    static bool isEditable(const QVariant &value);

    /// Returns whether an editor of a SettingsDelegate is open in \a view.
    static bool isEditing(const QAbstractItemView *view);
    /// Returns whether the model refused the input of the editor that is open in \a view.
    static bool isRefused(const QAbstractItemView *view);

    /// What finishEditing() does with input that the model refused before.
    enum class Refused {
        Keep,    ///< Keeps the editor open.
        TryAgain ///< Offers the value to the model again.
    };
    /// Ends the editor that is open in \a view and gives its value to the model. Returns false when the
    /// editor stays open and shows why: its input is no value, or the model refuses it. True when none is
    /// open.
    static bool finishEditing(const QAbstractItemView *view, Refused refused = Refused::Keep);

    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option,
                          const QModelIndex &index) const override;
    void setEditorData(QWidget *editor, const QModelIndex &index) const override;
    void setModelData(QWidget *editor, QAbstractItemModel *model, const QModelIndex &index) const override;
    void updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option,
                              const QModelIndex &index) const override;
    QString displayText(const QVariant &value, const QLocale &locale) const override;
    bool eventFilter(QObject *watched, QEvent *event) override;
    bool helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                   const QModelIndex &index) override;

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override;
};

} // namespace sito
