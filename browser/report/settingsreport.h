// SPDX-License-Identifier: MIT
#pragma once

#include <browser/parts/commandline.h>

#include <QCoreApplication>
#include <QModelIndex>
#include <QString>
#include <QTextStream>

namespace sito {

/// Edits an INI file through a SettingsDocument, as the window does, and prints the tree that the file then
/// holds, and which of its lines cannot be read.
///
/// Every failure is thrown as Exception. All changes are tried out on a model that writes nothing before the
/// first one is made, so that a path that is missing leaves the file as it is.
class SettingsReport
{
    Q_DECLARE_TR_FUNCTIONS(SettingsReport)
    Q_DISABLE_COPY_MOVE(SettingsReport)
public:
    SettingsReport(const CommandLine &commandLine, QTextStream &out);
    ~SettingsReport() = default;

    void run();

private:
    void change(const QString &file) const;
    void applyChanges(SettingsModel &model) const;
    void print(const SettingsModel &model);

    const CommandLine m_commandLine;
    QTextStream &m_out;
};

} // namespace sito
