#include "datafolder.h"

#include <vellum/vellum.h>

#include <QCoreApplication>
#include <QFileInfo>

namespace vellum::tool {

void setUpDataFolder()
{
    const QString here = QCoreApplication::applicationDirPath() + QLatin1Char('/');
    const QString installed = here + QStringLiteral(VELLUM_DATA_FOLDER "/");
    QString folder = qEnvironmentVariable("VELLUM_DATA_DIR");
    if (!folder.isEmpty())
        folder += QLatin1Char('/');
    else if (QFileInfo::exists(installed + QStringLiteral("share/color/icc")))
        folder = installed;
    else
        folder = here; // not installed: the build has them beside the programs
    setIccProfilePath(folder);
}

} // namespace vellum::tool
