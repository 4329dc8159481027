// SPDX-License-Identifier: MIT
#include <data/icore.h>

#include <database/memorydatabase.h>

namespace {
class MemoryCore final : public ICore
{
public:
    Database *database() override { return &MemoryDatabase::instance(); }
};
} // namespace

ICore *ICore::instance()
{
    static MemoryCore core;
    return &core;
}
