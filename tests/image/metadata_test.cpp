// Metadata of big images that share their rows. The base of every image here crashes when it is
// read or written, so whatever copies it fails.

#include <QColorSpace>

#include <functional>
#include <optional>
#include <ostream>
#include <support/images.h>
#include <support/process.h>
#include <sys/mman.h>
#include <utility>
#include <vector>

using namespace vellum::test;

namespace {

struct Setter
{
    const char *name;
    std::function<void(Vellum &, int)> set; ///< a value made from a number of 0 to 99
    std::function<int(const Vellum &)> get; ///< the number; -1 when none was set
};

void PrintTo(const Setter &setter, std::ostream *out) { *out << setter.name; }

const Setter kSetters[] = {
    {"Text", [](Vellum &image, int i) { image.setText("key", QString::number(i)); },
     [](const Vellum &image) {
         return image.textKeys().contains("key") ? image.text("key").toInt() : -1;
     }},
    {"DotsPerMeterX", [](Vellum &image, int i) { image.setDotsPerMeterX(10 + i); },
     [](const Vellum &image) {
         return image.dotsPerMeterX() > 200 ? -1 : image.dotsPerMeterX() - 10;
     }},
    {"DotsPerMeterY", [](Vellum &image, int i) { image.setDotsPerMeterY(10 + i); },
     [](const Vellum &image) {
         return image.dotsPerMeterY() > 200 ? -1 : image.dotsPerMeterY() - 10;
     }},
    {"DevicePixelRatio", [](Vellum &image, int i) { image.setDevicePixelRatio(2 + i); },
     [](const Vellum &image) { return qMax(int(image.devicePixelRatio()) - 2, -1); }},
    {"ColorTable", [](Vellum &image, int i) { image.setColorTable({qRgb(i, 1, 2)}); },
     [](const Vellum &image) { return image.colorCount() ? qRed(image.color(0)) : -1; }},
    {"Color",
     [](Vellum &image, int i) {
         if (image.colorCount() == 0)
             image.setColorCount(1);
         image.setColor(0, qRgb(i, 1, 2));
     },
     [](const Vellum &image) { return image.colorCount() ? qRed(image.color(0)) : -1; }},
    {"ColorCount", [](Vellum &image, int i) { image.setColorCount(i + 1); },
     [](const Vellum &image) { return image.colorCount() - 1; }},
    {"ColorSpace",
     [](Vellum &image, int i) {
         image.setColorSpace(QColorSpace(QColorSpace::Primaries::SRgb, 1.0F + float(i)));
     },
     [](const Vellum &image) {
         return image.colorSpace().isValid() ? qRound(image.colorSpace().gamma() - 1.0F) : -1;
     }},
    {"Offset", [](Vellum &image, int i) { image.setOffset(QPoint(i + 1, 7)); },
     [](const Vellum &image) { return image.offset().x() - 1; }},
};

Vellum bigImage() // of a format with a colour table, which is empty
{
    Vellum image = makeImage(13, 17, QImage::Format_Indexed8, Storage::Big);
    for (int y = 0; y < 17; ++y) {
        for (int x = 0; x < 13; ++x)
            image.scanLineEx(y)[x] = uchar(31 * y + 7 * x);
    }
    return image;
}

bool hasItsRows(const Vellum &image)
{
    for (int y = 0; y < 17; ++y) {
        const uchar *const row = image.scanLineEx(y);
        for (int x = 0; x < 13; ++x) {
            if (!row || row[x] != uchar(31 * y + 7 * x))
                return false;
        }
    }
    return image.height() == 17;
}

bool haveTheSameRows(const Vellum &a, const Vellum &b)
{
    for (int y = 0; y < 17; ++y) {
        if (!a.scanLineEx(y) || a.scanLineEx(y) != b.scanLineEx(y))
            return false;
    }
    return true;
}

class Metadata : public testing::TestWithParam<Setter>
{
};

TEST_P(Metadata, OfASharedBigImageIsItsOwn)
{
    const Setter &setter = GetParam();
    Vellum image = bigImage();
    Vellum copy = image;

    setter.set(image, 5);
    EXPECT_EQ(setter.get(image), 5);
    EXPECT_EQ(setter.get(copy), -1);

    setter.set(copy, 6);
    EXPECT_EQ(setter.get(image), 5);
    EXPECT_EQ(setter.get(copy), 6);
}

TEST_P(Metadata, LeavesRowsBaseAndStore)
{
    const Setter &setter = GetParam();
    Vellum image = bigImage();
    const Vellum copy = image;
    const uchar *const base = image.constBits();

    setter.set(image, 5);

    EXPECT_TRUE(image.isBigImage());
    EXPECT_TRUE(haveTheSameRows(image, copy));
    EXPECT_EQ(image.constBits(), base);
    EXPECT_EQ(copy.constBits(), base);
    EXPECT_EQ(image.size(), copy.size());
    EXPECT_EQ(image.format(), copy.format());
    EXPECT_EQ(image.bytesPerLine(), copy.bytesPerLine());
    EXPECT_EQ(image.sizeInBytes(), copy.sizeInBytes());
}

TEST_P(Metadata, OfAnUnsharedBigImageIsSetInPlace)
{
    const Setter &setter = GetParam();
    Vellum image = bigImage();
    const uchar *const base = image.constBits();

    setter.set(image, 5);

    EXPECT_EQ(setter.get(image), 5);
    EXPECT_EQ(image.constBits(), base);
    EXPECT_TRUE(image.isDetached());
    EXPECT_TRUE(hasItsRows(image));
}

TEST_P(Metadata, HoldersMayGoInAnyOrder)
{
    const Setter &setter = GetParam();
    for (int survivor = 0; survivor < 3; ++survivor) {
        std::optional<Vellum> images[3];
        images[0].emplace(bigImage());
        images[1].emplace(*images[0]);
        setter.set(*images[1], 1);
        images[2].emplace(*images[1]); // shares what was parted
        setter.set(*images[2], 2);
        setter.set(*images[0], 0);
        for (int i = 0; i < 3; ++i) {
            if (i != survivor)
                images[i].reset();
        }
        EXPECT_TRUE(hasItsRows(*images[survivor]));
        EXPECT_EQ(setter.get(*images[survivor]), survivor);
        setter.set(*images[survivor], 7);
        EXPECT_EQ(setter.get(*images[survivor]), 7);
    }
}

TEST_P(Metadata, OfTheQImageThatSharesTheBaseStays)
{
    const Setter &setter = GetParam();
    Vellum image = bigImage();
    const Vellum base(image.toImage());

    setter.set(image, 5);

    EXPECT_EQ(setter.get(base), -1);
    EXPECT_EQ(base.constBits(), image.constBits());
}

TEST_P(Metadata, OfPlainImagesIsSetAsQImageDoes)
{
    const Setter &setter = GetParam();
    Vellum image = makeNoise(13, 17, QImage::Format_Grayscale8, Storage::Plain);
    const Vellum copy = image;

    setter.set(image, 5);

    EXPECT_EQ(setter.get(image), 5);
    EXPECT_EQ(setter.get(copy), -1);
    image.setColorTable({});
    EXPECT_TRUE(samePixels(image, copy));
}

TEST_P(Metadata, OfNullStaysUnset)
{
    Vellum image;
    GetParam().set(image, 5);
    EXPECT_TRUE(image.isNull());
}

TEST_P(Metadata, OfANullImageWithAStoreStaysUnset)
{
    Vellum image;
    ASSERT_TRUE(image.alloc_buffer(10, 10));
    const Vellum copy = image;
    GetParam().set(image, 5);
    EXPECT_TRUE(image.isNull());
}

void unmap(void *memory) { munmap(memory, 4096); }

TEST_P(Metadata, OfABigImageOnReadOnlyMemoryLeavesTheBase)
{
    const Setter &setter = GetParam();
    void *const memory = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    Vellum image(
        QImage(static_cast<const uchar *>(memory), 16, 17, QImage::Format_Indexed8, unmap, memory));
    ASSERT_TRUE(image.alloc_buffer(16, 17));

    setter.set(image, 5); // unshared
    const Vellum copy = image;
    setter.set(image, 6); // shared

    EXPECT_EQ(image.constBits(), memory);
    EXPECT_EQ(setter.get(image), 6);
    EXPECT_EQ(setter.get(copy), 5);
}

// Image data that refers to other image data must not form chains: destroying a long one would
// overflow the stack, and it would keep every record alive.
TEST_P(Metadata, RepeatedPartingDoesNotPileUp)
{
    const Setter &setter = GetParam();
    constexpr int kRounds = kSanitized ? 10000 : 100000;
    const auto part = [&setter](Vellum &image, int rounds) {
        for (int i = 0; i < rounds; ++i) {
            const Vellum before = image;
            setter.set(image, i % 100);
        }
    };
    Vellum image = bigImage();
    part(image, 2000);
    const qint64 resident = residentBytes();

    part(image, kRounds);

    if (!kSanitized) {
        EXPECT_LT(residentBytes() - resident, 4 << 20); // 40 bytes a round would show
    }
    EXPECT_TRUE(hasItsRows(image));
}

INSTANTIATE_TEST_SUITE_P(Setters, Metadata, testing::ValuesIn(kSetters),
                         [](const auto &setter) { return std::string(setter.param.name); });

TEST(Metadata, OtherSettingsComeAlongWhenOneIsSet)
{
    Vellum image = bigImage();
    for (const Setter &setter : kSetters) {
        if (std::string(setter.name).find("Color") != 0)
            setter.set(image, 3);
    }
    image.setColorTable({qRgba(1, 2, 3, 4), 0xffffffff});
    image.setColorSpace(QColorSpace(QColorSpace::AdobeRgb));
    const Vellum copy = image;

    image.setText("other", "text");

    for (const Setter &setter : kSetters) {
        if (std::string(setter.name).find("Color") != 0) {
            EXPECT_EQ(setter.get(image), 3) << setter.name;
        }
    }
    EXPECT_EQ(image.colorTable(), copy.colorTable());
    EXPECT_TRUE(image.hasAlphaChannel());
    EXPECT_EQ(image.colorSpace(), QColorSpace(QColorSpace::AdobeRgb));
    EXPECT_EQ(image.textKeys(), (QStringList {"key", "other"}));
    EXPECT_EQ(copy.textKeys(), QStringList("key"));
}

TEST(Metadata, PartedHoldersCountAsUnshared)
{
    Vellum image = bigImage();
    const Vellum copy = image;
    EXPECT_FALSE(image.isDetached());

    image.setText("key", "value");

    EXPECT_TRUE(image.isDetached());
    EXPECT_NE(image.cacheKey(), copy.cacheKey());
}

TEST(Metadata, RowsWrittenAfterPartingAreSeenByAll)
{
    Vellum image = bigImage();
    const Vellum copy = image;
    image.setText("key", "value");

    image.scanLineEx(16)[12] = 99;

    EXPECT_EQ(copy.scanLineEx(16)[12], 99);
}

TEST(Metadata, PartedImageCanBeGivenAnotherStore)
{
    Vellum image = bigImage();
    const Vellum copy = image;
    image.setText("key", "value");

    ASSERT_TRUE(image.alloc_buffer(16, 17));
    image.fill(0U);
    image.setText("key", "other");

    EXPECT_TRUE(hasItsRows(copy));
    EXPECT_EQ(image.scanLineEx(16)[12], 0);
}

TEST(Metadata, PartedImageCanFailToGetAnotherStore)
{
    Vellum image = bigImage();
    const Vellum copy = image;
    image.setText("key", "value");

    EXPECT_FALSE(image.alloc_buffer(-1, 17));

    EXPECT_TRUE(image.isNull()); // nobody shares its data
    EXPECT_TRUE(hasItsRows(copy));
}

TEST(Metadata, TheBaseLivesAsLongAsAnyPartedHolder)
{
    Vellum last;
    int cleanups = 0;
    alignas(4) uchar base[16 * 17] = {};
    {
        Vellum image(
            base, 16, 17, QImage::Format_Indexed8,
            [](void *count) { ++*static_cast<int *>(count); }, &cleanups);
        ASSERT_TRUE(image.alloc_buffer(16, 17));
        Vellum parted = image;
        parted.setText("key", "value");
        Vellum again = parted;
        again.setText("key", "value 2");
        last = again;
        last.setText("key", "value 3");
    }
    EXPECT_EQ(cleanups, 0);
    EXPECT_EQ(last.constBits(), base);
    last = Vellum();
    EXPECT_EQ(cleanups, 1);
}

TEST(Metadata, CopiesOfAPartedImageShareItsMetadata)
{
    Vellum image = bigImage();
    Vellum copy = image;
    copy.setText("key", "value");

    const Vellum third = copy;

    EXPECT_EQ(third.text("key"), "value");
    EXPECT_FALSE(copy.isDetached());
    EXPECT_TRUE(image.isDetached() || image.textKeys().isEmpty());
}

// A big image whose base is a plain image's pixels, as an assignment leaves it, must not give them
// away with metadata of its own.
TEST(Metadata, PixelsUnderAPartedImageStayThoseOfTheOthers)
{
    Vellum image = bigImage();
    const Vellum copy = image;
    QImage plain(13, 17, QImage::Format_Grayscale8);
    plain.fill(1U);
    image = plain;
    ASSERT_TRUE(image.isBigImage());
    image.setText("key", "value");

    QImage shown = image.toImage();
    image = Vellum();
    shown.fill(9U);

    EXPECT_EQ(plain.constScanLine(3)[4], 1);
    EXPECT_EQ(shown.constScanLine(3)[4], 9);
}

// It relabels the pixels, as setFormat() does, but for this image only.
TEST(Metadata, ReinterpretingASharedBigImageLeavesTheBase)
{
    Vellum image = bigImage();
    const Vellum copy = image;

    EXPECT_TRUE(image.reinterpretAsFormat(QImage::Format_Grayscale8));

    EXPECT_EQ(image.format(), QImage::Format_Grayscale8);
    EXPECT_EQ(copy.format(), QImage::Format_Indexed8);
    EXPECT_TRUE(haveTheSameRows(image, copy));
    EXPECT_FALSE(image.reinterpretAsFormat(QImage::Format_RGB32));
}

} // namespace
