// SPDX-License-Identifier: MIT
#include <hostkit/values/oppositefunc_p.h>

#include <utility>

namespace sito {

OppositeFunc::OppositeFunc(std::unique_ptr<FilterFunc> func, QObject *parent)
    : FilterFunc(parent), m_func(std::move(func))
{
}

bool OppositeFunc::filter(const Record &record) const
{
    return m_func && !m_func->filter(record);
}

} // namespace sito
