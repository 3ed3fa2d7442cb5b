#include "comparereport.h"

#include "pixelcolors.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <vector>

namespace vellum::tool {

namespace {

constexpr double kStep = 257; // of 16 bits, in one of 8

struct ChannelName
{
    size_t index;
    const char *name;
};

/// The channels that at least one of the pictures has.
std::vector<ChannelName> channelsOf(const ComparedFile &a, const ComparedFile &b)
{
    std::vector<ChannelName> channels;
    if (hasOnlyGrey(a.pixels) && hasOnlyGrey(b.pixels))
        channels = {{0, "grey"}};
    else
        channels = {{0, "red"}, {1, "green"}, {2, "blue"}};
    if (a.pixels.hasAlphaChannel() || b.pixels.hasAlphaChannel())
        channels.push_back({3, "alpha"});
    return channels;
}

int comparedBits(const ComparedFile &a, const ComparedFile &b)
{
    return hasWideChannels(a.pixels.format()) || hasWideChannels(b.pixels.format()) ? 16 : 8;
}

QString sizeText(const Vellum &picture)
{
    return QStringLiteral("%1 x %2").arg(picture.width()).arg(picture.height());
}

QString channelLine(const char *name, const Difference::Channel &channel, int bits)
{
    const auto number = [](double value) { return QString::number(value, 'g', 4); };
    const double largest8 = channel.largest / kStep;
    const double mean8 = channel.mean / kStep;
    QString line = QStringLiteral("  %1 largest %2, mean %3")
                       .arg(QLatin1String(name), -11)
                       .arg(bits == 16 ? QString::number(channel.largest) : number(largest8),
                            number(bits == 16 ? channel.mean : mean8));
    if (bits == 16)
        line += QStringLiteral(" (in 8 bits %1 and %2)").arg(number(largest8), number(mean8));
    return line + QLatin1Char('\n');
}

} // namespace

QByteArray asJson(const ComparedFile &a, const ComparedFile &b, const Comparison &comparison)
{
    QJsonArray pictures;
    for (const ComparedFile *picture : {&a, &b}) {
        pictures.append(QJsonObject {{QStringLiteral("file"), picture->file},
                                     {QStringLiteral("width"), picture->pixels.width()},
                                     {QStringLiteral("height"), picture->pixels.height()}});
    }
    QJsonObject object {
        {QStringLiteral("pictures"), pictures},
        {QStringLiteral("equal"), comparison.isEqual()},
        {QStringLiteral("sameProfile"), comparison.sameColors},
        {QStringLiteral("tolerance"), comparison.measure.tolerance},
    };
    if (comparison.sameSize) {
        const Difference &difference = comparison.difference;
        const int bits = comparedBits(a, b);
        const double step = bits == 16 ? 1 : kStep;
        QJsonArray channels;
        for (const auto &[index, name] : channelsOf(a, b)) {
            const Difference::Channel &channel = difference.channels[index];
            channels.append(QJsonObject {{QStringLiteral("name"), QLatin1String(name)},
                                         {QStringLiteral("largest"), channel.largest / step},
                                         {QStringLiteral("mean"), channel.mean / step},
                                         {QStringLiteral("largest8"), channel.largest / kStep},
                                         {QStringLiteral("mean8"), channel.mean / kStep}});
        }
        object.insert(QStringLiteral("by"), comparison.measure.byColor ? "color" : "numbers");
        object.insert(QStringLiteral("bits"), bits);
        object.insert(QStringLiteral("channels"), channels);
        object.insert(QStringLiteral("pixels"), qint64(a.pixels.width()) * a.pixels.height());
        object.insert(QStringLiteral("differentPixels"), difference.differentPixels);
        if (difference.differentPixels > 0) {
            object.insert(QStringLiteral("first"),
                          QJsonObject {{QStringLiteral("x"), difference.first.x()},
                                       {QStringLiteral("y"), difference.first.y()}});
        }
        if (difference.color) {
            object.insert(QStringLiteral("deltaE"),
                          QJsonObject {{QStringLiteral("largest"), difference.color->largest},
                                       {QStringLiteral("mean"), difference.color->mean}});
        }
    }
    return QJsonDocument(object).toJson();
}

QByteArray asText(const ComparedFile &a, const ComparedFile &b, const Comparison &comparison)
{
    QString text =
        QStringLiteral("%1\n%2\n  result      %3\n")
            .arg(a.file, b.file,
                 comparison.isEqual() ? QStringLiteral("equal") : QStringLiteral("different"));
    if (!comparison.sameSize) {
        text += QStringLiteral("  size        %1 and %2 pixels\n")
                    .arg(sizeText(a.pixels), sizeText(b.pixels));
        return text.toLocal8Bit();
    }
    const Difference &difference = comparison.difference;
    const int bits = comparedBits(a, b);
    text += QStringLiteral("  size        %1 pixels\n").arg(sizeText(a.pixels));
    if (!comparison.sameColors)
        text += QStringLiteral("  profiles    differ\n");
    const QString tolerance = comparison.measure.tolerance > 0
        ? QStringLiteral(" by more than %1").arg(comparison.measure.tolerance)
        : QString();
    text += QStringLiteral("  compared    %1\n")
                .arg(comparison.measure.byColor
                         ? QStringLiteral("colours (dE00)")
                         : QStringLiteral("numbers (%1 bits per channel)").arg(bits));
    text += QStringLiteral("  different   %1 of %2 pixels%3")
                .arg(difference.differentPixels)
                .arg(qint64(a.pixels.width()) * a.pixels.height())
                .arg(tolerance);
    if (difference.differentPixels > 0) {
        text += QStringLiteral(", the first at %1, %2")
                    .arg(difference.first.x())
                    .arg(difference.first.y());
    }
    text += QLatin1Char('\n');
    if (difference.color) {
        text += QStringLiteral("  dE00        largest %1, mean %2\n")
                    .arg(difference.color->largest, 0, 'g', 4)
                    .arg(difference.color->mean, 0, 'g', 4);
    }
    for (const auto &[index, name] : channelsOf(a, b))
        text += channelLine(name, difference.channels[index], bits);
    return text.toLocal8Bit();
}

} // namespace vellum::tool
