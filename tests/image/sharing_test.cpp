// Who shows which rows after copying, assigning, re-allocating and destroying.

#include <cstring>
#include <optional>
#include <support/images.h>

using namespace vellum::test;

namespace {

constexpr auto kFormat = QImage::Format_RGB32;

Vellum bigNoise(unsigned seed = 1) { return makeNoise(11, 17, kFormat, Storage::Big, seed); }

class Sharing : public testing::TestWithParam<Storage>
{
};

TEST(Sharing, CopiesOfABigImageHaveTheSameRows)
{
    Vellum image = bigNoise();
    Vellum copy = image;
    Vellum assigned;
    assigned = image;

    for (int y = 0; y < image.height(); ++y) {
        EXPECT_EQ(copy.scanLineEx(y), image.scanLineEx(y));
        EXPECT_EQ(assigned.scanLineEx(y), image.scanLineEx(y));
    }
    EXPECT_FALSE(image.isDetached());
}

TEST(Sharing, WritesToASharedBigImageAreSeenByAll)
{
    Vellum image = bigNoise();
    Vellum copy = image;

    std::memset(image.scanLineEx(16), 0x11, 44);

    EXPECT_EQ(copy.scanLineEx(16)[43], 0x11);
}

TEST(Sharing, WritingToASharedPlainImageLeavesTheOtherAlone)
{
    Vellum image = makeNoise(11, 17, kFormat, Storage::Plain);
    const Vellum copy = image;
    const Vellum expected = makeNoise(11, 17, kFormat, Storage::Plain);

    std::memset(image.scanLineEx(16), 0x11, 44);

    EXPECT_TRUE(samePixels(copy, expected));
    EXPECT_TRUE(image.isDetached());
}

TEST_P(Sharing, ConstRowsDoNotDetach)
{
    const Vellum image = makeNoise(11, 17, kFormat, GetParam());
    const Vellum copy = image;

    EXPECT_EQ(image.scanLineEx(3), copy.scanLineEx(3));
    EXPECT_EQ(image.scanLine(3), copy.scanLine(3));
    EXPECT_FALSE(image.isDetached());
}

TEST_P(Sharing, AnyHolderKeepsTheRowsWhateverOrderTheOthersGoIn)
{
    const Vellum expected = makeNoise(11, 17, kFormat, Storage::Plain);
    for (int survivor = 0; survivor < 3; ++survivor) {
        std::optional<Vellum> images[3];
        images[0].emplace(makeNoise(11, 17, kFormat, GetParam()));
        images[1].emplace(*images[0]);
        images[2].emplace();
        *images[2] = *images[1];
        for (int i = 0; i < 3; ++i) {
            if (i != survivor)
                images[i].reset();
        }
        EXPECT_TRUE(samePixels(*images[survivor], expected));
        EXPECT_TRUE(images[survivor]->isDetached());
    }
}

TEST_P(Sharing, DroppingByAssignmentIsSeenInTheCount)
{
    Vellum image = makeNoise(11, 17, kFormat, GetParam());
    Vellum copy = image;
    EXPECT_FALSE(image.isDetached());

    copy = Vellum(2, 2, kFormat);
    EXPECT_TRUE(image.isDetached());

    copy = image;
    EXPECT_FALSE(image.isDetached());
    copy = QImage(2, 2, kFormat);
    EXPECT_TRUE(image.isDetached());
    EXPECT_TRUE(samePixels(image, makeNoise(11, 17, kFormat, Storage::Plain)));
}

TEST(Sharing, TheBaseOutlivesTheBigImage)
{
    QImage base;
    {
        const Vellum image = bigNoise();
        base = image.toImage();
    }
    EXPECT_TRUE(base.isDetached());
    EXPECT_EQ(base.size(), QSize(11, 17)); // the rows are gone, the geometry stays
}

TEST(Sharing, BigImageOutlivesACopyOfItsBase)
{
    const Vellum image = bigNoise();
    {
        const Vellum base(image.toImage());
    }
    EXPECT_TRUE(samePixels(image, bigNoise()));
}

TEST(Sharing, ReallocatingLeavesTheOthersTheirRows)
{
    Vellum image = bigNoise();
    const Vellum copy = image;

    ASSERT_TRUE(image.alloc_buffer(64, 17));

    EXPECT_NE(image.scanLineEx(0), copy.scanLineEx(0));
    for (int y = 0; y < 17; ++y)
        std::memset(image.scanLineEx(y), 0, 64);
    EXPECT_TRUE(samePixels(copy, bigNoise()));
}

TEST(Sharing, ReallocatingACopyLeavesTheOriginalItsRows)
{
    const Vellum image = bigNoise();
    {
        Vellum copy = image;
        ASSERT_TRUE(copy.alloc_buffer(64, 17));
        ASSERT_TRUE(copy.alloc_buffer(128, 17));
    }
    EXPECT_TRUE(samePixels(image, bigNoise()));
}

// A shares its base with B, but not its store.
TEST(Sharing, HoldersWithDifferentStoresGoInAnyOrder)
{
    for (const bool originalGoesFirst : {false, true}) {
        std::optional<Vellum> original(bigNoise());
        std::optional<Vellum> copy(*original);
        ASSERT_TRUE(copy->alloc_buffer(64, 17));
        for (int y = 0; y < 17; ++y)
            std::memset(copy->scanLineEx(y), 7, 64);
        const Vellum third = *copy;

        (originalGoesFirst ? original : copy).reset();

        if (!originalGoesFirst) {
            EXPECT_TRUE(samePixels(*original, bigNoise()));
        }
        EXPECT_EQ(third.scanLineEx(16)[43], 7);
    }
}

TEST(Sharing, AssignedQImageDropsAnUnsharedStore)
{
    Vellum image = bigNoise();

    image = toPlain(bigNoise(2));

    EXPECT_FALSE(image.isBigImage());
    EXPECT_TRUE(samePixels(image, bigNoise(2)));
}

TEST(Sharing, AssignedQImageLeavesASharedStore)
{
    Vellum image = bigNoise();
    const Vellum copy = image;
    const QImage plain = toPlain(bigNoise(2));

    image = plain;

    EXPECT_TRUE(image.isBigImage());
    EXPECT_EQ(image.constBits(), plain.constBits());
    EXPECT_EQ(image.scanLineEx(0), copy.scanLineEx(0));
    EXPECT_TRUE(copy.isDetached());
}

TEST(Sharing, KeptStoreOutlivesTheOtherHolders)
{
    Vellum image = bigNoise();
    {
        const Vellum copy = image;
        image = toPlain(bigNoise(2));
    }
    EXPECT_TRUE(samePixels(image, bigNoise()));
}

TEST(Sharing, KeptStoreIsDroppedByTheNextAssignmentOfAQImage)
{
    Vellum image = bigNoise();
    const Vellum copy = image;
    image = QImage(3, 3, kFormat);

    image = toPlain(bigNoise(2));

    EXPECT_FALSE(image.isBigImage());
    EXPECT_TRUE(samePixels(image, bigNoise(2)));
    EXPECT_TRUE(samePixels(copy, bigNoise()));
}

TEST(Sharing, KeptStoreIsDroppedByAnAssignedVellum)
{
    Vellum image = bigNoise();
    const Vellum copy = image;
    image = QImage(3, 3, kFormat);

    image = Vellum(4, 4, kFormat);

    EXPECT_FALSE(image.isBigImage());
}

TEST(Sharing, KeptStoreBelowATallerImageHasNoFurtherRows)
{
    Vellum image = bigNoise();
    const Vellum copy = image;

    image = QImage(11, 40, kFormat);

    EXPECT_EQ(image.scanLineEx(16), copy.scanLineEx(16));
    EXPECT_EQ(image.scanLineEx(17), nullptr);
    EXPECT_EQ(image.scanLineEx(39), nullptr);
}

TEST(Sharing, KeptStoreWithoutAnImageHasNoRows)
{
    Vellum image = bigNoise();
    const Vellum copy = image;

    image = QImage();

    EXPECT_TRUE(image.isBigImage());
    EXPECT_TRUE(image.isNull());
    EXPECT_EQ(image.scanLineEx(0), nullptr);
}

TEST(Sharing, KeptStoreIsSharedByCopies)
{
    Vellum image = bigNoise();
    Vellum second;
    {
        const Vellum copy = image;
        image = toPlain(bigNoise(2));
        second = image;
        image = Vellum();
    }
    EXPECT_TRUE(samePixels(second, bigNoise()));
}

TEST(Sharing, SwappedImagesExchangeRows)
{
    Vellum big = bigNoise();
    Vellum plain = makeNoise(5, 3, QImage::Format_RGB16, Storage::Plain, 2);

    std::swap(big, plain);

    EXPECT_FALSE(big.isBigImage());
    EXPECT_TRUE(plain.isBigImage());
    EXPECT_TRUE(samePixels(big, makeNoise(5, 3, QImage::Format_RGB16, Storage::Plain, 2)));
    EXPECT_TRUE(samePixels(plain, bigNoise()));
}

TEST_P(Sharing, ImagesInContainersKeepTheirRows)
{
    QList<Vellum> list;
    std::vector<Vellum> vector;
    for (unsigned i = 0; i < 9; ++i) {
        list.append(makeNoise(11, 17, kFormat, GetParam(), i));
        vector.push_back(list.last());
    }
    list.removeFirst();
    vector.erase(vector.begin() + 3);

    EXPECT_TRUE(samePixels(list[0], makeNoise(11, 17, kFormat, Storage::Plain, 1)));
    EXPECT_TRUE(samePixels(vector[3], makeNoise(11, 17, kFormat, Storage::Plain, 4)));
}

INSTANTIATE_TEST_SUITE_P(Storages, Sharing, testing::ValuesIn(kStorages),
                         testing::PrintToStringParamName());

} // namespace
