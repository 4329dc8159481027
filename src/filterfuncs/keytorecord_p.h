// SPDX-License-Identifier: MIT
#pragma once

#include <data/field.h>

#include <QStringView>

/// The steps of keyToRecord(), private to the library; their failures are those told there.
namespace keyconversion {

/// Stores the value of \a source into \a target, converted to its type. An absent source makes the target
/// absent, whatever the types; a target that admits no absent values then keeps what it holds.
void assignField(Field &target, const Field &source);

/// Stores what \a text says in the type of \a target. An empty text makes a target absent whose column admits
/// it, whatever its type.
void assignText(Field &target, QStringView text);

} // namespace keyconversion
