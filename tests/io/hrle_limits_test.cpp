// HRLE files where memory is short: each test limits the address space of a child process.

#include <QBuffer>
#include <QDataStream>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <support/hrle.h>
#include <support/images.h>
#include <sys/resource.h>

using namespace vellum::test;

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true; // the shadow memory alone passes any limit
#else
constexpr bool kSanitized = false;
#endif

/// Leaves the process \a bytes of address space beside what it uses.
bool limitMemory(qint64 bytes)
{
    std::FILE *const file = std::fopen("/proc/self/statm", "r");
    long long pages = 0;
    const bool known = file && std::fscanf(file, "%lld", &pages) == 1;
    if (file)
        std::fclose(file);
    const rlim_t limit = rlim_t(pages * 4096 + bytes);
    const rlimit limits = {limit, limit};
    return known && setrlimit(RLIMIT_AS, &limits) == 0;
}

class HrleLimits : public testing::Test
{
protected:
    void SetUp() override
    {
        if (kSanitized)
            GTEST_SKIP() << "address space cannot be limited under a sanitizer";
        GTEST_FLAG_SET(death_test_style, "threadsafe");
    }
};

using HrleLimitsDeathTest = HrleLimits;

// 45000 x 45000 pixels ask for a buffer of 193 MiB.
TEST_F(HrleLimitsDeathTest, EncodingBufferThatCannotBeHadFailsAfterTheFileHeader)
{
    EXPECT_EXIT(
        {
            const Vellum image = makeUntouchable(45000, 45000, QImage::Format_Grayscale8);
            QBuffer buffer;
            buffer.open(QIODevice::WriteOnly);
            QDataStream stream(&buffer);
            const bool ready = !image.isNull() && limitMemory(100 << 20);
            const bool written = HrleHandler().writeStream(stream, image);
            std::exit(ready && !written && buffer.data().size() == 14 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(HrleLimitsDeathTest, PixelsThatCannotBeHadMakeTheImageNull)
{
    EXPECT_EXIT(
        {
            QByteArray file = runLengthFile(32768, 32768, run(32768, 1) + endRow(32768));
            QBuffer buffer(&file);
            buffer.open(QIODevice::ReadOnly);
            QDataStream stream(&buffer);
            Vellum image(3, 3, QImage::Format_RGB32);
            const bool ready = limitMemory(100 << 20);
            const bool read = HrleHandler().readStream(stream, image);
            std::exit(ready && !read && image.isNull() ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(HrleLimitsDeathTest, CountThatTheFileDoesNotHoldIsNotAllocated)
{
    EXPECT_EXIT(
        {
            QByteArray file =
                HrleFields(4, 1, 1).bytes() + le32(0xfffffff0) + run(4, 7) + endRow(1);
            QBuffer buffer(&file);
            buffer.open(QIODevice::ReadOnly);
            QDataStream stream(&buffer);
            Vellum image;
            const bool ready = limitMemory(100 << 20);
            const bool read = HrleHandler().readStream(stream, image);
            std::exit(ready && read && rowsOf(image) == Rows({"\7\7\7\7"}) ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace
