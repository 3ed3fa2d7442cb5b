// Pictures with the kinds of content that dithering and palettes react to.
#pragma once

#include <cmath>
#include <cstring>
#include <random>
#include <support/images.h>

namespace vellum::test {

enum class Content { Random, Flat, Dark, Gradient, Photo, FewColors };

constexpr Content kContents[] = {Content::Random,   Content::Flat,  Content::Dark,
                                 Content::Gradient, Content::Photo, Content::FewColors};

/// Soft shapes with edges and sensor noise, translucent in places.
inline QRgb photoPixel(int x, int y, std::mt19937 &random)
{
    const auto wave = [](double v) { return 127.5 + 127.5 * std::sin(v); };
    const double edge = (x / 37 + y / 23) % 3 == 0 ? 60 : 0;
    const auto channel = [&](double v) {
        const int noisy = int(v - edge) + int(random() % 9) - 4;
        return noisy < 0 ? 0 : noisy > 255 ? 255 : noisy;
    };
    const int alpha = (x + 2 * y) % 101 < 50 ? 255 : channel(wave(x / 17.0 - y / 9.0));
    return qRgba(channel(wave(x / 61.0 + y / 83.0)), channel(wave(x / 47.0 - y / 71.0)),
                 channel(wave(y / 29.0)), alpha);
}

inline QRgb pixelOf(Content content, int x, int y, int w, int h, std::mt19937 &random)
{
    switch (content) {
    case Content::Random:
        return random();
    case Content::Flat:
        return 0x9c6b4d87;
    case Content::Dark: // errors drift far below zero here
        return x == 0 || random() % 50 == 0 ? 0xff330a7f : 0x01000000;
    case Content::Gradient:
        return qRgba(255 * x / w, 255 * y / h, 255 * (x + y) / (w + h), 255 - 255 * x / w);
    case Content::Photo:
        return photoPixel(x, y, random);
    case Content::FewColors:
        return 0x10304050U * (random() % 16) + random() % 15;
    }
    return 0;
}

/// An RGB32 or ARGB32 picture, the same for the same arguments on both storages.
inline Vellum makePicture(int w, int h, QImage::Format format, Storage storage, Content content,
                          int extraStride = 0)
{
    Vellum image = makeImage(w, h, format, storage, extraStride);
    std::mt19937 random(5);
    for (int y = 0; y < h; ++y) {
        uchar *const row = image.scanLineEx(y);
        for (int x = 0; x < w; ++x) {
            const QRgb pixel = pixelOf(content, x, y, w, h, random);
            std::memcpy(row + size_t(x) * 4, &pixel, 4);
        }
    }
    return image;
}

/// The flags that choose a dither mode, every bit pattern of the three masks.
inline std::vector<Qt::ImageConversionFlags> allDitherFlags()
{
    std::vector<Qt::ImageConversionFlags> all;
    for (int alpha = 0; alpha < 0x10; alpha += 0x04) {
        for (int color = 0; color < 0x40; color += 0x10) {
            for (int prefer = 0; prefer < 0x100; prefer += 0x40)
                all.emplace_back(QFlag(alpha | color | prefer));
        }
    }
    return all;
}

} // namespace vellum::test
