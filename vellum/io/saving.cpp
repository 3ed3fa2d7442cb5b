// Vellum::save: an image into a file, by way of QImageWriterEx and the format plugins.

#include <vellum/image/vellum.h>
#include <vellum/io/hrlehandler.h>
#include <vellum/io/imagewriterex.h>

#include <QDebug>

namespace {

/// The value of gamma by which a format plugin is asked for the size of the file alone.
constexpr float kSizeOnlyGamma = 10.0F;

/// A plugin's answer as a whole number; 0 when it is none.
qint64 truncated(float value)
{
    constexpr float kLimit = 9223372036854775808.0F;
    return value > -kLimit && value < kLimit ? qint64(value) : 0;
}

} // namespace

bool Vellum::save(const QString &fileName, const char *format, int quality, bool saveCmyk)
{
    if (fileName.endsWith(QLatin1String(".hrle")))
        return HrleHandler().writeFile(fileName, *this);
    if (isNull())
        return false;

    QImageWriterEx writer(fileName);
    if (format)
        writer.setFormat(format);

    const auto option = [this](const char *key) { return text(QLatin1String(key)); };
    const auto isOption = [&option](const char *key, const char *value) {
        return option(key) == QLatin1String(value);
    };
    bool cmyk = saveCmyk;
    if (isOption("JpegOptions", "yes")) {
        quality = option("quality").toInt();
        const bool progressive = !isOption("progressive", "false");
        writer.setProgressiveScanWrite(progressive);
        writer.setOptimizedWrite(!progressive && isOption("optimize", "true"));
        cmyk = cmyk || isOption("cmyk", "true");
    }
    const bool sizeOnly = isOption("filesizeonly", "true");
    if (sizeOnly)
        writer.setGamma(kSizeOnlyGamma);

    if (quality < -1 || quality > 100) {
        qWarning("QPixmap::save: Quality out of range [-1, 100]");
        qDebug() << "quality = " << quality;
        quality = 100;
    }
    if (quality >= 0)
        writer.setQuality(quality);

    if (cmyk)
        prepareSaveCmyk(this->format());
    const bool written = writer.write(*this);
    if (!written)
        qDebug() << "Vellum::save failed, " << fileName;

    // Also after a failure: callers take what the plugin reports for the size, 0 included.
    if (sizeOnly && m_psdLayerData)
        m_psdLayerData->encodedSize = truncated(writer.gamma());
    if (cmyk)
        releaseSaveCmyk();
    return written;
}
