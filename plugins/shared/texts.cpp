#include "shared/texts.h"

#include <algorithm>
#include <array>

namespace vellum::plugin {

namespace {

void replaceOrAppend(QVector<Text> &texts, const Text &text)
{
    const auto found = std::find_if(texts.begin(), texts.end(),
                                    [&](const Text &other) { return other.key == text.key; });
    if (found == texts.end())
        texts.append(text);
    else
        *found = text;
}

} // namespace

const char *const kChannelNamesKey = "ChannelNames";

QStringList channelNames(const QImage &image)
{
    return image.text(QLatin1String(kChannelNamesKey)).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

bool isSaveOption(const QString &key)
{
    constexpr std::array kOptions = {"JpegOptions", "quality", "progressive",
                                     "optimize",    "cmyk",    "filesizeonly"};
    return std::any_of(kOptions.begin(), kOptions.end(),
                       [&](const char *option) { return key == QLatin1String(option); });
}

QVector<Text> textsToWrite(const QImage &image, const QString &description)
{
    QVector<Text> texts;
    const QStringList keys = image.textKeys();
    for (const QString &key : keys)
        texts.append({key, image.text(key)});

    const QStringList parts = description.split(QStringLiteral("\n\n"), Qt::SkipEmptyParts);
    for (const QString &part : parts) {
        const int colon = part.indexOf(QLatin1Char(':'));
        const bool hasKey = colon > 0 && part.indexOf(QLatin1Char(' ')) >= colon;
        const QString key = hasKey ? part.left(colon) : QStringLiteral("Description");
        replaceOrAppend(texts, {key, hasKey ? part.mid(colon + 1).trimmed() : part});
    }
    const auto isLeftOut = [](const Text &text) {
        return isSaveOption(text.key) || text.key == QLatin1String(kChannelNamesKey) ||
            text.value.isEmpty();
    };
    texts.erase(std::remove_if(texts.begin(), texts.end(), isLeftOut), texts.end());
    return texts;
}

QString describe(const QVector<Text> &texts)
{
    QStringList parts;
    for (const Text &text : texts)
        parts.append(text.key + QLatin1String(": ") + text.value.simplified());
    return parts.join(QLatin1String("\n\n"));
}

} // namespace vellum::plugin
