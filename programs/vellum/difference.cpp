#include "difference.h"

#include "labcolors.h"
#include "pixelcolors.h"
#include "strips.h"

#include <cmath>
#include <cstring>
#include <vector>

namespace vellum::tool {

namespace {

constexpr int kChannels = 4; // red, green, blue, alpha
constexpr int kAlpha = 3;
constexpr int kStep = 257; // of 16 bits, in one of 8
constexpr int kMost = 65535;

using Rgba = std::array<quint16, kChannels>;

/// Strips of one picture, and rows of them as 16-bit numbers.
class NumberRows
{
public:
    explicit NumberRows(const Vellum &picture)
        : m_picture(picture), m_format(rgbFormatFor(picture)), m_row(size_t(picture.width()))
    {
    }

    [[nodiscard]] bool load(int y, int count)
    {
        m_strip = strip(m_picture, y, count, m_format);
        return !m_strip.isNull();
    }

    /// True when rows \a i of both are the same bytes.
    bool hasSameRow(const NumberRows &other, int i) const
    {
        const auto bytes = size_t(m_strip.width()) * size_t(m_strip.depth() / 8);
        return m_format == other.m_format &&
            std::memcmp(m_strip.scanLineEx(i), other.m_strip.scanLineEx(i), bytes) == 0;
    }

    const std::vector<Rgba> &row(int i)
    {
        const uchar *const bytes = std::as_const(m_strip).scanLineEx(i);
        if (m_strip.depth() == 64)
            std::memcpy(m_row.data(), bytes, m_row.size() * sizeof(Rgba));
        else
            widen(reinterpret_cast<const QRgb *>(bytes));
        if (!m_strip.hasAlphaChannel()) { // the fourth number means nothing
            for (Rgba &pixel : m_row)
                pixel[kAlpha] = kMost;
        }
        return m_row;
    }

private:
    void widen(const QRgb *pixels)
    {
        for (Rgba &wide : m_row) {
            const QRgb pixel = *pixels++;
            wide = {quint16(qRed(pixel) * kStep), quint16(qGreen(pixel) * kStep),
                    quint16(qBlue(pixel) * kStep), quint16(qAlpha(pixel) * kStep)};
        }
    }

    const Vellum &m_picture;
    const QImage::Format m_format;
    Vellum m_strip;
    std::vector<Rgba> m_row;
};

/// Compares by colour the pixels that it is given, many at a time.
class ColorMeter
{
public:
    ColorMeter(const QByteArray &a, const QByteArray &b)
        : m_labA(a), m_labB(b), m_sameColors(meanSameColors(a, b))
    {
    }

    bool isValid() const { return m_labA.isValid() && m_labB.isValid(); }

    /// True when equal numbers are equal colours.
    bool hasSameColors() const { return m_sameColors; }

    /// dE00 of every pixel of the rows \a a and \a b.
    const std::vector<double> &differences(const std::vector<Rgba> &a, const std::vector<Rgba> &b)
    {
        m_differences.assign(a.size(), 0);
        m_where.clear();
        m_pixelsA.clear();
        m_pixelsB.clear();
        for (size_t x = 0; x < a.size(); ++x) {
            if (m_sameColors && std::memcmp(&a[x], &b[x], sizeof(quint16) * kAlpha) == 0)
                continue;
            m_where.push_back(x);
            m_pixelsA.push_back(a[x]);
            m_pixelsB.push_back(b[x]);
        }
        toLab(m_labA, m_pixelsA, m_colorsA);
        toLab(m_labB, m_pixelsB, m_colorsB);
        for (size_t i = 0; i < m_where.size(); ++i)
            m_differences[m_where[i]] = colorDifference(m_colorsA[i], m_colorsB[i]);
        return m_differences;
    }

private:
    static void toLab(const LabColors &lab, const std::vector<Rgba> &pixels,
                      std::vector<cmsCIELab> &colors)
    {
        colors.resize(pixels.size());
        if (!pixels.empty())
            lab.convert(pixels.front().data(), colors.data(), int(pixels.size()));
    }

    const LabColors m_labA;
    const LabColors m_labB;
    const bool m_sameColors;
    std::vector<size_t> m_where;
    std::vector<Rgba> m_pixelsA;
    std::vector<Rgba> m_pixelsB;
    std::vector<cmsCIELab> m_colorsA;
    std::vector<cmsCIELab> m_colorsB;
    std::vector<double> m_differences;
};

/// Sums up the differences of the pixels it is given, row by row.
class Tally
{
public:
    explicit Tally(double tolerance) : m_tolerance(tolerance) { }

    /// Adds pixel \a x of row \a y, with \a color the dE00 of its colours, if that is asked for.
    /// \return how much it differs, 1 to 65535; 0 when not by more than the tolerance
    quint16 add(const Rgba &a, const Rgba &b, const double *color, int x, int y)
    {
        int largest = 0;
        for (size_t c = 0; c < kChannels; ++c) {
            const int difference = std::abs(int(a[c]) - int(b[c]));
            m_sums[c] += quint64(difference);
            m_result.channels[c].largest = qMax(m_result.channels[c].largest, difference);
            largest = qMax(largest, difference);
        }
        double amount = double(largest) / kStep;
        int shown = largest;
        if (color) {
            m_colorSum += *color;
            m_largestColor = qMax(m_largestColor, *color);
            amount = qMax(*color, std::abs(int(a[kAlpha]) - int(b[kAlpha])) * 100.0 / kMost);
            shown = qBound(1, int(std::ceil(amount * 256)), kMost);
        }
        if (amount <= m_tolerance)
            return 0;
        if (m_result.differentPixels++ == 0)
            m_result.first = QPoint(x, y);
        return quint16(shown);
    }

    Difference result(qint64 pixels, bool byColor) const
    {
        Difference result = m_result;
        for (size_t c = 0; c < kChannels; ++c)
            result.channels[c].mean = double(m_sums[c]) / double(pixels);
        if (byColor)
            result.color = Difference::Color {m_largestColor, m_colorSum / double(pixels)};
        return result;
    }

private:
    const double m_tolerance;
    Difference m_result;
    std::array<quint64, kChannels> m_sums {};
    double m_colorSum = 0;
    double m_largestColor = 0;
};

} // namespace

std::optional<Difference> differenceOf(const ComparedPicture &a, const ComparedPicture &b,
                                       const Measure &measure, Vellum *map,
                                       const ProgressGuard::Report &report)
{
    std::optional<ColorMeter> colors;
    if (measure.byColor) {
        colors.emplace(a.profile, b.profile);
        if (!colors->isValid())
            return std::nullopt;
    }
    const QSize size = a.picture.size();
    NumberRows rowsA(a.picture);
    NumberRows rowsB(b.picture);
    Tally tally(measure.tolerance);
    const auto compareRow = [&](int i, int y) {
        auto *const shown = map ? reinterpret_cast<quint16 *>(map->scanLineEx(y)) : nullptr;
        if (rowsA.hasSameRow(rowsB, i) && (!colors || colors->hasSameColors())) {
            if (shown)
                std::memset(shown, 0, size_t(size.width()) * sizeof *shown);
            return;
        }
        const std::vector<Rgba> &inA = rowsA.row(i);
        const std::vector<Rgba> &inB = rowsB.row(i);
        const double *const color = colors ? colors->differences(inA, inB).data() : nullptr;
        for (int x = 0; x < size.width(); ++x) {
            const auto at = size_t(x);
            const quint16 amount = tally.add(inA[at], inB[at], color ? color + x : nullptr, x, y);
            if (shown)
                shown[x] = amount;
        }
    };
    const bool done = forEachStrip(size, StripSize::Small, report, [&](int y, int count) {
        if (!rowsA.load(y, count) || !rowsB.load(y, count))
            return false;
        for (int i = 0; i < count; ++i)
            compareRow(i, y + i);
        return true;
    });
    if (!done)
        return std::nullopt;
    return tally.result(qint64(size.width()) * size.height(), measure.byColor);
}

} // namespace vellum::tool
