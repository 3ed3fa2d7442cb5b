// The CMYK side of the image class: transforms that all images share, profiles, saving as CMYK.

#include <vellum/color/lcmsmanager.h>
#include <vellum/color/profilesources_p.h>
#include <vellum/color/transforms_p.h>

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

/// Makes the transform that \a shared lacks. Threads that come here at the same time each make
/// one, and the first to finish is taken: no lock is held while messages are written.
template <typename Make>
void publish(std::atomic<void *> &shared, Make make)
{
    if (shared.load(std::memory_order_acquire))
        return;
    const Profile press = vellum::color::openCmykFile();
    if (!press)
        return;
    const Profile display(cmsCreate_sRGBProfile());
    Transform transform = make(press.get(), display.get());
    void *expected = nullptr;
    if (shared.compare_exchange_strong(expected, transform.get(), std::memory_order_acq_rel))
        static_cast<void>(transform.release());
}

} // namespace

void Vellum::prepareCmykToRgbTransform()
{
    publish(m_cmykToRgbTransform, [](cmsHPROFILE press, cmsHPROFILE display) {
        return Transform(
            cmsCreateTransform(press, TYPE_CMYK_8, display, TYPE_BGR_8, INTENT_PERCEPTUAL, 0));
    });
    publish(m_rgbToCmykTransform, [](cmsHPROFILE press, cmsHPROFILE display) {
        return Transform(
            cmsCreateTransform(display, TYPE_BGR_8, press, TYPE_CMYK_8, INTENT_PERCEPTUAL, 0));
    });
}

void Vellum::BgrToCmyk(unsigned char *cmyk, unsigned char *bgr, unsigned int count)
{
    if (void *const transform = m_rgbToCmykTransform.load(std::memory_order_acquire))
        cmsDoTransform(transform, bgr, cmyk, count);
}

void Vellum::CmykToBgr(unsigned char *bgr, unsigned char *cmyk, unsigned int count)
{
    if (void *const transform = m_cmykToRgbTransform.load(std::memory_order_acquire))
        cmsDoTransform(transform, cmyk, bgr, count);
}

bool Vellum::getCmykIccProfile(QByteArray &out)
{
    out =
        m_cmykProfile.get([] { return vellum::color::serialised(vellum::color::openCmykFile()); });
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

void Vellum::rePrepareSaveCmyk(QImage::Format format) { prepareSaveCmyk(format); }

void Vellum::prepareSaveCmyk(QImage::Format format)
{
    QByteArray icc;
    getCmykIccProfile(icc);
    const Profile display(cmsCreate_sRGBProfile());
    const Profile press = vellum::color::openProfile(icc);
    const unsigned int inFormat = CVlLcmsManager::toLcmsFormat(format);

    const auto record = std::make_shared<SaveTransform>();
    if (press && inFormat != 0) {
        cmsHPROFILE chain[] = {display.get(), press.get()};
        record->transform.reset(
            cmsCreateMultiprofileTransform(chain, 2, inFormat, TYPE_CMYK_8, INTENT_PERCEPTUAL, 0));
    }
    // A chain closed to a ring ends where the record is met again.
    for (Vellum *page = this; page && page->m_saveCmykTransform != record;
         page = page->m_nextImage) {
        page->m_saveAsCmyk = true;
        page->m_saveCmykTransform = record;
    }
}

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
