// The source of ICC profiles and holder of a codec's two colour transforms.
#pragma once

#include <vellum/export.h>

#include <QByteArray>
#include <QImage>
#include <QString>

class Vellum;

namespace vellum::color {
class ProfileCache;
}

/// Sets the folder that holds "share/color/icc/" with the profile files "cmyk.icm" (a press's
/// CMYK) and "XYZ-D50-Identity-vorn-V4.icc".
///
/// \param path  ends with a separator: "share" is appended to it as it is. Empty, as at first,
///              for the folder of the application, which needs a QCoreApplication.
///
/// Call it before the first image is made and the first profile asked for: what was read stays.
VELLUM_EXPORT void setIccProfilePath(const QString &path);

/// Holds a transform for reading (a file's colours to sRGB) and one for saving (sRGB to a file's
/// colours), and hands out the default profiles. A profile is the bytes of a complete ICC
/// profile; no bytes mean no profile.
///
/// \par Transforms
/// They use rendering intent 0 (perceptual); only the one for saving compensates the black point.
/// Formats are lcms2's format codes. A transform that cannot be made is null, which replaces an
/// earlier one, and rows given to it are left alone: the profile is damaged or cut off, or its
/// colour space does not fit the format.
///
/// \par Threads
/// Static functions and doIccTransform...() are for any threads; the rest is for one at a time.
class VELLUM_EXPORT CVlLcmsManager
{
public:
    CVlLcmsManager(); ///< Without transforms.
    ~CVlLcmsManager(); ///< Deletes both transforms.
    CVlLcmsManager(const CVlLcmsManager &) = delete;

    /// Takes over the handles of \a other as they are: what this manager held is forgotten, not
    /// deleted, and both then refer to the same transforms, of which one manager may be in charge.
    ///
    /// Before one of the two prepares another transform or is destroyed, take the handles from
    /// the other one: <tt>other = CVlLcmsManager();</tt>
    CVlLcmsManager &operator=(const CVlLcmsManager &other);

    /// \name Default profiles
    /// Each is fetched when it is first asked for and kept. \a out is empty when the file cannot
    /// be read, which the next call tries again. \return always true
    /// @{

    /// The profile given to setDefaultCmykIcc(), else "cmyk.icm" of the profile folder.
    static bool getDefaultCmykIccProfile(QByteArray &out);

    /// A version 2 Lab profile whose white is the chromaticity (0.33, 0.33), not D50.
    static bool getDefaultLabIccProfile(QByteArray &out);

    /// The identity on XYZ, version 4 and D50: "XYZ-D50-Identity-vorn-V4.icc" of the profile
    /// folder.
    ///
    /// A transform between integer formats through it needs \c cmsFLAGS_NOOPTIMIZE: lcms2's
    /// optimiser resamples it on a coarse grid and errs by dozens of levels.
    static bool getDefaultXyzIccProfile(QByteArray &out);
    /// @}

    /// Makes \a profile the default CMYK profile of this class (not of saving as CMYK, which
    /// always uses "cmyk.icm"). With no bytes the file is read again when it is next needed.
    static void setDefaultCmykIcc(const QByteArray &profile);

    /// lcms2's code for pixels of \a format; 0 when it has none.
    ///
    /// RGB32, ARGB32, RGB888, RGBX8888, RGBA8888, Grayscale8, RGBX64, RGBA64, Grayscale16 and
    /// BGR888 have one. Premultiplied, packed, indexed and one-bit formats and Alpha8 have none.
    /// Alpha is an extra channel that transforms do not touch.
    static unsigned int toLcmsFormat(QImage::Format format);

    /// Writes a debug line with one grey pixel as CMYK of the profile
    /// "c://tmp//JapanColor2001Coated.icc"; nothing when there is no such file. For developers.
    static void testLcms();

    /// Makes the transform for reading: from \a overrideIcc, or from \a icc when that is empty,
    /// to sRGB. Keeps the one there is when both are empty. Input in \c TYPE_Lab_8 or
    /// \c TYPE_Lab_16 is taken as Lab of D50 white, whatever the profiles hold.
    void prepareIccReadTransform(unsigned int inFormat, unsigned int outFormat, QByteArray &icc,
                                 QByteArray overrideIcc);

    /// Makes the transform for saving: from sRGB to \a icc, with black-point compensation.
    /// Without \a icc there is nothing to convert to, and the transform is null.
    void prepareIccSaveTransform(unsigned int inFormat, unsigned int outFormat, QByteArray &icc);

    /// Transforms \a lineCount lines of \a pixelsPerLine pixels with the transform for reading.
    /// Lines start \a bytesPerLineIn and \a bytesPerLineOut apart. Does nothing without transform.
    void doIccTransformRead(const void *in, void *out, unsigned int pixelsPerLine,
                            unsigned int lineCount, unsigned int bytesPerLineIn,
                            unsigned int bytesPerLineOut);

    /// The same with the transform for saving.
    void doIccTransformSave(const void *in, void *out, unsigned int pixelsPerLine,
                            unsigned int lineCount, unsigned int bytesPerLineIn,
                            unsigned int bytesPerLineOut);

    /// Converts \a image in place from \a icc to sRGB; see Vellum::doNormalIccTransform().
    void doVellumRgbTransform(Vellum &image, QByteArray &icc);

private:
    static QString getIccPath(const QString &fileName);

    void *m_readTransform = nullptr; // lcms2 transform, owned
    void *m_saveTransform = nullptr; // lcms2 transform, owned

    static vellum::color::ProfileCache m_labProfile;
    static vellum::color::ProfileCache m_cmykProfile;
    static QString m_defaultCmykIcc; // path; empty: cmyk.icm of the profile folder
    static vellum::color::ProfileCache m_xyzProfile;
};
