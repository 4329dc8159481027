// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <memory>

class QTemporaryFile;

namespace sito {

/// The sample that is built into the program, as a file of its own for as long as this object lives.
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
