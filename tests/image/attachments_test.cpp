// EXIF, layer and group records. LeakSanitizer proves that what is released is released, and
// AddressSanitizer that it is released once.

#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <support/images.h>

using namespace vellum::test;

namespace {

char *mallocedBytes(int size, char value = 0x5a)
{
    auto *const bytes = static_cast<char *>(std::malloc(size_t(size)));
    std::memset(bytes, value, size_t(size));
    return bytes;
}

vellum::PsdBlock block(int size)
{
    vellum::PsdBlock made;
    made.data.reset(mallocedBytes(size));
    made.size = size;
    return made;
}

/// A layer record with everything in it that is owned.
std::unique_ptr<PsdLayerData> fullLayer()
{
    using namespace vellum;
    auto layer = std::make_unique<PsdLayerData>();
    layer->name = QStringLiteral("layer");
    layer->blendModeKey = "mul ";
    layer->channelsAndMask = std::make_unique<PsdChannelsAndMask>();
    PsdChannelsAndMask &mask = *layer->channelsAndMask;
    mask.mask = block(100);
    mask.solidColor = std::make_unique<PsdSolidColor>();
    mask.solidColor->name = QStringLiteral("a name too long to be kept without memory of its own");
    mask.brightnessContrast = std::make_unique<PsdBrightnessContrast>();
    mask.levels = std::make_unique<PsdLevels>();
    mask.levels->channels.resize(4);
    mask.curves = std::make_unique<PsdCurves>();
    mask.curves->curves.append({QPointF(0, 0), QPointF(255, 255)});
    mask.exposure = std::make_unique<PsdExposure>();
    mask.colorBalance = std::make_unique<PsdColorBalance>();
    mask.hueSaturation = std::make_unique<PsdHueSaturation>();
    mask.hueSaturation->ranges.resize(7);
    mask.photoFilter = std::make_unique<PsdPhotoFilter>();
    mask.gradientMap = std::make_unique<PsdGradientMap>();
    mask.gradientMap->stops.resize(2);
    mask.placedFile = std::make_unique<PsdPlacedFile>();
    mask.placedFile->name = QString::number(1);
    mask.placedFile->uniqueId = QString::number(2);
    mask.placedFile->fileName = QString::number(3);
    layer->blendingAndEffects = std::make_unique<PsdBlendingAndEffects>();
    PsdBlendingAndEffects &effects = *layer->blendingAndEffects;
    effects.blendingRanges = block(40);
    effects.effects = block(50);
    effects.vectorMask = std::make_unique<PsdVectorMask>();
    effects.vectorMask->paths.append(PsdVectorMask::Path {true, {QPointF(0, 1), QPointF(1, 0)}});
    effects.patterns = block(60);
    effects.metadata = block(70);
    effects.unknown = std::make_unique<PsdUnknownBlocks>();
    effects.unknown->blocks.append(PsdKeyedBlock {"lsct", "data"});
    return layer;
}

QList<PsdGroupData> groups(int count)
{
    QList<PsdGroupData> list;
    for (int i = 0; i < count; ++i) {
        PsdGroupData group;
        group.name = QString::number(i);
        list.append(group);
    }
    return list;
}

class Attachments : public testing::TestWithParam<Storage>
{
protected:
    Vellum image() const { return makeNoise(5, 4, QImage::Format_RGB32, GetParam()); }
};

TEST_P(Attachments, ExifIsTheImages)
{
    Vellum image = this->image();
    char *const bytes = mallocedBytes(10);

    image.setExifData(bytes, 10);

    ASSERT_NE(image.getExifData(), nullptr);
    EXPECT_EQ(image.getExifData()->data, bytes);
    EXPECT_EQ(image.getExifData()->size, 10);
    EXPECT_EQ(bytes[9], 0x5a);
}

TEST_P(Attachments, SecondExifReplacesTheFirst)
{
    Vellum image = this->image();
    image.setExifData(mallocedBytes(10), 10);
    const ExifData *const record = image.getExifData();

    char *const second = mallocedBytes(7);
    image.setExifData(second, 7);

    EXPECT_EQ(image.getExifData(), record);
    EXPECT_EQ(record->data, second);
    EXPECT_EQ(record->size, 7);
}

TEST_P(Attachments, SameExifBufferOnlyChangesTheSize)
{
    Vellum image = this->image();
    char *const bytes = mallocedBytes(10);
    image.setExifData(bytes, 10);

    image.setExifData(bytes, 4);

    EXPECT_EQ(image.getExifData()->data[9], 0x5a);
    EXPECT_EQ(image.getExifData()->size, 4);
}

TEST_P(Attachments, ExifCanBeEmptied)
{
    Vellum image = this->image();
    image.setExifData(mallocedBytes(10), 10);

    image.setExifData(nullptr, 0);

    ASSERT_NE(image.getExifData(), nullptr);
    EXPECT_EQ(image.getExifData()->data, nullptr);
    EXPECT_EQ(image.getExifData()->size, 0);
}

TEST_P(Attachments, LastHolderReleasesItsOwn)
{
    std::optional<Vellum> first(image());
    Vellum last = *first;
    first.reset();

    last.setExifData(mallocedBytes(10), 10);
    last.setPsdLayerData(fullLayer().release());
}

// While others share the pixels the records are not released: callers may have taken them.
TEST_P(Attachments, HolderThatGoesEarlyForgetsItsOwn)
{
    std::optional<Vellum> first(image());
    const Vellum last = *first;
    first->setExifData(mallocedBytes(10), 10);
    first->setPsdLayerData(fullLayer().release());
    ExifData *const exif = first->getExifData();
    const std::unique_ptr<PsdLayerData> layer(first->getPsdLayerData());

    first.reset();

    EXPECT_EQ(exif->data[9], 0x5a);
    EXPECT_EQ(layer->name, "layer");
    std::free(exif->data);
    delete exif;
}

TEST_P(Attachments, AllocBufferAndMetadataKeepThem)
{
    Vellum image = this->image();
    image.setExifData(mallocedBytes(10), 10);
    image.setPsdLayerData(fullLayer().release());

    ASSERT_TRUE(image.alloc_buffer(image.bytesPerLine(), 4));
    image.setText("key", "value");
    image.setFormat(QImage::Format_ARGB32);

    EXPECT_EQ(image.getExifData()->size, 10);
    EXPECT_EQ(image.getPsdLayerData()->name, "layer");
}

TEST_P(Attachments, ImageThatLostItsPixelsReleasesThem)
{
    Vellum image = this->image();
    image.setExifData(mallocedBytes(10), 10);
    image.setPsdLayerData(fullLayer().release());

    EXPECT_FALSE(image.alloc_buffer(-1, 4));

    EXPECT_TRUE(image.isNull());
    EXPECT_EQ(image.getExifData()->size, 10);
}

TEST_P(Attachments, LayerIsReleasedWithEverythingInIt)
{
    Vellum image = this->image();
    PsdLayerData *const layer = fullLayer().release();

    image.setPsdLayerData(layer);

    EXPECT_EQ(image.getPsdLayerData(), layer);
}

TEST_P(Attachments, SecondLayerReplacesTheFirst)
{
    Vellum image = this->image();
    image.setPsdLayerData(fullLayer().release());
    PsdLayerData *const second = fullLayer().release();

    image.setPsdLayerData(second);

    EXPECT_EQ(image.getPsdLayerData(), second);
}

TEST_P(Attachments, LayerThatIsThereAlreadyStays)
{
    Vellum image = this->image();
    PsdLayerData *const layer = fullLayer().release();
    image.setPsdLayerData(layer);

    image.setPsdLayerData(layer);

    EXPECT_EQ(image.getPsdLayerData()->channelsAndMask->mask.data[99], 0x5a);
}

TEST_P(Attachments, LayerCanBeTakenAway)
{
    Vellum image = this->image();
    image.setPsdLayerData(nullptr);
    EXPECT_EQ(image.getPsdLayerData(), nullptr);
    image.setPsdLayerData(fullLayer().release());
    image.setPsdLayerData(nullptr);
    EXPECT_EQ(image.getPsdLayerData(), nullptr);
}

TEST_P(Attachments, GroupsAreACopy)
{
    Vellum image = this->image();
    QList<PsdGroupData> list = groups(3);

    image.setLayerGroup(list);
    list[0].name = QStringLiteral("changed");
    list.removeLast();

    ASSERT_EQ(image.getLayerGroup().size(), 3);
    EXPECT_EQ(image.getLayerGroup().first().name, "0");
}

TEST_P(Attachments, GroupsAreHandedOutToBeChanged)
{
    Vellum image = this->image();
    QList<PsdGroupData> list = groups(2);
    image.setLayerGroup(list);

    image.getLayerGroup()[1].name = QStringLiteral("changed");
    image.getLayerGroup().append(PsdGroupData {});

    EXPECT_EQ(image.getLayerGroup().size(), 3);
    EXPECT_EQ(image.getLayerGroup()[1].name, "changed");
    EXPECT_EQ(list.size(), 2);
    EXPECT_EQ(list[1].name, "1");
}

TEST_P(Attachments, GroupsAreReplaced)
{
    Vellum image = this->image();
    QList<PsdGroupData> first = groups(3);
    QList<PsdGroupData> second = groups(1);
    image.setLayerGroup(first);

    image.setLayerGroup(second);
    EXPECT_EQ(image.getLayerGroup().size(), 1);
    image.setLayerGroup(image.getLayerGroup());
    EXPECT_EQ(image.getLayerGroup().size(), 1);
}

TEST_P(Attachments, FactoryIsKeptUnseen)
{
    auto *const factory = reinterpret_cast<IPsColorSpaceFactory *>(16); // nothing lies there
    Vellum image = this->image();

    image.setColorSpaceFactory(factory);

    EXPECT_EQ(image.getColorSpaceFactory(), factory);
}

INSTANTIATE_TEST_SUITE_P(Storages, Attachments, testing::ValuesIn(kStorages),
                         testing::PrintToStringParamName());

TEST(Attachments, NullImageReleasesItsOwn)
{
    Vellum image;
    image.setExifData(mallocedBytes(10), 10);
    image.setPsdLayerData(fullLayer().release());
    EXPECT_EQ(image.getExifData()->size, 10);
}

// Members go from the last to the first: their addresses give the order of release.
TEST(Attachments, RecordsAreReleasedInTheirOrder)
{
    const std::unique_ptr<PsdLayerData> layer = fullLayer();
    const vellum::PsdChannelsAndMask &m = *layer->channelsAndMask;
    const vellum::PsdBlendingAndEffects &e = *layer->blendingAndEffects;

    const std::initializer_list<std::initializer_list<const void *>> orders = {
        {&layer->channelsAndMask, &layer->blendingAndEffects},
        {&m.mask, &m.solidColor, &m.brightnessContrast, &m.levels, &m.curves, &m.exposure,
         &m.colorBalance, &m.hueSaturation, &m.photoFilter, &m.gradientMap, &m.placedFile},
        {&e.blendingRanges, &e.effects, &e.vectorMask, &e.patterns, &e.metadata, &e.unknown},
    };
    for (const auto &order : orders) {
        for (const void *const *p = order.begin(); p + 1 != order.end(); ++p)
            EXPECT_GT(*p, *(p + 1)) << p - order.begin();
    }
}

TEST(Attachments, LayerDataCanBeMadeWithDefaults)
{
    const PsdLayerData layer {};
    const PsdGroupData group {};
    EXPECT_EQ(layer.encodedSize, 0);
    EXPECT_EQ(layer.channelsAndMask, nullptr);
    EXPECT_EQ(layer.blendingAndEffects, nullptr);
    EXPECT_TRUE(group.name.isEmpty());
}

TEST(Attachments, LayerOfTheFirstInAChainIsItsOwn)
{
    Vellum head(2, 2, QImage::Format_RGB32);
    Vellum next(2, 2, QImage::Format_RGB32);
    head.setNextImage(&next);
    next.setPsdLayerData(fullLayer().release());
    EXPECT_EQ(head.getPsdLayerData(), nullptr);
}

} // namespace
