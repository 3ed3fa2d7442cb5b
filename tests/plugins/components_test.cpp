// The versions that the library reports.

#include <vellum/vellum.h>

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <png.h>

namespace {

QString versionOf(const QString &name)
{
    for (const vellum::Component &component : vellum::components()) {
        if (component.name == name)
            return component.version;
    }
    return {};
}

} // namespace

TEST(Components, HaveWhatThePluginsStandOn)
{
    ASSERT_TRUE(vellum::registerPlugins());

    EXPECT_EQ(versionOf("Qt"), qVersion());
    EXPECT_EQ(versionOf("libpng"), png_get_libpng_ver(nullptr));
    EXPECT_NE(versionOf("libtiff"), "");
    EXPECT_EQ(versionOf("libtiff").count('.'), 2);
}

TEST(Components, AreNamedOnce)
{
    ASSERT_TRUE(vellum::registerPlugins());
    QStringList names;
    for (const vellum::Component &component : vellum::components())
        names.append(component.name);

    EXPECT_EQ(names.removeDuplicates(), 0);
}

TEST(VectorInstructions, AreThoseThatQtIsNotToldToLeave)
{
    EXPECT_EQ(vellum::vectorInstructions().contains("SSE4.1"),
              !qgetenv("QT_NO_CPU_FEATURE").contains("sse4.1"));
    if (qgetenv("QT_NO_CPU_FEATURE").contains("avx2")) {
        EXPECT_FALSE(vellum::vectorInstructions().contains("AVX2"));
    }
}

TEST(VectorInstructions, OfAvx2ComeWithThoseOfSse41)
{
    const QStringList names = vellum::vectorInstructions();
    EXPECT_TRUE(names.contains("SSE4.1") || !names.contains("AVX2"));
}
