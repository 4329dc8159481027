// SPDX-License-Identifier: MIT
#pragma once

#include <sources/sourcelocation.h>

#include <QMenu>

namespace sito {

class KeptViews;

/// The sources that were opened last; files that are gone are left out.
class RecentMenu : public QMenu
{
    Q_OBJECT
public:
    /// \a views is not owned and must outlive the menu.
    explicit RecentMenu(KeptViews &views, QWidget *parent = nullptr);

Q_SIGNALS:
    void chosen(const sito::SourceLocation &location);
    /// An address that is kept cannot be read, as \a message says.
    void failed(const QString &message);

private:
    void fill();

    KeptViews &m_views;
};

} // namespace sito
