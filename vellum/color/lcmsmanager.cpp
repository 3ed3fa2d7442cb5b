#include <vellum/color/lcmsmanager.h>
#include <vellum/color/profilesources_p.h>
#include <vellum/color/transforms_p.h>

#include <QDebug>

#include <array>

using vellum::color::Profile;
using vellum::color::Transform;

namespace {

using FormatCodes = std::array<unsigned int, QImage::NImageFormats>;

constexpr FormatCodes makeFormatCodes()
{
    FormatCodes codes {}; // 0: lcms2 has no such format
    codes[QImage::Format_RGB32] = TYPE_BGRA_8;
    codes[QImage::Format_ARGB32] = TYPE_BGRA_8;
    codes[QImage::Format_RGB888] = TYPE_RGB_8;
    codes[QImage::Format_RGBX8888] = TYPE_RGBA_8;
    codes[QImage::Format_RGBA8888] = TYPE_RGBA_8;
    codes[QImage::Format_Grayscale8] = TYPE_GRAY_8;
    codes[QImage::Format_RGBX64] = TYPE_RGBA_16;
    codes[QImage::Format_RGBA64] = TYPE_RGBA_16;
    codes[QImage::Format_Grayscale16] = TYPE_GRAY_16;
    codes[QImage::Format_BGR888] = TYPE_BGR_8;
    return codes;
}

constexpr FormatCodes kFormatCodes = makeFormatCodes();
static_assert(QImage::NImageFormats == 30, "a new QImage::Format needs a decision here");
static_assert(TYPE_BGRA_8 == 0x44499 && TYPE_RGBA_16 == 0x4009a, "codecs know these numbers");

/// Puts \a transform where \a handle is kept, deleting what was there.
void replaceHandle(void *&handle, Transform transform)
{
    Transform old(handle);
    handle = transform.release();
}

} // namespace

vellum::color::ProfileCache CVlLcmsManager::m_labProfile;
vellum::color::ProfileCache CVlLcmsManager::m_cmykProfile;
QString CVlLcmsManager::m_defaultCmykIcc;
vellum::color::ProfileCache CVlLcmsManager::m_xyzProfile;

void setIccProfilePath(const QString &path) { vellum::color::setProfileFolder(path); }

CVlLcmsManager::CVlLcmsManager() = default;

CVlLcmsManager::~CVlLcmsManager()
{
    replaceHandle(m_readTransform, nullptr);
    replaceHandle(m_saveTransform, nullptr);
}

// Handles are copied, not owned twice: callers keep one manager in charge.
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
CVlLcmsManager &CVlLcmsManager::operator=(const CVlLcmsManager &other)
{
    m_readTransform = other.m_readTransform;
    m_saveTransform = other.m_saveTransform;
    return *this;
}

QString CVlLcmsManager::getIccPath(const QString &fileName)
{
    return vellum::color::iccFilePath(fileName);
}

bool CVlLcmsManager::getDefaultCmykIccProfile(QByteArray &out)
{
    out = m_cmykProfile.get([] {
        const QString path = m_defaultCmykIcc.isEmpty()
            ? getIccPath(QLatin1String(vellum::color::kCmykFile))
            : m_defaultCmykIcc;
        return vellum::color::serialised(vellum::color::openProfileFile(path));
    });
    return true;
}

bool CVlLcmsManager::getDefaultLabIccProfile(QByteArray &out)
{
    out = m_labProfile.get(vellum::color::makeLabProfile);
    return true;
}

bool CVlLcmsManager::getDefaultXyzIccProfile(QByteArray &out)
{
    out = m_xyzProfile.get(vellum::color::readXyzProfile);
    return true;
}

void CVlLcmsManager::setDefaultCmykIcc(const QByteArray &profile) { m_cmykProfile.set(profile); }

unsigned int CVlLcmsManager::toLcmsFormat(QImage::Format format)
{
    const auto index = static_cast<unsigned int>(format);
    return index < kFormatCodes.size() ? kFormatCodes[index] : 0;
}

void CVlLcmsManager::testLcms()
{
    Transform transform;
    {
        const Profile source(cmsCreate_sRGBProfile());
        const Profile press =
            vellum::color::openProfileFile(QStringLiteral("c://tmp//JapanColor2001Coated.icc"));
        if (!press)
            return;
        transform.reset(cmsCreateTransform(source.get(), TYPE_BGR_8, press.get(), TYPE_CMYK_8,
                                           INTENT_PERCEPTUAL, cmsFLAGS_BLACKPOINTCOMPENSATION));
    }
    if (!transform)
        return;
    const uchar bgr[] = {40, 44, 44};
    uchar cmyk[4] = {};
    cmsDoTransform(transform.get(), bgr, cmyk, 1);
    qDebug() << "test end"
             << "cmyk:" << cmyk[0] << "," << cmyk[1] << "," << cmyk[2] << "," << cmyk[3];
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface is fixed
void CVlLcmsManager::prepareIccReadTransform(unsigned int inFormat, unsigned int outFormat,
                                             QByteArray &icc, QByteArray overrideIcc)
{
    const QByteArray &source = overrideIcc.isEmpty() ? icc : overrideIcc;
    if (!source.isEmpty()) {
        replaceHandle(m_readTransform,
                      vellum::color::makeReadTransform(inFormat, outFormat, source));
    }
}

void CVlLcmsManager::prepareIccSaveTransform(unsigned int inFormat, unsigned int outFormat,
                                             QByteArray &icc)
{
    replaceHandle(m_saveTransform, vellum::color::makeSaveTransform(inFormat, outFormat, icc));
}

void CVlLcmsManager::doIccTransformRead(const void *in, void *out, unsigned int pixelsPerLine,
                                        unsigned int lineCount, unsigned int bytesPerLineIn,
                                        unsigned int bytesPerLineOut)
{
    vellum::color::transformLines(
        m_readTransform, {in, out, pixelsPerLine, lineCount, bytesPerLineIn, bytesPerLineOut});
}

void CVlLcmsManager::doIccTransformSave(const void *in, void *out, unsigned int pixelsPerLine,
                                        unsigned int lineCount, unsigned int bytesPerLineIn,
                                        unsigned int bytesPerLineOut)
{
    vellum::color::transformLines(
        m_saveTransform, {in, out, pixelsPerLine, lineCount, bytesPerLineIn, bytesPerLineOut});
}

void CVlLcmsManager::doVellumRgbTransform(Vellum &image, QByteArray &icc)
{
    vellum::color::convertToSrgb(image, icc);
}
