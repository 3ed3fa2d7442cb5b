#include <support/images.h>

using namespace vellum::test;

namespace {

using Param = std::tuple<QImage::Format, Storage>;

class RowAccess : public testing::TestWithParam<Param>
{
};

TEST_P(RowAccess, RowsOutsideTheImageAreNull)
{
    const auto [format, storage] = GetParam();
    Vellum image = makeNoise(13, 7, format, storage);
    const Vellum &constImage = image;

    for (const int y :
         {-1, 7, 8, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        EXPECT_EQ(image.scanLineEx(y), nullptr) << y;
        EXPECT_EQ(constImage.scanLineEx(y), nullptr) << y;
        EXPECT_EQ(image_scanLine(&image, nullptr, y), nullptr) << y;
        EXPECT_EQ(image_constScanLine(&image, nullptr, y), nullptr) << y;
        EXPECT_EQ(image_scanLine_reverse(&image, nullptr, y), nullptr) << y;
        EXPECT_EQ(image_constScanLine_reverse(&image, nullptr, y), nullptr) << y;
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, RowAccess,
                         testing::Combine(testing::ValuesIn(allFormats()),
                                          testing::ValuesIn(kStorages)),
                         caseName);

} // namespace
