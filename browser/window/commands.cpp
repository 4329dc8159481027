// SPDX-License-Identifier: MIT
#include <browser/window/commands.h>

#include <hostkit/text/exceptiontext.h>

#include <QWidget>

namespace sito {

Commands::Commands(QWidget &window) : QObject(&window), m_window(window) {}

void Commands::guarded(const std::function<void()> &work)
{
    try {
        work();
    } catch (...) {
        Q_EMIT failed(currentExceptionText());
    }
}

} // namespace sito
