#include <vellum/color/profilesources_p.h>

#include <QCoreApplication>
#include <QDebug>
#include <QFile>
#include <QtEndian>

namespace vellum::color {

namespace {

std::mutex pathMutex;
QString iccProfilePath; // guarded by pathMutex

constexpr int kHeaderBytes = 128;

/// The bytes of the profile in the file \a path, or as many as there are; empty when it does not
/// begin like one.
QByteArray profileBytes(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QByteArray icc = file.read(kHeaderBytes);
    if (icc.size() < kHeaderBytes || icc.mid(36, 4) != "acsp")
        return {};
    const qint64 claimed = qFromBigEndian<quint32>(icc.constData());
    icc += file.read(qMax<qint64>(0, qMin(claimed, file.size()) - kHeaderBytes));
    return icc;
}

} // namespace

void setProfileFolder(QString folder)
{
    const std::lock_guard lock(pathMutex);
    iccProfilePath.swap(folder);
}

QString iccFilePath(const QString &fileName)
{
    const QString below = QStringLiteral("share/color/icc/") + fileName;
    // The lock is held for Qt as well, which caches the folder when it is first asked.
    const std::lock_guard lock(pathMutex);
    if (!iccProfilePath.isEmpty())
        return iccProfilePath + below;
    // Asked without an application object, Qt would warn, at every image.
    const QString folder =
        QCoreApplication::instance() ? QCoreApplication::applicationDirPath() : QString();
    return folder + QLatin1Char('/') + below;
}

Profile openProfileFile(const QString &path)
{
    return Profile(cmsOpenProfileFromFile(path.toLocal8Bit().constData(), "r"));
}

Profile openCmykFile() { return openWhatIsThere(readCmykFile()); }

QByteArray readCmykFile()
{
    const QString path = iccFilePath(QLatin1String(kCmykFile));
    QByteArray icc = profileBytes(path);
    if (!openWhatIsThere(icc)) {
        qDebug() << "cmsOpenProfileFromFile failed:" << path;
        icc.clear();
    }
    return icc;
}

Profile openProfile(const QByteArray &icc)
{
    if (icc.size() < kHeaderBytes || qFromBigEndian<quint32>(icc.constData()) > quint32(icc.size()))
        return nullptr;
    return openWhatIsThere(icc);
}

Profile openWhatIsThere(const QByteArray &icc)
{
    return Profile(cmsOpenProfileFromMem(icc.constData(), cmsUInt32Number(icc.size())));
}

QByteArray serialised(const Profile &profile)
{
    cmsUInt32Number size = 0;
    if (!profile || !cmsSaveProfileToMem(profile.get(), nullptr, &size) || size == 0 ||
        size > quint32(std::numeric_limits<int>::max()))
        return {};
    QByteArray bytes(int(size), Qt::Uninitialized);
    if (!cmsSaveProfileToMem(profile.get(), bytes.data(), &size))
        return {};
    return bytes;
}

QByteArray makeLabProfile()
{
    const cmsCIExyY white {0.33, 0.33, 1.0}; // not D50: this is the profile that callers expect
    return serialised(Profile(cmsCreateLab2Profile(&white)));
}

QByteArray readXyzProfile()
{
    return serialised(openProfileFile(iccFilePath(QLatin1String(kXyzFile))));
}

} // namespace vellum::color
