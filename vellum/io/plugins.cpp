#include <vellum/io/libraryfile_p.h>
#include <vellum/io/plugins.h>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace vellum {

QString pluginFolder()
{
    const QString library = io::libraryFile();
    if (!library.isEmpty()) {
        const QDir beside(QFileInfo(library).absolutePath() + QLatin1String("/vellum/plugins"));
        if (beside.exists())
            return beside.absolutePath();
    }
    return QStringLiteral(VELLUM_INSTALLED_PLUGINS);
}

bool registerPlugins()
{
    const QString folder = pluginFolder();
    if (!QFileInfo(folder).isDir())
        return false;
    // Once listed, a folder is not moved: it must be taken out to be put first.
    QCoreApplication::removeLibraryPath(folder);
    QCoreApplication::addLibraryPath(folder);
    return true;
}

} // namespace vellum
