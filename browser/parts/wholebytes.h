// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

namespace sito {

class BytesReader;
class TableExport;

/// Makes CSV of \a rows contain all bytes of the cells that show them in short, as hexadecimal digits; the
/// export fails when \a reader cannot read those of a cell, or there are more than 64 MB. A value that is no
/// bytes any more is written as it is shown.
void writeWholeBytes(TableExport &rows, std::shared_ptr<BytesReader> reader);

} // namespace sito
