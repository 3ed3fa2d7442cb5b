// Names of files made from names of channels.

#include "filenames.h"

#include <gtest/gtest.h>

using namespace vellum::tool;

TEST(SafeFileName, KeepsWhatFilesCanBeCalled)
{
    for (const char *name : {"Gold", "Spot 1", "PANTONE 877 C", "V\xc3\xa9ronese", "\xe9\x87\x91",
                             "\xf0\x9f\x8e\xa8 paint", "a.b"})
        EXPECT_EQ(safeFileName(QString::fromUtf8(name)), QString::fromUtf8(name));
}

TEST(SafeFileName, ReplacesWhatPathsAndTerminalsReadOtherwise)
{
    EXPECT_EQ(safeFileName("../../etc/passwd"), "_.._etc_passwd");
    EXPECT_EQ(safeFileName("a\\b:c"), "a_b_c");
    EXPECT_EQ(safeFileName(QString("a\nb\x1b") + QChar(0) + 'c'), "a_b__c");
    EXPECT_EQ(safeFileName(" .hidden. "), "hidden");
    for (const char *const nothing : {"", ".", "..", " . . "})
        EXPECT_EQ(safeFileName(nothing), "_") << nothing;
}

TEST(SafeFileName, IsShortEnoughForEveryFileSystem)
{
    const QString color = QString::fromUtf8("\xf0\x9f\x8e\xa8"); // two UTF-16 units, four bytes
    for (const QString &name :
         {QString(5000, 'x'), 'x' + color.repeated(500), QString(500, QChar(0x91d1))}) {
        const QString safe = safeFileName(name);
        EXPECT_LE(safe.toUtf8().size(), 200);
        EXPECT_TRUE(name.startsWith(safe));
        EXPECT_EQ(QString::fromUtf8(safe.toUtf8()), safe) << "a character was cut in two";
    }
}

TEST(UniqueNames, NumberWhatWasThereBefore)
{
    UniqueNames names;
    EXPECT_EQ(names.unique("Gold"), "Gold");
    EXPECT_EQ(names.unique("gold"), "gold 2");
    EXPECT_EQ(names.unique("Gold 2"), "Gold 2 2");
    EXPECT_EQ(names.unique("GOLD"), "GOLD 3");
    EXPECT_EQ(names.unique("Silver"), "Silver");
}
