// SPDX-License-Identifier: MIT
#pragma once

#include <data/field.h>

#include <QStringView>

/// The steps of keyToRecord(), private to the library; they throw what is stated there.
namespace keyconversion {

/// Stores the value of \a source into \a target, converted to its type. An absent source makes the target
/// absent, whatever the types; a target that admits no absent values then keeps what it holds.
void assignField(Field &target, const Field &source);

/// Stores the value of \a text in the type of \a target. An empty text makes a target absent, whatever its
/// type, when the column admits that.
void assignText(Field &target, QStringView text);

} // namespace keyconversion
