#include "inkreport.h"

#include "pixelcolors.h"
#include "strips.h"

namespace vellum::tool {

namespace {

constexpr size_t kInks = 4;
constexpr const char *kInkNames[kInks] = {"cyan", "magenta", "yellow", "black"};

double percent(double steps) { return steps * 100 / 255; }

/// Sums up inks, in steps of 1/255.
class InkTally
{
public:
    void addRow(const uchar *inks, int width, int y)
    {
        for (int x = 0; x < width; ++x, inks += kInks) {
            int total = 0;
            for (size_t ink = 0; ink < kInks; ++ink) {
                m_sums[ink] += inks[ink];
                total += inks[ink];
            }
            if (total > m_largest) {
                m_largest = total;
                m_largestAt = QPoint(x, y);
            }
        }
    }

    InkReport report(qint64 pixels) const
    {
        InkReport report;
        report.largest = percent(m_largest);
        report.largestAt = m_largestAt;
        for (size_t ink = 0; ink < kInks; ++ink) {
            report.inkMeans[ink] = percent(double(m_sums[ink]) / double(pixels));
            report.mean += report.inkMeans[ink];
        }
        return report;
    }

private:
    std::array<quint64, kInks> m_sums {};
    int m_largest = -1;
    QPoint m_largestAt;
};

} // namespace

std::optional<InkReport> inkReport(const Vellum &picture, const QByteArray &source,
                                   const QByteArray &press, const ColorConversion &conversion,
                                   const ProgressGuard::Report &report)
{
    const QImage::Format format = formatForProfile(picture, source);
    if (picture.isNull() || format == QImage::Format_Invalid || !isCmykProfile(press))
        return std::nullopt;
    InkTally tally;
    const auto measureStrip = [&](int y, int count) {
        const auto goOn = [&] { return report(int(qint64(y) * 100 / picture.height())); };
        const Vellum inks =
            convertedColors(strip(picture, y, count, format), source, press, conversion, goOn);
        for (int row = 0; row < inks.height(); ++row)
            tally.addRow(inks.scanLineEx(row), inks.width(), y + row);
        return !inks.isNull();
    };
    if (!forEachStrip(picture.size(), StripSize::Large, report, measureStrip))
        return std::nullopt;
    return tally.report(qint64(picture.width()) * picture.height());
}

QString toText(const InkReport &report)
{
    const auto number = [](double value) { return QString::number(value, 'f', 1); };
    QString text = QStringLiteral("  ink         largest %1 % at %2, %3; mean %4 %\n")
                       .arg(number(report.largest))
                       .arg(report.largestAt.x())
                       .arg(report.largestAt.y())
                       .arg(number(report.mean));
    for (size_t ink = 0; ink < kInks; ++ink) {
        text += QStringLiteral("  %1 mean %2 %\n")
                    .arg(QLatin1String(kInkNames[ink]), -11)
                    .arg(number(report.inkMeans[ink]));
    }
    return text;
}

QJsonObject toJson(const InkReport &report)
{
    QJsonObject means;
    for (size_t ink = 0; ink < kInks; ++ink)
        means.insert(QLatin1String(kInkNames[ink]), report.inkMeans[ink]);
    return {
        {QStringLiteral("largest"), report.largest},
        {QStringLiteral("largestAt"),
         QJsonObject {{QStringLiteral("x"), report.largestAt.x()},
                      {QStringLiteral("y"), report.largestAt.y()}}},
        {QStringLiteral("mean"), report.mean},
        {QStringLiteral("means"), means},
    };
}

} // namespace vellum::tool
