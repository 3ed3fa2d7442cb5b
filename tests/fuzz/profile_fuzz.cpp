// Any bytes, as an ICC profile: describing it and transforming through it must come to an end,
// and a profile that is not valid must not change a pixel.

#include <vellum/vellum.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// lcms2's codes, which codecs pass.
constexpr unsigned int kCmyk8 = 0x60021;
constexpr unsigned int kLab8 = 0xa0019;
constexpr unsigned int kBgra8 = 0x44499;

constexpr int kWidth = 5;

void demand(bool condition, const char *what)
{
    if (condition)
        return;
    std::fprintf(stderr, "not so: %s\n", what);
    std::abort();
}

Vellum makeRow(QImage::Format format)
{
    Vellum image(kWidth, 1, format);
    for (int i = 0; i < image.bytesPerLine(); ++i)
        image.scanLineEx(0)[i] = uchar(i * 51);
    return image;
}

void transformInPlace(QByteArray icc, bool valid)
{
    for (const QImage::Format format : {QImage::Format_RGB32, QImage::Format_Grayscale8}) {
        Vellum image = makeRow(format);
        image.doNormalIccTransform(icc);
        const Vellum before = makeRow(format);
        const bool same = std::memcmp(image.scanLineEx(0), before.scanLineEx(0),
                                      size_t(before.bytesPerLine())) == 0;
        demand(valid || same, "an invalid profile changes nothing");
    }
}

void transformRow(QByteArray icc, unsigned int inFormat)
{
    const uchar in[kWidth * 4] = {1, 200, 30, 250, 0, 0, 0, 0, 255, 255, 255, 255};
    uchar out[kWidth * 4] = {};
    CVlLcmsManager manager;
    manager.prepareIccReadTransform(inFormat, kBgra8, icc, QByteArray());
    manager.doIccTransformRead(in, out, kWidth, 1, sizeof in, sizeof out);
    manager.prepareIccSaveTransform(kBgra8, inFormat, icc);
    manager.doIccTransformSave(in, out, kWidth, 1, sizeof in, sizeof out);
}

void silence(QtMsgType, const QMessageLogContext &, const QString &) { }

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const auto previous = qInstallMessageHandler(silence); // there is no cmyk.icm here
    Q_UNUSED(previous);
    const QByteArray icc(reinterpret_cast<const char *>(data), int(size));

    const vellum::ProfileInfo info = vellum::describeProfile(icc);
    // A damaged tag may be one that lcms2 never asks for; one cut off must be refused.
    transformInPlace(icc, info.isValid() || !info.problem.startsWith(QLatin1String("cut off")));
    for (const unsigned int format : {kBgra8, kCmyk8, kLab8})
        transformRow(icc, format);
    vellum::ColorConversion conversion;
    conversion.intent = vellum::RenderingIntent(size % 4);
    conversion.blackPointCompensation = size % 3 == 0;
    for (const QImage::Format format : {QImage::Format_ARGB32, QImage::Format_Grayscale16}) {
        const Vellum row = makeRow(format);
        vellum::convertColors(row, icc, QByteArray(), conversion);
        vellum::convertColors(row, QByteArray(), icc, conversion);
    }
    return 0;
}
