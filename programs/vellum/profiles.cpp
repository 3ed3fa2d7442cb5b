#include "profiles.h"

#include "cancel.h"
#include "failure.h"
#include "pixelcolors.h"
#include "progress.h"
#include "rows.h"

#include <QColorSpace>
#include <QFile>

namespace vellum::tool {

namespace {

constexpr qint64 kMostProfileBytes = 64 << 20; // real ones have a few megabytes

const char *const kImpossible = "its colours cannot be converted to this profile";

} // namespace

QByteArray embeddedProfile(const Vellum &picture)
{
    const QByteArray own = picture.getIccProfile();
    return own.isEmpty() ? picture.colorSpace().iccProfile() : own;
}

std::optional<QByteArray> readIccFile(const QString &fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        throw Failure(InputError, fileName, file.errorString());
    if (file.peek(40).mid(36) != "acsp")
        return std::nullopt;
    if (file.size() > kMostProfileBytes)
        throw Failure(InputError, fileName, QStringLiteral("too large for an ICC profile"));
    return file.readAll();
}

QByteArray profileNamed(const QString &name)
{
    QByteArray icc;
    if (name == QLatin1String("srgb")) {
        icc = QColorSpace(QColorSpace::SRgb).iccProfile();
    } else if (name == QLatin1String("cmyk")) {
        CVlLcmsManager::getDefaultCmykIccProfile(icc);
        if (icc.isEmpty()) {
            throw Failure(InputError, QStringLiteral("share/color/icc/cmyk.icm"),
                          QStringLiteral("not found; see VELLUM_DATA_DIR"));
        }
    } else {
        icc = readIccFile(name).value_or(QByteArray());
    }
    const ProfileInfo info = describeProfile(icc);
    if (!info.isValid())
        throw Failure(InputError, name, info.problem);
    return icc;
}

Vellum toProfile(const Vellum &picture, const QString &fileName, const QByteArray &profile,
                 const ColorConversion &conversion, Progress &progress)
{
    // The pixels of a CMYK file are sRGB by now.
    const QByteArray from = picture.isOrgFileCmyk() ? QByteArray() : embeddedProfile(picture);
    const QImage::Format format = formatForProfile(picture, from);
    if (format == QImage::Format_Invalid)
        throw Failure(InputError, fileName, QString::fromLatin1(kImpossible));
    const Storage storage = picture.isBigImage() ? Storage::Big : Storage::Plain;
    Vellum source = arranged(picture, format, storage, progress);
    if (cancelFlag())
        throw cancelled(fileName);
    Vellum result;
    {
        const ProgressGuard guard = progress.watch(source);
        result = convertColors(source, from, profile, conversion);
    }
    if (cancelFlag())
        throw cancelled(fileName);
    if (result.isNull())
        throw Failure(InputError, fileName, QString::fromLatin1(kImpossible));
    // What Qt's writers embed; profiles that Qt does not understand stay out of the file.
    result.setColorSpace(QColorSpace::fromIccProfile(profile));
    return result;
}

} // namespace vellum::tool
