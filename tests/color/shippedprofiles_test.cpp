// The profiles in share/color/icc: the right files, and as good as they are said to be.

#include <vellum/vellum.h>

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <support/profiles.h>
#include <vector>

using namespace vellum::test;

namespace {

const QString kXyz = QStringLiteral("XYZ-D50-Identity-vorn-V4.icc");

/// From Debian's package icc-profiles-free.
const QString kMeasurements = QStringLiteral("/usr/share/color/icc/FOGRA39L.ti3");

struct Patch
{
    double cmyk[4]; // percent
    cmsCIELab lab;
    double ink() const { return cmyk[0] + cmyk[1] + cmyk[2] + cmyk[3]; }
};

std::vector<Patch> readPatches()
{
    std::vector<Patch> patches;
    const QStringList lines =
        QString::fromLatin1(readFile(kMeasurements)).split(QRegularExpression("[\r\n]+"));
    for (const QString &line : lines) {
        const QStringList fields = line.simplified().split(QLatin1Char(' '));
        bool isPatch = fields.size() == 11;
        if (isPatch)
            fields[0].toInt(&isPatch);
        if (!isPatch)
            continue;
        const auto number = [&](int i) { return fields[i].toDouble(); };
        patches.push_back(
            {{number(1), number(2), number(3), number(4)}, {number(8), number(9), number(10)}});
    }
    return patches;
}

/// Output for each of \a in, absolute colorimetric.
template <typename Out, typename In>
std::vector<Out> convert(const std::vector<In> &in, cmsHPROFILE from, cmsUInt32Number inFormat,
                         cmsHPROFILE to, cmsUInt32Number outFormat)
{
    const OwnedTransform transform(cmsCreateTransform(from, inFormat, to, outFormat,
                                                      INTENT_ABSOLUTE_COLORIMETRIC,
                                                      cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE));
    EXPECT_TRUE(transform);
    std::vector<Out> out(in.size());
    if (transform)
        cmsDoTransform(transform.get(), in.data(), out.data(), cmsUInt32Number(in.size()));
    return out;
}

struct Inks
{
    double cmyk[4];
};

double meanDifference(const std::vector<cmsCIELab> &a, const std::vector<cmsCIELab> &b)
{
    double sum = 0;
    for (size_t i = 0; i < a.size(); ++i)
        sum += cmsCIE2000DeltaE(&a[i], &b[i], 1, 1, 1);
    return sum / double(a.size());
}

class PressProfile : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!QFileInfo::exists(kMeasurements))
            GTEST_SKIP() << "no measurements: icc-profiles-free is not installed";
        patches = readPatches();
        ASSERT_EQ(patches.size(), 1617U);
        ASSERT_TRUE(press);
    }

    std::vector<Patch> patches;
    OwnedProfile press = openBytes(readFile(profileFile(QStringLiteral("cmyk.icm"))));
    OwnedProfile lab = OwnedProfile(cmsCreateLab4Profile(nullptr));
};

} // namespace

TEST(ShippedProfiles, ThePressIsTheOneThatTheNoteNames)
{
    const QByteArray icc = readFile(profileFile(QStringLiteral("cmyk.icm")));
    EXPECT_EQ(icc.size(), 1052612);
    EXPECT_EQ(QCryptographicHash::hash(icc, QCryptographicHash::Sha256).toHex(),
              QByteArray("b424c77f40c3423c925536f8ae08634985ccd0fe80eb253d5d229197ded7e886"));
    EXPECT_TRUE(readFile(profileFile(QStringLiteral("ISOcoated_v2_300_bas.txt")))
                    .contains("basICColor GmbH"));
}

TEST(ShippedProfiles, XyzIsVersionFourAndD50)
{
    const OwnedProfile xyz = openBytes(readFile(profileFile(kXyz)));
    ASSERT_TRUE(xyz);
    EXPECT_EQ(cmsGetEncodedICCversion(xyz.get()) >> 24, 4U);
    EXPECT_EQ(cmsGetColorSpace(xyz.get()), cmsSigXYZData);
    const auto *const white =
        static_cast<const cmsCIEXYZ *>(cmsReadTag(xyz.get(), cmsSigMediaWhitePointTag));
    ASSERT_TRUE(white);
    EXPECT_NEAR(white->X, cmsD50_XYZ()->X, 1e-4);
    EXPECT_NEAR(white->Z, cmsD50_XYZ()->Z, 1e-4);
}

TEST(ShippedProfiles, XyzIsWhatTheProgramMakes)
{
    const QString program = QCoreApplication::applicationDirPath() + "/makexyzprofile";
    if (!QFileInfo::exists(program))
        GTEST_SKIP() << "the programs are not built";
    const QTemporaryDir folder;
    const QString made = folder.filePath(kXyz);
    ASSERT_EQ(QProcess::execute(program, {made}), 0);

    std::mt19937 random(2);
    std::uniform_real_distribution<double> number(0, 1.1);
    std::vector<cmsCIEXYZ> colors(1000);
    for (cmsCIEXYZ &c : colors)
        c = {number(random), number(random), number(random)};
    const OwnedProfile display(cmsCreate_sRGBProfile());
    const auto throughFile = [&](const QString &path) {
        const OwnedProfile xyz = openBytes(readFile(path));
        return convert<std::array<double, 3>>(colors, xyz.get(), TYPE_XYZ_DBL, display.get(),
                                              TYPE_RGB_DBL);
    };
    EXPECT_EQ(throughFile(made), throughFile(profileFile(kXyz)));
}

// The identity, so colours through it and back are where they were; with lcms2's optimiser on
// integers they are not, as the documentation warns.
TEST(ShippedProfiles, XyzKeepsIntegersOnlyWithoutOptimiser)
{
    const OwnedProfile xyz = openBytes(readFile(profileFile(kXyz)));
    const OwnedProfile display(cmsCreate_sRGBProfile());
    std::vector<uchar> pixels;
    for (int i = 0; i < 256; ++i)
        pixels.insert(pixels.end(), {uchar(i), uchar(255 - i), uchar(i * 7)});
    const auto worst = [&](cmsUInt32Number flags) {
        const OwnedTransform there(cmsCreateTransform(display.get(), TYPE_RGB_8, xyz.get(),
                                                      TYPE_XYZ_16, INTENT_RELATIVE_COLORIMETRIC,
                                                      flags));
        const OwnedTransform back(cmsCreateTransform(xyz.get(), TYPE_XYZ_16, display.get(),
                                                     TYPE_RGB_8, INTENT_RELATIVE_COLORIMETRIC,
                                                     flags));
        std::vector<quint16> middle(pixels.size());
        std::vector<uchar> result(pixels.size());
        cmsDoTransform(there.get(), pixels.data(), middle.data(), 256);
        cmsDoTransform(back.get(), middle.data(), result.data(), 256);
        int difference = 0;
        for (size_t i = 0; i < pixels.size(); ++i)
            difference = qMax(difference, qAbs(pixels[i] - result[i]));
        return difference;
    };
    EXPECT_LE(worst(cmsFLAGS_NOOPTIMIZE), 1);
    EXPECT_GE(worst(0), 12);
}

TEST_F(PressProfile, IsCloseToTheMeasurements)
{
    std::vector<Inks> inks;
    std::vector<cmsCIELab> measured;
    for (const Patch &patch : patches) {
        Inks in;
        std::copy(std::begin(patch.cmyk), std::end(patch.cmyk), in.cmyk);
        inks.push_back(in);
        measured.push_back(patch.lab);
    }
    const auto printed =
        convert<cmsCIELab>(inks, press.get(), TYPE_CMYK_DBL, lab.get(), TYPE_Lab_DBL);
    const double mean = meanDifference(measured, printed);
    RecordProperty("mean", std::to_string(mean));
    EXPECT_LE(mean, 0.5);
}

TEST_F(PressProfile, ColoursOfModestInkSurviveTheRoundTrip)
{
    std::vector<cmsCIELab> measured;
    for (const Patch &patch : patches)
        if (patch.ink() <= 280)
            measured.push_back(patch.lab);
    ASSERT_GT(measured.size(), 1000U);
    const auto inks = convert<Inks>(measured, lab.get(), TYPE_Lab_DBL, press.get(), TYPE_CMYK_DBL);
    const auto printed =
        convert<cmsCIELab>(inks, press.get(), TYPE_CMYK_DBL, lab.get(), TYPE_Lab_DBL);
    const double mean = meanDifference(measured, printed);
    RecordProperty("mean", std::to_string(mean));
    EXPECT_LE(mean, 1.0);
}
