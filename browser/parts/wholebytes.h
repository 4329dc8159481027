// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

namespace sito {

class BytesReader;
class TableExport;

/// Has CSV of \a rows get all bytes of the cells that show them in short, as hexadecimal digits. Each must be
/// had by \a reader, or nothing is written.
void writeWholeBytes(TableExport &rows, const std::shared_ptr<BytesReader> &reader);

} // namespace sito
