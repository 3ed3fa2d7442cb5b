// Default profiles, where they are looked for, pixel formats, and who owns a manager's handles.

#include <vellum/vellum.h>

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <map>
#include <support/childprocess.h>
#include <support/messages.h>
#include <support/privateaccess.h>
#include <support/profiles.h>

using namespace vellum::test;

namespace vellum::test {

struct IccPath
{
    using Type = QString (*)(const QString &);
    friend Type member(IccPath);
};

template struct PrivateMember<IccPath, &CVlLcmsManager::getIccPath>;

} // namespace vellum::test

namespace {

/// lcms2's own serialisation of the file \a path.
QByteArray serialisedFile(const QString &path)
{
    return bytesOf(OwnedProfile(cmsOpenProfileFromFile(path.toLocal8Bit().constData(), "r")));
}

QByteArray defaultCmyk()
{
    QByteArray bytes("old");
    EXPECT_TRUE(CVlLcmsManager::getDefaultCmykIccProfile(bytes));
    return bytes;
}

/// A folder with share/color/icc/cmyk.icm in it, holding \a icc.
void putCmykFile(const QString &folder, const QByteArray &icc)
{
    ASSERT_TRUE(QDir().mkpath(folder + QStringLiteral("/share/color/icc")));
    QFile file(folder + QStringLiteral("/share/color/icc/cmyk.icm"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(icc);
}

} // namespace

TEST(IccPath, AppendsToTheSetFolderWithoutASeparator)
{
    setIccProfilePath(QStringLiteral("/some/folder/"));
    const QString with = member(IccPath())(QStringLiteral("cmyk.icm"));
    setIccProfilePath(QStringLiteral("/some/folder"));
    const QString without = member(IccPath())(QStringLiteral("cmyk.icm"));
    setIccProfilePath(QString());

    EXPECT_EQ(with, QStringLiteral("/some/folder/share/color/icc/cmyk.icm"));
    EXPECT_EQ(without, QStringLiteral("/some/foldershare/color/icc/cmyk.icm"));
}

TEST(IccPath, IsBelowTheApplicationWhenNoFolderIsSet)
{
    EXPECT_EQ(member(IccPath())(QStringLiteral("x.icc")),
              QCoreApplication::applicationDirPath() + QStringLiteral("/share/color/icc/x.icc"));
}

TEST(DefaultProfiles, CmykComesFromTheApplicationFolder)
{
    inFreshProcess(
        [] { EXPECT_EQ(defaultCmyk(), serialisedFile(profileFile(QStringLiteral("cmyk.icm")))); });
}

TEST(DefaultProfiles, CmykComesFromTheSetFolder)
{
    inFreshProcess([] {
        const QTemporaryDir folder;
        putCmykFile(folder.path(), cmykProfile());
        setIccProfilePath(folder.path() + QLatin1Char('/'));

        EXPECT_EQ(defaultCmyk(),
                  serialisedFile(folder.filePath(QStringLiteral("share/color/icc/cmyk.icm"))));
    });
}

TEST(DefaultProfiles, MissingCmykIsEmptyAndTrue)
{
    inFreshProcess([] {
        setIccProfilePath(QStringLiteral("/nowhere/"));
        EXPECT_TRUE(defaultCmyk().isEmpty());
    });
}

TEST(DefaultProfiles, AMissingFileIsTriedAgain)
{
    inFreshProcess([] {
        const QTemporaryDir folder;
        setIccProfilePath(folder.path() + QLatin1Char('/'));
        EXPECT_TRUE(defaultCmyk().isEmpty());

        putCmykFile(folder.path(), cmykProfile());
        EXPECT_FALSE(defaultCmyk().isEmpty());
    });
}

TEST(DefaultProfiles, AFileOnceReadIsNotReadAgain)
{
    inFreshProcess([] {
        const QByteArray first = defaultCmyk();
        setIccProfilePath(QStringLiteral("/nowhere/"));
        EXPECT_EQ(defaultCmyk(), first);
        EXPECT_FALSE(first.isEmpty());
    });
}

TEST(DefaultProfiles, SetCmykIsReturnedAsItIs)
{
    inFreshProcess([] {
        setIccProfilePath(QStringLiteral("/nowhere/"));
        CVlLcmsManager::setDefaultCmykIcc("no profile at all");
        EXPECT_EQ(defaultCmyk(), QByteArray("no profile at all"));
    });
}

TEST(DefaultProfiles, AnEmptySetCmykReadsTheFileAgain)
{
    inFreshProcess([] {
        CVlLcmsManager::setDefaultCmykIcc("something");
        CVlLcmsManager::setDefaultCmykIcc(QByteArray());
        EXPECT_EQ(defaultCmyk(), serialisedFile(profileFile(QStringLiteral("cmyk.icm"))));
    });
}

TEST(DefaultProfiles, TheImageSideHasACacheOfItsOwn)
{
    inFreshProcess([] {
        CVlLcmsManager::setDefaultCmykIcc("something");
        QByteArray bytes;
        EXPECT_TRUE(Vellum().getCmykIccProfile(bytes));
        EXPECT_EQ(bytes, serialisedFile(profileFile(QStringLiteral("cmyk.icm"))));
    });
}

TEST(DefaultProfiles, LabIsVersionTwoWithItsOwnWhite)
{
    const cmsCIExyY white {0.33, 0.33, 1.0};
    const QByteArray expected = bytesOf(OwnedProfile(cmsCreateLab2Profile(&white)));
    QByteArray manager;
    QByteArray image;

    EXPECT_TRUE(CVlLcmsManager::getDefaultLabIccProfile(manager));
    EXPECT_TRUE(Vellum().getLabIccProfile(image));

    EXPECT_EQ(withoutDate(manager), withoutDate(expected));
    EXPECT_EQ(withoutDate(image), withoutDate(expected));
}

TEST(DefaultProfiles, XyzComesFromItsFile)
{
    const QByteArray expected =
        serialisedFile(profileFile(QStringLiteral("XYZ-D50-Identity-vorn-V4.icc")));
    QByteArray manager;
    QByteArray image;

    EXPECT_TRUE(CVlLcmsManager::getDefaultXyzIccProfile(manager));
    EXPECT_TRUE(Vellum().getXyzIccProfile(image));

    EXPECT_FALSE(expected.isEmpty());
    EXPECT_EQ(manager, expected);
    EXPECT_EQ(image, expected);
}

TEST(DefaultProfiles, MissingXyzIsEmptyAndSilent)
{
    inFreshProcess([] {
        setIccProfilePath(QStringLiteral("/nowhere/"));
        Vellum image;
        const MessageLog log;
        QByteArray manager("old");
        QByteArray own("old");
        EXPECT_TRUE(CVlLcmsManager::getDefaultXyzIccProfile(manager));
        EXPECT_TRUE(image.getXyzIccProfile(own));
        EXPECT_TRUE(manager.isEmpty());
        EXPECT_TRUE(own.isEmpty());
        EXPECT_TRUE(log.messages().isEmpty());
    });
}

TEST(LcmsFormat, IsTheTableAndZeroElsewhere)
{
    const std::map<int, unsigned int> codes {
        {QImage::Format_RGB32, 0x44499},       {QImage::Format_ARGB32, 0x44499},
        {QImage::Format_RGB888, 0x40019},      {QImage::Format_RGBX8888, 0x40099},
        {QImage::Format_RGBA8888, 0x40099},    {QImage::Format_Grayscale8, 0x30009},
        {QImage::Format_RGBX64, 0x4009a},      {QImage::Format_RGBA64, 0x4009a},
        {QImage::Format_Grayscale16, 0x3000a}, {QImage::Format_BGR888, 0x40419},
    };
    for (int f = -1; f <= QImage::NImageFormats; ++f) {
        const auto code = codes.find(f);
        EXPECT_EQ(CVlLcmsManager::toLcmsFormat(QImage::Format(f)),
                  code == codes.end() ? 0 : code->second)
            << "format " << f;
    }
}

TEST(Manager, AssignedManagersUseTheSameTransforms)
{
    CVlLcmsManager owner;
    CVlLcmsManager user;
    QByteArray icc = matrixProfile();
    owner.prepareIccReadTransform(TYPE_RGB_8, TYPE_RGB_8, icc, QByteArray());
    owner.prepareIccSaveTransform(TYPE_RGB_8, TYPE_RGB_8, icc);

    EXPECT_EQ(&(user = owner), &user);
    const uchar in[3] = {10, 200, 90};
    uchar expected[6] = {};
    uchar actual[6] = {};
    owner.doIccTransformRead(in, expected, 1, 1, 3, 3);
    owner.doIccTransformSave(in, expected + 3, 1, 1, 3, 3);
    user.doIccTransformRead(in, actual, 1, 1, 3, 3);
    user.doIccTransformSave(in, actual + 3, 1, 1, 3, 3);

    user = CVlLcmsManager(); // forgets the handles: the owner alone deletes them
    EXPECT_EQ(QByteArray::fromRawData(reinterpret_cast<char *>(actual), 6),
              QByteArray::fromRawData(reinterpret_cast<char *>(expected), 6));
    EXPECT_NE(QByteArray::fromRawData(reinterpret_cast<char *>(actual), 3),
              QByteArray::fromRawData(reinterpret_cast<const char *>(in), 3));
}

TEST(Manager, ChargeMovesToTheOneThatKeepsTheHandles)
{
    CVlLcmsManager heir;
    {
        CVlLcmsManager owner;
        QByteArray icc = matrixProfile();
        owner.prepareIccReadTransform(TYPE_RGB_8, TYPE_RGB_8, icc, QByteArray());
        heir = owner;
        owner = CVlLcmsManager();
    } // deletes nothing

    const uchar in[3] = {10, 200, 90};
    uchar out[3] = {};
    heir.doIccTransformRead(in, out, 1, 1, 3, 3);
    EXPECT_NE(out[0] | out[1] | out[2], 0);
}

TEST(TestLcms, WritesNothingWithoutItsFile)
{
    const MessageLog log;
    CVlLcmsManager::testLcms();
    EXPECT_TRUE(log.messages().isEmpty());
}

TEST(TestLcms, WritesTheInksOfOnePixel)
{
    inFreshProcess([] {
        const QTemporaryDir folder;
        ASSERT_TRUE(QDir::setCurrent(folder.path()));
        ASSERT_TRUE(QDir().mkpath(QStringLiteral("c:/tmp")));
        ASSERT_TRUE(QFile::copy(profileFile(QStringLiteral("cmyk.icm")),
                                QStringLiteral("c:/tmp/JapanColor2001Coated.icc")));
        const uchar bgr[] = {40, 44, 44};
        uchar inks[4];
        const OwnedTransform transform = chainTransform(
            {cmsCreate_sRGBProfile(),
             cmsOpenProfileFromFile("c:/tmp/JapanColor2001Coated.icc", "r")},
            TYPE_BGR_8, TYPE_CMYK_8, INTENT_PERCEPTUAL, cmsFLAGS_BLACKPOINTCOMPENSATION);
        cmsDoTransform(transform.get(), bgr, inks, 1);

        const MessageLog log;
        CVlLcmsManager::testLcms();

        ASSERT_EQ(log.messages().size(), 1);
        EXPECT_EQ(log.messages().first(),
                  QStringLiteral("test end cmyk: %1 , %2 , %3 , %4")
                      .arg(inks[0])
                      .arg(inks[1])
                      .arg(inks[2])
                      .arg(inks[3]));
    });
}
