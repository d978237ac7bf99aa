#include "loadedrules.h"

#include <gtest/gtest.h>

namespace toollibtest {

const zefa::msg_filter::tool::RulesSelection& loadedRules(const QString& path)
{
    static const QString firstPath = path;
    static const zefa::msg_filter::tool::RulesSelection rules = [] {
        zefa::msg_filter::tool::RulesSelection selection;
        QString error;
        EXPECT_TRUE(zefa::msg_filter::tool::selectRules(
            firstPath, QStringLiteral("fpga"), QStringLiteral("default"), selection, error))
            << error.toStdString();
        return selection;
    }();
    EXPECT_EQ(path, firstPath) << "one rule file per test executable";
    return rules;
}

} // namespace toollibtest
