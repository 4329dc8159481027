// SPDX-License-Identifier: MIT
#pragma once

#include <QElapsedTimer>
#include <QtGlobal>

namespace sito {

/// Sizes the portions of a work so that each takes a moment.
class Portion
{
public:
    qint64 size() const { return m_size; }
    void begin();
    /// Makes the next portion larger or smaller, by how long this one took.
    void end();

private:
    QElapsedTimer m_timer;
    qint64 m_size = 16384;
};

} // namespace sito
