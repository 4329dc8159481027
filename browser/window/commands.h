// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QString>

#include <functional>

class QWidget;

namespace sito {

/// The base of what the user can have the main window do.
class Commands : public QObject
{
    Q_OBJECT
Q_SIGNALS:
    /// What went wrong.
    void failed(const QString &message);
    /// What was done.
    void done(const QString &message);
    /// What is not done now, and why.
    void refused(const QString &message);

protected:
    /// Questions are asked over \a window, the parent.
    explicit Commands(QWidget &window);

    QWidget &window() const { return m_window; }
    /// Emits failed() when \a work throws.
    void guarded(const std::function<void()> &work);

private:
    QWidget &m_window;
};

} // namespace sito
