// What the recording plugins were told while an image was saved.
#pragma once

#include <support/recordingplugins.h>

namespace vellum::test {

constexpr int kWriteOptions[] = {
    QImageIOHandler::Quality,
    QImageIOHandler::CompressionRatio,
    QImageIOHandler::Gamma,
    QImageIOHandler::Description,
    QImageIOHandler::SubType,
    QImageIOHandler::OptimizedWrite,
    QImageIOHandler::ProgressiveScanWrite,
    QImageIOHandler::ImageTransformation,
};

/// A plugin that writes \a formats, with every option that a writer could set.
inline Behaviour writing(const QList<QByteArray> &formats)
{
    Behaviour plugin;
    plugin.writes = formats;
    for (const int option : kWriteOptions)
        plugin.options.append(option);
    return plugin;
}

/// The value that the plugins were last given for \a option; invalid when they were given none.
inline QVariant given(QImageIOHandler::ImageOption option)
{
    QVariant value;
    for (const Call &call : callsOf(Asked::SetOption)) {
        if (call.option == option)
            value = call.value;
    }
    return value;
}

/// The options that the plugins were given, in order.
inline std::vector<int> givenOptions()
{
    std::vector<int> options;
    for (const Call &call : callsOf(Asked::SetOption))
        options.push_back(call.option);
    return options;
}

} // namespace vellum::test
