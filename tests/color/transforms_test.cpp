// Transforms for reading and saving, and the in-place conversion, against the same lcms2 calls.

#include <vellum/vellum.h>

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <random>
#include <support/images.h>
#include <support/profiles.h>

using namespace vellum::test;

namespace {

QByteArray noiseBytes(int size, unsigned seed = 1)
{
    std::mt19937 random(seed);
    QByteArray bytes(size, '\0');
    for (char &c : bytes)
        c = char(random() >> 24);
    return bytes;
}

/// Nine pixels, 4 bytes each at most.
constexpr int kPixels = 9;

QByteArray run(void *transform, const QByteArray &in)
{
    QByteArray out(in.size(), '\x55');
    if (transform)
        cmsDoTransform(transform, in.constData(), out.data(), kPixels);
    return out;
}

/// What \a manager makes of \a in, one line; untouched bytes are 0x55.
QByteArray read(CVlLcmsManager &manager, const QByteArray &in)
{
    QByteArray out(in.size(), '\x55');
    manager.doIccTransformRead(in.constData(), out.data(), kPixels, 1, unsigned(in.size()),
                               unsigned(in.size()));
    return out;
}

QByteArray save(CVlLcmsManager &manager, const QByteArray &in)
{
    QByteArray out(in.size(), '\x55');
    manager.doIccTransformSave(in.constData(), out.data(), kPixels, 1, unsigned(in.size()),
                               unsigned(in.size()));
    return out;
}

QByteArray read(Vellum &image, const QByteArray &in)
{
    QByteArray out(in.size(), '\x55');
    image.doIccTransformRead(in.constData(), out.data(), kPixels, 1, unsigned(in.size()),
                             unsigned(in.size()));
    return out;
}

const QByteArray kUntouched(kPixels * 4, '\x55');

struct ReadCase
{
    const char *name;
    QByteArray (*profile)();
    cmsUInt32Number inFormat;
    cmsUInt32Number outFormat;
};

void PrintTo(const ReadCase &c, std::ostream *out) { *out << c.name; }

std::string nameOf(const testing::TestParamInfo<ReadCase> &info) { return info.param.name; }

class ReadTransform : public testing::TestWithParam<ReadCase>
{
};

} // namespace

TEST_P(ReadTransform, IsTheChainToSrgb)
{
    const ReadCase c = GetParam();
    QByteArray icc = c.profile();
    const QByteArray in = noiseBytes(kPixels * 4);
    const OwnedTransform direct = chainTransform(
        {openBytes(icc).release(), cmsCreate_sRGBProfile()}, c.inFormat, c.outFormat);
    ASSERT_TRUE(direct);

    CVlLcmsManager manager;
    manager.prepareIccReadTransform(c.inFormat, c.outFormat, icc, QByteArray());
    Vellum image;
    image.prepareIccReadTransform(c.inFormat, c.outFormat, icc);

    EXPECT_EQ(read(manager, in), run(direct.get(), in));
    EXPECT_EQ(read(image, in), run(direct.get(), in));
    EXPECT_NE(run(direct.get(), in), in);
}

INSTANTIATE_TEST_SUITE_P(
    Profiles, ReadTransform,
    testing::Values(ReadCase {"Matrix", matrixProfile, TYPE_RGB_8, TYPE_BGR_8},
                    ReadCase {"Lut", lutProfile, TYPE_BGRA_8, TYPE_BGRA_8},
                    ReadCase {"Grey", greyProfile, TYPE_GRAY_8, TYPE_BGRA_8},
                    ReadCase {"Cmyk", cmykProfile, TYPE_CMYK_8, TYPE_BGRA_8},
                    ReadCase {"Press",
                              [] { return readFile(profileFile(QStringLiteral("cmyk.icm"))); },
                              TYPE_CMYK_8_REV, TYPE_BGRA_8}),
    nameOf);

TEST(ReadTransformState, LabInputIgnoresTheProfiles)
{
    for (const cmsUInt32Number format : {TYPE_Lab_8, TYPE_Lab_16}) {
        const QByteArray in = noiseBytes(kPixels * 6);
        const OwnedProfile lab(cmsCreateLab4Profile(nullptr));
        const OwnedProfile display(cmsCreate_sRGBProfile());
        const OwnedTransform direct(
            cmsCreateTransform(lab.get(), format, display.get(), TYPE_BGRA_8, 0, 0));
        QByteArray icc("not a profile");

        CVlLcmsManager manager;
        manager.prepareIccReadTransform(format, TYPE_BGRA_8, icc, matrixProfile());
        Vellum image;
        image.prepareIccReadTransform(format, TYPE_BGRA_8, icc);

        EXPECT_EQ(read(manager, in), run(direct.get(), in));
        EXPECT_EQ(read(image, in), run(direct.get(), in));
    }
}

TEST(ReadTransformState, LabInputSetsTheAlarmCodes)
{
    cmsUInt16Number codes[cmsMAXCHANNELS];
    std::fill(std::begin(codes), std::end(codes), cmsUInt16Number(7));
    cmsSetAlarmCodes(codes);
    QByteArray icc("x");

    Vellum().prepareIccReadTransform(TYPE_Lab_8, TYPE_BGRA_8, icc);

    cmsGetAlarmCodes(codes);
    for (int i = 0; i < cmsMAXCHANNELS; ++i)
        EXPECT_EQ(codes[i], i < 4 ? 0xff : 0) << i;
}

TEST(ReadTransformState, NoProfileKeepsTheEarlierOne)
{
    const QByteArray in = noiseBytes(kPixels * 4);
    QByteArray icc = matrixProfile();
    QByteArray none;
    CVlLcmsManager manager;
    Vellum image;
    manager.prepareIccReadTransform(TYPE_BGRA_8, TYPE_BGRA_8, icc, QByteArray());
    image.prepareIccReadTransform(TYPE_BGRA_8, TYPE_BGRA_8, icc);
    const QByteArray before = read(manager, in);

    manager.prepareIccReadTransform(TYPE_Lab_8, TYPE_BGRA_8, none, QByteArray());
    image.prepareIccReadTransform(TYPE_Lab_8, TYPE_BGRA_8, none);

    EXPECT_NE(before, kUntouched);
    EXPECT_EQ(read(manager, in), before);
    EXPECT_EQ(read(image, in), before);
}

TEST(ReadTransformState, TheOverrideReplacesTheProfile)
{
    const QByteArray in = noiseBytes(kPixels * 4);
    QByteArray embedded = matrixProfile();
    QByteArray other = lutProfile();
    CVlLcmsManager expected;
    expected.prepareIccReadTransform(TYPE_BGRA_8, TYPE_BGRA_8, other, QByteArray());

    CVlLcmsManager manager;
    manager.prepareIccReadTransform(TYPE_BGRA_8, TYPE_BGRA_8, embedded, other);
    EXPECT_EQ(read(manager, in), read(expected, in));

    QByteArray none; // the override alone is enough
    CVlLcmsManager overrideOnly;
    overrideOnly.prepareIccReadTransform(TYPE_BGRA_8, TYPE_BGRA_8, none, other);
    EXPECT_EQ(read(overrideOnly, in), read(expected, in));
}

TEST(ReadTransformState, ADamagedProfileReplacesItByNone)
{
    const QByteArray in = noiseBytes(kPixels * 4);
    QByteArray good = matrixProfile();
    QByteArray bad("this is no profile");
    CVlLcmsManager manager;
    Vellum image;
    manager.prepareIccReadTransform(TYPE_BGRA_8, TYPE_BGRA_8, good, QByteArray());
    image.prepareIccReadTransform(TYPE_BGRA_8, TYPE_BGRA_8, good);

    manager.prepareIccReadTransform(TYPE_BGRA_8, TYPE_BGRA_8, bad, QByteArray());
    image.prepareIccReadTransform(TYPE_BGRA_8, TYPE_BGRA_8, bad);

    EXPECT_EQ(read(manager, in), kUntouched);
    EXPECT_EQ(read(image, in), kUntouched);
}

TEST(ReadTransformState, LinesAreTheirStridesApart)
{
    QByteArray icc = matrixProfile();
    CVlLcmsManager manager;
    manager.prepareIccReadTransform(TYPE_RGB_8, TYPE_BGRA_8, icc, QByteArray());
    const QByteArray in = noiseBytes(3 * 31);
    QByteArray out(3 * 41, '\x55');

    manager.doIccTransformRead(in.constData(), out.data(), kPixels, 3, 31, 41);

    for (int y = 0; y < 3; ++y) {
        QByteArray line(41, '\x55');
        manager.doIccTransformRead(in.constData() + y * 31, line.data(), kPixels, 1, 31, 41);
        EXPECT_EQ(out.mid(y * 41, 41), line) << y;
    }
}

TEST(ReadTransformState, ReleasedIsGone)
{
    QByteArray icc = matrixProfile();
    Vellum image;
    image.prepareIccReadTransform(TYPE_BGRA_8, TYPE_BGRA_8, icc);
    image.releaseIccReadTransform();
    image.releaseIccReadTransform();
    EXPECT_EQ(read(image, noiseBytes(kPixels * 4)), kUntouched);
}

TEST(ReadTransformState, AssignmentsForgetTheImagesOwn)
{
    QByteArray icc = matrixProfile();
    const QByteArray in = noiseBytes(kPixels * 4);
    Vellum image(3, 3, QImage::Format_RGB32);
    image.prepareIccReadTransform(TYPE_BGRA_8, TYPE_BGRA_8, icc);
    Vellum copy(image);
    EXPECT_EQ(read(copy, in), kUntouched);
    copy.prepareIccReadTransform(TYPE_BGRA_8, TYPE_BGRA_8, icc);

    image = Vellum();
    copy = QImage();

    EXPECT_EQ(read(image, in), kUntouched);
    EXPECT_EQ(read(copy, in), kUntouched);
}

TEST(SaveTransform, IsTheChainFromSrgbWithBlackPointCompensation)
{
    QByteArray press = cmykProfile();
    const QByteArray in = noiseBytes(kPixels * 4);
    const auto chain = [&](cmsUInt32Number flags) {
        return chainTransform({cmsCreate_sRGBProfile(), openBytes(press).release()}, TYPE_BGRA_8,
                              TYPE_CMYK_8, INTENT_PERCEPTUAL, flags);
    };
    CVlLcmsManager manager;
    manager.prepareIccSaveTransform(TYPE_BGRA_8, TYPE_CMYK_8, press);

    EXPECT_EQ(save(manager, in), run(chain(cmsFLAGS_BLACKPOINTCOMPENSATION).get(), in));
    EXPECT_NE(save(manager, in), run(chain(0).get(), in));
    EXPECT_EQ(read(manager, in), kUntouched);
}

TEST(SaveTransform, NoOrADamagedProfileReplacesItByNone)
{
    const QByteArray in = noiseBytes(kPixels * 4);
    QByteArray good = matrixProfile();
    QByteArray none;
    QByteArray bad("bad");
    CVlLcmsManager manager;
    manager.prepareIccSaveTransform(TYPE_BGRA_8, TYPE_BGRA_8, good);
    EXPECT_NE(save(manager, in), kUntouched);

    manager.prepareIccSaveTransform(TYPE_BGRA_8, TYPE_CMYK_8, none);
    EXPECT_EQ(save(manager, in), kUntouched);

    manager.prepareIccSaveTransform(TYPE_BGRA_8, TYPE_BGRA_8, good);
    manager.prepareIccSaveTransform(TYPE_BGRA_8, TYPE_BGRA_8, bad);
    EXPECT_EQ(save(manager, in), kUntouched);
}

// The in-place conversion -----------------------------------------------------------------------

namespace {

using Param = std::tuple<QImage::Format, Storage>;

class InPlace : public testing::TestWithParam<Param>
{
};

/// \a image converted row by row with direct calls of lcms2; unconverted when there is no such
/// transform.
QImage converted(const Vellum &image, const QByteArray &icc)
{
    QImage plain = toPlain(image);
    const unsigned int format = CVlLcmsManager::toLcmsFormat(image.format());
    if (format == 0)
        return plain;
    const OwnedTransform transform =
        chainTransform({openBytes(icc).release(), cmsCreate_sRGBProfile()}, format, format);
    for (int y = 0; transform && y < plain.height(); ++y) {
        uchar *const row = plain.scanLine(y);
        cmsDoTransformLineStride(transform.get(), row, row, unsigned(plain.width()), 1, 0, 0, 0, 0);
    }
    return plain;
}

void convertBothWays(QByteArray icc)
{
    const auto [format, storage] = InPlace::GetParam();
    const Vellum original = makeNoise(67, 21, format, storage, 5, 12);
    const QImage expected = converted(original, icc);

    Vellum byManager = makeNoise(67, 21, format, storage, 5, 12);
    CVlLcmsManager().doVellumRgbTransform(byManager, icc);
    Vellum byItself = makeNoise(67, 21, format, storage, 5, 12);
    byItself.doNormalIccTransform(icc);

    EXPECT_TRUE(samePixels(byManager, expected));
    EXPECT_TRUE(samePixels(byItself, expected));
    const unsigned int code = CVlLcmsManager::toLcmsFormat(format);
    const bool colour = code != 0 && T_COLORSPACE(code) == PT_RGB;
    EXPECT_EQ(bool(samePixels(expected, original)), !colour);
}

} // namespace

TEST_P(InPlace, ConvertsThroughAMatrix) { convertBothWays(matrixProfile()); }

TEST_P(InPlace, ConvertsThroughALookupTable) { convertBothWays(lutProfile()); }

INSTANTIATE_TEST_SUITE_P(Formats, InPlace,
                         testing::Combine(testing::ValuesIn(allFormats()),
                                          testing::ValuesIn(kStorages)),
                         caseName);

TEST(InPlaceEdges, ProfilesThatDoNotFitLeaveThePixels)
{
    QByteArray press = readFile(profileFile(QStringLiteral("cmyk.icm")));
    QByteArray matrix = matrixProfile();
    for (const Storage storage : kStorages) {
        for (QByteArray icc :
             {cmykProfile(), press, greyProfile(), labProfile(), QByteArray(), QByteArray("junk"),
              matrix.left(100), matrix.left(matrix.size() - 1), lutProfile().left(1000)}) {
            const Vellum original = makeNoise(9, 3, QImage::Format_RGB32, storage);
            Vellum image = makeNoise(9, 3, QImage::Format_RGB32, storage);
            image.doNormalIccTransform(icc);
            CVlLcmsManager().doVellumRgbTransform(image, icc);
            EXPECT_TRUE(samePixels(image, original)) << icc.size();
        }
    }
}

TEST(InPlaceEdges, GreyStaysWithItsOwnProfile)
{
    for (const QImage::Format format : {QImage::Format_Grayscale8, QImage::Format_Grayscale16}) {
        QByteArray icc = greyProfile();
        Vellum image = makeNoise(9, 3, format, Storage::Plain);
        image.doNormalIccTransform(icc);
        EXPECT_TRUE(samePixels(image, makeNoise(9, 3, format, Storage::Plain)));
    }
}

TEST(InPlaceEdges, NullImagesStayNull)
{
    QByteArray icc = matrixProfile();
    Vellum image;
    image.doNormalIccTransform(icc);
    CVlLcmsManager().doVellumRgbTransform(image, icc);
    EXPECT_TRUE(image.isNull());
}

TEST(InPlaceEdges, CopiesOfAPlainImageKeepTheirPixels)
{
    QByteArray icc = matrixProfile();
    Vellum image = makeNoise(9, 3, QImage::Format_RGB888, Storage::Plain);
    const Vellum copy(image);
    image.doNormalIccTransform(icc);
    EXPECT_TRUE(samePixels(copy, makeNoise(9, 3, QImage::Format_RGB888, Storage::Plain)));
    EXPECT_FALSE(samePixels(copy, image));
}

TEST(InPlaceEdges, AStoreNarrowerThanTheImageIsConvertedAsFarAsItGoes)
{
    QByteArray icc = matrixProfile();
    const int kept = 5;
    Vellum image = makeUntouchable(9, 4, QImage::Format_RGB32);
    ASSERT_TRUE(image.alloc_buffer(kept * 4, 4));
    Vellum expected = makeNoise(kept, 4, QImage::Format_RGB32, Storage::Plain);
    for (int y = 0; y < 4; ++y)
        std::memcpy(image.scanLineEx(y), expected.scanLineEx(y), kept * 4);

    image.doNormalIccTransform(icc);

    expected.doNormalIccTransform(icc);
    for (int y = 0; y < 4; ++y)
        EXPECT_EQ(0, std::memcmp(image.scanLineEx(y), expected.scanLineEx(y), kept * 4)) << y;
}
