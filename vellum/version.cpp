#include <vellum/image/cpufeatures_p.h>
#include <vellum/io/imageplugins_p.h>
#include <vellum/version.h>

#include <QImageIOPlugin>
#include <QVariantMap>

#include <lcms2.h>

namespace vellum {

namespace {

/// "2.14" for 2140.
QString lcmsVersion()
{
    const int encoded = cmsGetEncodedCMMversion();
    const QString version = QStringLiteral("%1.%2").arg(encoded / 1000).arg(encoded % 1000 / 10);
    return encoded % 10 == 0 ? version : version + QStringLiteral(".%1").arg(encoded % 10);
}

/// Versions by name. The plugins are asked through their meta-object, which needs nothing that
/// both sides would have to be built with.
QVariantMap codecs()
{
    QVariantMap all;
    for (const io::ImagePlugin &plugin : io::imagePlugins()) {
        const QImageIOPlugin *const instance =
            plugin.knowsVellum ? io::pluginInstance(plugin) : nullptr;
        const QVariantMap own = instance ? instance->property("codecs").toMap() : QVariantMap();
        for (auto codec = own.begin(); codec != own.end(); ++codec)
            all.insert(codec.key(), codec.value());
    }
    return all;
}

} // namespace

QString libraryVersion() { return QStringLiteral(VELLUM_VERSION); }

QList<Component> components()
{
    QList<Component> all {{QStringLiteral("Qt"), QString::fromLatin1(qVersion())},
                          {QStringLiteral("Little CMS"), lcmsVersion()}};
    const QVariantMap found = codecs();
    for (auto codec = found.begin(); codec != found.end(); ++codec)
        all.append({codec.key(), codec.value().toString()});
    return all;
}

QStringList vectorInstructions()
{
    QStringList names;
#ifdef VELLUM_HAVE_SSE2
    names.append(QStringLiteral("SSE2"));
#endif
    if (hasSse41())
        names.append(QStringLiteral("SSE4.1"));
    if (hasAvx2())
        names.append(QStringLiteral("AVX2"));
    return names;
}

} // namespace vellum
