// SPDX-License-Identifier: MIT
#pragma once

#include <filterfuncs/filterfunc.h>

#include <memory>

namespace sito {

/// Answers the opposite of another predicate; false for every record when there is none.
class OppositeFunc final : public FilterFunc
{
    Q_OBJECT
public:
    OppositeFunc(std::unique_ptr<FilterFunc> func, QObject *parent);

    bool filter(const Record &record) const override;

private:
    const std::unique_ptr<FilterFunc> m_func;
};

} // namespace sito
