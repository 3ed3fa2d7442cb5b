// Eight threads that construct, copy, convert and destroy, from a standing start.

#include <vellum/vellum.h>

#include <gtest/gtest.h>

#include <atomic>
#include <support/childprocess.h>
#include <support/images.h>
#include <support/messages.h>
#include <support/profiles.h>
#include <thread>
#include <vector>

using namespace vellum::test;

namespace {

constexpr int kThreads = 8;

/// Runs \a body(thread) on all threads, which start together.
template <typename Body>
void together(Body body)
{
    std::atomic<int> ready {0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            ++ready;
            while (ready < kThreads) { }
            body(t);
        });
    }
    for (std::thread &thread : threads)
        thread.join();
}

void useColour(const Vellum &shared, QByteArray icc)
{
    Vellum copy(shared);
    Vellum image = makeNoise(31, 7, QImage::Format_RGB32, Storage::Big);
    image.doNormalIccTransform(icc);
    image.rePrepareSaveCmyk(QImage::Format_RGB32);
    image.prepareIccReadTransform(TYPE_Lab_8, TYPE_BGRA_8, icc);
    uchar bgr[30];
    std::copy_n(copy.constBits(), 30, bgr);
    uchar cmyk[40] = {};
    Vellum::BgrToCmyk(cmyk, bgr, 10);
    Vellum::CmykToBgr(bgr, cmyk, 10);
    QByteArray profile;
    CVlLcmsManager::getDefaultCmykIccProfile(profile);
    CVlLcmsManager::getDefaultLabIccProfile(profile);
    image.getXyzIccProfile(profile);
    EXPECT_TRUE(image.hasSaveCmykTransform());
    copy = image;
}

} // namespace

TEST(Threads, ShareTheLazyState)
{
    inFreshProcess([] {
        const QByteArray icc = matrixProfile();
        together([&icc](int) { // the first images of the process
            const Vellum shared = makeNoise(31, 7, QImage::Format_RGB32, Storage::Plain);
            useColour(shared, icc);
        });
        const Vellum shared = makeNoise(31, 7, QImage::Format_RGB32, Storage::Plain);
        together([&](int) {
            for (int i = 0; i < 5; ++i)
                useColour(shared, icc);
        });
    });
}

TEST(Threads, SeeOneAndTheSameTransform)
{
    inFreshProcess([] {
        uchar results[kThreads][4];
        together([&](int t) {
            const Vellum image;
            uchar bgr[3] = {20, 130, 240};
            Vellum::BgrToCmyk(results[t], bgr, 1);
        });
        for (int t = 1; t < kThreads; ++t)
            EXPECT_TRUE(std::equal(results[0], results[0] + 4, results[t])) << t;
        EXPECT_NE(results[0][0] | results[0][1] | results[0][2], 0);
    });
}

TEST(Threads, MakeTheTransformsAtTheSameTime)
{
    inFreshProcess([] {
        const Vellum image;
        uchar there[kThreads][4];
        uchar back[kThreads][3];
        together([&](int t) {
            uchar bgr[3] = {20, 130, 240};
            Vellum::BgrToCmyk(there[t], bgr, 1);
            Vellum::CmykToBgr(back[t], there[t], 1);
        });
        for (int t = 1; t < kThreads; ++t) {
            EXPECT_TRUE(std::equal(there[0], there[0] + 4, there[t])) << t;
            EXPECT_TRUE(std::equal(back[0], back[0] + 3, back[t])) << t;
        }
        EXPECT_NE(there[0][0] | there[0][1] | there[0][2], 0);
    });
}

TEST(Threads, TryTheMissingFileAndChangeTheFolder)
{
    inFreshProcess([] {
        const MessageLog log;
        together([](int t) {
            for (int i = 0; i < 20; ++i) {
                setIccProfilePath(QStringLiteral("/nowhere/%1/").arg(t));
                const Vellum image;
                QByteArray profile;
                CVlLcmsManager::getDefaultCmykIccProfile(profile);
                CVlLcmsManager::setDefaultCmykIcc(t % 2 ? QByteArray("set") : QByteArray());
            }
        });
        EXPECT_EQ(log.messages().size(), kThreads * 20 * 2);
    });
}
