// index.theme from outside: numbers at the ends of the integer range are clamped before any
// arithmetic (a signed overflow before), and the folders they describe still match sensibly.
#include "platform/icons/IconTheme.h"

#include "support/TestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace kelp::test {
namespace {

TEST(IconThemeReading, ExtremeSizesAndThresholdsAreClamped)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString theme = dir.filePath(QStringLiteral("icons/extreme"));
    ASSERT_TRUE(writeFile(theme + QStringLiteral("/index.theme"),
                          "[Icon Theme]\nName=Extreme\nDirectories=low,huge,wide\n\n"
                          "[low]\nSize=48\nType=Threshold\nThreshold=-2147483648\n\n"
                          "[huge]\nSize=2147483647\nType=Threshold\nThreshold=2147483647\n\n"
                          "[wide]\nSize=16\nType=Scalable\nMinSize=-2147483648\n"
                          "MaxSize=9223372036854775807\n"));
    for (const char *folder : {"low", "huge", "wide"})
        ASSERT_TRUE(writeFile(theme + QLatin1Char('/') + QLatin1String(folder) + QLatin1Char('/') +
                                  QLatin1String(folder) + QStringLiteral(".png"),
                              "png"));
    const auto index = IconThemeIndex::build(QStringLiteral("extreme"),
                                             {dir.filePath(QStringLiteral("icons"))}, {});
    // A negative threshold reads as none: the folder matches its own size exactly.
    EXPECT_EQ(index->lookup(QStringLiteral("low"), 48), theme + QStringLiteral("/low/low.png"));
    EXPECT_EQ(index->lookup(QStringLiteral("huge"), 4096),
              theme + QStringLiteral("/huge/huge.png"));
    EXPECT_EQ(index->lookup(QStringLiteral("wide"), 1), theme + QStringLiteral("/wide/wide.png"));
}

} // namespace
} // namespace kelp::test
