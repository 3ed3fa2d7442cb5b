#include <vellum/vellum.h>

#include <QImageIOPlugin>
#include <QPluginLoader>

#include <gtest/gtest.h>

#include <support/imageplugin.h>

namespace vellum::test {

std::unique_ptr<QImageIOHandler> makeHandler(const QString &name, QIODevice *device,
                                             const QByteArray &format)
{
    QPluginLoader loader(pluginFolder() + QStringLiteral("/imageformats/libvellum_") + name);
    auto *const plugin = qobject_cast<QImageIOPlugin *>(loader.instance());
    EXPECT_TRUE(plugin) << qPrintable(loader.errorString());
    if (!plugin)
        return nullptr;
    return std::unique_ptr<QImageIOHandler>(
        plugin->create(device, format.isEmpty() ? name.toLatin1() : format));
}

} // namespace vellum::test
