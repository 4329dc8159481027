// SPDX-License-Identifier: MIT
#pragma once

#include <browser/parts/commandline.h>

#include <QCoreApplication>

namespace sito {

class MainWindow;

/// Makes the picture that --screenshot asks for, of the real window with its real data.
class Screenshot
{
    Q_DECLARE_TR_FUNCTIONS(Screenshot)
public:
    /// Shows \a window as \a commandLine says, waits until all is loaded and filtered, and writes the
    /// picture. Throws Exception with the messages of the window, when there are any, and when the file
    /// cannot be written.
    static void take(MainWindow &window, const CommandLine &commandLine);
};

} // namespace sito
