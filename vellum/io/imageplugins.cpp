#include <vellum/io/imageplugins_p.h>

#include <QImageIOPlugin>
#include <QJsonArray>
#include <QJsonObject>
#include <private/qfactoryloader_p.h>

namespace vellum::io {

namespace {

Q_GLOBAL_STATIC_WITH_ARGS(QFactoryLoader, imagePluginLoader,
                          (QImageIOHandlerFactoryInterface_iid, QLatin1String("/imageformats")))

QStringList strings(const QJsonValue &list)
{
    QStringList result;
    const QJsonArray values = list.toArray();
    for (const QJsonValue &value : values)
        result.append(value.toString());
    return result;
}

} // namespace

QList<ImagePlugin> imagePlugins()
{
    QList<ImagePlugin> plugins;
    const QFactoryLoader *const loader = imagePluginLoader();
    if (!loader) // the process is ending
        return plugins;
    const QList<QJsonObject> found = loader->metaData();
    for (const QJsonObject &entry : found) {
        const QJsonObject metaData = entry.value(QLatin1String("MetaData")).toObject();
        plugins.append({plugins.size(), strings(metaData.value(QLatin1String("Keys"))),
                        strings(metaData.value(QLatin1String("MimeTypes"))),
                        metaData.value(QLatin1String("Vellum")).toBool(),
                        metaData.value(QLatin1String("VellumPages")).toBool(),
                        metaData.value(QLatin1String("VellumRows")).toBool(),
                        metaData.value(QLatin1String("VellumCmyk")).toBool()});
    }
    return plugins;
}

QImageIOPlugin *pluginInstance(const ImagePlugin &plugin)
{
    const QFactoryLoader *const loader = imagePluginLoader();
    return loader ? qobject_cast<QImageIOPlugin *>(loader->instance(plugin.index)) : nullptr;
}

} // namespace vellum::io
