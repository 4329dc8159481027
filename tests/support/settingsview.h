// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/settings/settingsdelegate.h>
#include <hostkit/settings/settingsvalue.h>
#include <hostkit/settings/settingsviewproxy.h>
#include <settings/settingsmodel.h>
#include <support/settingsfixtures.h>

#include <QApplication>
#include <QDataStream>
#include <QFont>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QSortFilterProxyModel>
#include <QTest>
#include <QTimer>
#include <QTreeView>

#include <functional>
#include <initializer_list>
#include <memory>
#include <utility>

/// Fails the test at a warning. A platform without windows complains of what dialogs ask of it, and fonts of
/// what they have no signs for.
inline void failOnWarnings()
{
    QTest::failOnWarning(QRegularExpression(
        QStringLiteral("^(?!\\s*(OpenType support missing|This plugin does not support))")));
}

/// Type and every bit.
inline QByteArray bits(const QVariant &value)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    if (value.typeId() == QMetaType::Long || value.typeId() == QMetaType::ULong)
        stream << value.toLongLong();
    else if (value.typeId() == QMetaType::QString && value.toString().isEmpty())
        stream << QStringLiteral(""); // null or not
    else
        stream << value;
    return QByteArray(value.typeName()) + ' ' + bytes.toHex();
}

/// One key per character, as a keyboard sends them; line breaks are told with Shift.
inline void type(const QString &text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        QString character = text.mid(i, 1);
        if (text.at(i).isHighSurrogate() && i + 1 < text.size())
            character = text.mid(i++, 2);
        if (character == QStringLiteral("\n")) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return, Qt::ShiftModifier);
            continue;
        }
        QKeyEvent press(QEvent::KeyPress, Qt::Key_unknown, Qt::NoModifier, character);
        QKeyEvent release(QEvent::KeyRelease, Qt::Key_unknown, Qt::NoModifier, character);
        QApplication::sendEvent(QApplication::focusWidget(), &press);
        QApplication::sendEvent(QApplication::focusWidget(), &release);
    }
}

/// Types \a text in place of what is there.
inline void typeOver(const QString &text)
{
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Delete);
    type(text);
}

inline void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
{
    QTest::keyClick(QApplication::focusWidget(), key, modifiers);
}

/// A store in a stock view, as hosts have it.
class SettingsView : public QTreeView
{
public:
    explicit SettingsView(std::initializer_list<std::pair<QString, QVariant>> entries = {})
    {
        for (const auto &[key, value] : entries)
            store->setValue(key, value);
        model.setSettings(store.get());
        model.setReadOnly(false);
        proxy.setSourceModel(&model);
        sorted.setSourceModel(&proxy);
        sorted.setRecursiveFilteringEnabled(true);
        sorted.sort(0);
        setItemDelegate(new sito::SettingsDelegate(this));
        setModel(&sorted);
        expandAll();
        resize(700, 400);
        show();
        activateWindow();
        if (!QTest::qWaitForWindowActive(this))
            qFatal("the window did not become active");
    }
    ~SettingsView() override { QTreeView::setModel(nullptr); }

    QModelIndex cell(const QString &key) const { return ::find(sorted, {key}, 2); }
    QVariant value(const QString &key) const { return sito::settingsValue(cell(key)); }
    bool isEditing() const { return state() == EditingState; }

    /// Opens the editor of \a key with the keyboard; the widget that is typed in.
    QWidget *open(const QString &key)
    {
        setFocus();
        setCurrentIndex(cell(key));
        QTest::keyClick(this, Qt::Key_F2);
        return isEditing() ? QApplication::focusWidget() : nullptr;
    }

    SettingsFiles files;
    const std::unique_ptr<QSettings> store = files.empty();
    SettingsModel model;
    sito::SettingsViewProxy proxy;
    QSortFilterProxyModel sorted;
};

inline QString textOf(QWidget *field)
{
    if (auto *line = qobject_cast<QLineEdit *>(field))
        return line->text();
    if (auto *text = qobject_cast<QPlainTextEdit *>(field))
        return text->document()->toRawText().replace(QChar::ParagraphSeparator, u'\n');
    return {};
}

/// Runs \a action on the dialog that comes up next, and accepts it.
inline void inDialog(const std::function<void(QWidget *)> &action)
{
    QTimer::singleShot(0, qApp, [action] {
        QTRY_VERIFY(QApplication::activeModalWidget());
        QWidget *dialog = QApplication::activeModalWidget();
        action(dialog);
        QTest::keyClick(dialog, Qt::Key_Return);
    });
}

/// A font with much that neither a text nor a dialog shows.
inline QFont richFont()
{
    QFont font;
    font.setFamilies({QStringLiteral("DejaVu Sans"), QStringLiteral("Noto Mono")});
    font.setPixelSize(17);
    font.setWeight(QFont::Weight(640));
    font.setOverline(true);
    font.setKerning(false);
    font.setHintingPreference(QFont::PreferNoHinting);
    font.setLetterSpacing(QFont::AbsoluteSpacing, 1.23456789);
    font.setCapitalization(QFont::SmallCaps);
    font.setFixedPitch(false);
    return font;
}
