// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

/// Spoils the second half of a file, and puts it right again.
class SpoiltFile
{
public:
    enum Way { CutOff, Zeros };

    explicit SpoiltFile(const QString &name) : m_file(name) {}

    bool spoil(Way way)
    {
        if (!m_file.open(QIODevice::ReadWrite))
            return false;
        m_content = m_file.readAll();
        const qint64 half = m_content.size() / 2;
        bool isGood = m_file.resize(half);
        if (way == Zeros)
            isGood = isGood && m_file.resize(m_content.size());
        m_file.close();
        return isGood;
    }
    bool restore()
    {
        if (!m_file.open(QIODevice::ReadWrite))
            return false;
        const bool isGood = m_file.write(m_content) == m_content.size();
        m_file.close();
        return isGood;
    }

private:
    QFile m_file;
    QByteArray m_content;
};
