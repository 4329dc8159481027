// SPDX-License-Identifier: MIT
#pragma once

#include <QHash>
#include <QModelIndex>
#include <QString>
#include <QVariant>

#include <functional>

class SettingsModel;

namespace sito {

/// Calls \a visit for each row of \a model, with its path, top down.
void visitSettingsRows(const SettingsModel &model,
                       const std::function<void(const QModelIndex &, const QString &)> &visit);

/// The values of all rows of \a model, by path. Groups have invalid values.
QHash<QString, QVariant> settingsRowValues(const SettingsModel &model);

} // namespace sito
