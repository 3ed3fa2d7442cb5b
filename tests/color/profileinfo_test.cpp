// What describeProfile says about whole and damaged profiles.

#include <vellum/vellum.h>

#include <QtEndian>

#include <gtest/gtest.h>

#include <random>
#include <support/profiles.h>

using namespace vellum::test;
using vellum::describeProfile;
using vellum::ProfileInfo;
using vellum::RenderingIntent;

namespace {

QByteArray pressBytes() { return readFile(profileFile(QStringLiteral("cmyk.icm"))); }

QByteArray withNumber(QByteArray icc, int offset, quint32 value)
{
    qToBigEndian(value, icc.data() + offset);
    return icc;
}

quint32 numberAt(const QByteArray &icc, int offset)
{
    return qFromBigEndian<quint32>(icc.constData() + offset);
}

} // namespace

TEST(ProfileInfo, DescribesThePress)
{
    const ProfileInfo info = describeProfile(pressBytes());
    EXPECT_TRUE(info.isValid());
    EXPECT_EQ(info.description, QStringLiteral("ISO Coated v2 300% (basICColor)"));
    EXPECT_EQ(info.colorSpace, QStringLiteral("CMYK"));
    EXPECT_EQ(info.connectionSpace, QStringLiteral("Lab"));
    EXPECT_EQ(info.version, QStringLiteral("2.1"));
    EXPECT_EQ(info.deviceClass, QStringLiteral("output"));
    EXPECT_EQ(info.intents.size(), 4);
    ASSERT_TRUE(info.inkLimit);
    EXPECT_NEAR(*info.inkLimit, 300, 3);
    ASSERT_TRUE(info.whitePoint); // of the paper
    EXPECT_NEAR(info.whitePoint->x, 0.8448, 0.01);
    EXPECT_NEAR(info.whitePoint->y, 0.8762, 0.01);
    EXPECT_NEAR(info.whitePoint->z, 0.7457, 0.01);
}

TEST(ProfileInfo, DescribesSrgb)
{
    const ProfileInfo info = describeProfile(srgbProfile());
    EXPECT_TRUE(info.isValid());
    EXPECT_EQ(info.description, QStringLiteral("sRGB built-in"));
    EXPECT_EQ(info.colorSpace, QStringLiteral("RGB"));
    EXPECT_EQ(info.connectionSpace, QStringLiteral("XYZ"));
    EXPECT_EQ(info.deviceClass, QStringLiteral("display"));
    EXPECT_EQ(info.version.left(1), QStringLiteral("4"));
    EXPECT_EQ(info.intents.size(), 4);
    EXPECT_FALSE(info.inkLimit);
    ASSERT_TRUE(info.whitePoint);
    EXPECT_NEAR(info.whitePoint->x, 0.9642, 0.0005);
    EXPECT_NEAR(info.whitePoint->z, 0.8249, 0.0005);
}

TEST(ProfileInfo, DescribesGreyAndOthers)
{
    const ProfileInfo grey = describeProfile(greyProfile());
    EXPECT_TRUE(grey.isValid());
    EXPECT_EQ(grey.colorSpace, QStringLiteral("Gray"));
    const ProfileInfo lut = describeProfile(lutProfile());
    EXPECT_EQ(lut.deviceClass, QStringLiteral("input"));
    EXPECT_EQ(lut.description, QStringLiteral("Bent RGB"));
    EXPECT_EQ(lut.version, QStringLiteral("2.4"));
    const ProfileInfo lab = describeProfile(labProfile());
    EXPECT_EQ(lab.colorSpace, QStringLiteral("Lab"));
    EXPECT_EQ(lab.deviceClass, QStringLiteral("abstract"));
    EXPECT_FALSE(lab.inkLimit);
    const ProfileInfo xyz =
        describeProfile(readFile(profileFile(QStringLiteral("XYZ-D50-Identity-vorn-V4.icc"))));
    EXPECT_TRUE(xyz.isValid());
    EXPECT_EQ(xyz.colorSpace, QStringLiteral("XYZ"));
    EXPECT_EQ(xyz.version.left(1), QStringLiteral("4"));
}

TEST(ProfileInfo, NamesWhatIsWrong)
{
    const QByteArray icc = matrixProfile();
    EXPECT_EQ(describeProfile(QByteArray()).problem,
              QStringLiteral("too short for an ICC profile"));
    EXPECT_EQ(describeProfile(icc.left(131)).problem,
              QStringLiteral("too short for an ICC profile"));
    EXPECT_EQ(describeProfile(QByteArray(200, 'x')).problem, QStringLiteral("not an ICC profile"));
    EXPECT_EQ(describeProfile(icc.left(icc.size() - 1)).problem,
              QStringLiteral("cut off: %1 bytes of %2").arg(icc.size() - 1).arg(icc.size()));
    EXPECT_EQ(describeProfile(withNumber(icc, 128, 0xffffffff)).problem,
              QStringLiteral("damaged: a table of 4294967295 tags"));
    EXPECT_EQ(describeProfile(withNumber(icc, 128, 99)).problem,
              QStringLiteral("damaged: a table of 99 tags"));
}

TEST(ProfileInfo, TagsMustLieInside)
{
    const QByteArray icc = matrixProfile();
    const int second = 132 + 12; // the entry of the second tag
    const QString outside = QStringLiteral("damaged: tag 1 lies outside the profile");
    const quint32 offset = numberAt(icc, second + 4);
    const quint32 rest = quint32(icc.size()) - offset;

    EXPECT_EQ(describeProfile(withNumber(icc, second + 8, rest)).problem, QString());
    EXPECT_EQ(describeProfile(withNumber(icc, second + 8, rest + 1)).problem, outside);
    EXPECT_EQ(describeProfile(withNumber(icc, second + 8, 0xffffffff)).problem, outside);
    EXPECT_EQ(describeProfile(withNumber(icc, second + 4, 0xffffff00)).problem, outside);
    EXPECT_EQ(describeProfile(withNumber(icc, second + 4, 131)).problem, outside);
}

TEST(ProfileInfo, BytesBehindTheProfileAreAllowed)
{
    EXPECT_TRUE(describeProfile(matrixProfile() + "padding").isValid());
}

TEST(ProfileInfo, EveryTruncationIsInvalid)
{
    const QByteArray icc = lutProfile();
    for (int size = 0; size < icc.size(); size += 37)
        EXPECT_FALSE(describeProfile(icc.left(size)).isValid()) << size;
}

TEST(ProfileInfo, SurvivesDamage)
{
    std::mt19937 random(11);
    for (const QByteArray &whole : {matrixProfile(), lutProfile(), cmykProfile(), greyProfile()}) {
        for (int round = 0; round < 40; ++round) {
            QByteArray icc = whole;
            for (int i = 0; i < 4; ++i)
                icc[int(random() % unsigned(qMin(icc.size(), 600)))] = char(random());
            const ProfileInfo info = describeProfile(icc);
            EXPECT_TRUE(info.isValid() || info.description.isEmpty());
            Vellum image(2, 2, QImage::Format_RGB32);
            image.fill(0x123456);
            image.doNormalIccTransform(icc);
        }
    }
}
