#include "shared/target.h"

#include "shared/colorinput.h"
#include "shared/pixelrows.h"
#include "shared/texts.h"
#include <vellum/vellum.h>

#include <QColorSpace>
#include <private/qimage_p.h>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace vellum::plugin {

namespace {

/// What every QImage has when nobody told it better.
int defaultDotsPerMeter() { return QImage(1, 1, QImage::Format_Mono).dotsPerMeterX(); }

QColorSpace colorSpaceOf(const Picture &picture)
{
    if (!picture.icc.isEmpty())
        return QColorSpace::fromIccProfile(picture.icc);
    return picture.isSrgb ? QColorSpace(QColorSpace::SRgb) : QColorSpace();
}

} // namespace

ReadTarget::ReadTarget(QImage *image) : m_image(image), m_vellum(Vellum::getVellum(image)) { }

unsigned int ReadTarget::readOptions() const { return m_vellum ? m_vellum->getReadOptions() : 0; }

bool ReadTarget::prepare(const QSize &size, QImage::Format format)
{
    const bool fits = m_image->size() == size && m_image->format() == format;
    if (!m_vellum) {
        if (!fits)
            *m_image = QImage(size, format);
        return !m_image->isNull();
    }
    if (fits && m_vellum->storedBytesPerLine() >= rowBytes(size.width(), m_vellum->depth()))
        return true;
    releaseExif();
    return Vellum::create(*m_vellum, size.width(), size.height(), format);
}

uchar *ReadTarget::row(int y) { return image_scanLine(m_vellum, m_image, y); }

uchar *ReadTarget::rowFromBelow(int y) { return image_scanLine_reverse(m_vellum, m_image, y); }

uchar *ReadTarget::unpolledRow(int y)
{
    return m_vellum ? m_vellum->scanLineEx(y) : m_image->scanLine(y);
}

bool ReadTarget::poll(int position) const { return image_progress(m_vellum, position); }

uchar *ReadTarget::allocateChannels(int channels, int bits, int &stride)
{
    if (!m_vellum)
        return nullptr;
    m_vellum->freeChannelsData();
    return channels > 0 ? m_vellum->allocChannelsData(channels, bits, stride) : nullptr;
}

/// Vellum hides QImage's setters with ones that know big images; none of them is virtual.
template <typename Set>
void ReadTarget::withImage(Set set)
{
    m_vellum ? set(*m_vellum) : set(*m_image);
}

void ReadTarget::describe(const Picture &picture)
{
    const int untold = defaultDotsPerMeter();
    withImage([&](auto &image) {
        if (image.depth() <= 8 && image.format() != QImage::Format_Grayscale8)
            image.setColorTable(picture.colorTable);
        image.setDotsPerMeterX(picture.dotsPerMeterX > 0 ? picture.dotsPerMeterX : untold);
        image.setDotsPerMeterY(picture.dotsPerMeterY > 0 ? picture.dotsPerMeterY : untold);
        image.setOffset(picture.offset);
    });
    QVector<Text> texts = picture.texts;
    if (m_vellum && !picture.extraNames.isEmpty())
        texts.append({QLatin1String(kChannelNamesKey), picture.extraNames.join(QLatin1Char('\n'))});
    replaceTexts(texts);

    const bool areConverted = picture.inputColors != 0; // to sRGB, on their way into the image
    if (!m_vellum) {
        m_image->setColorSpace(areConverted ? QColorSpace(QColorSpace::SRgb)
                                            : colorSpaceOf(picture));
        return;
    }
    const bool fromCmyk = isCmykInput(picture.inputColors);
    m_vellum->setColorSpace(QColorSpace());
    // That of a CMYK file stays on the image, for whoever wants to know where it came from. One of
    // another colour space would claim pixels that it was not used for.
    const bool keepsProfile = !areConverted || (fromCmyk && isProfileOf(picture.icc, "CMYK"));
    m_vellum->setIccProfile(keepsProfile ? picture.icc : QByteArray());
    m_vellum->setOrgFileCmyk(fromCmyk);
    replaceExif(picture.exif);
}

void ReadTarget::replaceTexts(const QVector<Text> &texts)
{
    withImage([](auto &image) {
        const QStringList stale = image.textKeys();
        if (stale.isEmpty())
            return;
        image.setText(stale.first(), QString()); // gives the image metadata of its own
        image.data_ptr()->text.clear(); // there is no setter that removes a key
    });
    for (const Text &text : texts) {
        if (!isSaveOption(text.key))
            withImage([&](auto &image) { image.setText(text.key, text.value); });
    }
}

void ReadTarget::replaceExif(const QByteArray &exif)
{
    if (exif.isEmpty()) {
        if (m_vellum->getExifData())
            m_vellum->setExifData(nullptr, 0);
        return;
    }
    auto *const copy = static_cast<char *>(std::malloc(size_t(exif.size())));
    if (!copy)
        return;
    std::memcpy(copy, exif.constData(), size_t(exif.size()));
    m_vellum->setExifData(copy, exif.size());
}

/// The image forgets its EXIF record, without releasing it, when it is given another storage.
void ReadTarget::releaseExif()
{
    if (!m_vellum->getExifData())
        return;
    m_vellum->setExifData(nullptr, 0);
    delete m_vellum->getExifData();
}

} // namespace vellum::plugin
