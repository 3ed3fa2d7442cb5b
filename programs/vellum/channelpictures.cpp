#include "channelpictures.h"

#include "emptypicture.h"
#include "pixelcolors.h"
#include "strips.h"

#include <QStringList>

#include <cstring>

namespace vellum::tool {

namespace {

/// Interleaved samples of some rows.
struct Samples
{
    const uchar *first; ///< of the wanted channel in the first pixel
    int pixelBytes;
    qint64 rowBytes;
};

void copyRow(uchar *out, const Samples &samples, int row, int width, int sampleBytes)
{
    const uchar *in = samples.first + row * samples.rowBytes;
    for (int x = 0; x < width; ++x, in += samples.pixelBytes, out += sampleBytes)
        std::memcpy(out, in, size_t(sampleBytes));
}

/// Where the samples of a colour lie in a pixel of RGBA64 and its like, or ARGB32 and its like.
int colorOffset(int index, int bits)
{
    if (bits == 16)
        return index * 2;
    constexpr int kShifts[] = {16, 8, 0, 24}; // red, green, blue, alpha in a QRgb
    const int byte = kShifts[index] / 8;
    return Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? byte : 3 - byte;
}

} // namespace

QVector<Channel> extraChannels(const Vellum &picture)
{
    int count = 0;
    int bits = 0;
    int stride = 0;
    if (!picture.channelsData(count, bits, stride))
        return {};
    const QStringList names = picture.text(QStringLiteral("ChannelNames")).split(QLatin1Char('\n'));
    QVector<Channel> channels;
    for (int i = 0; i < count; ++i) {
        const QString name = names.value(i);
        channels.append(
            {name.isEmpty() ? QStringLiteral("Channel %1").arg(i + 1) : name, bits, true, i});
    }
    return channels;
}

QVector<Channel> colorChannels(const Vellum &picture)
{
    const int bits = hasWideChannels(picture.format()) ? 16 : 8;
    QVector<Channel> channels;
    if (hasOnlyGrey(picture)) {
        channels.append({QStringLiteral("Grey"), bits, false, 0});
    } else {
        channels.append({QStringLiteral("Red"), bits, false, 0});
        channels.append({QStringLiteral("Green"), bits, false, 1});
        channels.append({QStringLiteral("Blue"), bits, false, 2});
    }
    if (picture.hasAlphaChannel())
        channels.append({QStringLiteral("Alpha"), bits, false, 3});
    return channels;
}

Vellum channelPicture(const Vellum &picture, const Channel &channel, Storage storage,
                      const ProgressGuard::Report &report)
{
    const bool isWide = channel.bits == 16;
    const int sampleBytes = isWide ? 2 : 1;
    Vellum result = emptyPicture(
        picture.size(), isWide ? QImage::Format_Grayscale16 : QImage::Format_Grayscale8, storage);
    int count = 0;
    int bits = 0;
    int stride = 0;
    const uchar *const extra = picture.channelsData(count, bits, stride);
    const auto copyStrip = [&](int y, int rows) {
        Vellum colors;
        Samples samples {};
        if (channel.isExtra) {
            samples = {extra + qint64(y) * stride + channel.index * sampleBytes,
                       count * sampleBytes, stride};
        } else {
            colors = strip(picture, y, rows, rgbFormatFor(picture));
            if (colors.isNull())
                return false;
            samples = {std::as_const(colors).scanLineEx(0) +
                           colorOffset(channel.index, channel.bits),
                       4 * sampleBytes, colors.bytesPerLine()};
        }
        for (int row = 0; row < rows; ++row)
            copyRow(result.scanLineEx(y + row), samples, row, picture.width(), sampleBytes);
        return true;
    };
    if (result.isNull() || !forEachStrip(picture.size(), StripSize::Small, report, copyStrip))
        return {};
    result.setDotsPerMeterX(picture.dotsPerMeterX());
    result.setDotsPerMeterY(picture.dotsPerMeterY());
    return result;
}

} // namespace vellum::tool
