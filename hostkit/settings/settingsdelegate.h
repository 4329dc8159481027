// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QStyledItemDelegate>

class QAbstractItemView;

namespace sito {

/// Shows and edits the values of a SettingsModel, each in its own type: an edit never turns a number into a
/// text or a list into a joined string. Works through SettingsViewProxy and any proxy on top of it, and on
/// any other model whose `Qt::EditRole` gives typed values.
///
/// \code
/// view.setModel(&proxy);
/// view.setItemDelegate(new SettingsDelegate(&view));
/// \endcode
///
/// **Editors**
/// | type | editor |
/// |---|---|
/// | bool | a choice of "Да" and "Нет" |
/// | whole numbers of every width, float, double | a line; the full range of the type, nothing is clamped, `inf` and `nan` included, a comma does for the point |
/// | QString | a text field that grows with its lines: Enter ends, Shift+Enter or Alt+Enter begins a line; texts with characters that no field keeps are shown with escapes (`\r`, `\u0000`) |
/// | QChar, QByteArray | a line, with escapes (`\xff`) |
/// | QDate, QTime, QDateTime | a line in ISO form, with milliseconds, offset and zone |
/// | QColor, QFont | a line and a button for the dialog |
/// | QSize, QPoint, QRect and their F | a line of numbers |
/// | QKeySequence, QUuid, QUrl | a line |
/// | QStringList, QVariantList | a list whose items are edited in their own types, added, removed, moved |
///
/// Values of all other types, maps among them, are shown and not edited; their tool tip says so. What an INI
/// file holds as a plain text ("5", "true") is a text, and stays one.
///
/// An INI file does not tell a list of one item from a text, nor an empty list from no value: a `QStringList`
/// that was edited down to one item (or an empty list of either type) is a list until the file is read again,
/// and a QString (or invalid) from then on. Hosts that read such keys call `toStringList()`, which gives the
/// one item or none in either case.
///
/// **Nothing gets lost**
/// Input that is no value of the type is marked and told of as one types; Enter, Tab and a click elsewhere
/// keep the editor open then, and only Esc drops it. When the model refuses the value, the editor stays too, and
/// only Enter gives that very value to the model again. A value that changes below an open editor replaces what
/// is shown only as long as nothing was typed. An editor that ends with the value it began with writes nothing;
/// neither does a dialog that is accepted as it came up. What neither the text nor the dialog shows of a font
/// (overline, kerning, further families) stays as it was.
/// Before a host writes, closes or replaces the store of a view, it calls finishEditing().
class HOSTKIT_EXPORT SettingsDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit SettingsDelegate(QObject *parent = nullptr);
    ~SettingsDelegate() override;

    /// Whether values like \a value have an editor.
    static bool isEditable(const QVariant &value);

    /// Whether an editor made here is open in \a view.
    static bool isEditing(const QAbstractItemView *view);
    /// Whether the model refused what is typed in the editor that is open in \a view.
    static bool isRefused(const QAbstractItemView *view);

    /// What becomes of a value that the model refused before.
    enum class Refused { Keep, TryAgain };
    /// Ends the editor that is open in \a view: the model gets what is typed, unless it \a refused just that.
    /// False when the editor stays open and tells why: what is typed is no value, or the model refuses it.
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
