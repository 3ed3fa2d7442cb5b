// Images to test with, on both storages.
#pragma once

#include <vellum/vellum.h>

#include <gtest/gtest.h>

#include <initializer_list>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

namespace vellum::test {

enum class Storage { Plain, Big };

constexpr Storage kStorages[] = {Storage::Plain, Storage::Big};

inline void PrintTo(Storage storage, std::ostream *out)
{
    *out << (storage == Storage::Plain ? "Plain" : "Big");
}

/// The 29 valid values of QImage::Format.
std::vector<QImage::Format> allFormats();

/// Memory that crashes whoever reads or writes it: the base of a big image, which nobody may
/// touch. \return a null image when the address space is exhausted
Vellum makeUntouchable(int w, int h, QImage::Format format);

/// An image of undefined content. A big one stands on a base that may not be touched, and its
/// store is \a extraStride bytes per row wider than the image.
Vellum makeImage(int w, int h, QImage::Format format, Storage storage, int extraStride = 0);

/// makeImage() with noise in every byte of every row, the same for the same \a seed on both
/// storages, and a colour table with noise (some of it translucent) for formats that have one.
Vellum makeNoise(int w, int h, QImage::Format format, Storage storage, unsigned seed = 1,
                 int extraStride = 0);

/// A plain QImage with the pixels (not the padding), the colour table, text and resolution of
/// \a image.
QImage toPlain(const Vellum &image);

/// Success when both have the same size, format, colour table and pixels; padding is not looked
/// at. The failure names the first pixel that differs.
testing::AssertionResult samePixels(const Vellum &a, const Vellum &b);

/// For INSTANTIATE_TEST_SUITE_P over (format, storage): "Format5Big".
std::string caseName(const testing::TestParamInfo<std::tuple<QImage::Format, Storage>> &info);

} // namespace vellum::test
