// What constructing images does for the transforms that all of them share. One fresh process each.

#include <vellum/vellum.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <support/childprocess.h>
#include <support/messages.h>
#include <support/profiles.h>

using namespace vellum::test;

namespace {

/// Made before main(), that is, before there is an application.
struct BeforeMain
{
    QStringList messages;

    BeforeMain()
    {
        // Not MessageLog: its statics may be made after this object.
        static QStringList *collected = &messages;
        const QtMessageHandler previous =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext &,
                                      const QString &message) { collected->append(message); });
        const Vellum image(3, 2, QImage::Format_RGB32);
        qInstallMessageHandler(previous);
        if (image.width() != 3)
            messages.append(QStringLiteral("no image"));
    }
};

const BeforeMain beforeMain;

bool hasCmyk()
{
    uchar bgr[3] = {40, 90, 200};
    uchar cmyk[4] = {1, 2, 3, 4};
    Vellum::BgrToCmyk(cmyk, bgr, 1);
    uchar back[3] = {1, 2, 3};
    Vellum::CmykToBgr(back, cmyk, 1);
    const bool there = cmyk[0] != 1 || cmyk[1] != 2 || cmyk[2] != 3 || cmyk[3] != 4;
    const bool andBack = back[0] != 1 || back[1] != 2 || back[2] != 3;
    EXPECT_EQ(there, andBack);
    return there;
}

const QString kLine =
    QStringLiteral("cmsOpenProfileFromFile failed: \"/nowhere/share/color/icc/cmyk.icm\"");

} // namespace

TEST(Startup, WithoutAnApplicationTheFolderIsTheRoot)
{
    const QString line =
        QStringLiteral("cmsOpenProfileFromFile failed: \"/share/color/icc/cmyk.icm\"");
    EXPECT_EQ(beforeMain.messages, QStringList({line, line}));
}

TEST(Startup, EveryConstructionWithoutTheFileWritesTwoLines)
{
    inFreshProcess([] {
        setIccProfilePath(QStringLiteral("/nowhere/"));
        const QImage plain(2, 2, QImage::Format_RGB32);
        uchar data[16] = {};
        const std::array<std::function<void()>, 4> constructions {
            [] { Vellum(); },
            [&] { Vellum image(plain); },
            [] { Vellum(2, 2, QImage::Format_RGB32); },
            [&] { Vellum(data, 2, 2, QImage::Format_RGB32); },
        };
        for (const auto &construct : constructions) {
            const MessageLog log;
            construct();
            EXPECT_EQ(log.messages(), QStringList({kLine, kLine}));
        }
    });
}

TEST(Startup, CopyConstructionDoesNotLookForTheFile)
{
    inFreshProcess([] {
        setIccProfilePath(QStringLiteral("/nowhere/"));
        const Vellum image;
        const MessageLog log;
        const Vellum copy(image); // NOLINT(performance-unnecessary-copy-initialization)
        EXPECT_TRUE(log.messages().isEmpty());
    });
}

TEST(Startup, WithoutTheFilePixelsStay)
{
    inFreshProcess([] {
        setIccProfilePath(QStringLiteral("/nowhere/"));
        const Vellum image;
        EXPECT_FALSE(hasCmyk());
    });
}

TEST(Startup, BeforeTheFirstImageThereAreNoTransforms)
{
    inFreshProcess([] {
        EXPECT_FALSE(hasCmyk());
        const Vellum image;
        EXPECT_TRUE(hasCmyk());
    });
}

TEST(Startup, AFileThatAppearsIsFoundByTheNextConstruction)
{
    inFreshProcess([] {
        const QTemporaryDir folder;
        setIccProfilePath(folder.path() + QLatin1Char('/'));
        {
            const Vellum image;
        }
        EXPECT_FALSE(hasCmyk());

        ASSERT_TRUE(QDir().mkpath(folder.filePath(QStringLiteral("share/color/icc"))));
        ASSERT_TRUE(QFile::copy(profileFile(QStringLiteral("cmyk.icm")),
                                folder.filePath(QStringLiteral("share/color/icc/cmyk.icm"))));
        const MessageLog log;
        {
            const Vellum image;
        }
        EXPECT_TRUE(hasCmyk());

        setIccProfilePath(QStringLiteral("/nowhere/")); // needed no more
        {
            const Vellum image;
        }
        EXPECT_TRUE(log.messages().isEmpty());
    });
}

TEST(Startup, TheFileCountsAsTheFirstImageFoundIt)
{
    inFreshProcess([] {
        const QTemporaryDir folder;
        setIccProfilePath(folder.path() + QLatin1Char('/'));
        const QString path = folder.filePath(QStringLiteral("share/color/icc/cmyk.icm"));
        ASSERT_TRUE(QDir().mkpath(QFileInfo(path).path()));
        ASSERT_TRUE(QFile::copy(profileFile(QStringLiteral("cmyk.icm")), path));
        {
            const Vellum image;
        }
        ASSERT_TRUE(QFile::remove(path));

        const MessageLog log;
        EXPECT_TRUE(hasCmyk());
        EXPECT_TRUE(log.messages().isEmpty());
    });
}

TEST(Startup, AFileThatWasOfNoUseIsReadAgain)
{
    const QByteArray whole = readFile(profileFile(QStringLiteral("cmyk.icm")));
    QByteArray damaged = whole; // from behind the list of tags on
    std::fill(damaged.begin() + 600, damaged.end(), char(0x5a));
    const QByteArray files[] = {whole.left(200), whole.left(3000), whole.left(whole.size() / 2),
                                whole.left(whole.size() - 1), damaged};
    for (const QByteArray &first : files) {
        inFreshProcess([&] {
            const QTemporaryDir folder;
            setIccProfilePath(folder.path() + QLatin1Char('/'));
            const QString path = folder.filePath(QStringLiteral("share/color/icc/cmyk.icm"));
            ASSERT_TRUE(QDir().mkpath(QFileInfo(path).path()));
            const auto write = [&](const QByteArray &bytes) {
                QFile file(path);
                return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
            };
            ASSERT_TRUE(write(first));
            for (int i = 0; i < 3; ++i) {
                const Vellum image;
                uchar bgr[3] = {40, 90, 200};
                uchar cmyk[4] = {};
                Vellum::BgrToCmyk(cmyk, bgr, 1); // as far as it can
                Vellum::CmykToBgr(bgr, cmyk, 1);
            }

            ASSERT_TRUE(write(whole));
            {
                const Vellum image;
            }
            EXPECT_TRUE(hasCmyk()) << first.size();
        });
    }
}

TEST(Startup, AFileWithoutAnEndIsNotRead)
{
    if (!QFile::exists(QStringLiteral("/dev/zero")))
        GTEST_SKIP() << "there is no such file";
    inFreshProcess([] {
        const QTemporaryDir folder;
        setIccProfilePath(folder.path() + QLatin1Char('/'));
        ASSERT_TRUE(QDir().mkpath(folder.filePath(QStringLiteral("share/color/icc"))));
        ASSERT_TRUE(QFile::link(QStringLiteral("/dev/zero"),
                                folder.filePath(QStringLiteral("share/color/icc/cmyk.icm"))));
        const MessageLog log;
        const Vellum image;
        EXPECT_FALSE(hasCmyk());
        EXPECT_EQ(log.messages().size(), 2);
    });
}

TEST(Startup, AFileThatIsNoCmykProfileIsOpenedInSilence)
{
    inFreshProcess([] {
        const QTemporaryDir folder;
        setIccProfilePath(folder.path() + QLatin1Char('/'));
        ASSERT_TRUE(QDir().mkpath(folder.filePath(QStringLiteral("share/color/icc"))));
        QFile file(folder.filePath(QStringLiteral("share/color/icc/cmyk.icm")));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(matrixProfile());
        file.close();

        const MessageLog log;
        const Vellum image;
        EXPECT_FALSE(hasCmyk());
        EXPECT_TRUE(log.messages().isEmpty());
    });
}
