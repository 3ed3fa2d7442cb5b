// The CMYK side of the image class: transforms that all images share, profiles, saving as CMYK.

#include <vellum/color/lcmsmanager.h>
#include <vellum/color/presscolors.h>
#include <vellum/color/profilesources_p.h>
#include <vellum/color/transforms_p.h>

using vellum::PressColors;
using vellum::color::Profile;
using vellum::color::ProfileCache;
using vellum::color::SaveTransform;
using vellum::color::Transform;

// Set once and never deleted: threads may be using them until the process ends.
std::atomic<void *> Vellum::m_cmykToRgbTransform {nullptr};
std::atomic<void *> Vellum::m_rgbToCmykTransform {nullptr};
ProfileCache Vellum::m_cmykProfile;
ProfileCache Vellum::m_labProfile;
ProfileCache Vellum::m_xyzProfile;

namespace {

/// "cmyk.icm" as it was when an image found in it what a transform needs.
struct PressFile
{
    QByteArray icc;
    const PressFile *former; ///< was of no use
    std::atomic<bool> isOfNoUse {false}; ///< its tables turned out to be damaged
};

/// One for each of the two transforms. Never deleted either.
using SharedFile = std::atomic<PressFile *>;
SharedFile cmykToRgbFile {nullptr};
SharedFile rgbToCmykFile {nullptr};

/// Puts what \a made owns into \a shared, unless another thread was faster.
template <typename Pointer, typename Owner>
void publish(std::atomic<Pointer> &shared, Pointer expected, Owner made)
{
    if (shared.compare_exchange_strong(expected, made.get(), std::memory_order_acq_rel))
        static_cast<void>(made.release());
}

/// Null while there is none, or none of use.
PressFile *usableFile(const SharedFile &shared)
{
    PressFile *const file = shared.load(std::memory_order_acquire);
    return file && !file->isOfNoUse ? file : nullptr;
}

/// Shares \a icc when it is the profile of a press that has one of the two tables.
void shareFile(SharedFile &shared, const QByteArray &icc, cmsTagSignature floatTable,
               cmsTagSignature table)
{
    PressFile *const former = shared.load(std::memory_order_acquire);
    if (former && (!former->isOfNoUse || former->icc == icc))
        return;
    const Profile press = vellum::color::openWhatIsThere(icc);
    if (press && cmsGetColorSpace(press.get()) == cmsSigCmykData &&
        (cmsIsTag(press.get(), floatTable) || cmsIsTag(press.get(), table)))
        publish(shared, former, std::unique_ptr<PressFile>(new PressFile {icc, former}));
}

/// The transform in \a shared, made when it is first used: it takes longer than many a program
/// that never needs it. Threads that come here at the same time each make one, and the first to
/// finish is taken: no lock is held while messages are written.
/// \return null while there is no \a press to make it of
template <typename Make>
cmsHTRANSFORM pressTransform(std::atomic<void *> &shared, const SharedFile &press, Make make)
{
    if (void *const transform = shared.load(std::memory_order_acquire))
        return transform;
    PressFile *const file = usableFile(press);
    if (!file)
        return nullptr;
    const Profile profile = vellum::color::openWhatIsThere(file->icc);
    const Profile display(cmsCreate_sRGBProfile());
    Transform transform = make(profile.get(), display.get());
    if (!transform)
        file->isOfNoUse = true;
    publish(shared, static_cast<void *>(nullptr), std::move(transform));
    return shared.load(std::memory_order_acquire);
}

QByteArray pressFileProfile(ProfileCache &cache)
{
    return cache.get([] { return vellum::color::serialised(vellum::color::openCmykFile()); });
}

/// Without a transform when \a format has none.
/// \param cache  holds the profile of the press that stands for none
std::shared_ptr<SaveTransform> makeSaveTransform(const PressColors &colors, QImage::Format format,
                                                 ProfileCache &cache)
{
    using vellum::color::openProfile;
    const Profile source(colors.source.isEmpty() ? cmsCreate_sRGBProfile()
                                                 : openProfile(colors.source).release());
    const Profile press =
        openProfile(colors.press.isEmpty() ? pressFileProfile(cache) : colors.press);
    const unsigned int inFormat = CVlLcmsManager::toLcmsFormat(format);

    auto record = std::make_shared<SaveTransform>();
    record->colors = colors;
    if (press && inFormat != 0) {
        cmsHPROFILE chain[] = {source.get(), press.get()};
        const auto intent = cmsUInt32Number(vellum::color::intentNumber(colors.conversion));
        const cmsUInt32Number flags =
            colors.conversion.blackPointCompensation ? cmsFLAGS_BLACKPOINTCOMPENSATION : 0U;
        record->transform.reset(
            cmsCreateMultiprofileTransform(chain, 2, inFormat, TYPE_CMYK_8, intent, flags));
    }
    return record;
}

/// True also for no profile, which stands for one that fits.
bool isOfSpace(const QByteArray &icc, cmsColorSpaceSignature space)
{
    const Profile profile = vellum::color::openProfile(icc);
    return icc.isEmpty() || (profile && cmsGetColorSpace(profile.get()) == space);
}

} // namespace

void Vellum::prepareCmykToRgbTransform()
{
    const int missing = int(!usableFile(cmykToRgbFile)) + int(!usableFile(rgbToCmykFile));
    // Each of the two asks for the file, and says so when it is not there.
    QByteArray icc;
    for (int i = 0; i < missing && icc.isEmpty(); ++i)
        icc = vellum::color::readCmykFile();
    if (icc.isEmpty())
        return;
    shareFile(cmykToRgbFile, icc, cmsSigDToB0Tag, cmsSigAToB0Tag);
    shareFile(rgbToCmykFile, icc, cmsSigBToD0Tag, cmsSigBToA0Tag);
}

void Vellum::BgrToCmyk(unsigned char *cmyk, unsigned char *bgr, unsigned int count)
{
    const auto make = [](cmsHPROFILE press, cmsHPROFILE display) {
        return Transform(
            cmsCreateTransform(display, TYPE_BGR_8, press, TYPE_CMYK_8, INTENT_PERCEPTUAL, 0));
    };
    if (const cmsHTRANSFORM transform = pressTransform(m_rgbToCmykTransform, rgbToCmykFile, make))
        cmsDoTransform(transform, bgr, cmyk, count);
}

void Vellum::CmykToBgr(unsigned char *bgr, unsigned char *cmyk, unsigned int count)
{
    const auto make = [](cmsHPROFILE press, cmsHPROFILE display) {
        return Transform(
            cmsCreateTransform(press, TYPE_CMYK_8, display, TYPE_BGR_8, INTENT_PERCEPTUAL, 0));
    };
    if (const cmsHTRANSFORM transform = pressTransform(m_cmykToRgbTransform, cmykToRgbFile, make))
        cmsDoTransform(transform, cmyk, bgr, count);
}

bool Vellum::getCmykIccProfile(QByteArray &out)
{
    if (isSaveCmykPrepared() && !m_saveCmykTransform->colors.press.isEmpty()) {
        out = m_saveCmykTransform->colors.press;
        return true;
    }
    out = pressFileProfile(m_cmykProfile);
    return true;
}

bool Vellum::getLabIccProfile(QByteArray &out)
{
    out = m_labProfile.get(vellum::color::makeLabProfile);
    return true;
}

bool Vellum::getXyzIccProfile(QByteArray &out)
{
    out = m_xyzProfile.get(vellum::color::readXyzProfile);
    return true;
}

void Vellum::prepareSaveCmyk() { prepareSaveCmyk(format()); }

void Vellum::prepareSaveCmyk(QImage::Format format)
{
    shareSaveCmyk(makeSaveTransform({}, format, m_cmykProfile));
}

void Vellum::rePrepareSaveCmyk(QImage::Format format)
{
    const PressColors colors = isSaveCmykPrepared() ? m_saveCmykTransform->colors : PressColors();
    shareSaveCmyk(makeSaveTransform(colors, format, m_cmykProfile));
}

void Vellum::shareSaveCmyk(const std::shared_ptr<SaveTransform> &record)
{
    // A chain closed to a ring ends where the record is met again.
    for (Vellum *page = this; page && page->m_saveCmykTransform != record;
         page = page->m_nextImage) {
        page->m_saveAsCmyk = true;
        page->m_saveCmykTransform = record;
    }
}

namespace vellum {

bool prepareSaveCmyk(Vellum &image, const PressColors &colors)
{
    if (!isOfSpace(colors.press, cmsSigCmykData) || !isOfSpace(colors.source, cmsSigRgbData) ||
        color::intentNumber(colors.conversion) < 0)
        return false;
    image.shareSaveCmyk(makeSaveTransform(colors, image.format(), Vellum::m_cmykProfile));
    return true;
}

} // namespace vellum

void Vellum::releaseSaveCmyk()
{
    // The images after the head of a chain only use the transform.
    if (m_prevImage || !m_saveCmykTransform)
        return;
    m_saveCmykTransform->transform.reset();
    m_saveCmykTransform->released = true;
    m_saveCmykTransform.reset();
}

bool Vellum::hasSaveCmykTransform() const
{
    return m_saveCmykTransform && m_saveCmykTransform->transform;
}

bool Vellum::isSaveCmykPrepared() const
{
    return m_saveCmykTransform && !m_saveCmykTransform->released;
}

void Vellum::doCmykTransform(const void *in, void *out, unsigned int pixelsPerLine,
                             unsigned int lineCount, unsigned int bytesPerLineIn,
                             unsigned int bytesPerLineOut)
{
    if (hasSaveCmykTransform()) {
        vellum::color::transformLines(
            m_saveCmykTransform->transform.get(),
            {in, out, pixelsPerLine, lineCount, bytesPerLineIn, bytesPerLineOut});
    }
}
