// SPDX-License-Identifier: MIT
// Private to the texts of settings.
#pragma once

#include <QCoreApplication>

namespace sito::SettingsText {

/// The translations of what all of them say.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(SettingsText)
};

} // namespace sito::SettingsText
