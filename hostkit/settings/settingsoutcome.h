// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QVariant>

namespace sito {

/// The result of a write of a SettingsDocument.
struct SettingsOutcome
{
    bool written = false;
    bool refused = false;
    /// The file differed from what the model holds: call SettingsDocument::reload().
    bool outdated = false;
    /// Refused only because another program wrote the same entries.
    bool conflict = false;
    QString message = {}; ///< for people; may be empty
    QVariant found = {};  ///< with a conflict over a single edit: what the file holds
};

} // namespace sito
