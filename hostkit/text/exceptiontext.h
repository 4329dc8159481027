// SPDX-License-Identifier: MIT
#pragma once

#include <hostkit/hostkit_export.h>

#include <QString>

#include <exception>

namespace sito {

/// What the exception that is being handled says to the user: the message of an Exception, a QString as it
/// is, the text of a std::exception, a fixed sentence for std::bad_alloc and for everything else. Never null.
/// Must be called inside a catch block. May be called from any thread.
HOSTKIT_EXPORT QString currentExceptionText();

/// The same for \a exception, which must not be null.
HOSTKIT_EXPORT QString exceptionText(const std::exception_ptr &exception);

} // namespace sito
