#include "bitmap/xpmcolors.h"

#include <QColor>
#include <QList>

#include <algorithm>
#include <array>

namespace vellum::plugin {

namespace {

constexpr std::array kKinds = {"c", "g", "g4", "m", "s"}; // the best first
constexpr QRgb kTransparent = 0;
constexpr QRgb kBlack = 0xff000000;

/// "gray0" to "gray100", which QColor does not know.
std::optional<QRgb> greyLevel(const QByteArray &name)
{
    if (!name.startsWith("gray") && !name.startsWith("grey"))
        return {};
    bool isNumber = false;
    const int percent = name.mid(4).toInt(&isNumber);
    if (!isNumber || percent < 0 || percent > 100)
        return {};
    const int level = (percent * 255 + 50) / 100;
    return qRgb(level, level, level);
}

QRgb colorNamed(const QByteArray &name)
{
    const QByteArray lower = name.toLower();
    if (lower == "none" || lower == "transparent")
        return kTransparent;
    if (const auto grey = greyLevel(lower))
        return *grey;
    const QColor color(QString::fromLatin1(lower));
    return color.isValid() ? color.rgb() : kBlack;
}

} // namespace

std::optional<QRgb> xpmColor(const QByteArray &definition)
{
    std::array<QByteArray, kKinds.size()> values;
    QByteArray *value = nullptr;
    const QList<QByteArray> words = definition.simplified().split(' ');
    for (const QByteArray &word : words) {
        const auto kind = std::find(kKinds.begin(), kKinds.end(), word);
        if (kind != kKinds.end())
            value = &values[size_t(kind - kKinds.begin())];
        else if (value)
            *value += value->isEmpty() ? word : ' ' + word;
    }
    const auto best = std::find_if(values.begin(), values.end() - 1,
                                   [](const QByteArray &v) { return !v.isEmpty(); });
    if (best == values.end() - 1)
        return {};
    return colorNamed(*best);
}

} // namespace vellum::plugin
