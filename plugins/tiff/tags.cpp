#include "tiff/tags.h"

#include "shared/exif.h"
#include "shared/xmp.h"
#include "tiff/channelnames.h"
#include "tiff/exifblock.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vellum::plugin::tiff {

namespace {

constexpr double kMetersPerInch = 0.0254;
constexpr double kMetersPerCentimeter = 0.01;

struct TextTag
{
    ttag_t tag;
    const char *key; ///< as PNG files name it
};

constexpr TextTag kTextTags[] = {
    {TIFFTAG_IMAGEDESCRIPTION, "Description"},
    {TIFFTAG_DOCUMENTNAME, "Title"},
    {TIFFTAG_ARTIST, "Author"},
    {TIFFTAG_COPYRIGHT, "Copyright"},
    {TIFFTAG_SOFTWARE, "Software"},
    {TIFFTAG_DATETIME, "Creation Time"},
    {TIFFTAG_PAGENAME, "Page Name"},
};

/// What an EXIF block repeats of the picture's own directory.
constexpr quint16 kRepeated[] = {TIFFTAG_IMAGEDESCRIPTION, TIFFTAG_MAKE,        TIFFTAG_MODEL,
                                 TIFFTAG_ORIENTATION,      TIFFTAG_XRESOLUTION, TIFFTAG_YRESOLUTION,
                                 TIFFTAG_SOFTWARE,         TIFFTAG_DATETIME,    TIFFTAG_ARTIST,
                                 TIFFTAG_RESOLUTIONUNIT,   TIFFTAG_COPYRIGHT};

constexpr int kInteroperabilityTag = 0xa005; // in an EXIF directory

QString decoded(const QByteArray &text)
{
    const QString utf8 = QString::fromUtf8(text);
    return utf8.contains(QChar::ReplacementCharacter) ? QString::fromLatin1(text) : utf8;
}

QByteArray blob(TIFF *tiff, ttag_t tag)
{
    quint32 bytes = 0;
    void *data = nullptr;
    if (!TIFFGetField(tiff, tag, &bytes, &data) || !data ||
        bytes > quint32(std::numeric_limits<int>::max()))
        return {};
    return {static_cast<const char *>(data), int(bytes)};
}

int rounded(double value)
{
    constexpr double kMost = std::numeric_limits<int>::max();
    return value > -kMost && value < kMost ? int(std::lround(value)) : 0;
}

double number(TIFF *tiff, ttag_t tag)
{
    float value = 0;
    return TIFFGetField(tiff, tag, &value) ? double(value) : 0;
}

void readResolution(TIFF *tiff, Picture &picture)
{
    quint16 unit = RESUNIT_INCH;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_RESOLUTIONUNIT, &unit);
    const double x = number(tiff, TIFFTAG_XRESOLUTION);
    const double y = number(tiff, TIFFTAG_YRESOLUTION);
    // Without a resolution, positions are counted in units that say nothing about pixels.
    picture.offset = QPoint(rounded(number(tiff, TIFFTAG_XPOSITION) * x),
                            rounded(number(tiff, TIFFTAG_YPOSITION) * y));
    if (unit == RESUNIT_NONE)
        return; // only the ratio is known
    const double meters = unit == RESUNIT_CENTIMETER ? kMetersPerCentimeter : kMetersPerInch;
    picture.dotsPerMeterX = qMax(0, rounded(x / meters));
    picture.dotsPerMeterY = qMax(0, rounded(y / meters));
}

/// Dots per inch where that is a whole number, which most programs expect, else per centimetre.
void writeResolution(TIFF *tiff, const Picture &picture)
{
    const int x = picture.dotsPerMeterX;
    const int y = picture.dotsPerMeterY;
    if (x <= 0 || y <= 0)
        return;
    const auto inches = [](int dots) { return double(std::lround(dots * kMetersPerInch)); };
    const auto areWhole = [&](int dots) {
        return std::lround(inches(dots) / kMetersPerInch) == dots;
    };
    const bool inInches = areWhole(x) && areWhole(y);
    const double perUnitX = inInches ? inches(x) : x * kMetersPerCentimeter;
    const double perUnitY = inInches ? inches(y) : y * kMetersPerCentimeter;
    TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, inInches ? RESUNIT_INCH : RESUNIT_CENTIMETER);
    TIFFSetField(tiff, TIFFTAG_XRESOLUTION, perUnitX);
    TIFFSetField(tiff, TIFFTAG_YRESOLUTION, perUnitY);
    if (picture.offset.x() >= 0 && picture.offset.y() >= 0 && !picture.offset.isNull()) {
        TIFFSetField(tiff, TIFFTAG_XPOSITION, picture.offset.x() / perUnitX);
        TIFFSetField(tiff, TIFFTAG_YPOSITION, picture.offset.y() / perUnitY);
    }
}

/// Names of inks beyond the four, and of channels as image-editing programs keep them.
QStringList extraNames(TIFF *tiff, const Layout &layout)
{
    QStringList names = channelNamesOf(blob(tiff, TIFFTAG_PHOTOSHOP));
    const char *inks = nullptr;
    quint16 inkCount = 0;
    if (names.isEmpty() && TIFFGetField(tiff, TIFFTAG_INKNAMES, &inks) && inks &&
        TIFFGetField(tiff, TIFFTAG_NUMBEROFINKS, &inkCount)) {
        for (int ink = 0; ink < inkCount; ++ink, inks += qstrlen(inks) + 1) {
            if (ink >= layout.colors)
                names.append(decoded(inks));
        }
    }
    // The alpha channel of the image is named too, first.
    if (layout.alpha >= 0 && names.size() > layout.extras.size())
        names.removeFirst();
    return names.mid(0, layout.extras.size());
}

Ifd repeatedIn(const Ifd &directory)
{
    Ifd kept;
    std::copy_if(directory.begin(), directory.end(), std::back_inserter(kept),
                 [](const IfdEntry &entry) {
                     return std::find(std::begin(kRepeated), std::end(kRepeated), entry.tag) !=
                         std::end(kRepeated);
                 });
    return kept;
}

/// Appends \a ifd to the stream. \return where it stands; 0 when the stream fails
quint64 appendIfd(WriteStream &stream, const Ifd &ifd, const FileForm &form)
{
    quint64 end = stream.seek(0, SEEK_END);
    if (end % 2 != 0) { // directories start at even bytes
        if (stream.write("", 1) != 1)
            return 0;
        ++end;
    }
    const QByteArray bytes = ifdBytes(ifd, form, end);
    return stream.write(bytes.constData(), bytes.size()) == bytes.size() ? end : 0;
}

} // namespace

void readTags(TIFF *tiff, const Layout &layout, Picture &picture)
{
    picture.icc = blob(tiff, TIFFTAG_ICCPROFILE);
    readResolution(tiff, picture);
    quint16 orientation = ORIENTATION_TOPLEFT;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_ORIENTATION, &orientation);
    picture.transformation = transformationOf(orientation);
    for (const TextTag &tag : kTextTags) {
        const char *text = nullptr;
        if (TIFFGetField(tiff, tag.tag, &text) && text && *text)
            picture.texts.append({QLatin1String(tag.key), decoded(text)});
    }
    const QString xmp = xmpText(blob(tiff, TIFFTAG_XMLPACKET));
    if (!xmp.isEmpty())
        picture.texts.append({QLatin1String(kXmpKey), xmp});
    picture.extraNames = extraNames(tiff, layout);
}

void writeTags(TIFF *tiff, const Picture &picture, bool hasAlpha)
{
    if (!picture.icc.isEmpty())
        TIFFSetField(tiff, TIFFTAG_ICCPROFILE, quint32(picture.icc.size()),
                     picture.icc.constData());
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    writeResolution(tiff, picture);
    for (const Text &text : picture.texts) {
        for (const TextTag &tag : kTextTags) {
            if (text.key == QLatin1String(tag.key))
                TIFFSetField(tiff, tag.tag, text.value.toUtf8().constData());
        }
        if (text.key == QLatin1String(kXmpKey)) {
            const QByteArray packet = xmpPacket(text.value);
            if (packet.isEmpty())
                qCWarning(lcTiff) << "XMP is left out: it has more than" << kMostXmpBytes
                                  << "bytes";
            else
                TIFFSetField(tiff, TIFFTAG_XMLPACKET, quint32(packet.size()), packet.constData());
        }
    }
    if (!picture.extraNames.isEmpty()) {
        QStringList names = picture.extraNames.mid(0, picture.extraChannels);
        if (hasAlpha)
            names.prepend(QStringLiteral("Transparency"));
        const QByteArray resources = resourcesWith(names);
        TIFFSetField(tiff, TIFFTAG_PHOTOSHOP, quint32(resources.size()), resources.constData());
    }
}

QByteArray readExif(const Directory &directory, TIFF *tiff)
{
    toff_t exif = 0;
    toff_t gps = 0;
    TIFFGetField(tiff, TIFFTAG_EXIFIFD, &exif);
    TIFFGetField(tiff, TIFFTAG_GPSIFD, &gps);
    if (exif == 0 && gps == 0)
        return {};
    Stream stream(directory.device, directory.start);
    const FileForm form = readForm(stream);
    ExifDirectories found;
    found.bigEndian = form.bigEndian;
    found.picture = repeatedIn(readIfd(stream, form, directory.offset));
    if (exif != 0)
        found.exif = readIfd(stream, form, exif);
    if (gps != 0)
        found.gps = readIfd(stream, form, gps);
    if (const quint64 offset = ifdNumber(found.exif, kInteroperabilityTag, form.bigEndian)) {
        found.interoperability = readIfd(stream, form, offset);
        const auto isLink = [](const IfdEntry &entry) { return entry.tag == kInteroperabilityTag; };
        found.exif.erase(std::remove_if(found.exif.begin(), found.exif.end(), isLink),
                         found.exif.end());
    }
    return exifBlockOf(found);
}

bool writeExif(TIFF *tiff, WriteStream &stream, const QByteArray &block, bool big)
{
    const FileForm form {Q_BYTE_ORDER == Q_BIG_ENDIAN, big};
    ExifDirectories found = exifDirectoriesOf(block, form.bigEndian);
    for (const IfdEntry &entry : found.picture) {
        constexpr int kText = 2; // the type of texts
        const char *present = nullptr;
        const bool isRepeated =
            std::find(std::begin(kRepeated), std::end(kRepeated), entry.tag) != std::end(kRepeated);
        if (isRepeated && entry.type == kText && !TIFFGetField(tiff, entry.tag, &present))
            TIFFSetField(tiff, entry.tag, entry.value.constData());
    }
    if (!found.interoperability.empty()) {
        const quint64 offset = appendIfd(stream, found.interoperability, form);
        if (offset == 0)
            return false;
        const auto at = quint32(offset);
        constexpr quint16 kLong = 4;
        if (at == offset) { // behind 4 GiB of pages an EXIF directory cannot refer to it
            found.exif.push_back({kInteroperabilityTag, kLong, 1,
                                  QByteArray(reinterpret_cast<const char *>(&at), sizeof at)});
        }
    }
    const auto link = [&](ttag_t tag, const Ifd &ifd) {
        if (ifd.empty())
            return true;
        const quint64 offset = appendIfd(stream, ifd, form);
        return offset != 0 && TIFFSetField(tiff, tag, toff_t(offset)) == 1;
    };
    return link(TIFFTAG_EXIFIFD, found.exif) && link(TIFFTAG_GPSIFD, found.gps);
}

} // namespace vellum::plugin::tiff
