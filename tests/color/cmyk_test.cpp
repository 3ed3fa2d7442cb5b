// The CMYK side of the image class: shared transforms, and the one that a chain saves with.

#include <vellum/vellum.h>

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <support/childprocess.h>
#include <support/images.h>
#include <support/messages.h>
#include <support/privateaccess.h>
#include <support/profiles.h>
#include <vector>

using namespace vellum::test;

namespace vellum::test {

struct PrepareSave
{
    using Type = void (Vellum::*)();
    friend Type member(PrepareSave);
};
template struct PrivateMember<PrepareSave, &Vellum::prepareSaveCmyk>;

struct ReleaseSave
{
    using Type = void (Vellum::*)();
    friend Type member(ReleaseSave);
};
template struct PrivateMember<ReleaseSave, &Vellum::releaseSaveCmyk>;

} // namespace vellum::test

namespace {

void prepareSave(Vellum &image) { (image.*member(PrepareSave()))(); }

void releaseSave(Vellum &image) { (image.*member(ReleaseSave()))(); }

constexpr unsigned kCount = 1000;

std::vector<uchar> noise(size_t size)
{
    std::mt19937 random(3);
    std::vector<uchar> bytes(size);
    for (uchar &byte : bytes)
        byte = uchar(random() >> 24);
    return bytes;
}

cmsHPROFILE openPress()
{
    return cmsOpenProfileFromFile(profileFile(QStringLiteral("cmyk.icm")).toLocal8Bit().constData(),
                                  "r");
}

/// What \a image makes of one line of noise; 0x55 where it writes nothing.
std::vector<uchar> saved(Vellum &image, unsigned bytesPerPixel)
{
    const std::vector<uchar> in = noise(kCount * size_t(bytesPerPixel));
    std::vector<uchar> out(kCount * 4, 0x55);
    image.doCmykTransform(in.data(), out.data(), kCount, 1, kCount * bytesPerPixel, kCount * 4);
    return out;
}

std::vector<uchar> savedDirectly(cmsUInt32Number format, unsigned bytesPerPixel)
{
    const OwnedTransform transform =
        chainTransform({cmsCreate_sRGBProfile(), openPress()}, format, TYPE_CMYK_8);
    const std::vector<uchar> in = noise(kCount * size_t(bytesPerPixel));
    std::vector<uchar> out(kCount * 4, 0x55);
    cmsDoTransform(transform.get(), in.data(), out.data(), kCount);
    return out;
}

const std::vector<uchar> kNothing(kCount * 4, 0x55);

/// Three pages, linked.
struct Chain
{
    std::unique_ptr<Vellum> first = page();
    std::unique_ptr<Vellum> second = page();
    std::unique_ptr<Vellum> third = page();

    Chain()
    {
        first->setNextImage(second.get());
        second->setNextImage(third.get());
    }

    static std::unique_ptr<Vellum> page()
    {
        return std::make_unique<Vellum>(makeNoise(3, 3, QImage::Format_RGB32, Storage::Plain));
    }
};

} // namespace

TEST(SharedCmyk, BgrToCmykIsTheTransformFromSrgb)
{
    const Vellum image;
    std::vector<uchar> bgr = noise(kCount * 3);
    std::vector<uchar> expected(kCount * 4);
    std::vector<uchar> cmyk(kCount * 4);
    const OwnedProfile press(openPress());
    const OwnedProfile display(cmsCreate_sRGBProfile());
    const OwnedTransform direct(
        cmsCreateTransform(display.get(), TYPE_BGR_8, press.get(), TYPE_CMYK_8, 0, 0));
    cmsDoTransform(direct.get(), bgr.data(), expected.data(), kCount);

    Vellum::BgrToCmyk(cmyk.data(), bgr.data(), kCount);

    EXPECT_EQ(cmyk, expected);
    EXPECT_EQ(bgr, noise(kCount * 3));
}

TEST(SharedCmyk, CmykToBgrIsTheTransformToSrgb)
{
    const Vellum image;
    std::vector<uchar> cmyk = noise(kCount * 4);
    std::vector<uchar> expected(kCount * 3);
    std::vector<uchar> bgr(kCount * 3);
    const OwnedProfile press(openPress());
    const OwnedProfile display(cmsCreate_sRGBProfile());
    const OwnedTransform direct(
        cmsCreateTransform(press.get(), TYPE_CMYK_8, display.get(), TYPE_BGR_8, 0, 0));
    cmsDoTransform(direct.get(), cmyk.data(), expected.data(), kCount);

    Vellum::CmykToBgr(bgr.data(), cmyk.data(), kCount);

    EXPECT_EQ(bgr, expected);
    EXPECT_EQ(cmyk, noise(kCount * 4));
}

TEST(SharedCmyk, MakingAndReleasingNothingIsSafe)
{
    Vellum image;
    EXPECT_FALSE(image.hasSaveCmykTransform());
    releaseSave(image);
    EXPECT_EQ(saved(image, 4), kNothing);
}

namespace {

class SaveFormats : public testing::TestWithParam<std::tuple<QImage::Format, Storage>>
{
};

} // namespace

TEST_P(SaveFormats, ConvertWhenTheyAreRgb)
{
    const auto [format, storage] = GetParam();
    Vellum image = makeNoise(3, 3, format, storage);
    const unsigned code = CVlLcmsManager::toLcmsFormat(format);
    const bool rgb = code != 0 && T_COLORSPACE(code) == PT_RGB;

    prepareSave(image);

    ASSERT_EQ(image.hasSaveCmykTransform(), rgb);
    EXPECT_TRUE(image.getSaveAsCmyk());
    const unsigned bytes = unsigned(image.depth()) / 8;
    EXPECT_EQ(saved(image, qMax(bytes, 1U)), rgb ? savedDirectly(code, bytes) : kNothing);
}

INSTANTIATE_TEST_SUITE_P(All, SaveFormats,
                         testing::Combine(testing::ValuesIn(allFormats()),
                                          testing::ValuesIn(kStorages)),
                         caseName);

TEST(SaveCmyk, RePreparedForRgb32ServesRowsOfThatFormat)
{
    Vellum image = makeNoise(3, 3, QImage::Format_ARGB32_Premultiplied, Storage::Plain);
    prepareSave(image);
    EXPECT_FALSE(image.hasSaveCmykTransform());

    image.rePrepareSaveCmyk(QImage::Format_RGB32);

    EXPECT_TRUE(image.hasSaveCmykTransform());
    EXPECT_EQ(saved(image, 4), savedDirectly(TYPE_BGRA_8, 4));
}

// The flag alone stays after a save; a writer must not take it for a wish.
TEST(SaveCmyk, IsPreparedFromTheWishToTheEndOfTheSaveAlsoWithoutTransform)
{
    for (const QImage::Format format : {QImage::Format_RGB32, QImage::Format_Grayscale8}) {
        Chain chain;
        *chain.first = makeNoise(3, 3, format, Storage::Plain);
        EXPECT_FALSE(chain.first->isSaveCmykPrepared());

        prepareSave(*chain.first);
        EXPECT_TRUE(chain.first->isSaveCmykPrepared());
        EXPECT_TRUE(chain.third->isSaveCmykPrepared());

        releaseSave(*chain.first);
        EXPECT_FALSE(chain.first->isSaveCmykPrepared());
        EXPECT_FALSE(chain.third->isSaveCmykPrepared());
        EXPECT_TRUE(chain.first->getSaveAsCmyk());
    }
}

TEST(SaveCmyk, PreparingForAnUnsupportedFormatReplacesItByNone)
{
    Vellum image = makeNoise(3, 3, QImage::Format_RGB32, Storage::Plain);
    prepareSave(image);
    image.rePrepareSaveCmyk(QImage::Format_ARGB32_Premultiplied);
    EXPECT_FALSE(image.hasSaveCmykTransform());
    EXPECT_EQ(saved(image, 4), kNothing);
}

TEST(SaveCmyk, LinesAreTheirStridesApart)
{
    Vellum image;
    image.rePrepareSaveCmyk(QImage::Format_RGB888);
    const std::vector<uchar> in = noise(3 * 31);
    std::vector<uchar> out(3 * 41, 0x55);
    image.doCmykTransform(in.data(), out.data(), 10, 3, 31, 41);
    for (size_t y = 0; y < 3; ++y) {
        std::vector<uchar> line(41, 0x55);
        image.doCmykTransform(in.data() + y * 31, line.data(), 10, 1, 31, 41);
        EXPECT_TRUE(std::equal(line.begin(), line.end(), out.begin() + long(y) * 41)) << y;
    }
}

TEST(SaveCmykChain, PreparingTheHeadServesAllPages)
{
    Chain chain;
    chain.first->rePrepareSaveCmyk(QImage::Format_RGB32);
    for (Vellum *page : {chain.first.get(), chain.second.get(), chain.third.get()}) {
        EXPECT_TRUE(page->getSaveAsCmyk());
        EXPECT_TRUE(page->hasSaveCmykTransform());
        EXPECT_EQ(saved(*page, 4), savedDirectly(TYPE_BGRA_8, 4));
    }
}

TEST(SaveCmykChain, PreparingTheSecondLeavesTheFirst)
{
    Chain chain;
    chain.second->rePrepareSaveCmyk(QImage::Format_RGB32);
    EXPECT_FALSE(chain.first->getSaveAsCmyk());
    EXPECT_FALSE(chain.first->hasSaveCmykTransform());
    EXPECT_TRUE(chain.third->hasSaveCmykTransform());
}

TEST(SaveCmykChain, OnlyTheHeadReleases)
{
    Chain chain;
    prepareSave(*chain.first);

    releaseSave(*chain.second);
    EXPECT_TRUE(chain.first->hasSaveCmykTransform());
    EXPECT_TRUE(chain.second->hasSaveCmykTransform());

    releaseSave(*chain.first);
    for (Vellum *page : {chain.first.get(), chain.second.get(), chain.third.get()}) {
        EXPECT_FALSE(page->hasSaveCmykTransform());
        EXPECT_TRUE(page->getSaveAsCmyk());
        EXPECT_EQ(saved(*page, 4), kNothing);
    }
}

TEST(SaveCmykChain, PagesCanBePreparedOneAfterTheOther)
{
    Chain chain;
    for (Vellum *page : {chain.first.get(), chain.second.get(), chain.third.get()}) {
        prepareSave(*page);
        EXPECT_EQ(saved(*page, 4), savedDirectly(TYPE_BGRA_8, 4));
        releaseSave(*page);
    }
    EXPECT_FALSE(chain.first->hasSaveCmykTransform());
    EXPECT_TRUE(chain.second->hasSaveCmykTransform()); // not a head: kept until its images go
}

TEST(SaveCmykChain, ALaterPagesTransformLeavesTheFirstItsOwn)
{
    Chain chain;
    prepareSave(*chain.first);
    chain.second->rePrepareSaveCmyk(QImage::Format_RGB888);
    EXPECT_EQ(saved(*chain.first, 4), savedDirectly(TYPE_BGRA_8, 4));
    EXPECT_EQ(saved(*chain.third, 3), savedDirectly(TYPE_RGB_8, 3));
}

TEST(SaveCmykChain, TheHeadTakesItAlongWhenItGoes)
{
    Chain chain;
    prepareSave(*chain.first);
    chain.first.reset();
    EXPECT_FALSE(chain.second->hasSaveCmykTransform());
    EXPECT_EQ(saved(*chain.third, 4), kNothing);
}

TEST(SaveCmykChain, AHeadWhosePixelsAreSharedLeavesItToThePages)
{
    Chain chain;
    const Vellum copy(*chain.first);
    prepareSave(*chain.first);
    chain.first.reset();
    EXPECT_TRUE(chain.second->hasSaveCmykTransform());
    EXPECT_EQ(saved(*chain.third, 4), savedDirectly(TYPE_BGRA_8, 4));
}

TEST(SaveCmykChain, AFollowerThatGoesTakesNothingAlong)
{
    Chain chain;
    prepareSave(*chain.first);
    chain.third.reset();
    EXPECT_EQ(saved(*chain.first, 4), savedDirectly(TYPE_BGRA_8, 4));
}

TEST(SaveCmykChain, AnAssignmentForgetsIt)
{
    Chain chain;
    prepareSave(*chain.first);
    *chain.first = Vellum(2, 2, QImage::Format_RGB32);
    *chain.second = QImage();
    EXPECT_FALSE(chain.first->hasSaveCmykTransform());
    EXPECT_FALSE(chain.second->hasSaveCmykTransform());
    EXPECT_TRUE(chain.third->hasSaveCmykTransform());
    EXPECT_FALSE(Vellum(*chain.third).hasSaveCmykTransform());
}

TEST(SaveCmykChain, ARingEnds)
{
    Chain chain;
    chain.third->setNextImage(chain.first.get());
    chain.second->rePrepareSaveCmyk(QImage::Format_RGB32);
    EXPECT_TRUE(chain.first->hasSaveCmykTransform());
}

TEST(SaveCmyk, WithoutTheFileThereIsNoneAndALogLine)
{
    inFreshProcess([] {
        setIccProfilePath(QStringLiteral("/nowhere/"));
        Vellum image(3, 3, QImage::Format_RGB32);
        const MessageLog log;
        QByteArray bytes("old");
        EXPECT_TRUE(image.getCmykIccProfile(bytes));
        EXPECT_TRUE(bytes.isEmpty());
        prepareSave(image);
        EXPECT_FALSE(image.hasSaveCmykTransform());
        const QString line =
            QStringLiteral("cmsOpenProfileFromFile failed: \"/nowhere/share/color/icc/cmyk.icm\"");
        EXPECT_EQ(log.messages(), QStringList({line, line}));
    });
}
