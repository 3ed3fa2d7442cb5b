// What an image from a camera or layered file carries beside its pixels.
#pragma once

#include <QByteArray>
#include <QList>
#include <QPointF>
#include <QRect>
#include <QRgb>
#include <QString>
#include <QVector>

#include <cstdlib>
#include <memory>

/// Colour-space factory of a layered-file reader. The library passes the pointer on and never
/// looks behind it.
class IPsColorSpaceFactory;

/// The EXIF block of a camera file. An image owns its record and the bytes in it.
struct ExifData
{
    char *data; ///< from \c malloc; null when there are none
    int size; ///< bytes in \c data
};

namespace vellum {

/// Deleter for memory from \c malloc.
struct FreeMemory
{
    void operator()(void *memory) const noexcept { std::free(memory); }
};

/// Bytes of a layered file, kept as they were read so that they can be written back unchanged.
struct PsdBlock
{
    std::unique_ptr<char[], FreeMemory> data; ///< from \c malloc; null when there are none
    qint64 size = 0; ///< bytes in \c data
};

/// A block that the reader does not interpret, with the four-character key it was found under.
struct PsdKeyedBlock
{
    QByteArray key; ///< such as "lsct"
    QByteArray data;
};

/// \name Adjustments and contents of a layer, one record each; the name is the layer's own or
/// that of the preset in use
/// @{

struct PsdSolidColor
{
    QString name;
    quint16 components[4] = {}; ///< 16 bits per component, in the document's colour mode
};

struct PsdBrightnessContrast
{
    QString name;
    int brightness = 0; ///< -150 to 150
    int contrast = 0; ///< -50 to 100
};

struct PsdLevels
{
    struct Channel
    {
        int inputFloor = 0; ///< 0 to 253
        int inputCeiling = 255; ///< 2 to 255
        int outputFloor = 0; ///< 0 to 255
        int outputCeiling = 255; ///< 0 to 255
        int gammaPercent = 100; ///< 10 to 999
    };
    QString name;
    QVector<Channel> channels; ///< master first, then the document's channels
};

struct PsdCurves
{
    QString name;
    QVector<QVector<QPointF>> curves; ///< per channel, master first: (input, output), 0 to 255
};

struct PsdExposure
{
    QString name;
    float exposure = 0; ///< stops
    float offset = 0;
    float gamma = 1;
};

struct PsdColorBalance
{
    QString name;
    qint16 shadows[3] = {}; ///< cyan-red, magenta-green, yellow-blue; -100 to 100
    qint16 midtones[3] = {};
    qint16 highlights[3] = {};
    bool preserveLuminosity = true;
};

struct PsdHueSaturation
{
    struct Range
    {
        qint16 bounds[4] = {}; ///< degrees: fall-off start, range start, range end, fall-off end
        qint16 hue = 0; ///< -180 to 180 degrees
        qint16 saturation = 0; ///< -100 to 100
        qint16 lightness = 0; ///< -100 to 100
    };
    QString name;
    QVector<Range> ranges; ///< master first
};

struct PsdPhotoFilter
{
    QString name;
    QRgb color = 0xffec8a00; ///< the warming filter
    int densityPercent = 25;
    bool preserveLuminosity = true;
};

struct PsdGradientMap
{
    struct Stop
    {
        double position = 0; ///< 0 to 1
        QRgb color = 0xff000000; ///< not premultiplied
    };
    QString name;
    QVector<Stop> stops;
};

struct PsdPlacedFile
{
    QString name;
    QString uniqueId; ///< of the embedded or linked file
    QString fileName; ///< as it was placed
};

/// @}

/// A layer's channels and mask, and what its additional-information blocks say of its contents.
///
/// The records are released in the order in which they are numbered, the mask's bytes first.
/// Members of a class are destroyed from the last to the first, hence their order here.
struct PsdChannelsAndMask
{
    std::unique_ptr<PsdPlacedFile> placedFile; // 10
    std::unique_ptr<PsdGradientMap> gradientMap; // 9
    std::unique_ptr<PsdPhotoFilter> photoFilter; // 8
    std::unique_ptr<PsdHueSaturation> hueSaturation; // 7
    std::unique_ptr<PsdColorBalance> colorBalance; // 6
    std::unique_ptr<PsdExposure> exposure; // 5
    std::unique_ptr<PsdCurves> curves; // 4
    std::unique_ptr<PsdLevels> levels; // 3
    std::unique_ptr<PsdBrightnessContrast> brightnessContrast; // 2
    std::unique_ptr<PsdSolidColor> solidColor; // 1
    PsdBlock mask; ///< 8-bit grey samples of \c maskBounds, row by row without padding

    QRect maskBounds; ///< in the document; empty when there is no mask
    quint8 maskDefault = 255; ///< value outside \c maskBounds
    bool maskEnabled = true;
};

/// The vector mask of a layer: closed and open paths of Bézier knots.
struct PsdVectorMask
{
    struct Path
    {
        bool closed = true;
        QVector<QPointF> points; ///< per knot: control in, anchor, control out; 0 to 1 of the size
    };
    QList<Path> paths;
};

/// Blocks that no record describes.
struct PsdUnknownBlocks
{
    QVector<PsdKeyedBlock> blocks; ///< in file order
};

/// How a layer blends with what lies below it, and its effects.
///
/// Released from \c blendingRanges to \c unknown: members are destroyed from the last to the
/// first.
struct PsdBlendingAndEffects
{
    std::unique_ptr<PsdUnknownBlocks> unknown;
    PsdBlock metadata;
    PsdBlock patterns;
    std::unique_ptr<PsdVectorMask> vectorMask;
    PsdBlock effects;
    PsdBlock blendingRanges; ///< "this layer" and "underlying layer" ranges, as in the file

    quint8 fillOpacity = 255; ///< 0 to 255; does not apply to the effects
    bool knockout = false;
    bool blendInteriorEffects = false;
};

} // namespace vellum

/// One layer of a layered file. A reader fills it, an image owns it, a writer reads it.
///
/// Deleting the record releases \c channelsAndMask first, then \c blendingAndEffects, then the
/// record itself.
struct PsdLayerData
{
    QString name;
    QRect bounds; ///< in the document, in pixels
    quint8 opacity = 255; ///< 0 to 255
    QByteArray blendModeKey = QByteArrayLiteral("norm"); ///< four characters
    bool visible = true;
    bool clipping = false; ///< clipped to the layer below
    bool transparencyLocked = false;
    int group = -1; ///< index into the image's layer groups; -1 for none
    qint64 encodedSize = 0; ///< bytes the encoder reported when only the size was asked for

    // Destroyed from the last to the first; see above.
    std::unique_ptr<vellum::PsdBlendingAndEffects> blendingAndEffects;
    std::unique_ptr<vellum::PsdChannelsAndMask> channelsAndMask;
};

/// One group ("folder") of layers.
struct PsdGroupData
{
    QString name;
    qint64 id = 0;
    QString blendModeKey = QStringLiteral("pass");
    int parent = -1; ///< index of the enclosing group; -1 for none
    int firstLayer = -1; ///< index of the lowest layer in it; -1 when it is empty
    int layerCount = 0;
    quint8 opacity = 255;
    bool visible = true;
    bool expanded = true;
};
