#include <vellum/color/profileinfo.h>
#include <vellum/color/profilesources_p.h>

#include <QtEndian>

#include <vector>

namespace vellum {

namespace {

constexpr int kHeaderBytes = 128;
constexpr int kTagEntryBytes = 12; // signature, offset, size
constexpr quint32 kMostTags = 100; // that lcms2 reads; real profiles have a tenth of them

quint32 numberAt(const QByteArray &icc, qint64 offset)
{
    return qFromBigEndian<quint32>(icc.constData() + offset);
}

/// Why \a icc cannot be a whole profile; empty when its header and tag table are sound.
QString findProblem(const QByteArray &icc)
{
    if (icc.size() < kHeaderBytes + 4)
        return QStringLiteral("too short for an ICC profile");
    if (icc.mid(36, 4) != "acsp")
        return QStringLiteral("not an ICC profile");
    const quint32 declared = numberAt(icc, 0);
    if (declared > quint32(icc.size()))
        return QStringLiteral("cut off: %1 bytes of %2").arg(icc.size()).arg(declared);
    const quint32 tags = numberAt(icc, kHeaderBytes);
    const qint64 tableEnd = kHeaderBytes + 4 + qint64(tags) * kTagEntryBytes;
    if (tags > kMostTags || tableEnd > declared)
        return QStringLiteral("damaged: a table of %1 tags").arg(tags);
    for (quint32 i = 0; i < tags; ++i) {
        const qint64 entry = kHeaderBytes + 4 + qint64(i) * kTagEntryBytes;
        const qint64 offset = numberAt(icc, entry + 4);
        const qint64 size = numberAt(icc, entry + 8);
        if (offset < tableEnd || offset + size > declared)
            return QStringLiteral("damaged: tag %1 lies outside the profile").arg(i);
    }
    return {};
}

/// The four characters of \a signature.
QString signatureText(quint32 signature)
{
    QString text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const auto c = char(signature >> shift);
        text += QLatin1Char(c >= ' ' && c <= '~' ? c : '?');
    }
    return text.trimmed();
}

QString spaceName(cmsColorSpaceSignature space)
{
    return space == cmsSigGrayData ? QStringLiteral("Gray") : signatureText(space);
}

QString className(cmsProfileClassSignature deviceClass)
{
    switch (deviceClass) {
    case cmsSigInputClass:
        return QStringLiteral("input");
    case cmsSigDisplayClass:
        return QStringLiteral("display");
    case cmsSigOutputClass:
        return QStringLiteral("output");
    case cmsSigLinkClass:
        return QStringLiteral("link");
    case cmsSigColorSpaceClass:
        return QStringLiteral("space");
    case cmsSigAbstractClass:
        return QStringLiteral("abstract");
    case cmsSigNamedColorClass:
        return QStringLiteral("named");
    default:
        return signatureText(deviceClass);
    }
}

QString descriptionOf(cmsHPROFILE profile)
{
    const cmsUInt32Number bytes =
        cmsGetProfileInfo(profile, cmsInfoDescription, "en", "US", nullptr, 0);
    if (bytes == 0)
        return {};
    std::vector<wchar_t> text(bytes / sizeof(wchar_t) + 1);
    cmsGetProfileInfo(profile, cmsInfoDescription, "en", "US", text.data(), bytes);
    text.back() = 0;
    QString description = QString::fromWCharArray(text.data());
    for (QChar &c : description) { // whoever shows it counts on one line of text
        if (c.category() == QChar::Other_Control)
            c = QLatin1Char(' ');
    }
    return description;
}

QVector<RenderingIntent> intentsOf(cmsHPROFILE profile)
{
    QVector<RenderingIntent> intents;
    for (const auto intent : {RenderingIntent::Perceptual, RenderingIntent::RelativeColorimetric,
                              RenderingIntent::Saturation, RenderingIntent::AbsoluteColorimetric}) {
        const auto number = cmsUInt32Number(intent);
        if (cmsIsIntentSupported(profile, number, LCMS_USED_AS_INPUT) ||
            cmsIsIntentSupported(profile, number, LCMS_USED_AS_OUTPUT))
            intents.append(intent);
    }
    return intents;
}

std::optional<double> inkLimitOf(cmsHPROFILE profile)
{
    if (cmsGetColorSpace(profile) != cmsSigCmykData ||
        cmsGetDeviceClass(profile) != cmsSigOutputClass)
        return std::nullopt;
    const double limit = cmsDetectTAC(profile);
    return limit > 0 ? std::make_optional(limit) : std::nullopt;
}

} // namespace

ProfileInfo describeProfile(const QByteArray &icc)
{
    ProfileInfo info;
    info.problem = findProblem(icc);
    if (!info.isValid())
        return info;
    const color::Profile profile = color::openProfile(icc);
    if (!profile) {
        info.problem = QStringLiteral("not readable as an ICC profile");
        return info;
    }
    info.description = descriptionOf(profile.get());
    info.colorSpace = spaceName(cmsGetColorSpace(profile.get()));
    info.connectionSpace = spaceName(cmsGetPCS(profile.get()));
    info.version = QString::number(cmsGetProfileVersion(profile.get()));
    info.deviceClass = className(cmsGetDeviceClass(profile.get()));
    if (const auto *const white =
            static_cast<const cmsCIEXYZ *>(cmsReadTag(profile.get(), cmsSigMediaWhitePointTag)))
        info.whitePoint = ProfileInfo::Xyz {white->X, white->Y, white->Z};
    info.intents = intentsOf(profile.get());
    info.inkLimit = inkLimitOf(profile.get());
    return info;
}

} // namespace vellum
