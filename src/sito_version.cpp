// SPDX-License-Identifier: MIT
#include <sito_version.h>

const char *sito::libraryVersion() noexcept
{
    return SITO_VERSION_STRING;
}
