// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <memory>

class QTemporaryFile;

namespace sito {

/// The sample database that is built into the program, as a temporary file. The file is deleted with this
/// object.
class SampleDatabase
{
public:
    /// Throws Exception when the file cannot be written.
    SampleDatabase();
    ~SampleDatabase();

    QString fileName() const;

private:
    std::unique_ptr<QTemporaryFile> m_file;
};

} // namespace sito
