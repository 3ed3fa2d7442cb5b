#include "jpeg/markers.h"

#include "jpeg/errors.h"
#include "jpeg/xmpmarkers.h"
#include "shared/exif.h"
#include "shared/xmp.h"

#include <cmath>

namespace vellum::plugin {

namespace {

constexpr int kExifMarker = JPEG_APP0 + 1; // also of XMP
constexpr int kProfileMarker = JPEG_APP0 + 2;
constexpr int kMostMarkerBytes = 65533;
constexpr double kMetersPerInch = 0.0254;

enum DensityUnit { kNoUnit = 0, kPerInch = 1, kPerCentimeter = 2 };

const QByteArray &exifPrefix()
{
    static const QByteArray prefix("Exif\0\0", 6);
    return prefix;
}

const QString kDescription = QStringLiteral("Description");
const QString kSeparator = QStringLiteral(": ");

QString decoded(const QByteArray &bytes)
{
    const QString text = QString::fromUtf8(bytes);
    return text.toUtf8() == bytes ? text : QString::fromLatin1(bytes);
}

/// Place of the separator behind the key that \a comment starts with; -1 when it has none.
int keyEnd(const QString &comment)
{
    constexpr int kLongestKey = 79; // as in PNG
    const int end = comment.left(kLongestKey + kSeparator.size()).indexOf(kSeparator);
    return end > 0 && !comment.left(end).contains(QLatin1Char('\n')) ? end : -1;
}

void addText(QVector<Text> &texts, const QString &key, const QString &value)
{
    for (Text &text : texts) {
        if (text.key == key) {
            text.value += QLatin1Char('\n') + value;
            return;
        }
    }
    texts.append({key, value});
}

void addComment(QVector<Text> &texts, QByteArray bytes)
{
    while (bytes.endsWith('\0')) // some writers count the end of a C string
        bytes.chop(1);
    const QString comment = decoded(bytes);
    const int end = keyEnd(comment);
    if (end > 0)
        addText(texts, comment.left(end), comment.mid(end + kSeparator.size()));
    else if (!comment.isEmpty())
        addText(texts, kDescription, comment);
}

QByteArray commentOf(const Text &text)
{
    const bool isBare = text.key == kDescription && keyEnd(text.value) < 0;
    return (isBare ? text.value : text.key + kSeparator + text.value).toUtf8();
}

int dotsPerMeter(int density, int unit)
{
    return unit == kPerInch ? int(std::lround(density / kMetersPerInch)) : density * 100;
}

} // namespace

void keepMarkers(jpeg_decompress_struct &codec)
{
    constexpr unsigned int kWhole = 0xffff;
    for (const int marker : {kExifMarker, kProfileMarker, int(JPEG_COM)})
        jpeg_save_markers(&codec, marker, kWhole);
}

void readMarkers(const jpeg_decompress_struct &codec, Picture &picture)
{
    XmpMarkers xmp;
    for (auto *marker = codec.marker_list; marker; marker = marker->next) {
        const QByteArray bytes(reinterpret_cast<const char *>(marker->data),
                               int(marker->data_length));
        if (marker->marker == JPEG_COM)
            addComment(picture.texts, bytes);
        else if (marker->marker == kExifMarker && !xmp.take(bytes) && picture.exif.isEmpty())
            picture.exif = exifBlock(bytes);
    }
    const QString packet = xmp.text();
    if (!packet.isEmpty())
        addText(picture.texts, QLatin1String(kXmpKey), packet);
    picture.transformation = exifTransformation(picture.exif);

    if (codec.saw_JFIF_marker && codec.density_unit != kNoUnit) {
        picture.dotsPerMeterX = dotsPerMeter(codec.X_density, codec.density_unit);
        picture.dotsPerMeterY = dotsPerMeter(codec.Y_density, codec.density_unit);
    } else {
        const ExifResolution resolution = exifResolution(picture.exif);
        picture.dotsPerMeterX = resolution.dotsPerMeterX;
        picture.dotsPerMeterY = resolution.dotsPerMeterY;
    }
}

std::vector<Marker> markersOf(const Picture &picture)
{
    std::vector<Marker> markers;
    const auto add = [&](int code, const QByteArray &bytes, const QString &what) {
        if (bytes.size() <= kMostMarkerBytes)
            markers.push_back({code, bytes});
        else
            qCWarning(jpegLog).noquote() << what << "is left out: JPEG has room for 65533 bytes";
    };
    if (!picture.exif.isEmpty())
        add(kExifMarker, exifPrefix() + picture.exif, QStringLiteral("EXIF"));
    for (const Text &text : picture.texts) {
        if (text.key != QLatin1String(kXmpKey)) {
            add(JPEG_COM, commentOf(text), text.key);
            continue;
        }
        for (const QByteArray &content : xmpMarkersOf(text.value))
            add(kExifMarker, content, QStringLiteral("XMP"));
    }
    return markers;
}

void setResolution(jpeg_compress_struct &codec, const Picture &picture)
{
    constexpr double kMost = 65535; // in either unit
    const double x = picture.dotsPerMeterX;
    const double y = picture.dotsPerMeterY;
    if (x <= 0 || y <= 0 || qMax(x, y) / 100 > kMost)
        return;
    const auto error = [&](double perUnit) {
        return std::abs(std::round(x * perUnit) / perUnit - x) +
            std::abs(std::round(y * perUnit) / perUnit - y);
    };
    const bool inInches =
        qMax(x, y) * kMetersPerInch <= kMost && error(kMetersPerInch) <= error(0.01) + 0.5;
    const double unit = inInches ? kMetersPerInch : 0.01;
    codec.density_unit = inInches ? kPerInch : kPerCentimeter;
    codec.X_density = UINT16(qBound(1.0, std::round(x * unit), kMost));
    codec.Y_density = UINT16(qBound(1.0, std::round(y * unit), kMost));
}

} // namespace vellum::plugin
