// Files of several pictures: reading them as a chain, writing a chain.

#include <QBuffer>

#include <algorithm>
#include <support/images.h>
#include <support/profiles.h>
#include <support/recordingplugins.h>

using namespace vellum;
using namespace vellum::test;

namespace {

Vellum noise(unsigned seed)
{
    return makeNoise(7, 5, QImage::Format_ARGB32, test::Storage::Plain, seed);
}

class Pages : public WithRecordingPlugins
{
protected:
    QString file() const { return testImage("png"); }

    /// Pages with noise of seeds 1, 2, ...
    static void providePages(int count)
    {
        provide({noise(1)});
        recorder().first.pages = count;
        recorder().first.read = [](QImage *image) {
            return readPicture({noise(unsigned(recorder().calls.back().page) + 1)}, image);
        };
    }
};

} // namespace

TEST_F(Pages, FileOfOnePageIsAChainOfOne)
{
    provide({noise(1)});
    PageChain pages;
    pages.append(noise(8));
    pages.append(noise(9));

    const OpenResult result = openPages(pages, file());

    ASSERT_TRUE(result) << result.message.toStdString();
    ASSERT_EQ(pages.count(), 1);
    EXPECT_TRUE(samePixels(pages.page(0), noise(1)));
    EXPECT_EQ(pages.head(), &pages.page(0));
    EXPECT_EQ(pages.head()->getNextImage(), nullptr);
}

TEST_F(Pages, ChainIsLinkedBothWaysAndStaysWhereItIsWhenItsOwnerMoves)
{
    PageChain pages;
    for (unsigned seed = 1; seed <= 3; ++seed)
        pages.append(noise(seed));
    const Vellum *const head = pages.head();

    PageChain moved = std::move(pages);

    EXPECT_EQ(moved.head(), head);
    EXPECT_EQ(moved.page(0).getNextImage(), &moved.page(1));
    EXPECT_EQ(moved.page(1).getNextImage(), &moved.page(2));
    EXPECT_EQ(moved.page(2).getPrevImage(), &moved.page(1));
    EXPECT_EQ(moved.page(2).getNextImage(), nullptr);
}

TEST_F(Pages, AllPagesAreReadInOrder)
{
    providePages(3);
    std::vector<int> percents;
    OpenOptions options;
    options.progress = [&](int percent) {
        percents.push_back(percent);
        return true;
    };
    PageChain pages;

    const OpenResult result = openPages(pages, file(), options);

    ASSERT_TRUE(result) << result.message.toStdString();
    ASSERT_EQ(pages.count(), 3);
    for (int page = 0; page < 3; ++page)
        EXPECT_TRUE(samePixels(pages.page(page), noise(unsigned(page) + 1)));
    EXPECT_EQ(pages.page(0).getNextImage(), &pages.page(1));
    EXPECT_TRUE(std::is_sorted(percents.begin(), percents.end()));
    EXPECT_EQ(percents.back(), 100);
}

TEST_F(Pages, OnePageIsOpenedAlone)
{
    providePages(3);
    OpenOptions options;
    options.page = 2;
    Vellum image;

    ASSERT_TRUE(openImage(image, file(), options));

    EXPECT_TRUE(samePixels(image, noise(3)));
    EXPECT_EQ(onlyCall(Asked::Read).page, 2);
    options.page = 3;
    EXPECT_EQ(openImage(image, file(), options).status, FileStatus::NotFound);
}

TEST_F(Pages, PagesAreLookedAtInOrderWithoutReadingThem)
{
    providePages(3);
    PictureFile picture(file());

    for (const int page : {0, 2}) {
        const OpenResult result = picture.lookAt(page);
        EXPECT_TRUE(result) << result.message.toStdString();
        EXPECT_EQ(picture.info().size, QSize(7, 5));
        EXPECT_EQ(picture.info().pages, 3);
    }
    for (const int page : {-1, 3})
        EXPECT_EQ(picture.lookAt(page).status, FileStatus::NotFound) << page;

    OpenOptions options;
    options.page = 2;
    Vellum image;
    ASSERT_TRUE(picture.read(image, options));
    EXPECT_TRUE(samePixels(image, noise(3)));
    EXPECT_EQ(onlyCall(Asked::Read).page, 2);
    EXPECT_EQ(PictureFile(path("missing")).lookAt(0).status, FileStatus::NotFound);
}

TEST_F(Pages, LimitsAreForAllPagesTogether)
{
    providePages(3);
    OpenOptions options;
    options.limits = Limits {3 * 35, 3 * 140};
    PageChain pages;
    EXPECT_TRUE(openPages(pages, file(), options));
    options.limits->memory -= 1;
    EXPECT_EQ(openPages(pages, file(), options).status, FileStatus::OverLimit);
    options.limits = Limits {3 * 35 - 1, Limits::kNone};
    EXPECT_EQ(openPages(pages, file(), options).status, FileStatus::OverLimit);
    EXPECT_EQ(pages.count(), 3);
}

TEST_F(Pages, PluginThatWritesPagesIsHandedTheHeadOfTheChain)
{
    recorder().first.writes = {"tif"};
    std::vector<Vellum> written;
    recorder().first.write = [&](const QImage &image, QIODevice *) {
        for (auto *page = Vellum::getVellum(const_cast<QImage *>(&image)); page;
             page = page->getNextImage()) {
            written.push_back(*page);
            for (int y = 0; y < page->height(); ++y) {
                if (!image_constScanLine(page, nullptr, y))
                    return false;
            }
        }
        return true;
    };
    PageChain pages;
    for (const unsigned seed : {1U, 2U, 3U})
        pages.append(noise(seed));
    std::vector<int> percents;
    SaveOptions options;
    options.progress = [&](int percent) {
        percents.push_back(percent);
        return true;
    };

    ASSERT_TRUE(savePages(pages, path("a.tif"), options));

    ASSERT_EQ(written.size(), 3U);
    for (size_t i = 0; i < 3; ++i)
        EXPECT_TRUE(samePixels(written[i], noise(unsigned(i) + 1)));
    EXPECT_TRUE(std::is_sorted(percents.begin(), percents.end()));
    EXPECT_EQ(percents.back(), 100);
}

TEST_F(Pages, GoToADeviceAsTheyGoToAFile)
{
    recorder().first.writes = {"tif"};
    recorder().first.write = [](const QImage &image, QIODevice *device) {
        int count = 0;
        for (auto *page = Vellum::getVellum(const_cast<QImage *>(&image)); page;
             page = page->getNextImage())
            ++count;
        return device->write(QByteArray::number(count)) == 1;
    };
    PageChain pages;
    QBuffer device;
    device.open(QIODevice::WriteOnly);
    SaveOptions options;
    options.format = "tif";
    EXPECT_EQ(savePages(pages, device, options).status, FileStatus::NotAPicture);
    pages.append(noise(1));
    pages.append(noise(2));

    const SaveResult result = savePages(pages, device, options);

    ASSERT_TRUE(result) << result.message.toStdString();
    EXPECT_EQ(result.bytes, 1);
    EXPECT_EQ(device.data(), "2");
}

TEST_F(Pages, OnePageIsSavedWithoutItsNeighbours)
{
    recorder().first.writes = {"tif"};
    bool alone = false;
    recorder().first.write = [&](const QImage &image, QIODevice *) {
        const auto *const page = Vellum::getVellum(const_cast<QImage *>(&image));
        alone = !page->getNextImage() && !page->getPrevImage();
        return true;
    };
    PageChain pages;
    pages.append(noise(1));
    pages.append(noise(2));

    ASSERT_TRUE(saveImage(pages.page(0), path("a.tif")));

    EXPECT_TRUE(alone);
}

TEST_F(Pages, FailureLeavesTheChainAsItWas)
{
    provide({noise(1)});
    recorder().first.read = nullptr;
    PageChain pages;
    pages.append(noise(8));

    EXPECT_EQ(openPages(pages, file()).status, FileStatus::Damaged);

    ASSERT_EQ(pages.count(), 1);
    EXPECT_TRUE(samePixels(pages.page(0), noise(8)));
    EXPECT_EQ(openPages(pages, path("missing")).status, FileStatus::NotFound);
    EXPECT_EQ(pages.count(), 1);
}

TEST_F(Pages, KindOfFileThatHoldsOnePictureTakesOnePage)
{
    recorder().first.writes = {"tif"};
    PageChain pages;
    EXPECT_EQ(savePages(pages, path("a.tif")).status, FileStatus::NotAPicture);
    pages.append(noise(1));
    EXPECT_TRUE(savePages(pages, path("a.tif")));
    pages.append(noise(2));

    const SaveResult result = savePages(pages, path("b.png"));

    EXPECT_EQ(result.status, FileStatus::NotAPicture);
    EXPECT_FALSE(QFile::exists(path("b.png")));
}
